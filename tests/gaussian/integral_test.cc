// Integral images and the box filters built on them, checked against
// brute-force window sums written here from the definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/gaussian.h"

namespace {

using qlsbp_test::random_bytes;

// Sum of src over rows y0..y1 and columns x0..x1, inclusive (empty when
// reversed).
uint64_t box_sum(const std::vector<uint8_t>& src, int width, int y0, int y1, int x0, int x1) {
  uint64_t s = 0;
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) s += src[y * width + x];
  return s;
}

const int kSizes[][2] = {{1, 1}, {1, 7}, {7, 1}, {2, 2}, {2, 3}, {3, 2}, {5, 9}, {16, 17}, {31, 4}};

// ---- pxIntegralOpenCV_int ---------------------------------------------------

TEST(IntegralZeroBordered, MatchesBruteForceSums) {
  for (const auto& hw : kSizes) {
    const int h = hw[0], w = hw[1];
    const auto src = random_bytes(h * w, 11 + h * 31 + w);
    std::vector<long long> out((h + 1) * (w + 1), -1);
    pxIntegralOpenCV_int(src.data(), h, w, out.data());
    for (int y = 0; y <= h; ++y)
      for (int x = 0; x <= w; ++x)
        ASSERT_EQ(out[y * (w + 1) + x], static_cast<long long>(box_sum(src, w, 0, y - 1, 0, x - 1)))
            << h << "x" << w << " at " << y << "," << x;
  }
}

TEST(IntegralZeroBordered, NoRowsWritesOnlyTheZeroRow) {
  std::vector<long long> out(8, -1);
  const uint8_t src[1] = {9};
  pxIntegralOpenCV_int(src, 0, 3, out.data());
  for (int i = 0; i < 4; ++i) EXPECT_EQ(out[i], 0);
  for (int i = 4; i < 8; ++i) EXPECT_EQ(out[i], -1);
  pxIntegralOpenCV_int(src, 1, -1, out.data());  // negative width: nothing
  EXPECT_EQ(out[4], -1);
}

// ---- mean_filter_int_with_integrogram --------------------------------------

// Model: the mean at (y, x) of the original image, with the border repeating
// the nearest interior position (clamp of y to r .. h-1-r, x alike). An even
// k equal to h (or w) leaves no interior; the border copies then spread row
// (column) r of the source.
std::vector<uint8_t> mean_model(const std::vector<uint8_t>& src, int h, int w, int k) {
  const int r = k >> 1;
  const uint64_t recip = (uint64_t{1} << 24) / (uint64_t(k) * k);
  std::vector<uint8_t> out(src.size());
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const int cy = std::max(std::min(y, h - 1 - r), r);
      const int cx = std::max(std::min(x, w - 1 - r), r);
      if (h - 1 - r < r || w - 1 - r < r) {
        out[y * w + x] = src[cy * w + cx];
        continue;
      }
      const uint64_t s = box_sum(src, w, cy - r, cy - r + k - 1, cx - r, cx - r + k - 1);
      out[y * w + x] = static_cast<uint8_t>((s * recip) >> 24);
    }
  }
  return out;
}

TEST(MeanFilter, FlatImageExactOnlyWhereKSquaredDividesTwoToThe24) {
  const int h = 9, w = 11;
  for (int k : {1, 2, 3, 4, 5, 8}) {
    std::vector<uint8_t> img(h * w, 255);
    mean_filter_int_with_integrogram(img.data(), k, h, w);
    // 255 * k^2 * (2^24 / k^2) >> 24: 255 for k = 1, 2, 4, 8; 254 for 3
    // (recip 1864135) and 5 (recip 671088).
    const int expect = (k == 3 || k == 5) ? 254 : 255;
    for (uint8_t v : img) ASSERT_EQ(v, expect) << "k=" << k;
  }
}

TEST(MeanFilter, KsizeOneCopies) {
  auto img = random_bytes(13 * 7, 5);
  const auto orig = img;
  mean_filter_int_with_integrogram(img.data(), 1, 13, 7);
  EXPECT_EQ(img, orig);
}

TEST(MeanFilter, MatchesWindowModelOnRandomImages) {
  for (const auto& hw : kSizes) {
    const int h = hw[0], w = hw[1];
    for (int k = 1; k <= std::min(h, w); ++k) {
      auto img = random_bytes(h * w, 100 + k * 7 + h * 3 + w);
      const auto expect = mean_model(img, h, w, k);
      mean_filter_int_with_integrogram(img.data(), k, h, w);
      ASSERT_EQ(img, expect) << h << "x" << w << " k=" << k;
    }
  }
}

TEST(MeanFilter, EvenKernelReachesUpAndLeft) {
  // k = 2: the window of (1, 1) is rows 0..1, columns 0..1.
  std::vector<uint8_t> img = {100, 0, 0,  //
                              0,   0, 0,  //
                              0,   0, 0};
  mean_filter_int_with_integrogram(img.data(), 2, 3, 3);
  // Interior (1..1, 1..1) only when r = 1: (1,1) = 100 * 4 * 2^22 >> 24 = 25;
  // every other pixel repeats it.
  for (uint8_t v : img) EXPECT_EQ(v, 25);
}

TEST(MeanFilter, UnusableKsizeLeavesImageUnchanged) {
  auto img = random_bytes(4 * 6, 8);
  const auto orig = img;
  for (int k : {0, -3, 5, 7, 100}) {  // 5 > height 4
    mean_filter_int_with_integrogram(img.data(), k, 4, 6);
    EXPECT_EQ(img, orig) << "k=" << k;
  }
  mean_filter_int_with_integrogram(nullptr, 3, 4, 6);
}

// ---- integral_image_uiuo_uint8 ---------------------------------------------

TEST(IntegralInclusive, MatchesBruteForceSums) {
  for (const auto& hw : kSizes) {
    const int h = hw[0], w = hw[1];
    auto src = random_bytes(h * w, 7 + h + w * 13);
    std::vector<unsigned long long> out(h * w, 12345);
    integral_image_uiuo_uint8(out.data(), src.data(), h, w);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) ASSERT_EQ(out[y * w + x], box_sum(src, w, 0, y, 0, x));
  }
}

std::string trace_of_integral(int h, int w) {
  std::vector<uint8_t> src(size_t(h) * w, 1);
  std::vector<unsigned long long> out(src.size());
  testing::internal::CaptureStdout();
  integral_image_uiuo_uint8(out.data(), src.data(), h, w);
  std::string text = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.back(), static_cast<unsigned long long>(h) * w);
  return text;
}

TEST(IntegralInclusive, TracePrintedOnceForLargeImages) {
  EXPECT_EQ(trace_of_integral(1856, 2024), "y = 1855");
  EXPECT_EQ(trace_of_integral(1857, 2100), "y = 1855");
}

TEST(IntegralInclusive, NoTraceBelowTheThreshold) {
  EXPECT_EQ(trace_of_integral(1856, 2023), "");  // last column skips the check
  EXPECT_EQ(trace_of_integral(1855, 2100), "");
  EXPECT_EQ(trace_of_integral(16, 16), "");
}

// ---- integral_image_mean_u_uint8 and GaussianBokeh_uint8 -------------------

// Model: rows top+1 .. bottom and columns left+1 .. right of the source,
// rounded, saturated; an empty window keeps the pixel.
std::vector<uint8_t> clipped_mean_model(const std::vector<uint8_t>& src, int h, int w, int radius) {
  std::vector<uint8_t> out(src.size());
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const int top = std::max(y - radius - 1, 0), bottom = std::min(y + radius, h - 1);
      const int left = std::max(x - radius - 1, 0), right = std::min(x + radius, w - 1);
      const uint64_t area = uint64_t(bottom - top) * (right - left);
      if (area == 0) {
        out[y * w + x] = src[y * w + x];
        continue;
      }
      const uint64_t q = (box_sum(src, w, top + 1, bottom, left + 1, right) + area / 2) / area;
      out[y * w + x] = q > 255 ? 255 : static_cast<uint8_t>(q);
    }
  }
  return out;
}

TEST(ClippedMean, FlatImageStaysFlat) {
  for (int v : {0, 1, 128, 254, 255}) {
    std::vector<uint8_t> src(12 * 9, static_cast<uint8_t>(v)), dst(src.size(), 7);
    GaussianBokeh_uint8(dst.data(), src.data(), 12, 9, 3);
    for (uint8_t p : dst) ASSERT_EQ(p, v);
  }
}

TEST(ClippedMean, MatchesWindowModel) {
  for (const auto& hw : kSizes) {
    const int h = hw[0], w = hw[1];
    for (int radius : {0, 1, 2, 5, 40}) {
      auto src = random_bytes(h * w, 3 + radius + h * 5 + w);
      std::vector<uint8_t> dst(src.size(), 0);
      GaussianBokeh_uint8(dst.data(), src.data(), h, w, radius);
      ASSERT_EQ(dst, clipped_mean_model(src, h, w, radius)) << h << "x" << w << " r=" << radius;
    }
  }
}

TEST(ClippedMean, RowAndColumnZeroNeverCount) {
  // 3x3, radius 1: pixel (1,1) averages rows 1..2, columns 1..2 only.
  std::vector<uint8_t> src = {200, 200, 200,  //
                              200, 10,  20,   //
                              200, 30,  41};
  std::vector<uint8_t> dst(9);
  GaussianBokeh_uint8(dst.data(), src.data(), 3, 3, 1);
  EXPECT_EQ(dst[4], (10 + 20 + 30 + 41 + 2) / 4);
  EXPECT_EQ(dst[8], 25);  // same window at the corner
}

TEST(ClippedMean, ZeroOrNegativeRadiusCopies) {
  auto src = random_bytes(6 * 5, 77);
  std::vector<uint8_t> dst(src.size());
  for (int radius : {0, -1, -1000}) {
    GaussianBokeh_uint8(dst.data(), src.data(), 6, 5, radius);
    EXPECT_EQ(dst, src) << radius;
  }
}

TEST(ClippedMean, SaturatesAt255) {
  // A hand-made "integral" whose window sum exceeds 255 per pixel.
  std::vector<unsigned long long> integral = {0, 0, 0, 1000};
  std::vector<uint8_t> dst(4);
  integral_image_mean_u_uint8(dst.data(), integral.data(), 2, 2, 1);
  EXPECT_EQ(dst[3], 255);
}

// ---- GetGrayIntegralImage ----------------------------------------------------

TEST(IntegralFloat, ExactBelowTwoToThe24WidthFirst) {
  for (const auto& hw : kSizes) {
    const int h = hw[0], w = hw[1];
    auto src = random_bytes(h * w, 21 + h * 2 + w);
    std::vector<float> out(h * w, -1.0f);
    GetGrayIntegralImage(src.data(), out.data(), w, h);  // width before height
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x)
        ASSERT_EQ(out[y * w + x], static_cast<float>(box_sum(src, w, 0, y, 0, x)));
  }
}

TEST(IntegralUtilities, EmptyOrNullInputsWriteNothing) {
  std::vector<unsigned long long> u(4, 9);
  std::vector<float> f(4, 9.0f);
  std::vector<uint8_t> b(4, 9), src(4, 1);
  integral_image_uiuo_uint8(u.data(), src.data(), 0, 2);
  integral_image_uiuo_uint8(u.data(), src.data(), 2, 0);
  integral_image_mean_u_uint8(b.data(), u.data(), 0, 2, 1);
  GaussianBokeh_uint8(b.data(), src.data(), -1, 2, 1);
  GaussianBokeh_uint8(b.data(), nullptr, 2, 2, 1);
  GetGrayIntegralImage(src.data(), f.data(), 0, 2);
  GetGrayIntegralImage(src.data(), f.data(), 2, -2);
  EXPECT_EQ(u, std::vector<unsigned long long>(4, 9));
  EXPECT_EQ(f, std::vector<float>(4, 9.0f));
  EXPECT_EQ(b, std::vector<uint8_t>(4, 9));
}

}  // namespace
