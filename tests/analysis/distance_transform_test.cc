// Distance transform against a brute-force nearest-site search.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/analysis.h"

namespace {

// Squared distance from every pixel to the nearest 0 pixel, by trying all of
// them; -1 when there is none.
std::vector<int64_t> brute_force_sqr(const std::vector<uint8_t>& img, int width, int height) {
  std::vector<int64_t> out(img.size(), -1);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int64_t best = -1;
      for (int sy = 0; sy < height; ++sy) {
        for (int sx = 0; sx < width; ++sx) {
          if (img[sy * width + sx] != 0) continue;
          const int64_t d = int64_t{sx - x} * (sx - x) + int64_t{sy - y} * (sy - y);
          if (best < 0 || d < best) best = d;
        }
      }
      out[y * width + x] = best;
    }
  }
  return out;
}

// A binary image where roughly `percent_sites` % of the pixels are 0.
std::vector<uint8_t> random_sites(int width, int height, int percent_sites, uint32_t seed) {
  std::mt19937 rng(seed);
  std::vector<uint8_t> img(static_cast<size_t>(width) * height);
  for (auto& p : img) {
    p = qlsbp_test::random_int(rng, 0, 99) < percent_sites
            ? 0
            : static_cast<uint8_t>(qlsbp_test::random_int(rng, 1, 255));
  }
  return img;
}

std::vector<double> run_edt(std::vector<uint8_t>& img, int width, int height) {
  std::vector<double> out(img.size(), 12345.0);
  computeEDT(out.data(), img.data(), width, height);
  return out;
}

TEST(DistanceTransform, MatchesBruteForceOnRandomImages) {
  const int sizes[][2] = {{1, 1},   {1, 9},   {9, 1},   {2, 3},  {7, 5},
                          {16, 16}, {33, 17}, {17, 40}, {64, 48}};
  const int densities[] = {1, 5, 30, 90};
  uint32_t seed = 1;
  for (const auto& s : sizes) {
    for (int density : densities) {
      const int w = s[0];
      const int h = s[1];
      std::vector<uint8_t> img = random_sites(w, h, density, seed++);
      const std::vector<int64_t> expect = brute_force_sqr(img, w, h);
      bool any_site = false;
      for (int64_t e : expect) any_site |= e >= 0;
      if (!any_site) img[img.size() / 2] = 0;  // keep the case meaningful
      const std::vector<int64_t> truth = brute_force_sqr(img, w, h);
      const std::vector<double> got = run_edt(img, w, h);
      for (size_t i = 0; i < got.size(); ++i) {
        ASSERT_DOUBLE_EQ(got[i], std::sqrt(static_cast<double>(truth[i])))
            << w << "x" << h << " density " << density << " at " << i;
      }
    }
  }
}

TEST(DistanceTransform, SingleSiteGivesExactEuclideanDistance) {
  const int w = 23;
  const int h = 14;
  const int x0 = 17;
  const int y0 = 3;
  std::vector<uint8_t> img(w * h, 200);
  img[y0 * w + x0] = 0;
  const std::vector<double> got = run_edt(img, w, h);
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      const double expect =
          std::sqrt(static_cast<double>((x - x0) * (x - x0) + (y - y0) * (y - y0)));
      EXPECT_EQ(got[y * w + x], expect) << x << "," << y;
    }
  }
}

TEST(DistanceTransform, ColumnWithoutSitesIsResolvedByTheRowPass) {
  // Sites only in column 0: every other column has no site after the column
  // pass and must take its distance from column 0.
  const int w = 5;
  const int h = 4;
  std::vector<uint8_t> img(w * h, 1);
  img[0 * w + 0] = 0;
  img[3 * w + 0] = 0;
  const std::vector<double> got = run_edt(img, w, h);
  for (int y = 0; y < h; ++y) {
    const int dy = std::min(y, 3 - y);
    for (int x = 0; x < w; ++x) {
      EXPECT_EQ(got[y * w + x], std::sqrt(static_cast<double>(x * x + dy * dy))) << x << "," << y;
    }
  }
}

TEST(DistanceTransform, LineWithoutSitesStaysUnchanged) {
  std::vector<double> line(6, -1.0);
  std::vector<double> g(6, 7.0);
  std::vector<int> h(6, 7);
  EXPECT_EQ(constructPartialVoronoi(line.data(), g.data(), h.data(), 6), -1);
  voronoiEDT(line.data(), g.data(), h.data(), 6);
  for (double v : line) EXPECT_EQ(v, -1.0);
}

TEST(DistanceTransform, OneDimensionalLineWithSquaredValues) {
  // Sites carry their column-pass values: position 1 with 4, position 5 with
  // 0. Hand-worked: min over sites of value + offset^2.
  std::vector<double> line = {-1.0, 4.0, -1.0, -1.0, -1.0, 0.0, -1.0};
  std::vector<double> g(7);
  std::vector<int> h(7);
  voronoiEDT(line.data(), g.data(), h.data(), 7);
  const double expect[] = {5.0, 4.0, 5.0, 4.0, 1.0, 0.0, 1.0};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(line[i], expect[i]) << i;
}

TEST(DistanceTransform, ProcessesLinesBackToBack) {
  // Three lines of length 4: sites at 0 / none / values 1 and 0 at 1 and 3.
  std::vector<double> data = {0.0,  -1.0, -1.0, -1.0,  //
                              -1.0, -1.0, -1.0, -1.0,  //
                              -1.0, 1.0,  -1.0, 0.0};
  processDimN(4, 3, data.data());
  const std::vector<double> expect = {0.0,  1.0,  4.0,  9.0,   //
                                      -1.0, -1.0, -1.0, -1.0,  //
                                      2.0,  1.0,  1.0,  0.0};
  EXPECT_EQ(data, expect);
}

TEST(DistanceTransform, LongColumnBeyondThirtyTwoBitSquares) {
  // Squared distances up to 59999^2 > 2^31 along a column.
  const int h = 60000;
  std::vector<uint8_t> img(h, 1);
  img[0] = 0;
  const std::vector<double> got = run_edt(img, 1, h);
  for (int y = 0; y < h; ++y) ASSERT_EQ(got[y], static_cast<double>(y)) << y;
}

TEST(DistanceTransform, AllZeroAndNoZeroImages) {
  std::vector<uint8_t> zeros(6 * 5, 0);
  for (double v : run_edt(zeros, 6, 5)) EXPECT_EQ(v, 0.0);
  std::vector<uint8_t> none(6 * 5, 9);
  for (double v : run_edt(none, 6, 5)) EXPECT_TRUE(std::isnan(v));
}

TEST(DistanceTransform, EmptyOrNullInputWritesNothing) {
  std::vector<uint8_t> img(4, 0);
  std::vector<double> out(4, 42.0);
  computeEDT(out.data(), img.data(), 0, 4);
  computeEDT(out.data(), img.data(), 4, 0);
  computeEDT(out.data(), img.data(), -2, -2);
  computeEDT(out.data(), nullptr, 2, 2);
  computeEDT(nullptr, img.data(), 2, 2);
  for (double v : out) EXPECT_EQ(v, 42.0);
  processDimN(0, 3, out.data());
  processDimN(4, 0, out.data());
  processDimN(4, 1, nullptr);
  for (double v : out) EXPECT_EQ(v, 42.0);
  // An empty envelope has nothing to evaluate.
  double g = 0.0;
  int h = 0;
  queryPartialVoronoi(&g, &h, -1, out.data(), 4);
  for (double v : out) EXPECT_EQ(v, 42.0);
}

TEST(DistanceTransform, FarSitesDoNotOverflowTheSquaredOffset) {
  // Offsets beyond 46340 would overflow a 32-bit square; the value stays the
  // exact square.
  const double g[] = {0.0};
  const int h[] = {-2000000000};
  double f[2] = {0.0, 0.0};
  queryPartialVoronoi(g, h, 0, f, 2);
  EXPECT_EQ(f[0], 4.0e18);
  EXPECT_EQ(f[1], static_cast<double>(2000000001ULL * 2000000001ULL));
}

TEST(DistanceTransform, RemovalTestIsStrict) {
  // u = 0, v = 1, w = 2: (2 dv - du - dw) > 2.
  EXPECT_EQ(RemoveEDT(0.0, 5.0, 0.0, 0.0, 1.0, 2.0), 1);
  EXPECT_EQ(RemoveEDT(0.0, 1.0, 0.0, 0.0, 1.0, 2.0), 0);  // 2 > 2 is false
  EXPECT_EQ(RemoveEDT(2.0, 2.0, 0.0, 0.0, 1.0, 2.0), 0);  // 4 - 2 = 2
  EXPECT_EQ(RemoveEDT(1.0, 2.0, 0.0, 0.0, 1.0, 2.0), 1);  // 4 - 1 = 3
  EXPECT_EQ(RemoveEDT(0.0, 0.0, 0.0, 0.0, 1.0, 2.0), 0);
}

TEST(VectorDistance, IntegerSquaredDistanceWraps) {
  int a[3] = {1, 2, 3};
  int b[3] = {4, 6, 8};
  EXPECT_EQ(vecSqrDist_i3(a, b), 50);
  // d0 = 2^31 (wrapped), its square is 2^62 = 0 mod 2^32.
  int c[3] = {INT_MAX, 0, 0};
  int d[3] = {-1, 0, 0};
  EXPECT_EQ(vecSqrDist_i3(c, d), 0);
  // d1 = 65536: 2^32 wraps to 0; 46341^2 = 2147488281 wraps negative.
  int e[3] = {1, 65536, 46341};
  int z[3] = {0, 0, 0};
  EXPECT_EQ(vecSqrDist_i3(e, z), static_cast<int>(2147488281LL - 4294967296LL + 1));
}

TEST(VectorDistance, FloatOrderOfOperations) {
  // (d1^2 + d0^2) + d2^2 with d1 = 4096, d0 = d2 = 1: 2^24 + 1 rounds back to
  // 2^24 twice; any other order would give 2^24 + 2.
  float a[3] = {1.0f, 4096.0f, 1.0f};
  float b[3] = {0.0f, 0.0f, 0.0f};
  EXPECT_EQ(vecSqrDist_f3(a, b), 16777216.0f);
  float p[3] = {3.0f, 0.0f, 1.0f};
  float q[3] = {0.0f, 4.0f, 1.0f};
  EXPECT_EQ(vecSqrDist_f3(p, q), 25.0f);
  EXPECT_EQ(vecDist_f3(p, q), 5.0f);
  double m[2] = {1.5, -2.0};
  double n[2] = {-1.5, 2.0};
  EXPECT_EQ(pntSqrDist_d2(m, n), 25.0);
}

}  // namespace
