// The Gaussian engine: the work arena and the kernel builders on hand-worked
// values; the integer filters against a plain two-pass convolution written
// here (reflect-101 borders through a simple fold, each pass truncating its
// 32-bit sum >> 10); the float passes against an integer model on dyadic
// taps; every compiled vector twin against its scalar row kernel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <tuple>
#include <vector>

#include "common/cpu_paths.h"
#include "common/test_util.h"
#include "gaussian/fixed_filters.h"
#include "gaussian/gauss_rows.h"
#include "qlsbp/arena.h"
#include "qlsbp/gaussian.h"

namespace {

using qlsbp_test::random_bytes;
using qlsbp_test::random_int;
using Image = std::vector<uint8_t>;
using Taps = std::vector<int>;
using FilterFn = int (*)(unsigned char*, int, int, int, const int*, QLMemInfoT*);
const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();

TEST(ArenaTest, GrantsRefusalsAndZeroFill) {
  // {used, size, granted}: exact fill, one byte over, empty grants (even when
  // full), sums that wrap 32 bits, a record already past its capacity.
  const unsigned cases[][3] = {{40, 60, 1}, {40, 61, 0},          {7, 0, 1},          {100, 0, 1},
                               {101, 0, 0}, {8, 0xFFFFFFFFu, 0}, {8, 0xFFFFFFF8u, 0}};
  std::vector<unsigned char> block(100);
  for (const auto& c : cases) {
    std::fill(block.begin(), block.end(), 0xAB);  // memory that held data before
    QLMemInfoT mem{block.data(), 100, c[0]};
    EXPECT_EQ(AssignMemSpace(&mem, c[1], c[0] & 1), c[2] ? block.data() + c[0] : nullptr) << c[1];
    EXPECT_EQ(mem.used, c[2] ? c[0] + c[1] : c[0]) << c[1];
    for (unsigned i = 0; i < 100; ++i)
      ASSERT_EQ(block[i], c[2] && i >= c[0] && i - c[0] < c[1] ? 0 : 0xAB) << c[1] << " at " << i;
  }
  EXPECT_EQ(AssignMemSpace(nullptr, 4, 1), nullptr);
}

TEST(GaussianKernelTest, OneDimensionalIntegerTaps) {
  Taps impulse(21, 0), flat(21, 48);
  impulse[10] = 1024, flat[10] = 64;  // 1024 / 21 truncates to 48; the missing 16 go to the centre
  const struct { float sigma; int ksize; float scale; Taps want; } cases[] = {
      // sigma 1: e^-0.5, 1, e^-0.5 -> 280.65 462.71 280.65; the centre gets the lost 2.
      {1.0f, 3, 1024, {280, 464, 280}}, {1.0f, 5, 1024, {55, 250, 414, 250, 55}},
      // Even: 5 weights normalised, the first 4 written, correction at index 2.
      {1.0f, 4, 1024, {55, 250, 469, 250}}, {2.0f, 1, 1024, {1024}}, {2.0f, 5, kNaN, Taps(5, 0)},
      {0.01f, 21, 1024, impulse}, {1e-30f, 21, 1024, impulse}, {0.0f, 21, 1024, impulse},
      {-2.0f, 21, 1024, impulse}, {kNaN, 21, 1024, impulse},   {1e4f, 21, 1024, flat},
      {1e30f, 21, 1024, flat},    {kInf, 21, 1024, flat}};
  for (const auto& c : cases) {
    Taps k(c.ksize, -7);
    init_gaussian_kernel(k.data(), c.sigma, c.ksize, 1, 0, c.scale);
    EXPECT_EQ(k, c.want) << "sigma " << c.sigma << " ksize " << c.ksize;
  }
  for (float sigma : {0.8f, 3.3f, 9.0f, 12.0f}) {  // sums exactly (int)scale
    Taps k(sigma > 10 ? 61 : 21);
    init_gaussian_kernel(k.data(), sigma, int(k.size()), 1, 0, sigma < 5 ? 1000.7f : 1024.0f);
    EXPECT_EQ(std::accumulate(k.begin(), k.end(), 0), sigma < 5 ? 1000 : 1024) << sigma;
  }
}

TEST(GaussianKernelTest, TwoDimensionalFloatAndOtherBuilders) {
  // 3 x 3, sigma 1: e^-1, e^-0.5, 1 over 4.89764 -> 76.92 126.81 209.08,
  // truncated without correction; fspecial_gaussian gives the same taps. Even
  // 2-D: the 3 x 3 grid laid out with pitch 2, normalised over all nine.
  const Taps three = {76, 126, 76, 126, 209, 126, 76, 126, 76};
  Taps k(9, -1), k2(4, -1), untouched(25, -7);
  init_gaussian_kernel(k.data(), 1.0f, 3, 2, 0, 1024.0f);
  init_gaussian_kernel(k2.data(), 1.0f, 2, 2, 0, 1024.0f);
  EXPECT_EQ(k, three);
  EXPECT_EQ(k2, (Taps{76, 126, 126, 209}));
  fspecial_gaussian(k.data(), 1, -1.0);  // the sign cancels
  EXPECT_EQ(k, three);
  for (double sigma : {0.0, 1e-320, double(kNaN)}) {  // the limit sigma -> 0
    fspecial_gaussian(k.data(), 1, sigma);
    EXPECT_EQ(k, (Taps{0, 0, 0, 0, 1024, 0, 0, 0, 0})) << sigma;
  }
  std::vector<float> f(21);
  init_gaussian_kernel(f.data(), 3.0f, 21, 1, 1, 1024.0f);
  EXPECT_NEAR(std::accumulate(f.begin(), f.end(), 0.0), 1024.0, 1e-3);
  EXPECT_NEAR(f[10], 1024.0 / (3.0 * std::sqrt(2.0 * 3.141592653589793)), 0.1);  // the peak
  const int bad[][3] = {{5, 3, 0}, {5, 0, 0}, {5, 1, 2}, {5, 2, -1}, {0, 1, 0}, {-3, 2, 1}};
  for (const auto& b : bad) init_gaussian_kernel(untouched.data(), 2.0f, b[0], b[1], b[2], 1024);
  init_gaussian_kernel(nullptr, 2.0f, 5, 1, 0, 1024.0f);
  fspecial_gaussian(untouched.data(), -1, 1.0);
  EXPECT_EQ(untouched, Taps(25, -7));  // {ksize, dims, out_type} above, radius -1

  // Pyramid: ring entries 1, centre 2, sum 10; times 1024 / 10, truncated.
  init_gaussian_filter_int("unused", k.data(), 3);
  EXPECT_EQ(k, (Taps{102, 102, 102, 102, 204, 102, 102, 102, 102}));
  for (int ksize = -1; ksize <= 56; ++ksize) {  // from 55 on, entries exceed 2^30
    Taps p(56 * 56, -1);
    init_gaussian_filter_int(nullptr, p.data(), ksize);
    const int n = ksize >= 1 && ksize <= 54 ? ksize * ksize : 0;
    const long long sum = std::accumulate(p.begin(), p.begin() + n, 0LL);
    EXPECT_TRUE(n == 0 || (sum <= 1024 && sum > 1024 - n)) << ksize << " sum " << sum;
    EXPECT_EQ(Taps(p.begin() + n, p.end()), Taps(p.size() - n, -1)) << ksize;
  }
  float src[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9.5f};
  std::vector<float> a(3, -1), b(3, -1);
  cvt_gaussina_kernel_21(a.data(), 0, b.data(), 1, src, 0, 3);  // a not requested
  cvt_gaussina_kernel_21(a.data(), 1, b.data(), 1, nullptr, 1, 3);  // no source: nothing
  EXPECT_EQ(b, (std::vector<float>{12.0f, 15.0f, 18.5f}));
  EXPECT_EQ(a[0], -1.0f);
  cvt_gaussina_kernel_21(a.data(), 1, nullptr, 1, src, 1, 3);  // use_src is not read
  EXPECT_EQ(a, (std::vector<float>{6.0f, 15.0f, 24.5f}));
}

// ---- Integer filters ------------------------------------------------------------

int fold(int i, int n) {
  while (n > 1 && (i < 0 || i >= n)) i = i < 0 ? -i : 2 * (n - 1) - i;
  return n > 1 ? i : 0;
}

// One output at `pos` of a line of n samples. Where the kernel lies inside the
// line the pair form reads taps 0..r only; elsewhere all taps, folded.
uint8_t model_tap_sum(const Taps& k, int pos, int n, const uint8_t* line, int step) {
  const int ks = static_cast<int>(k.size()), r = ks / 2;
  const bool inside = pos - r >= 0 && pos + r < n;
  uint32_t s = 0;
  for (int j = 0; j < ks; ++j)
    s += static_cast<uint32_t>(inside ? k[std::min(j, ks - 1 - j)] : k[j]) *
         line[fold(pos - r + j, n) * step];
  return static_cast<uint8_t>(s >> 10);
}

Image model_filter(const Image& img, int h, int w, const Taps& k) {
  Image tmp(img.size()), out(img.size());
  for (int i = 0; i < h * w; ++i) tmp[i] = model_tap_sum(k, i / w, h, &img[i % w], w);
  for (int i = 0; i < h * w; ++i) out[i] = model_tap_sum(k, i % w, w, &tmp[i - i % w], 1);
  return out;
}

Taps gaussian_taps(int ksize, float sigma) {
  Taps k(ksize);
  init_gaussian_kernel(k.data(), sigma, ksize, 1, 0, 1024.0f);
  return k;
}

// An arena of exactly the advertised size, its view starting `start` bytes in
// on a misaligned block (the typed grants must align themselves; UBSan checks).
Image run_filter(FilterFn fn, Image img, int h, int w, const Taps& k, unsigned start) {
  const unsigned long long need = gaussian_filter_arena_bytes(h, w, int(k.size()));
  std::vector<unsigned char> block(start + need + 1);
  QLMemInfoT mem{block.data() + 1, static_cast<unsigned>(start + need), start};
  EXPECT_EQ(fn(img.data(), h, w, int(k.size()), k.data(), &mem), 0);
  return img;
}

const FilterFn kThreaded[] = {gaussian_filter_for_int_image_61x61,
                              gaussian_filter_for_int_image_21x21,
                              gaussian_filter_for_int_image_common};

// Every threaded variant, and the fixed 11 / 21 tap filter where the taps fit
// it, against the model.
TEST(GaussianFilterTest, AllVariantsMatchModel) {
  struct Case { Taps k; int h, w; decltype(&gaussian_filter_for_int_image_11_11) fixed; };
  std::vector<Case> cases;
  // Smaller than, equal to and larger than the kernels (1x1 included), with
  // interiors that leave remainders for 7 and 5 strips.
  const int sizes[][2] = {{1, 1},   {2, 2},   {1, 40},  {40, 1},   {3, 5},   {16, 16}, {21, 21},
                          {22, 23}, {21, 64}, {64, 21}, {29, 36}, {41, 100}, {11, 75}, {75, 11}};
  for (const auto& [h, w] : sizes) {
    cases.push_back({gaussian_taps(21, 3.0f), h, w, gaussian_filter_for_int_image_21_21});
    cases.push_back({gaussian_taps(11, 0.5f + h % 4), h, w, gaussian_filter_for_int_image_11_11});
    cases.push_back({gaussian_taps(61, 9.0f), h + w / 2, w + 47, nullptr});
  }
  // The 61 / 21 variants filter other odd sizes (11 above, 1 .. 45 below) like
  // the common one. Kernels beyond the vector tap limit, and taps no builder
  // makes: beyond 1024, negative, wrapping the 32-bit sums, asymmetric.
  std::mt19937 rng(7);
  cases.push_back({gaussian_taps(301, 40.0f), 305, 340, nullptr});
  for (int t = 0; t < 12; ++t) {
    Taps k(t < 6 ? 21 : 2 * random_int(rng, 0, 22) + 1);
    const int range = t % 3 == 0 ? 3000 : (t % 3 == 1 ? 40000 : 2000000000);
    for (int& v : k) v = random_int(rng, -range, range);
    for (size_t d = 0; t % 2 == 0 && d < k.size() / 2; ++d) k[k.size() - 1 - d] = k[d];
    // Zero outer taps, which the workers leave out, on both sides.
    for (size_t d = 0; t % 4 == 2 && d < k.size() / 2 && d < static_cast<size_t>(t); ++d)
      k[d] = k[k.size() - 1 - d] = 0;
    cases.push_back({k, random_int(rng, 1, 60), random_int(rng, 1, 60), nullptr});
  }
  const int ksizes[] = {0, 4, 61, -5, 11, 21};  // the fixed filters do not read ksize
  uint32_t seed = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "ksize " << c.k.size() << " " << c.h << "x" << c.w);
    const Image img = random_bytes(static_cast<size_t>(c.h) * c.w, ++seed);
    const Image want = model_filter(img, c.h, c.w, c.k);
    for (FilterFn fn : kThreaded) ASSERT_EQ(run_filter(fn, img, c.h, c.w, c.k, seed % 16), want);
    Image got = img;
    if (c.fixed) c.fixed(got.data(), c.h, c.w, ksizes[seed % 6], c.k.data());
    ASSERT_EQ(got, c.fixed ? want : img) << "fixed";
  }
  // Hand-worked reflect-101: row 0 weighs row 1 twice (offsets -1, +1).
  EXPECT_EQ(run_filter(gaussian_filter_for_int_image_common, {0, 40, 100}, 3, 1, {256, 512, 256},
                       0), (Image{20, 45, 70}));
}

// A fixed-size body given a record of another ksize filters with the record's
// taps and stays inside its tables. The filters hand other sizes to the common
// bodies, so only this test reaches that path.
TEST(GaussianFilterTest, WorkerBodiesFilterTheirStrip) {
  const Taps k = gaussian_taps(5, 1.0f);
  const int rows = 3, cols = 17, stride = 24;
  int offsets[5] = {0, cols, 2 * cols, 3 * cols, 4 * cols};
  Image src = random_bytes((rows + 4) * stride, 77);
  const std::pair<void* (*)(void*), void* (*)(void*)> bodies[] = {
      {thread_vertical_gaussian_61, thread_horizon_gaussian_61},
      {thread_vertical_gaussian_21, thread_horizon_gaussian_21}};
  for (const auto& [vertical, horizontal] : bodies) {
    Image dv(rows * cols, 0xEE), dh(rows * stride, 0xEE);
    GaussianThreadArg v{src.data(), dv.data(), k.data(), offsets, rows, cols, stride, 5};
    GaussianThreadArg h{src.data(), dh.data(), k.data(), nullptr, rows, cols, stride, 5};
    EXPECT_TRUE(!vertical(&v) && !horizontal(&h) && !vertical(nullptr) && !horizontal(nullptr));
    for (int i = 0; i < rows * cols; ++i) ASSERT_EQ(dv[i], model_tap_sum(k, 2, 5, &src[i], cols));
    for (int i = 0; i < rows * stride; ++i)
      ASSERT_EQ(dh[i], i % stride < cols ? model_tap_sum(k, 2, 5, &src[i], 1) : 0xEE) << i;
  }
}

// A call charges the arena exactly: the temporary image, two tables of ksize
// ints, and the handles and records of both passes (7 + 7 handles and
// records in the 61 and 21 tap variants, 5 handles and 5 + 5 records in the
// common one), at every starting offset, so that arenas sized by this sum
// are exactly enough; from a misaligned offset nothing is read or written
// misaligned (UBSan checks).
TEST(GaussianFilterTest, ArenaAccountingIsExact) {
  const unsigned long long threaded = 14 * sizeof(pthread_t) + 14 * sizeof(GaussianThreadArg);
  const unsigned long long common = 5 * sizeof(pthread_t) + 10 * sizeof(GaussianThreadArg);
  for (auto [h, w, ks] : {std::tuple<int, int, int>{61, 73, 21}, {97, 89, 61}, {30, 31, 21}, {9, 7, 5}}) {
    const Taps k = gaussian_taps(ks, 2.0f);
    const Image img = random_bytes(size_t(h) * w, unsigned(h * w)), want = model_filter(img, h, w, k);
    const unsigned long long tables = 2ULL * ks * sizeof(int);
    EXPECT_EQ(gaussian_filter_arena_bytes(h, w, ks), h * w + tables + threaded);
    for (unsigned start : {0u, 1u, 2u, 3u, 5u, 7u}) {
      for (int variant = 0; variant < 3; ++variant) {
        const unsigned long long due = h * w + tables + (variant < 2 ? threaded : common);
        // Exactly the due bytes past start: enough; one fewer: refused.
        for (unsigned long long cap : {start + due, start + due - 1}) {
          std::vector<unsigned char> block(cap + 1, 0xCC);
          QLMemInfoT mem{block.data() + 1, static_cast<unsigned>(cap), start};
          Image out = img;
          const int rc = kThreaded[variant](out.data(), h, w, ks, k.data(), &mem);
          if (cap == start + due) {
            ASSERT_EQ(rc, 0);
            EXPECT_EQ(mem.used, start + due) << h << "x" << w << " " << ks << " @" << start;
            EXPECT_EQ(out, want);
          } else {
            ASSERT_EQ(rc, 1);
            EXPECT_EQ(out, img);
          }
        }
      }
    }
  }
}

TEST(GaussianFilterTest, RefusalsLeaveTheImageAndStayInTheArena) {
  const int h = 23, w = 25;
  const Taps k = gaussian_taps(21, 3.0f);
  const Image img = random_bytes(h * w, 9), want = model_filter(img, h, w, k);
  const unsigned need = static_cast<unsigned>(gaussian_filter_arena_bytes(h, w, 21));
  for (FilterFn fn : kThreaded) {
    // Arenas up to the advertised size: refused with the image untouched, or right.
    for (unsigned capacity = 0; capacity <= need; capacity += capacity < 560 ? 37 : 5) {
      std::vector<unsigned char> block(capacity + 8);
      QLMemInfoT mem{block.data() + 3, capacity, 0};
      Image out = img;
      const int rc = fn(out.data(), h, w, 21, k.data(), &mem);
      ASSERT_EQ(out, rc == 0 ? want : img) << capacity;
    }
    // Even ksize: refused after the temporary image and the two tables.
    std::vector<unsigned char> block(4096);
    QLMemInfoT mem{block.data(), 4096, 0};
    unsigned char px = 9;
    EXPECT_EQ(fn(&px, 1, 1, 4, k.data(), &mem), 1);
    EXPECT_EQ(mem.used, 1 + 32u);  // exact: no padding between the grants
    mem.used = 0;
    // {h, w, ksize, result}: nothing to do, or refused; the last: h * w beyond INT_MAX.
    const int args[][4] = {{0, 5, 21, 0}, {5, -1, 21, 0}, {0, 5, 20, 1},
                           {1, 1, 0, 1},  {1, 1, -3, 1},  {70000, 70000, 21, 1}};
    for (const auto& a : args) EXPECT_EQ(fn(&px, a[0], a[1], a[2], k.data(), &mem), a[3]);
    EXPECT_EQ(fn(nullptr, 1, 1, 21, k.data(), &mem) + fn(&px, 1, 1, 21, nullptr, &mem) +
                  fn(&px, 1, 1, 21, k.data(), nullptr), 3);
    EXPECT_TRUE(mem.used == 0 && px == 9);
  }
  EXPECT_EQ(gaussian_filter_arena_bytes(0, 10, 21) + gaussian_filter_arena_bytes(9, 9, 0), 0u);
  Image out = img;  // the fixed filters: nothing to do, or nothing to do it with
  gaussian_filter_for_int_image_11_11(out.data(), 16, -1, 11, k.data());
  gaussian_filter_for_int_image_21_21(out.data(), 4, 4, 21, nullptr);
  EXPECT_EQ(out, img);
}

// ---- Float-tap passes ---------------------------------------------------------

const decltype(&gaussian_filter_vertical_int) kPasses[] = {gaussian_filter_horizontal_int,
                                                            gaussian_filter_vertical_int};

// Taps are multiples of 1/8, so a float sum is (integer sum) / 8 exactly.
// Positions whose kernel leaves the plane (all of them when ksize exceeds
// the axis) keep the source pixel; even sizes reach one further back.
TEST(FloatTapPassTest, MatchIntegerModelWithDyadicTaps) {
  std::mt19937 rng(5);
  for (int trial = 0; trial < 40; ++trial) {
    const int h = random_int(rng, 1, 19), w = random_int(rng, 1, 19), ksize = random_int(rng, 1, 9);
    std::vector<float> kf(ksize);
    for (float& t : kf) t = random_int(rng, 0, 3) / 8.0f;
    const Image src = random_bytes(h * w, 50 + trial);
    for (int vertical = 0; vertical < 2; ++vertical) {
      const int n = vertical ? h : w, step = vertical ? w : 1, r = ksize >> 1;
      Image want = src, got(h * w, 1);
      for (int i = 0; i < h * w; ++i) {
        const int pos = vertical ? i / w : i % w;
        if (pos < r || pos >= n - r) continue;
        int s = 0;
        for (int t = 0; t < ksize; ++t) s += int(kf[t] * 8) * src[i + (t - r) * step];
        want[i] = static_cast<uint8_t>(s / 8);
      }
      kPasses[vertical](got.data(), src.data(), h, w, kf.data(), ksize);
      ASSERT_EQ(got, want) << h << "x" << w << " k" << ksize << " vertical " << vertical;
      got = src;  // in place gives the same bytes
      kPasses[vertical](got.data(), got.data(), h, w, kf.data(), ksize);
      ASSERT_EQ(got, want) << "in place";
    }
  }
}

TEST(FloatTapPassTest, SumsOutsideTheByteRangeAndDegenerateArguments) {
  const uint8_t src[4] = {0, 1, 200, 255};
  const struct { float tap; int ksize; Image want; } cases[] = {
      {2.0f, 1, {0, 2, 144, 254}},             // 400 and 510 keep their low byte
      {2147484160.0f, 1, {0, 0, 255, 255}},    // 2^31 + 512: low byte 0; 2^32 or more: 255
      {2147483520.0f, 1, {0, 128, 255, 255}},  // 2^31 - 128
      {-1.0f, 1, {0, 0, 0, 0}},                // negative sums give 0
      {kInf, 1, {0, 255, 255, 255}},           // 0 * inf is NaN, so 0
      {kNaN, 1, {0, 0, 0, 0}},     {1.0f, 0, {0, 0, 0, 0}},  {1.0f, -3, {0, 0, 0, 0}}};  // no taps
  Image out(4, 7);
  for (int vertical = 0; vertical < 2; ++vertical) {
    for (const auto& c : cases) {
      kPasses[vertical](out.data(), src, vertical ? 4 : 1, vertical ? 1 : 4, &c.tap, c.ksize);
      EXPECT_EQ(out, c.want) << c.tap << " ksize " << c.ksize << " vertical " << vertical;
    }
    out.assign(4, 7);  // nothing written for these
    kPasses[vertical](out.data(), src, 0, 4, &kInf, 1);
    kPasses[vertical](out.data(), nullptr, 1, 4, &kInf, 1);
    kPasses[vertical](out.data(), src, 1, 4, nullptr, 1);
    EXPECT_EQ(out, Image(4, 7));
  }
}

// Every compiled vector twin against the scalar reference. n = 1 .. 40 covers
// the 16-, 8- and 4-wide tails; integer taps inside and beyond the int16 range
// of the vector path, ksize past its limit; float taps pushing sums below 0,
// past 2^31 and 2^32, NaN, infinities and denormals, both float steps.
void check_twins(decltype(&gauss_vertical_row_c) vertical,
                 decltype(&gauss_horizontal_row_c) horizontal, decltype(&float_taps_row_c) row) {
  std::mt19937 rng(5);
  const int ranges[] = {1024, 32767, 70000, 2000000000};
  const float specials[] = {-3.0f, 0.0f, 1e7f, 2.2e7f, 1e30f, kNaN, kInf, 1.1754944e-38f, 1e-40f};
  for (int trial = 0; trial < 400; ++trial) {
    const int n = 1 + trial % 40, pitch = n + random_int(rng, 0, 9), range = ranges[trial / 5 % 4];
    const int ksize = trial % 5 == 0 ? 21 : (trial % 5 == 1 ? 61 : random_int(rng, 1, 70));
    Taps k(ksize), offsets(ksize);
    std::vector<float> kf(ksize % 10);
    for (int& v : k) v = random_int(rng, trial / 5 % 2 ? -range : 0, range);
    for (int& o : offsets) o = random_int(rng, 0, ksize - 1) * pitch;
    for (float& t : kf)
      t = random_int(rng, 0, 5) ? std::uniform_real_distribution<float>(-0.5f, 1.5f)(rng)
                                : specials[random_int(rng, 0, 8)];
    const Image src = random_bytes(static_cast<size_t>(ksize + 1) * pitch, rng());
    Image want(n + 2, 0xEE), got = want;
    gauss_vertical_row_c(want.data() + 1, src.data(), offsets.data(), k.data(), ksize, n);
    vertical(got.data() + 1, src.data(), offsets.data(), k.data(), ksize, n);
    ASSERT_EQ(got, want) << "n " << n << " ksize " << ksize << " trial " << trial;
    gauss_horizontal_row_c(want.data() + 1, src.data(), k.data(), ksize, n);
    horizontal(got.data() + 1, src.data(), k.data(), ksize, n);
    ASSERT_EQ(got, want) << "horizontal, trial " << trial;
    if (row == nullptr) continue;
    const int step = trial % 2 ? 1 : pitch;
    float_taps_row_c(want.data() + 1, src.data(), step, kf.data(), ksize % 10, n);
    row(got.data() + 1, src.data(), step, kf.data(), ksize % 10, n);
    ASSERT_EQ(got, want) << "float taps, trial " << trial;
  }
}

// Each path this CPU can take, selected by masking its feature bits; the
// chooser must hand out a different twin per path for the first two.
TEST(RowTwinTest, EveryTwinMatchesScalar) {
  std::vector<GaussVerticalRowFn> picked;
  for (const auto& path : qlsbp_test::cpu_paths()) {
    SCOPED_TRACE(path.name);
    qlsbp_test::ScopedCpuMask mask(path.flags);
    picked.push_back(gauss_vertical_row_pick());
    check_twins(gauss_vertical_row, gauss_horizontal_row, float_taps_row);
  }
  EXPECT_EQ(picked.back(), &gauss_vertical_row_c);
  for (size_t i = 1; i < picked.size(); ++i) EXPECT_NE(picked[i], picked[i - 1]) << i;
}

// Whole filters on sizes around the 32-, 16- and 8-wide steps of the twins
// and the strip split: every path gives the scalar path's bytes.
TEST(RowTwinTest, WholeFiltersAgreeOnEveryPath) {
  std::mt19937 rng(11);
  Taps k21(21);
  init_gaussian_kernel(k21.data(), 2.2f, 21, 1, 0, 1024.0f);
  for (int trial = 0; trial < 12; ++trial) {
    const int h = random_int(rng, 21, 90), w = random_int(rng, 21, 140);
    const Image src = random_bytes(static_cast<size_t>(h) * w, rng());
    Image want;
    for (const auto& path : qlsbp_test::cpu_paths()) {
      qlsbp_test::ScopedCpuMask mask(path.flags);
      Image img = src;
      std::vector<uint8_t> arena(static_cast<size_t>(h) * w + 4096);
      QLMemInfoT mem{arena.data(), static_cast<unsigned>(arena.size()), 0};
      ASSERT_EQ(gaussian_filter_for_int_image_21x21(img.data(), h, w, 21, k21.data(), &mem), 0);
      if (want.empty()) want = img;
      ASSERT_EQ(img, want) << path.name << " " << h << "x" << w;
    }
  }
}

}  // namespace
