// Fixed-kernel integer filters, float-tap passes and the kernel builders,
// checked against hand-worked values and simple models written here.
#include "gaussian/fixed_filters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/gaussian.h"

namespace {

using qlsbp_test::random_bytes;
using qlsbp_test::random_int;

// ---- 11- and 21-tap in-place filters ---------------------------------------

// Reflect-101, folded as often as needed: the index walks back and forth
// between 0 and n-1.
int reflect101(int i, int n) {
  if (n == 1) return 0;
  while (i < 0 || i >= n) {
    if (i < 0) i = -i;
    if (i >= n) i = 2 * (n - 1) - i;
  }
  return i;
}

// Symmetric non-negative taps summing to 1024.
std::vector<int> random_symmetric_taps(int taps, uint32_t seed) {
  std::mt19937 rng(seed);
  const int r = taps >> 1;
  std::vector<int> k(taps, 0);
  int used = 0;
  for (int d = 0; d < r; ++d) {
    const int t = random_int(rng, 0, (1024 - used) / (2 * (r - d) + 1));
    k[d] = k[taps - 1 - d] = t;
    used += 2 * t;
  }
  k[r] = 1024 - used;
  return k;
}

// Full unpaired sums: vertical pass into tmp, horizontal pass into out.
std::vector<uint8_t> separable_model(const std::vector<uint8_t>& img, int h, int w,
                                     const std::vector<int>& k) {
  const int taps = static_cast<int>(k.size()), r = taps >> 1;
  std::vector<uint8_t> tmp(img.size()), out(img.size());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      uint32_t s = 0;
      for (int t = 0; t < taps; ++t) s += k[t] * img[reflect101(y - r + t, h) * w + x];
      tmp[y * w + x] = static_cast<uint8_t>(s >> 10);
    }
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      uint32_t s = 0;
      for (int t = 0; t < taps; ++t) s += k[t] * tmp[y * w + reflect101(x - r + t, w)];
      out[y * w + x] = static_cast<uint8_t>(s >> 10);
    }
  return out;
}

using FixedFilter = void (*)(unsigned char*, int, int, int, const int*);
struct FixedCase {
  FixedFilter filter;
  int taps;
};
const FixedCase kFixed[] = {{gaussian_filter_for_int_image_11_11, 11},
                            {gaussian_filter_for_int_image_21_21, 21}};

TEST(FixedGaussian, ConstantImageUnchanged) {
  for (const auto& c : kFixed) {
    const auto k = random_symmetric_taps(c.taps, 3);
    for (int v : {0, 1, 77, 255}) {
      for (int h : {1, 4, 30}) {
        const int w = 37;
        std::vector<uint8_t> img(h * w, static_cast<uint8_t>(v));
        c.filter(img.data(), h, w, c.taps, k.data());
        for (uint8_t p : img) ASSERT_EQ(p, v) << c.taps << " " << h;
      }
    }
  }
}

TEST(FixedGaussian, MatchesSeparableModelWithMirroredBorders) {
  // Sizes from a single pixel through planes shorter than the kernel (which
  // fold the mirror repeatedly) to planes with a wide interior and odd tails.
  const int sizes[][2] = {{1, 1},  {1, 2},   {2, 1},   {2, 2},   {3, 5},   {5, 3},   {6, 11},
                          {11, 6}, {12, 22}, {21, 21}, {23, 40}, {40, 23}, {33, 67}, {64, 17}};
  for (const auto& c : kFixed) {
    for (const auto& hw : sizes) {
      const int h = hw[0], w = hw[1];
      const auto k = random_symmetric_taps(c.taps, h * 100 + w);
      auto img = random_bytes(h * w, h * 7 + w * 3 + c.taps);
      const auto expect = separable_model(img, h, w, k);
      c.filter(img.data(), h, w, c.taps, k.data());
      ASSERT_EQ(img, expect) << c.taps << " taps, " << h << "x" << w;
    }
  }
}

// Both filter families share the border rule, so wherever the threaded
// filters are defined (planes at least as large as the kernel) they agree.
TEST(FixedGaussian, AgreesWithThreadedFilters) {
  const int sizes[][2] = {{21, 21}, {22, 37}, {45, 23}, {64, 50}};
  for (const auto& c : kFixed) {
    for (const auto& hw : sizes) {
      const int h = hw[0], w = hw[1];
      const auto k = random_symmetric_taps(c.taps, h + w);
      auto fixed = random_bytes(h * w, h * 11 + w);
      auto threaded = fixed;
      std::vector<unsigned char> block(gaussian_filter_arena_bytes(h, w, c.taps), 0);
      QLMemInfoT mem = {block.data(), static_cast<unsigned>(block.size()), 0};
      c.filter(fixed.data(), h, w, c.taps, k.data());
      const int rc =
          c.taps == 21
              ? gaussian_filter_for_int_image_21x21(threaded.data(), h, w, 21, k.data(), &mem)
              : gaussian_filter_for_int_image_common(threaded.data(), h, w, 11, k.data(), &mem);
      ASSERT_EQ(rc, 0);
      ASSERT_EQ(fixed, threaded) << c.taps << " taps, " << h << "x" << w;
    }
  }
}

TEST(FixedGaussian, KsizeArgumentDoesNotChangeTheTapCount) {
  for (const auto& c : kFixed) {
    const auto k = random_symmetric_taps(c.taps, 9);
    const auto src = random_bytes(25 * 31, 10);
    auto a = src, b = src;
    c.filter(a.data(), 25, 31, c.taps, k.data());
    for (int ksize : {0, 3, 4, 61, -5}) {
      b = src;
      c.filter(b.data(), 25, 31, ksize, k.data());
      EXPECT_EQ(a, b) << ksize;
    }
  }
}

TEST(FixedGaussian, EmptyOrNullInputsLeaveImage) {
  const auto k = random_symmetric_taps(21, 1);
  auto img = random_bytes(16, 2);
  const auto orig = img;
  gaussian_filter_for_int_image_21_21(img.data(), 0, 16, 21, k.data());
  gaussian_filter_for_int_image_21_21(img.data(), 16, -1, 21, k.data());
  gaussian_filter_for_int_image_11_11(img.data(), 4, 4, 11, nullptr);
  gaussian_filter_for_int_image_11_11(nullptr, 4, 4, 11, k.data());
  EXPECT_EQ(img, orig);
}

// ---- Float-tap passes -------------------------------------------------------

using FloatPass = void (*)(unsigned char*, const unsigned char*, int, int, const float*, int);

// Dyadic taps keep every float sum exact, so an integer model applies:
// taps are multiples of 1/8, the sum is (integer sum) / 8 truncated.
TEST(FloatTapPasses, MatchIntegerModelWithDyadicTaps) {
  std::mt19937 rng(5);
  for (int trial = 0; trial < 40; ++trial) {
    const int h = random_int(rng, 1, 19), w = random_int(rng, 1, 19);
    const int ksize = random_int(rng, 1, 9);
    std::vector<int> eighths(ksize);
    std::vector<float> kf(ksize);
    for (int t = 0; t < ksize; ++t) {
      eighths[t] = random_int(rng, 0, 3);
      kf[t] = eighths[t] / 8.0f;
    }
    const auto src = random_bytes(h * w, 50 + trial);
    const int r = ksize >> 1;
    std::vector<uint8_t> eh = src, ev = src, dh(h * w, 1), dv(h * w, 1);
    for (int y = 0; y < h; ++y)
      for (int x = r; x < w - r; ++x) {
        int s = 0;
        for (int t = 0; t < ksize; ++t) s += eighths[t] * src[y * w + x - r + t];
        eh[y * w + x] = static_cast<uint8_t>(s / 8);
      }
    for (int y = r; y < h - r; ++y)
      for (int x = 0; x < w; ++x) {
        int s = 0;
        for (int t = 0; t < ksize; ++t) s += eighths[t] * src[(y - r + t) * w + x];
        ev[y * w + x] = static_cast<uint8_t>(s / 8);
      }
    gaussian_filter_horizontal_int(dh.data(), src.data(), h, w, kf.data(), ksize);
    gaussian_filter_vertical_int(dv.data(), src.data(), h, w, kf.data(), ksize);
    ASSERT_EQ(dh, eh) << h << "x" << w << " k" << ksize;
    ASSERT_EQ(dv, ev) << h << "x" << w << " k" << ksize;
  }
}

TEST(FloatTapPasses, EvenKernelTruncatesAndKeepsBorders) {
  const float k[2] = {0.5f, 0.5f};  // r = 1: dst[x] = (src[x-1] + src[x]) / 2
  const uint8_t src[5] = {3, 4, 9, 10, 200};
  uint8_t dst[5];
  gaussian_filter_horizontal_int(dst, src, 1, 5, k, 2);
  const uint8_t expect[5] = {3, 3, 6, 9, 200};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(dst[i], expect[i]) << i;
}

TEST(FloatTapPasses, SumsOutsideTheByteRange) {
  const uint8_t src[4] = {0, 1, 200, 255};
  uint8_t dst[4];
  struct {
    float tap;
    uint8_t expect[4];
  } cases[] = {
      {2.0f, {0, 2, 144, 254}},     // 400 -> low byte 144, 510 -> 254
      {-1.0f, {0, 0, 0, 0}},        // negative sums give 0
      {1e30f, {0, 255, 255, 255}},  // beyond 2^32: saturated, byte 255
      {std::numeric_limits<float>::infinity(), {0, 255, 255, 255}},  // 0 * inf is NaN -> 0
      {std::numeric_limits<float>::quiet_NaN(), {0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    gaussian_filter_horizontal_int(dst, src, 1, 4, &c.tap, 1);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(dst[i], c.expect[i]) << c.tap << " " << i;
    gaussian_filter_vertical_int(dst, src, 4, 1, &c.tap, 1);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(dst[i], c.expect[i]) << c.tap << " " << i;
  }
}

TEST(FloatTapPasses, NoTapsZeroAndOversizedKernelCopies) {
  const auto src = random_bytes(3 * 4, 12);
  const float k[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
  for (FloatPass pass :
       {FloatPass(gaussian_filter_horizontal_int), FloatPass(gaussian_filter_vertical_int)}) {
    std::vector<uint8_t> dst(src.size(), 7);
    pass(dst.data(), src.data(), 3, 4, k, 0);
    EXPECT_EQ(dst, std::vector<uint8_t>(src.size(), 0));
    dst.assign(src.size(), 7);
    pass(dst.data(), src.data(), 3, 4, nullptr, -3);
    EXPECT_EQ(dst, std::vector<uint8_t>(src.size(), 0));
    pass(dst.data(), src.data(), 3, 4, k, 9);  // no position fits 9 taps
    EXPECT_EQ(dst, src);
  }
}

TEST(FloatTapPasses, InPlaceEqualsSeparateBuffers) {
  const auto src = random_bytes(17 * 13, 14);
  const float k[5] = {0.1f, 0.2f, 0.4f, 0.2f, 0.1f};
  for (FloatPass pass :
       {FloatPass(gaussian_filter_horizontal_int), FloatPass(gaussian_filter_vertical_int)}) {
    std::vector<uint8_t> out(src.size()), inplace = src;
    pass(out.data(), src.data(), 17, 13, k, 5);
    pass(inplace.data(), inplace.data(), 17, 13, k, 5);
    EXPECT_EQ(out, inplace);
  }
}

using FloatRow = void (*)(uint8_t*, const uint8_t*, int, const float*, int, int);

// Every compiled vector twin against the scalar row kernel: output counts
// 1 .. 17 (tails of the 8- and 4-wide steps), both steps, taps that push sums
// below 0, past 2^31 and 2^32, and NaN.
[[maybe_unused]] void check_float_row_twin(FloatRow twin) {
  std::mt19937 rng(77);
  const float specials[] = {-3.0f,
                            0.0f,
                            1e7f,
                            2.2e7f,
                            1e30f,
                            std::numeric_limits<float>::quiet_NaN(),
                            std::numeric_limits<float>::infinity(),
                            1.1754944e-38f,
                            1e-40f};
  for (int trial = 0; trial < 400; ++trial) {
    const int n = 1 + trial % 17;
    const int ksize = random_int(rng, 0, 9);
    const int step = trial % 2 ? 1 : random_int(rng, n, n + 5);
    std::vector<float> k(ksize);
    for (auto& t : k) {
      t = random_int(rng, 0, 5) == 0 ? specials[random_int(rng, 0, 8)]
                                     : std::uniform_real_distribution<float>(-0.5f, 1.5f)(rng);
    }
    const auto src = random_bytes(size_t(step) * (ksize + 1) + n, 1000 + trial);
    std::vector<uint8_t> a(n + 1, 0xAA), b(n + 1, 0xAA);
    float_taps_row_c(a.data(), src.data(), step, k.data(), ksize, n);
    twin(b.data(), src.data(), step, k.data(), ksize, n);
    ASSERT_EQ(a, b) << "n=" << n << " ksize=" << ksize << " step=" << step;
  }
}

#if QLSBP_HAVE_SSE2
TEST(FloatTapTwins, Sse2MatchesScalar) { check_float_row_twin(float_taps_row_sse2); }
#endif
#if QLSBP_HAVE_FLOAT_TAPS_NEON
TEST(FloatTapTwins, NeonMatchesScalar) { check_float_row_twin(float_taps_row_neon); }
#endif

TEST(FloatTapTwins, ScalarHandlesSumsPastTwoToThe31) {
  // 2^31 + 512 has low byte 0; 2^31 - 128 (representable) has low byte 128.
  const uint8_t src[2] = {1, 1};
  const float k1[1] = {2147484160.0f};
  const float k2[1] = {2147483520.0f};
  uint8_t d[2];
  float_taps_row_c(d, src, 1, k1, 1, 1);
  EXPECT_EQ(d[0], 0);
  float_taps_row_c(d, src, 1, k2, 1, 1);
  EXPECT_EQ(d[0], 128);
}

// ---- Kernel builders ----------------------------------------------------------

TEST(PyramidKernel, HandWorkedSizes) {
  std::vector<int> k(25, -1);
  init_gaussian_filter_int("unused", k.data(), 3);
  EXPECT_EQ(std::vector<int>(k.begin(), k.begin() + 9),
            (std::vector<int>{102, 102, 102, 102, 204, 102, 102, 102, 102}));
  // 5x5: raw ring values 1, 2, 4, sum 36, f = 1024/36: 28, 56, 113.
  init_gaussian_filter_int(nullptr, k.data(), 5);
  const std::vector<int> five = {28, 28, 28,  28, 28,  //
                                 28, 56, 56,  56, 28,  //
                                 28, 56, 113, 56, 28,  //
                                 28, 56, 56,  56, 28,  //
                                 28, 28, 28,  28, 28};
  EXPECT_EQ(k, five);
  init_gaussian_filter_int(nullptr, k.data(), 1);
  EXPECT_EQ(k[0], 1024);
}

TEST(PyramidKernel, SumsToAtMost1024UpToTheLargestSize) {
  for (int ksize = 1; ksize <= 54; ++ksize) {
    std::vector<int> k(ksize * ksize, -1);
    init_gaussian_filter_int(nullptr, k.data(), ksize);
    long long sum = 0;
    for (int v : k) {
      ASSERT_GE(v, 0) << ksize;
      sum += v;
    }
    EXPECT_LE(sum, 1024) << ksize;
    EXPECT_GT(sum, 1024 - ksize * ksize) << ksize;
  }
}

TEST(PyramidKernel, UnrepresentableSizesLeaveKernel) {
  for (int ksize : {0, -1, 55, 61, 1000000}) {
    std::vector<int> k(55 * 55, -1);
    init_gaussian_filter_int(nullptr, k.data(), ksize);
    EXPECT_EQ(k, std::vector<int>(55 * 55, -1)) << ksize;
  }
}

TEST(FspecialGaussian, HandWorkedKernels) {
  int one = -1;
  fspecial_gaussian(&one, 0, 1.5);
  EXPECT_EQ(one, 1024);
  std::vector<int> k(9);
  // sigma 1: weights 1, e^-1/2, e^-1 over a sum of 4.8976.
  fspecial_gaussian(k.data(), 1, 1.0);
  EXPECT_EQ(k, (std::vector<int>{76, 126, 76, 126, 209, 126, 76, 126, 76}));
  fspecial_gaussian(k.data(), 1, -1.0);  // the sign cancels
  EXPECT_EQ(k, (std::vector<int>{76, 126, 76, 126, 209, 126, 76, 126, 76}));
}

TEST(FspecialGaussian, DegenerateSigmaAndRadius) {
  for (double sigma : {0.0, 1e-320, std::numeric_limits<double>::quiet_NaN()}) {
    std::vector<int> k(25, -1);
    fspecial_gaussian(k.data(), 2, sigma);
    for (int i = 0; i < 25; ++i) EXPECT_EQ(k[i], i == 12 ? 1024 : 0) << sigma;
  }
  std::vector<int> k(4, -1);
  fspecial_gaussian(k.data(), -1, 1.0);
  EXPECT_EQ(k, std::vector<int>(4, -1));
}

TEST(KernelMarginals, RowAndColumnSumsSelectedByFlags) {
  float src[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9.5f};
  float a[3] = {-1, -1, -1}, b[3] = {-1, -1, -1};
  cvt_gaussina_kernel_21(a, 0, b, 1, src, 0, 3);  // a not requested
  EXPECT_EQ(std::vector<float>(a, a + 3), std::vector<float>(3, -1.0f));
  EXPECT_EQ(std::vector<float>(b, b + 3), (std::vector<float>{12.0f, 15.0f, 18.5f}));
  cvt_gaussina_kernel_21(a, 1, b, 1, nullptr, 1, 3);  // no source: nothing
  cvt_gaussina_kernel_21(nullptr, 1, nullptr, 1, src, 1, 3);
  EXPECT_EQ(a[0], -1.0f);
  cvt_gaussina_kernel_21(a, 1, nullptr, 1, src, 1, 3);  // use_src is not read
  EXPECT_EQ(std::vector<float>(a, a + 3), (std::vector<float>{6.0f, 15.0f, 24.5f}));
}

}  // namespace
