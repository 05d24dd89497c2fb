// Stride packing: byte-for-byte against a per-byte model of the dense
// layouts, on random frames of every layout with and without row padding.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "api/test_frame.h"
#include "common/test_util.h"
#include "qlsbp/packing.h"

namespace {

using qlsbp_test::random_bytes;
using qlsbp_test::random_int;
using namespace qlsbp_test_api;

// --- Independent model: where byte (plane i, row y, column x) lives in the
// dense buffer, written from the layout tables, one byte at a time. ---------

// Calls fn(plane_index, plane_offset, dense_offset) for every byte that a
// copy of this frame moves.
template <typename Fn>
void for_each_moved_byte(const QL_IMAGEINFO& f, Fn fn) {
  const long w = f.width, h = f.height;
  const int* s = f.stride;
  auto rows = [&](int plane, long nrows, long row_bytes, long stride, long dense_off) {
    for (long y = 0; y < nrows; ++y)
      for (long x = 0; x < row_bytes; ++x) fn(plane, y * stride + x, dense_off + y * row_bytes + x);
  };
  auto block = [&](int plane, long n, long dense_off) {
    for (long i = 0; i < n; ++i) fn(plane, i, dense_off + i);
  };
  if (f.format == 4) {
    if (s[0] == 2 * w) block(0, 2 * w * h, 0);
    else rows(0, h, 2 * w, s[0], 0);
    return;
  }
  if (s[0] == w) block(0, w * h, 0);
  else rows(0, h, w, s[0], 0);
  if (f.format == 2) {
    if (s[1] == w) block(1, (w / 2) * (h / 2) * 2, w * h);
    else rows(1, h / 2, w, s[1], w * h);
    return;
  }
  if (s[1] == w / 2) {
    block(1, (w / 2) * (h / 2), w * h);
    block(2, (w / 2) * (h / 2), w * h + (w / 2) * (h / 2));
  } else {
    rows(1, h / 2, w / 2, s[1], w * h);
    rows(2, h / 2, w / 2, s[1], w * h + (w * h) / 4);
  }
}

bool is_writeback_exception(const QL_IMAGEINFO& f) {
  return f.format == 3 && f.stride[0] == f.width && f.stride[1] != f.width / 2;
}

std::vector<uint8_t> model_move(Frame& f, std::vector<uint8_t> dense) {
  for_each_moved_byte(f.info, [&](int i, long po, long d) { dense[d] = f.p[i].bytes[po]; });
  return dense;
}

// Returns the expected planes after img_add_stride, and updates `dense` for
// the one case that writes into it.
std::vector<std::vector<uint8_t>> model_add(Frame& f, std::vector<uint8_t>& dense) {
  std::vector<std::vector<uint8_t>> planes = {f.p[0].bytes, f.p[1].bytes, f.p[2].bytes};
  const bool exception = is_writeback_exception(f.info);
  for_each_moved_byte(f.info, [&](int i, long po, long d) {
    if (exception && i == 0) dense[d] = planes[0][po];
    else planes[i][po] = dense[d];
  });
  return planes;
}

struct Case {
  int format, w, h, pad0, pad1;
};

std::vector<Case> random_cases(uint32_t seed, int count) {
  std::mt19937 rng(seed);
  std::vector<Case> cases;
  for (int i = 0; i < count; ++i) {
    Case c;
    c.format = 2 + i % 3;
    c.w = random_int(rng, 1, 70);
    c.h = random_int(rng, 1, 40);
    // Every combination of padded / unpadded luma and chroma.
    c.pad0 = (i / 3) % 2 ? random_int(rng, 1, 17) : 0;
    c.pad1 = (i / 6) % 2 ? random_int(rng, 1, 17) : 0;
    cases.push_back(c);
  }
  return cases;
}

std::string describe(const Case& c) {
  return "format " + std::to_string(c.format) + " " + std::to_string(c.w) + "x" + std::to_string(c.h) +
         " pad " + std::to_string(c.pad0) + "/" + std::to_string(c.pad1);
}

}  // namespace

TEST(StridePacking, MoveMatchesModelOnRandomFrames) {
  uint32_t seed = 100;
  for (const Case& c : random_cases(7, 240)) {
    SCOPED_TRACE(describe(c));
    Frame f(c.format, c.w, c.h, c.pad0, c.pad1, seed += 3);
    const std::vector<uint8_t> before[3] = {f.p[0].bytes, f.p[1].bytes, f.p[2].bytes};
    std::vector<uint8_t> dense(dense_size(c.format, c.w, c.h) + kGuard, kSentinel);
    const std::vector<uint8_t> expected = model_move(f, dense);

    ASSERT_EQ(0, img_move_stride(&f.info, dense.data()));
    EXPECT_EQ(expected, dense);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(before[i], f.p[i].bytes) << "plane " << i << " was written";
  }
}

TEST(StridePacking, AddMatchesModelAndKeepsPadding) {
  uint32_t seed = 900;
  for (const Case& c : random_cases(11, 240)) {
    SCOPED_TRACE(describe(c));
    Frame f(c.format, c.w, c.h, c.pad0, c.pad1, seed += 3);
    std::vector<uint8_t> dense = random_bytes(dense_size(c.format, c.w, c.h) + kGuard, seed + 7);
    std::vector<uint8_t> expected_dense = dense;
    const auto expected_planes = model_add(f, expected_dense);

    ASSERT_EQ(0, img_add_stride(&f.info, dense.data()));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(expected_planes[i], f.p[i].bytes) << "plane " << i;
    EXPECT_EQ(expected_dense, dense);
  }
}

TEST(StridePacking, RoundTripRestoresEveryLayout) {
  for (int format = 2; format <= 4; ++format) {
    // Padded luma so that no layout hits the code 3 write-back exception.
    Frame f(format, 64, 48, 8, 4, 42 + format);
    const std::vector<uint8_t> before[3] = {f.p[0].bytes, f.p[1].bytes, f.p[2].bytes};
    std::vector<uint8_t> dense(dense_size(format, 64, 48), 0);
    ASSERT_EQ(0, img_move_stride(&f.info, dense.data()));
    for (auto& p : f.p) std::fill(p.bytes.begin(), p.bytes.end(), uint8_t{0});
    ASSERT_EQ(0, img_add_stride(&f.info, dense.data()));
    for (int i = 0; i < 3; ++i) {
      // Payload restored; padding now holds the zeros written above.
      for (int y = 0; y < f.p[i].rows; ++y)
        for (int x = 0; x < f.p[i].row_bytes; ++x) {
          const size_t o = static_cast<size_t>(y) * f.p[i].stride + x;
          ASSERT_EQ(before[i][o], f.p[i].bytes[o]) << "format " << format << " plane " << i;
        }
    }
  }
}

TEST(StridePackingRefusal, UnknownLayoutAndUnequalChromaStridesCopyNothing) {
  Frame five(2, 64, 48, 0, 0, 5);
  five.info.format = 5;
  Frame mismatch(3, 640, 480, 0, 0, 6);
  mismatch.info.stride[1] = 320;
  mismatch.info.stride[2] = 336;
  for (Frame* f : {&five, &mismatch}) {
    const std::vector<uint8_t> before = f->p[0].bytes;
    std::vector<uint8_t> dense(dense_size(2, 640, 480), kSentinel);
    EXPECT_EQ(1, img_move_stride(&f->info, dense.data()));
    EXPECT_EQ(1, img_add_stride(&f->info, dense.data()));
    EXPECT_TRUE(std::all_of(dense.begin(), dense.end(), [](uint8_t b) { return b == kSentinel; }));
    EXPECT_EQ(before, f->p[0].bytes);
  }
}

TEST(StridePackingRefusal, NullPointersAreRefused) {
  Frame f(3, 16, 8, 0, 0, 9);
  std::vector<uint8_t> dense(dense_size(3, 16, 8), kSentinel);
  EXPECT_EQ(1, img_move_stride(nullptr, dense.data()));
  EXPECT_EQ(1, img_add_stride(nullptr, dense.data()));
  EXPECT_EQ(1, img_move_stride(&f.info, nullptr));
  EXPECT_EQ(1, img_add_stride(&f.info, nullptr));
  for (int i = 0; i < 3; ++i) {
    QL_IMAGEINFO info = f.info;
    info.plane[i] = nullptr;
    EXPECT_EQ(1, img_move_stride(&info, dense.data())) << "plane " << i;
    EXPECT_EQ(1, img_add_stride(&info, dense.data())) << "plane " << i;
  }
  EXPECT_TRUE(std::all_of(dense.begin(), dense.end(), [](uint8_t b) { return b == kSentinel; }));
  // Layout 4 never looks at plane[1] or plane[2], layout 2 never at plane[2].
  dense.assign(dense_size(4, 16, 8), 0);
  Frame packed(4, 16, 8, 0, 0, 10);
  EXPECT_EQ(0, img_move_stride(&packed.info, dense.data()));
  Frame semi(2, 16, 8, 0, 0, 11);
  semi.info.plane[2] = nullptr;
  EXPECT_EQ(0, img_move_stride(&semi.info, dense.data()));
}

TEST(StridePackingRefusal, EmptyAndNegativeSizesCopyNothing) {
  Frame f(2, 16, 8, 0, 0, 12);
  std::vector<uint8_t> dense(dense_size(2, 16, 8), kSentinel);
  const std::vector<uint8_t> before = f.p[0].bytes;
  for (int format = 2; format <= 4; ++format) {
    for (auto wh : {std::pair<int, int>{0, 8}, {16, 0}, {-16, 8}, {16, -8}, {-2, -2}}) {
      QL_IMAGEINFO info = f.info;
      info.format = format;
      info.plane[2] = info.plane[1];
      info.width = wh.first;
      info.height = wh.second;
      info.stride[0] = info.stride[1] = info.stride[2] = wh.first;
      EXPECT_EQ(0, img_move_stride(&info, dense.data()));
      EXPECT_EQ(0, img_add_stride(&info, dense.data()));
    }
  }
  EXPECT_TRUE(std::all_of(dense.begin(), dense.end(), [](uint8_t b) { return b == kSentinel; }));
  EXPECT_EQ(before, f.p[0].bytes);
}

TEST(StridePackingQuirks, Code3WriteBackKeepsUnpaddedLuma) {
  // 640 x 480, unpadded luma, chroma pitch 384: only chroma is written back;
  // the caller's luma is copied into the dense buffer instead.
  Frame f(3, 640, 480, 0, 384 - 320, 21);
  const std::vector<uint8_t> luma_before = f.p[0].bytes;
  std::vector<uint8_t> dense = random_bytes(640 * 480 * 3 / 2, 22);
  const std::vector<uint8_t> dense_before = dense;
  ASSERT_EQ(0, img_add_stride(&f.info, dense.data()));

  EXPECT_EQ(luma_before, f.p[0].bytes);
  EXPECT_EQ(0, memcmp(dense.data(), luma_before.data(), 640 * 480));
  for (int y = 0; y < 240; ++y) {
    ASSERT_EQ(0, memcmp(&f.p[1].bytes[y * 384], &dense_before[307200 + y * 320], 320)) << y;
    ASSERT_EQ(0, memcmp(&f.p[2].bytes[y * 384], &dense_before[307200 + 76800 + y * 320], 320)) << y;
    ASSERT_EQ(kSentinel, f.p[1].bytes[y * 384 + 320]);
  }
  // Same frame with padded luma: everything is written back.
  Frame g(3, 640, 480, 64, 384 - 320, 23);
  ASSERT_EQ(0, img_add_stride(&g.info, dense.data()));
  for (int y = 0; y < 480; ++y) ASSERT_EQ(0, memcmp(&g.p[0].bytes[y * 704], &dense[y * 640], 640)) << y;
}

TEST(StridePackingQuirks, OddCode3SecondChromaOffsetDependsOnStrategy) {
  // 641 x 481: chroma planes are 320 x 240. Blocks place the second plane at
  // 308,321 + 76,800, rows at 308,321 + (641 * 481) / 4 = 308,321 + 77,080.
  for (int pad : {0, 16}) {
    Frame f(3, 641, 481, 0, pad, 31);
    std::fill(f.p[1].bytes.begin(), f.p[1].bytes.end(), uint8_t{0x11});
    std::fill(f.p[2].bytes.begin(), f.p[2].bytes.end(), uint8_t{0x22});
    std::vector<uint8_t> dense(641 * 481 * 3 / 2 + kGuard, 0);
    ASSERT_EQ(0, img_move_stride(&f.info, dense.data()));
    const size_t second = 308321 + (pad == 0 ? 76800 : 77080);
    const size_t first_end = 308321 + 76800;
    EXPECT_EQ(0x11, dense[308321]);
    EXPECT_EQ(0x11, dense[first_end - 1]);
    EXPECT_EQ(pad == 0 ? 0x22 : 0x00, dense[first_end]) << "pad " << pad;
    EXPECT_EQ(0x22, dense[second]);
    EXPECT_EQ(0x22, dense[second + 76800 - 1]);
    EXPECT_EQ(0x00, dense[second + 76800]);
  }
}

TEST(StridePackingQuirks, NegativeStrideWalksBottomUpPlane) {
  // A bottom-up luma plane: plane[0] points at the last row, stride -w.
  const int w = 16, h = 4;
  Frame f(2, w, h, 0, 0, 41);
  std::vector<uint8_t> flipped(static_cast<size_t>(w) * h);
  for (int y = 0; y < h; ++y) memcpy(&flipped[(h - 1 - y) * w], &f.p[0].bytes[y * w], w);
  QL_IMAGEINFO info = f.info;
  info.plane[0] = flipped.data() + (h - 1) * w;
  info.stride[0] = -w;
  std::vector<uint8_t> dense(dense_size(2, w, h), 0);
  ASSERT_EQ(0, img_move_stride(&info, dense.data()));
  EXPECT_EQ(0, memcmp(dense.data(), f.p[0].bytes.data(), static_cast<size_t>(w) * h));
}
