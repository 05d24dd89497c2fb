// The plane worker on its own: each blur method and resolution, driven
// through a hand-filled task record.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

#include "common/guarded.h"
#include "common/test_util.h"
#include "processor/pipeline_model.h"
#include "qlsbp/blur.h"
#include "qlsbp/gaussian.h"
#include "qlsbp/sb_data.h"

namespace {

// The half-resolution round trip written out by hand for even planes: 2 x 2
// means rounded half up, then bilinear midpoints rounded half up with the
// right column and the bottom row repeated.
std::vector<uint8_t> halved_and_enlarged(const std::vector<uint8_t>& s, int rows, int cols) {
  const int h = rows / 2, w = cols / 2;
  std::vector<int> half(static_cast<size_t>(h) * w);
  auto px = [&](int y, int x) { return static_cast<int>(s[static_cast<size_t>(y) * cols + x]); };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      half[static_cast<size_t>(y) * w + x] =
          (px(2 * y, 2 * x) + px(2 * y, 2 * x + 1) + px(2 * y + 1, 2 * x) + px(2 * y + 1, 2 * x + 1) + 2) >> 2;
  auto at = [&](int y, int x) { return half[static_cast<size_t>(std::min(y, h - 1)) * w + std::min(x, w - 1)]; };
  std::vector<uint8_t> out(s.size());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const int a = at(y, x), b = at(y, x + 1), c = at(y + 1, x), d = at(y + 1, x + 1);
      uint8_t* o = &out[static_cast<size_t>(2 * y) * cols + 2 * x];
      o[0] = static_cast<uint8_t>(a);
      o[1] = static_cast<uint8_t>((a + b + 1) / 2);
      o[cols] = static_cast<uint8_t>((a + c + 1) / 2);
      o[cols + 1] = static_cast<uint8_t>((a + b + c + d + 2) / 4);
    }
  return out;
}

struct Worker {
  int rows, cols;
  std::vector<uint8_t> src, dst, small;
  std::vector<uint16_t> mask;
  std::vector<unsigned long long> wide;
  std::vector<unsigned> range;
  std::vector<uint8_t> arena_block;
  QLMemInfoT arena{};
  SBPlaneTask task{};

  Worker(int r, int c, uint32_t seed, uint16_t weight)
      : rows(r), cols(c), src(qlsbp_test::random_bytes(static_cast<size_t>(r) * c, seed)),
        dst(src.size(), 0x5A), small(src.size()), mask(src.size(), weight), wide(src.size()),
        range(src.size()), arena_block(4 * src.size() + 65536) {
    arena = QLMemInfoT{arena_block.data(), static_cast<unsigned>(arena_block.size()), 0};
    task.dst = dst.data();
    task.src = src.data();
    task.small = small.data();
    task.wide = wide.data();
    task.range = range.data();
    task.mask = mask.data();
    task.mem = &arena;
    task.planeRows = r;
    task.planeCols = c;
    task.useGaussian = 1;
    task.blurOption = 1;
    task.kernelSize = 21;
    task.factor = 1.5f;
  }
  void run() {
    arena.used = 0;
    EXPECT_EQ(nullptr, build_blur_image2(&task));
  }
};

TEST(BuildBlur, HalfResolutionGaussianMatchesTheModel) {
  for (auto [r, c] : {std::pair<int, int>{48, 64}, {120, 90}, {2, 2}, {30, 40}}) {
    for (uint16_t weight : {0, 300, 1024}) {
      Worker w(r, c, static_cast<uint32_t>(r * c + weight), weight);
      w.run();
      EXPECT_EQ(model::process_plane(w.src.data(), w.mask, r, c, 1.5f), w.dst) << r << "x" << c;
    }
  }
}

TEST(BuildBlur, FullResolutionUsesTheGeneralFilterForAnyKernel) {
  // 61 taps without half resolution must go through the general filter: the
  // same image as filtering the plane directly with it.
  Worker w(70, 80, 3, 0);
  w.task.blurOption = 0;
  w.task.kernelSize = 61;
  w.task.factor = 3.2f;
  w.run();
  std::vector<int> taps(61);
  init_gaussian_kernel(taps.data(), 3.2f, 61, 1, 0, 1024.0f);
  std::vector<uint8_t> want = w.src;
  std::vector<uint8_t> block(65536 + want.size() * 2);
  QLMemInfoT mem{block.data(), static_cast<unsigned>(block.size()), 0};
  ASSERT_EQ(0, gaussian_filter_for_int_image_common(want.data(), 70, 80, 61, taps.data(), &mem));
  EXPECT_EQ(want, w.dst);
}

TEST(BuildBlur, BoxWithHalfResolutionGivesTheResampledSharpPlane) {
  Worker w(16, 24, 11, 0);
  w.task.useGaussian = 0;
  w.task.radiusRows = w.task.radiusCols = 2;
  for (auto& c : w.range) c = 25;
  w.run();
  EXPECT_EQ(halved_and_enlarged(w.src, 16, 24), w.dst);
}

TEST(BuildBlur, BoxRadiiNearIntMaxStayInsideThePlane) {
  // Radii far beyond the plane cover the whole plane from every pixel: each
  // output is the plane's sum divided by the count in the table.
  Worker w(9, 13, 21, 0);
  w.task.useGaussian = 0;
  w.task.blurOption = 0;
  unsigned long long total = 0;
  for (uint8_t v : w.src) total += v;
  for (auto& c : w.range) c = 9 * 13;
  for (int r : {INT_MAX, INT_MAX - 1, INT_MAX / 2 + 1}) {
    w.task.radiusRows = r;
    w.task.radiusCols = INT_MAX - 3;
    w.run();
    for (size_t i = 0; i < w.dst.size(); ++i) ASSERT_EQ(total / (9 * 13), w.dst[i]) << r << " " << i;
  }
}

TEST(BuildBlur, OddWidthAtHalfResolutionReadsNothingPastThePlane) {
  // Planes sized exactly H x W and ending at a protected page: the halving's
  // odd-width stepping must stay inside. The result equals the model, which
  // is given a copy with readable bytes after the plane.
  for (auto [r, c] : {std::pair<int, int>{6, 5}, {8, 7}, {12, 3}, {40, 1}, {10, 1}, {7, 9}, {64, 33}}) {
    Worker w(r, c, static_cast<uint32_t>(r * 31 + c), 0);
    const size_t n = static_cast<size_t>(r) * c;
    qlsbp_test::Guarded src(n, qlsbp_test::Guarded::kGuardAfter);
    memcpy(src.data(), w.src.data(), n);
    w.task.src = src.data();
    w.run();
    std::vector<uint8_t> padded(w.src);
    padded.resize(n + static_cast<size_t>(r) + 8, 0);
    EXPECT_EQ(model::process_plane(padded.data(), w.mask, r, c, 1.5f), w.dst) << r << "x" << c;
  }
}

TEST(BuildBlur, OddPlanesTakeTheSharpTailAndTheBlendSkipsThePartialBlock) {
  // 7 x 5: the enlarged 3 x 2 half plane covers the first 6 x 4 = 24 bytes;
  // bytes 24 .. 34 take the sharp pixels. With an all-blurred mask the first
  // 24 bytes are the enlargement itself.
  Worker w(7, 5, 4, 0);
  w.run();
  for (int i = 24; i < 35; ++i) EXPECT_EQ(w.src[i], w.dst[i]) << i;
  EXPECT_EQ(model::process_plane(w.src.data(), w.mask, 7, 5, 1.5f), w.dst);
  Worker none(1, 1, 4, 0);
  none.run();
  EXPECT_EQ(none.src, none.dst);
}

TEST(BuildBlur, RecordsWithoutPlanesOrKernelAreHarmless) {
  EXPECT_EQ(nullptr, build_blur_image2(nullptr));
  Worker w(8, 8, 1, 0);
  w.task.kernelSize = 0;  // no kernel: the resampled plane is not blurred
  w.run();
  EXPECT_EQ(halved_and_enlarged(w.src, 8, 8), w.dst);
  w.task.useGaussian = 0;
  w.task.wide = nullptr;
  w.task.range = nullptr;
  w.task.blurOption = 0;
  w.run();
  EXPECT_EQ(w.src, w.dst);  // no tables: the copy stands
}

}  // namespace
