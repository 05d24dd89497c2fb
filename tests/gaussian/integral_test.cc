// Integral images and the box filters built on them, checked against
// brute-force window sums written here from the definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/gaussian.h"

namespace {

using qlsbp_test::random_bytes;
using Image = std::vector<uint8_t>;

// Sum over rows y0..y1 and columns x0..x1, inclusive (0 when reversed).
uint64_t box_sum(const Image& src, int width, int y0, int y1, int x0, int x1) {
  uint64_t s = 0;
  for (int y = y0; y <= y1; ++y)
    for (int x = x0; x <= x1; ++x) s += src[y * width + x];
  return s;
}

// Empty planes too: whatever they write lands outside the (empty) buffers,
// which the AddressSanitizer build reports.
const int kSizes[][2] = {{0, 3}, {3, 0}, {1, 1}, {1, 7}, {7, 1}, {2, 2},
                         {2, 3}, {3, 2}, {5, 9}, {16, 17}, {31, 4}};

TEST(IntegralTest, AllThreeLayoutsMatchBruteForceSums) {
  for (const auto& [h, w] : kSizes) {
    Image src = random_bytes(h * w + 1, 11 + h * 31 + w);  // never a null pointer
    std::vector<long long> zb((h + 1) * (w + 1), -1);
    std::vector<unsigned long long> inc(h * w, 12345);
    std::vector<float> fl(h * w, -1.0f);
    pxIntegralOpenCV_int(src.data(), h, w, zb.data());
    integral_image_uiuo_uint8(inc.data(), src.data(), h, w);
    GetGrayIntegralImage(src.data(), fl.data(), w, h);  // width before height
    for (int y = 0; y <= h; ++y)
      for (int x = 0; x <= w; ++x) {
        const uint64_t s = box_sum(src, w, 0, y - 1, 0, x - 1);  // zero-bordered
        ASSERT_EQ(zb[y * (w + 1) + x], static_cast<long long>(s)) << h << "x" << w;
        if (y == 0 || x == 0) continue;  // inclusive layouts: (y - 1, x - 1)
        ASSERT_EQ(inc[(y - 1) * w + x - 1], s) << h << "x" << w;
        ASSERT_EQ(fl[(y - 1) * w + x - 1], static_cast<float>(s)) << h << "x" << w;
      }
  }
  pxIntegralOpenCV_int(nullptr, 2, 2, nullptr);  // null pointers: nothing written
  integral_image_uiuo_uint8(nullptr, nullptr, 2, 2);
}

// The leftover trace: after row 1855, only with >= 1856 rows and > 2023 columns.
TEST(IntegralTest, TraceLineOnlyForLargeImages) {
  const struct { int h, w; const char* want; } cases[] = {
      {1856, 2024, "y = 1855"}, {1857, 2100, "y = 1855"}, {1856, 2023, ""}, {1855, 2100, ""}};
  for (const auto& c : cases) {
    Image src(size_t(c.h) * c.w, 1);
    std::vector<unsigned long long> out(src.size());
    testing::internal::CaptureStdout();
    integral_image_uiuo_uint8(out.data(), src.data(), c.h, c.w);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.want) << c.h << "x" << c.w;
  }
}

// The k x k window with top-left (y - r, x - r) times 2^24 / k^2 (truncated)
// >> 24; border positions repeat the nearest interior one. With no interior
// (even k equal to the side) the copies spread source row / column r.
Image mean_model(const Image& src, int h, int w, int k) {
  const int r = k >> 1;
  const uint64_t recip = (uint64_t{1} << 24) / (uint64_t(k) * k);
  const bool interior = h - 1 - r >= r && w - 1 - r >= r;
  Image out(src.size());
  for (int i = 0; i < h * w; ++i) {
    const int cy = std::max(std::min(i / w, h - 1 - r), r);
    const int cx = std::max(std::min(i % w, w - 1 - r), r);
    const uint64_t s = box_sum(src, w, cy - r, cy - r + k - 1, cx - r, cx - r + k - 1);
    out[i] = interior ? static_cast<uint8_t>((s * recip) >> 24) : src[cy * w + cx];
  }
  return out;
}

TEST(MeanFilterTest, MatchesWindowModelAndHandWorkedValues) {
  for (const auto& [h, w] : kSizes)
    for (int k = 1; k <= std::min(h, w); ++k) {
      Image img = random_bytes(h * w, 100 + k * 7 + h * 3 + w);
      const Image want = mean_model(img, h, w, k);
      mean_filter_int_with_integrogram(img.data(), k, h, w);
      ASSERT_EQ(img, want) << h << "x" << w << " k=" << k;
    }
  // Flat 255: exact only where k^2 divides 2^24 (254 for k = 3 and 5).
  for (int k : {1, 2, 3, 4, 5, 8}) {
    Image img(9 * 11, 255);
    mean_filter_int_with_integrogram(img.data(), k, 9, 11);
    EXPECT_EQ(img, Image(img.size(), k == 3 || k == 5 ? 254 : 255)) << k;
  }
  // k = 2 reaches up and left: (1, 1) averages rows and columns 0..1.
  Image img = {100, 0, 0, 0, 0, 0, 0, 0, 0};
  mean_filter_int_with_integrogram(img.data(), 2, 3, 3);
  EXPECT_EQ(img, Image(9, 25));
  const Image orig = img = random_bytes(4 * 6, 8);  // no usable ksize (5 > height): unchanged
  for (int k : {0, -3, 5, 100}) mean_filter_int_with_integrogram(img.data(), k, 4, 6);
  mean_filter_int_with_integrogram(nullptr, 3, 4, 6);
  EXPECT_EQ(img, orig);
}

// Rows top+1 .. bottom, columns left+1 .. right, rounded, saturated; an empty
// window keeps the pixel; a negative radius acts as 0.
Image clipped_mean_model(const Image& src, int h, int w, int radius) {
  radius = std::max(radius, 0);
  Image out(src.size());
  for (int i = 0; i < h * w; ++i) {
    const int top = std::max(i / w - radius - 1, 0), bottom = std::min(i / w + radius, h - 1);
    const int left = std::max(i % w - radius - 1, 0), right = std::min(i % w + radius, w - 1);
    const uint64_t area = uint64_t(bottom - top) * (right - left);
    const uint64_t sum = box_sum(src, w, top + 1, bottom, left + 1, right);
    out[i] = area ? std::min<uint64_t>((sum + area / 2) / area, 255) : src[i];
  }
  return out;
}

TEST(ClippedMeanTest, MatchesWindowModelAndHandWorkedValues) {
  for (const auto& [h, w] : kSizes)
    for (int radius : {-1, 0, 1, 2, 5, 40}) {
      Image src = random_bytes(h * w, 3 + radius + h * 5 + w), dst(h * w, 0);
      GaussianBokeh_uint8(dst.data(), src.data(), h, w, radius);
      ASSERT_EQ(dst, clipped_mean_model(src, h, w, radius)) << h << "x" << w << " r=" << radius;
    }
  // Row 0 and column 0 never count: (1,1) and (2,2) average rows/columns 1..2.
  Image src = {200, 200, 200, 200, 10, 20, 200, 30, 41}, dst(9, 7);
  GaussianBokeh_uint8(dst.data(), src.data(), 3, 3, 1);
  EXPECT_TRUE(dst[4] == (10 + 20 + 30 + 41 + 2) / 4 && dst[8] == dst[4]) << int(dst[4]);
  // A hand-made "integral" whose window sum exceeds 255 per pixel saturates.
  std::vector<unsigned long long> integral = {0, 0, 0, 1000};
  integral_image_mean_u_uint8(dst.data(), integral.data(), 2, 2, 1);
  EXPECT_EQ(dst[3], 255);
  dst.assign(4, 9);  // nothing written for empty or missing input
  integral_image_mean_u_uint8(dst.data(), integral.data(), 0, 2, 1);
  GaussianBokeh_uint8(dst.data(), nullptr, 2, 2, 1);
  EXPECT_EQ(dst, Image(4, 9));
}

}  // namespace

namespace {

// Past 2^24 single precision rounds, so the order of the additions decides
// the bits: column sums accumulated down the rows, then added along the row.
// A bright 300 x 300 image reaches about 2.1e7. The model is that order;
// the same sums taken along the rows first (or exactly, in double) give other
// bits, which shows that the image does exercise the order.
TEST(GrayIntegral, FloatSumsFollowTheColumnThenRowOrder) {
  const int h = 300, w = 300;
  Image src(static_cast<size_t>(h) * w);
  std::mt19937 rng(5);
  for (auto& v : src) v = static_cast<uint8_t>(200 + rng() % 56);
  std::vector<float> got(src.size());
  GetGrayIntegralImage(src.data(), got.data(), w, h);

  std::vector<float> want(src.size()), rows_first(src.size()), colsum(w, 0.0f), rowsum(w);
  for (int y = 0; y < h; ++y) {
    float run = 0.0f;
    for (int x = 0; x < w; ++x) {
      colsum[x] = y == 0 ? float(src[x]) : colsum[x] + float(src[y * w + x]);
      want[y * w + x] = x == 0 ? colsum[0] : want[y * w + x - 1] + colsum[x];
      run += float(src[y * w + x]);
      rows_first[y * w + x] = y == 0 ? run : rows_first[(y - 1) * w + x] + run;
    }
  }
  int differ_rows_first = 0;
  for (size_t i = 0; i < src.size(); ++i) {
    ASSERT_EQ(got[i], want[i]) << i;
    differ_rows_first += rows_first[i] != want[i];
  }
  uint64_t exact = 0;
  for (uint8_t v : src) exact += v;
  EXPECT_GT(differ_rows_first, 1000);
  EXPECT_GT(exact, 1u << 24);
}

}  // namespace
