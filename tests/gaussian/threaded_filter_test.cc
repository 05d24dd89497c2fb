// Threaded separable Gaussian filters and their row kernels, checked against
// a plain two-pass convolution written here: reflect-101 borders through a
// simple fold, each pass truncating its 32-bit sum by >> 10 into bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "gaussian/gauss_rows.h"
#include "qlsbp/gaussian.h"
#include "simd/cpu.h"

namespace {

using Image = std::vector<uint8_t>;
using Taps = std::vector<int>;
using FilterFn = int (*)(unsigned char*, int, int, int, const int*, QLMemInfoT*);

int fold(int i, int n) {
  if (n == 1) return 0;
  while (i < 0 || i >= n) {
    if (i < 0) i = -i;
    if (i >= n) i = 2 * (n - 1) - i;
  }
  return i;
}

// One output from the n samples of a line. Outputs whose kernel lies wholly
// inside the line use the pair form (only taps 0..r are read); the others the
// plain sum over all taps with folded indices. Both agree for symmetric taps.
uint8_t model_tap_sum(const Taps& k, int pos, int n, const uint8_t* line, int step) {
  const int ks = static_cast<int>(k.size()), r = ks / 2;
  const bool inside = pos - r >= 0 && pos + r < n;
  uint32_t s = 0;
  for (int j = 0; j < ks; ++j) {
    const int tap = inside ? k[std::min(j, ks - 1 - j)] : k[j];
    s += static_cast<uint32_t>(tap) * line[fold(pos - r + j, n) * step];
  }
  return static_cast<uint8_t>(s >> 10);
}

Image model_filter(const Image& img, int h, int w, const Taps& k) {
  Image tmp(img.size()), out(img.size());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) tmp[y * w + x] = model_tap_sum(k, y, h, &img[x], w);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) out[y * w + x] = model_tap_sum(k, x, w, &tmp[y * w], 1);
  return out;
}

Taps gaussian_taps(int ksize, float sigma) {
  Taps k(ksize);
  init_gaussian_kernel(k.data(), sigma, ksize, 1, 0, 1024.0f);
  return k;
}

// Runs one filter with an arena sized by gaussian_filter_arena_bytes and
// starting at a non-zero offset of a deliberately misaligned block.
struct ArenaRun {
  int result;
  Image img;
  unsigned used;
};
ArenaRun run_filter(FilterFn fn, const Image& img, int h, int w, const Taps& k,
                    unsigned start = 5) {
  const unsigned long long need = gaussian_filter_arena_bytes(h, w, static_cast<int>(k.size()));
  std::vector<unsigned char> block(start + need + 1);
  QLMemInfoT mem{block.data() + 1, static_cast<unsigned>(start + need), start};
  ArenaRun run{0, img, 0};
  run.result = fn(run.img.data(), h, w, static_cast<int>(k.size()), k.data(), &mem);
  run.used = mem.used - start;
  return run;
}

const FilterFn kAllFilters[] = {gaussian_filter_for_int_image_61x61,
                                gaussian_filter_for_int_image_21x21,
                                gaussian_filter_for_int_image_common};

void expect_filters_match_model(const std::vector<FilterFn>& fns, const Taps& k, int h, int w,
                                uint32_t seed) {
  const Image img = qlsbp_test::random_bytes(static_cast<size_t>(h) * w, seed);
  const Image want = model_filter(img, h, w, k);
  for (size_t f = 0; f < fns.size(); ++f) {
    const ArenaRun run = run_filter(fns[f], img, h, w, k);
    ASSERT_EQ(run.result, 0) << "filter " << f << " " << h << "x" << w;
    ASSERT_EQ(run.img, want) << "filter " << f << " ksize " << k.size() << " " << h << "x" << w;
  }
}

struct Size {
  int h, w;
};

// 21 taps: larger than, equal to and smaller than the kernel, heights and
// widths whose interior (n - 21) is not a multiple of 7 or 5.
TEST(ThreadedGaussianTest, TwentyOneTapsMatchModelOnManySizes) {
  const Taps k = gaussian_taps(21, 3.0f);
  const Size sizes[] = {{1, 1},   {2, 2},    {1, 40},    {40, 1},  {16, 16}, {40, 30}, {30, 40},
                        {20, 20}, {21, 21},  {22, 23},   {21, 64}, {64, 21}, {28, 29}, {29, 36},
                        {33, 47}, {41, 100}, {120, 160}, {11, 75}, {75, 11}};
  uint32_t seed = 1;
  for (const Size& s : sizes) {
    expect_filters_match_model({std::begin(kAllFilters), std::end(kAllFilters)}, k, s.h, s.w,
                               seed++);
  }
}

TEST(ThreadedGaussianTest, SixtyOneTapsMatchModelOnManySizes) {
  const Taps k = gaussian_taps(61, 9.0f);
  const Size sizes[] = {{1, 1},   {8, 8},   {30, 30},  {60, 60}, {61, 61},
                        {62, 70}, {69, 83}, {64, 130}, {130, 64}};
  uint32_t seed = 100;
  for (const Size& s : sizes) {
    expect_filters_match_model({std::begin(kAllFilters), std::end(kAllFilters)}, k, s.h, s.w,
                               seed++);
  }
}

TEST(ThreadedGaussianTest, CommonVariantMatchesModelForOtherOddSizes) {
  std::mt19937 rng(7);
  for (int ksize : {1, 3, 5, 7, 9, 15, 31, 45}) {
    const Taps k = gaussian_taps(ksize, 0.3f * ksize + 0.5f);
    for (int t = 0; t < 4; ++t) {
      const int h = qlsbp_test::random_int(rng, 1, 2 * ksize + 20);
      const int w = qlsbp_test::random_int(rng, 1, 2 * ksize + 40);
      expect_filters_match_model({gaussian_filter_for_int_image_common}, k, h, w, rng());
    }
  }
}

// Worker records used directly: a fixed-size body given a record of another
// ksize filters with the record's taps and stays inside its tables.
TEST(ThreadedGaussianTest, WorkerBodiesFilterTheirStripWithTheRecordsTaps) {
  const Taps k = gaussian_taps(5, 1.0f);
  const int rows = 3, cols = 17, stride = 24;
  const Image src = qlsbp_test::random_bytes((rows + 4) * stride, 77);
  std::vector<int> offsets(5);
  for (int i = 0; i < 5; ++i) offsets[i] = i * cols;
  for (auto body :
       {thread_vertical_gaussian_61, thread_vertical_gaussian_21, thread_vertical_gaussian}) {
    Image dst(rows * cols, 0xEE), want(rows * cols);
    GaussianThreadArg a{const_cast<uint8_t*>(src.data()),
                        dst.data(),
                        k.data(),
                        offsets.data(),
                        rows,
                        cols,
                        stride,
                        5};
    EXPECT_EQ(body(&a), nullptr);
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < cols; ++x)
        want[y * cols + x] = model_tap_sum(k, 2, 5, &src[(y * cols) + x], cols);
    EXPECT_EQ(dst, want);
  }
  for (auto body :
       {thread_horizon_gaussian_61, thread_horizon_gaussian_21, thread_horizon_gaussian}) {
    Image dst(rows * stride, 0xEE), want(rows * stride, 0xEE);
    GaussianThreadArg a{
        const_cast<uint8_t*>(src.data()), dst.data(), k.data(), nullptr, rows, cols, stride, 5};
    EXPECT_EQ(body(&a), nullptr);
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < cols; ++x)
        want[y * stride + x] = model_tap_sum(k, 2, 5, &src[y * stride + x], 1);
    EXPECT_EQ(dst, want);
  }
}

// Beyond the vector kernels' tap limit, rows and borders take the scalar path.
TEST(ThreadedGaussianTest, VeryLongKernelsMatchModel) {
  const Taps k = gaussian_taps(301, 40.0f);
  expect_filters_match_model({gaussian_filter_for_int_image_common}, k, 12, 340, 31);
  expect_filters_match_model({gaussian_filter_for_int_image_common}, k, 305, 9, 32);
}

TEST(ThreadedGaussianTest, FixedVariantsAcceptOtherOddSizesLikeTheCommonOne) {
  const Taps k = gaussian_taps(9, 2.0f);
  expect_filters_match_model(
      {gaussian_filter_for_int_image_61x61, gaussian_filter_for_int_image_21x21}, k, 37, 45, 55);
}

// Taps a caller may pass although no kernel builder makes them: symmetric
// ones beyond 1024, negative ones, huge ones that wrap the 32-bit sums, and
// asymmetric ones (interior pairs read taps 0..r, borders all taps).
TEST(ThreadedGaussianTest, ArbitraryTapsWrapLikeTheModel) {
  std::mt19937 rng(11);
  for (int trial = 0; trial < 12; ++trial) {
    const int ksize = trial < 6 ? 21 : 2 * qlsbp_test::random_int(rng, 0, 12) + 1;
    Taps k(ksize);
    const int range = trial % 3 == 0 ? 3000 : (trial % 3 == 1 ? 40000 : 2000000000);
    for (int& v : k) v = qlsbp_test::random_int(rng, -range, range);
    if (trial % 2 == 0) {
      for (int d = 0; d < ksize / 2; ++d) k[ksize - 1 - d] = k[d];
    }
    const int h = qlsbp_test::random_int(rng, 1, 60), w = qlsbp_test::random_int(rng, 1, 60);
    std::vector<FilterFn> fns = {gaussian_filter_for_int_image_common};
    if (ksize == 21) fns.push_back(gaussian_filter_for_int_image_21x21);
    expect_filters_match_model(fns, k, h, w, rng());
  }
}

TEST(ThreadedGaussianTest, ConstantImageStaysConstant) {
  for (int ksize : {21, 61}) {
    const Taps k = gaussian_taps(ksize, ksize / 6.0f);
    for (const Size& s : {Size{1, 1}, Size{5, 7}, Size{ksize, ksize}, Size{90, 71}}) {
      const Image img(static_cast<size_t>(s.h) * s.w, 173);
      for (FilterFn fn : kAllFilters) {
        const ArenaRun run = run_filter(fn, img, s.h, s.w, k);
        EXPECT_EQ(run.result, 0);
        EXPECT_EQ(run.img, img) << ksize << " " << s.h << "x" << s.w;
      }
    }
  }
}

TEST(ThreadedGaussianTest, SingleBrightPixelSpreadsIntoTheOuterProduct) {
  const Taps k = gaussian_taps(21, 2.5f);
  const int h = 70, w = 80, cy = 35, cx = 41, r = 10;
  Image img(h * w, 0);
  img[cy * w + cx] = 255;
  for (FilterFn fn : kAllFilters) {
    const ArenaRun run = run_filter(fn, img, h, w, k);
    ASSERT_EQ(run.result, 0);
    for (int y = 0; y < h; ++y) {
      for (int x = 0; x < w; ++x) {
        int want = 0;
        if (std::abs(y - cy) <= r && std::abs(x - cx) <= r) {
          const int column = (k[y - cy + r] * 255) >> 10;  // after the vertical pass
          want = (k[x - cx + r] * column) >> 10;
        }
        ASSERT_EQ(run.img[y * w + x], want) << y << "," << x;
      }
    }
  }
}

// Row 0 weighs input row 1 twice (offsets -1 and +1) and row 0 once.
TEST(ThreadedGaussianTest, FirstRowMirrorsWithoutRepeatingTheEdge) {
  const Taps k = {256, 512, 256};
  const Image img = {0, 40, 100};  // one column, three rows
  const ArenaRun run = run_filter(gaussian_filter_for_int_image_common, img, 3, 1, k);
  EXPECT_EQ(run.img, (Image{(0 * 512 + 2 * 40 * 256) >> 10, (0 + 2 * 40 + 100) * 256 >> 10,
                            (100 * 512 + 2 * 40 * 256) >> 10}));
}

TEST(ThreadedGaussianTest, EvenKernelSizeIsRefusedAfterTakingTheFirstGrants) {
  const Taps k = {100, 400, 400, 124};
  const Image img = qlsbp_test::random_bytes(30 * 20, 3);
  for (FilterFn fn : kAllFilters) {
    const ArenaRun run = run_filter(fn, img, 30, 20, k, 0);
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(run.img, img);
    // Temporary image, padding to int alignment, two tables of 4 ints.
    EXPECT_GE(run.used, 600u + 32u);
    EXPECT_LE(run.used, 600u + 3u + 32u);
  }
}

TEST(ThreadedGaussianTest, TooSmallArenaIsRefusedWithoutTouchingTheImage) {
  const int h = 23, w = 25;
  const Taps k = gaussian_taps(21, 3.0f);
  const Image img = qlsbp_test::random_bytes(h * w, 9);
  const Image want = model_filter(img, h, w, k);
  const unsigned need = static_cast<unsigned>(gaussian_filter_arena_bytes(h, w, 21));
  for (FilterFn fn : {gaussian_filter_for_int_image_21x21, gaussian_filter_for_int_image_common}) {
    bool succeeded_once = false;
    for (unsigned capacity = 0; capacity <= need; capacity += capacity < 560 ? 37 : 5) {
      std::vector<unsigned char> block(capacity + 8);
      QLMemInfoT mem{block.data() + 3, capacity, 0};
      Image out = img;
      const int result = fn(out.data(), h, w, 21, k.data(), &mem);
      EXPECT_LE(mem.used, capacity);
      if (result == 0) {
        succeeded_once = true;
        ASSERT_EQ(out, want) << capacity;
      } else {
        ASSERT_EQ(result, 1);
        ASSERT_EQ(out, img) << capacity;
      }
    }
    EXPECT_TRUE(succeeded_once);
  }
}

// The arena never aligns; typed tables, handles and records must still be
// aligned whatever the view's starting offset (UBSan checks every access).
TEST(ThreadedGaussianTest, AnyArenaOffsetWorksWithinTheAdvertisedSize) {
  const int h = 31, w = 29;
  const Taps k = gaussian_taps(21, 3.0f);
  const Image img = qlsbp_test::random_bytes(h * w, 21);
  const Image want = model_filter(img, h, w, k);
  for (unsigned start = 0; start < 16; ++start) {
    for (FilterFn fn : kAllFilters) {
      const ArenaRun run = run_filter(fn, img, h, w, k, start);
      ASSERT_EQ(run.result, 0) << start;
      EXPECT_EQ(run.img, want) << start;
      EXPECT_LE(run.used, gaussian_filter_arena_bytes(h, w, 21));
    }
  }
}

TEST(ThreadedGaussianTest, DegenerateArgumentsGiveDocumentedResults) {
  const Taps k = gaussian_taps(21, 3.0f);
  unsigned char block[64];
  QLMemInfoT mem{block, sizeof(block), 0};
  unsigned char px = 9;
  for (FilterFn fn : kAllFilters) {
    EXPECT_EQ(fn(&px, 0, 5, 21, k.data(), &mem), 0);
    EXPECT_EQ(fn(&px, 5, -1, 21, k.data(), &mem), 0);
    EXPECT_EQ(fn(&px, 0, 5, 20, k.data(), &mem), 1);
    EXPECT_EQ(fn(&px, 1, 1, 0, k.data(), &mem), 1);
    EXPECT_EQ(fn(&px, 1, 1, -3, k.data(), &mem), 1);
    EXPECT_EQ(fn(nullptr, 1, 1, 21, k.data(), &mem), 1);
    EXPECT_EQ(fn(&px, 1, 1, 21, nullptr, &mem), 1);
    EXPECT_EQ(fn(&px, 1, 1, 21, k.data(), nullptr), 1);
    EXPECT_EQ(mem.used, 0u);
  }
  EXPECT_EQ(px, 9);
  EXPECT_EQ(gaussian_filter_arena_bytes(0, 10, 21), 0u);
  EXPECT_EQ(gaussian_filter_arena_bytes(10, 10, 0), 0u);
  EXPECT_GE(gaussian_filter_arena_bytes(240, 320, 21), 240u * 320u + 2u * 21u * 4u);
}

TEST(GaussMirrorTest, FoldsReflect101AsOftenAsNeeded) {
  EXPECT_EQ(gauss_mirror(-1, 10), 1);
  EXPECT_EQ(gauss_mirror(-2, 10), 2);
  EXPECT_EQ(gauss_mirror(10, 10), 8);
  EXPECT_EQ(gauss_mirror(5, 10), 5);
  EXPECT_EQ(gauss_mirror(-12, 3), 0);  // period 4: -12 -> 0
  EXPECT_EQ(gauss_mirror(5, 3), 1);    // 5 -> -1 -> 1
  EXPECT_EQ(gauss_mirror(-7, 2), 1);
  EXPECT_EQ(gauss_mirror(12345, 1), 0);
  EXPECT_EQ(gauss_mirror(3, 0), 0);
  for (int n = 1; n < 9; ++n)
    for (int i = -40; i < 40; ++i) EXPECT_EQ(gauss_mirror(i, n), fold(i, n)) << i << " " << n;
  EXPECT_EQ(gauss_mirror(-2147483647 - 1, 7), fold(static_cast<int>(-2147483648LL % 12), 7));
}

// ---- Row kernels: every compiled vector twin against the scalar one --------

using VerticalRowFn = void (*)(uint8_t*, const uint8_t*, const int*, const int*, int, int);
using HorizontalRowFn = void (*)(uint8_t*, const uint8_t*, const int*, int, int);

Taps random_taps(std::mt19937& rng, int ksize, int trial) {
  Taps k(ksize);
  const int range =
      trial % 4 == 0 ? 1024 : (trial % 4 == 1 ? 32767 : (trial % 4 == 2 ? 70000 : 2000000000));
  for (int& v : k) v = qlsbp_test::random_int(rng, trial % 2 ? -range : 0, range);
  return k;
}

void check_vertical_twin(VerticalRowFn fn) {
  std::mt19937 rng(5);
  for (int trial = 0; trial < 400; ++trial) {
    const int n = 1 + trial % 40;
    const int ksize =
        trial % 5 == 0 ? 21 : (trial % 5 == 1 ? 61 : qlsbp_test::random_int(rng, 1, 70));
    const Taps k = random_taps(rng, ksize, trial / 5);
    const int pitch = n + qlsbp_test::random_int(rng, 0, 9);
    std::vector<int> offsets(ksize);
    for (int i = 0; i < ksize; ++i) offsets[i] = qlsbp_test::random_int(rng, 0, ksize - 1) * pitch;
    const Image src = qlsbp_test::random_bytes(static_cast<size_t>(ksize) * pitch, rng());
    Image want(n + 2, 0xEE), got(n + 2, 0xEE);
    gauss_vertical_row_c(want.data() + 1, src.data(), offsets.data(), k.data(), ksize, n);
    fn(got.data() + 1, src.data(), offsets.data(), k.data(), ksize, n);
    ASSERT_EQ(got, want) << "n " << n << " ksize " << ksize << " trial " << trial;
  }
}

void check_horizontal_twin(HorizontalRowFn fn) {
  std::mt19937 rng(6);
  for (int trial = 0; trial < 400; ++trial) {
    const int n = 1 + trial % 40;
    const int ksize =
        trial % 5 == 0 ? 21 : (trial % 5 == 1 ? 61 : qlsbp_test::random_int(rng, 1, 70));
    const Taps k = random_taps(rng, ksize, trial / 5);
    const Image src = qlsbp_test::random_bytes(n + ksize - 1, rng());
    Image want(n + 2, 0xEE), got(n + 2, 0xEE);
    gauss_horizontal_row_c(want.data() + 1, src.data(), k.data(), ksize, n);
    fn(got.data() + 1, src.data(), k.data(), ksize, n);
    ASSERT_EQ(got, want) << "n " << n << " ksize " << ksize << " trial " << trial;
  }
}

// The scalar reference itself, on hand-worked numbers: one pair and a centre.
TEST(GaussRowsTest, ScalarRowsFollowThePairSum) {
  const Taps k = {300, 424, 300};
  const uint8_t src[] = {10, 20, 30, 40};
  uint8_t out[2];
  gauss_horizontal_row_c(out, src, k.data(), 3, 2);
  EXPECT_EQ(out[0], (300 * (10 + 30) + 424 * 20) >> 10);
  EXPECT_EQ(out[1], (300 * (20 + 40) + 424 * 30) >> 10);
  const int offsets[] = {2, 0, 1};  // rows as offsets into src
  gauss_vertical_row_c(out, src, offsets, k.data(), 3, 2);
  EXPECT_EQ(out[0], (300 * (30 + 20) + 424 * 10) >> 10);
  // Wrapping: 2^22 * 255 * 2 overflows 32 bits; the low byte of sum >> 10 stays.
  const Taps big = {1 << 22, 0, 1 << 22};
  const uint8_t ones[] = {255, 0, 255};
  gauss_horizontal_row_c(out, ones, big.data(), 3, 1);
  EXPECT_EQ(out[0], static_cast<uint8_t>(static_cast<uint32_t>((1u << 22) * 510u) >> 10));
}

TEST(GaussRowsTest, DispatchedRowsMatchScalar) {
  check_vertical_twin(gauss_vertical_row);
  check_horizontal_twin(gauss_horizontal_row);
}

#if QLSBP_HAVE_SSE2
TEST(GaussRowsTest, Sse2RowsMatchScalar) {
  check_vertical_twin(gauss_vertical_row_sse2);
  check_horizontal_twin(gauss_horizontal_row_sse2);
}
#endif

#if QLSBP_HAVE_NEON
TEST(GaussRowsTest, NeonRowsMatchScalar) {
  check_vertical_twin(gauss_vertical_row_neon);
  check_horizontal_twin(gauss_horizontal_row_neon);
}
#endif

}  // namespace
