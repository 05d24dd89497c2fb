// gen_ellipse4_clean: hand-worked rows at both side borders (next to what
// the exact mask writes there), and its promises on random geometries
// checked against the ellipse inequality and against gen_ellipse4.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/mask.h"

namespace {

using qlsbp_test::random_int;
using Mask = std::vector<uint16_t>;

Mask clean(int cy, int cx, int a, int b, int t, int h, int w) {
  Mask m(size_t(h) * w, 0);
  gen_ellipse4_clean(m.data(), cy, cx, a, b, t, h, w);
  return m;
}

Mask exact(int cy, int cx, int a, int b, int t, int h, int w) {
  Mask m(size_t(h) * w, 0);
  gen_ellipse4(m.data(), cy, cx, a, b, t, h, w);
  return m;
}

Mask row(const Mask& m, int r, int w) { return Mask(m.begin() + r * w, m.begin() + (r + 1) * w); }

// q = (cy - r)^2 / a^2 + (cx - x)^2 / b^2, the normalised radius.
double radius2(int cy, int cx, int a, int b, int r, int x) {
  const double dy = double(cy) - r, dx = double(cx) - x;
  return dy * dy / (double(a) * a) + dx * dx / (double(b) * b);
}

// Every weight 0..1024; strictly inside the inner ellipse exactly 1024;
// beyond the outer ellipse 0; and along every row the weights do not rise
// from the row's peak outwards (no hole, no seam).
void check_promises(int cy, int cx, int a, int b, int t, int h, int w) {
  SCOPED_TRACE(testing::Message() << cy << "," << cx << " a,b,t=" << a << "," << b << "," << t
                                  << " " << h << "x" << w);
  const Mask m = clean(cy, cx, a, b, t, h, w);
  const double s = 1.0 + double(t) / std::min(a, b);
  for (int r = 0; r < h; ++r) {
    const uint16_t* p = &m[size_t(r) * w];
    int peak = 0;
    for (int x = 0; x < w; ++x) {
      ASSERT_LE(p[x], 1024) << "at " << r << "," << x;
      const double q = radius2(cy, cx, a, b, r, x);
      if (q < 1.0 - 1e-9) {
        ASSERT_EQ(1024, p[x]) << "inside, at " << r << "," << x;
      }
      if (q > s * s + 1e-9) {
        ASSERT_EQ(0, p[x]) << "outside, at " << r << "," << x;
      }
      if (p[x] > p[peak]) peak = x;
    }
    for (int x = peak; x + 1 < w; ++x) ASSERT_GE(p[x], p[x + 1]) << "rises at " << r << "," << x;
    for (int x = peak; x > 0; --x) ASSERT_GE(p[x], p[x - 1]) << "rises at " << r << "," << x;
  }
}

}  // namespace

// a = b = 4, t = 2: S = 2.25, ramp (2.25 - q) / 1.25. On the centre row the
// column at distance 4 has q = 1 (1024), distance 5 has q = 1.5625 (563),
// distance 6 reaches the outer ellipse.
TEST(CleanMask, HandWorkedRowsAtTheSideBorders) {
  const int w = 10;
  // Centre on column 0: the ellipse is cut by the left border.
  EXPECT_EQ(row(clean(2, 0, 4, 4, 2, 5, w), 2, w),
            (Mask{1024, 1024, 1024, 1024, 1024, 563, 0, 0, 0, 0}));
  // The exact mask's running index starts two columns ahead here: columns 4
  // and 5 get no write, and their values land on 6 and 7.
  EXPECT_EQ(row(exact(2, 0, 4, 4, 2, 5, w), 2, w),
            (Mask{1024, 1024, 1024, 1024, 0, 0, 1024, 563, 0, 0}));
  // Centre on column 9, the last one: cut by the right border.
  EXPECT_EQ(row(clean(2, 9, 4, 4, 2, 5, w), 2, w),
            (Mask{0, 0, 0, 0, 563, 1024, 1024, 1024, 1024, 1024}));
  // The exact mask gives the last column the unclamped ramp of the centre
  // (1.8 x 1024), which the blend turns into wrapped bytes.
  EXPECT_EQ(row(exact(2, 9, 4, 4, 2, 5, w), 2, w),
            (Mask{0, 0, 0, 0, 563, 1024, 1024, 1024, 1024, 1843}));
}

TEST(CleanMask, NarrowBandJustInsideTheInnerEdgeIsClamped) {
  // t = 1 against a = b = 100: S = 1.0201, so the column just inside the
  // inner edge has a ramp well above 1024 in the exact mask.
  const Mask e = exact(150, 150, 100, 100, 1, 300, 300);
  const Mask c = clean(150, 150, 100, 100, 1, 300, 300);
  EXPECT_GT(*std::max_element(e.begin(), e.end()), 1024);
  EXPECT_EQ(1024, *std::max_element(c.begin(), c.end()));
}

TEST(CleanMask, FocusAcrossEachBorderKeepsItsPromises) {
  const int h = 120, w = 160;
  struct Case {
    int cy, cx, a, b, t;
  };
  const Case cases[] = {
      {60, 0, 40, 50, 9},     {60, 159, 40, 50, 9},  {0, 80, 40, 50, 9},    {119, 80, 40, 50, 9},
      {60, 3, 40, 50, 9},     {60, 156, 40, 50, 9},  {60, 1, 40, 50, 2},    {60, 158, 40, 50, 2},
      {0, 0, 60, 80, 12},     {119, 159, 60, 80, 12}, {-20, -30, 60, 80, 5}, {140, 190, 60, 80, 5},
      {60, 80, 60, 80, 30},   {60, -200, 30, 40, 6},  {60, 80, 1, 1, 1},     {60, 80, 200, 300, 50},
  };
  for (const Case& c : cases) check_promises(c.cy, c.cx, c.a, c.b, c.t, h, w);
  std::mt19937 rng(11);
  for (int i = 0; i < 300; ++i) {
    const int hh = random_int(rng, 1, 70), ww = random_int(rng, 1, 90);
    check_promises(random_int(rng, -20, hh + 20), random_int(rng, -20, ww + 20),
                   random_int(rng, 1, 60), random_int(rng, 1, 60), random_int(rng, 1, 30), hh, ww);
  }
}

TEST(CleanMask, AwayFromTheBordersEqualsTheExactMaskWithinRange) {
  // The outer ellipse inside the image with a column to spare on each side,
  // and a band of at least 3 pixels (so the exact mask's limits are at least
  // two columns apart and its running index stays on its own column).
  std::mt19937 rng(5);
  for (int i = 0; i < 300; ++i) {
    const int a = random_int(rng, 1, 40), b = random_int(rng, 1, 40), t = random_int(rng, 3, 20);
    const double s = 1.0 + double(t) / std::min(a, b);
    const int half = int(b * s) + 2;
    const int w = 2 * half + 1 + random_int(rng, 0, 9), h = random_int(rng, 1, 60);
    const int cx = random_int(rng, half, w - 1 - half), cy = random_int(rng, -30, h + 30);
    SCOPED_TRACE(testing::Message() << cy << "," << cx << " a,b,t=" << a << "," << b << "," << t
                                    << " " << h << "x" << w);
    const Mask e = exact(cy, cx, a, b, t, h, w), c = clean(cy, cx, a, b, t, h, w);
    for (size_t k = 0; k < e.size(); ++k) {
      ASSERT_EQ(std::min<uint16_t>(e[k], 1024), c[k]) << "at " << k;
    }
  }
}

TEST(CleanMask, DegenerateInputsWriteNothingOrStayInTheRow) {
  Mask m(64, 7);
  gen_ellipse4_clean(m.data(), 4, 4, 0, 3, 2, 8, 8);       // no region
  gen_ellipse4_clean(m.data(), 4, 4, 46341, 3, 2, 8, 8);   // square wraps
  gen_ellipse4_clean(m.data(), 4, 4, 3, 3, 2, 0, 8);       // no rows
  gen_ellipse4_clean(m.data(), 4, 4, 3, 3, 2, 8, 0);       // no columns
  gen_ellipse4_clean(nullptr, 4, 4, 3, 3, 2, 8, 8);
  EXPECT_EQ(Mask(64, 7), m);
  // t = 0: the run of 1024 only, as the exact mask.
  EXPECT_EQ(exact(4, 4, 3, 3, 0, 8, 8), clean(4, 4, 3, 3, 0, 8, 8));
  // Far outside, huge or negative values: a guard column after the row shows
  // any write outside it.
  const int cs[] = {INT_MIN, -100000, 0, 7, 100000, INT_MAX};
  const int ts[] = {INT_MIN, -3, 1, 1000, INT_MAX};
  for (int cx : cs)
    for (int cy : cs)
      for (int t : ts) {
        Mask g(8 * 8 + 1, 0);
        gen_ellipse4_clean(g.data(), cy, cx, 5, 6, t, 8, 8);
        ASSERT_EQ(0, g.back());
        for (size_t k = 0; k + 1 < g.size(); ++k) ASSERT_LE(g[k], 1024);
      }
}
