// gen_ellipse, gen_ellipse2 and gen_ellipse3.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/mask.h"

namespace {

std::vector<unsigned char> hard(int cy, int cx, int a, int b, int h, int w) {
  std::vector<unsigned char> m(static_cast<size_t>(h) * w, 7);
  gen_ellipse(m.data(), cy, cx, a, b, h, w);
  return m;
}

std::vector<double> weights(int cy, int cx, int a, int b, int t, int h, int w) {
  std::vector<double> m(static_cast<size_t>(h) * w, -1.0);
  gen_ellipse2(m.data(), cy, cx, a, b, t, h, w);
  return m;
}

struct Spans {
  std::vector<int> t[4];
  int* p[4];
  explicit Spans(int h) {
    for (int i = 0; i < 4; ++i) {
      t[i].assign(static_cast<size_t>(h), 99);
      p[i] = t[i].data();
    }
  }
  std::vector<int> row(int r) const { return {t[0][r], t[1][r], t[2][r], t[3][r]}; }
};

}  // namespace

// ---- gen_ellipse ----------------------------------------------------------

TEST(GenEllipse, SmallCircleByHand) {
  // a = b = 2 at (3, 3): dx^2 + dy^2 <= 4, 13 pixels; the rest keeps 7.
  const auto m = hard(3, 3, 2, 2, 7, 7);
  for (int r = 0; r < 7; ++r) {
    for (int x = 0; x < 7; ++x) {
      const int d2 = (r - 3) * (r - 3) + (x - 3) * (x - 3);
      EXPECT_EQ(m[r * 7 + x], d2 <= 4 ? 255 : 7) << r << "," << x;
    }
  }
}

TEST(GenEllipse, DegenerateAxes) {
  auto m = hard(2, 4, 0, 0, 5, 6);  // centre pixel only
  std::vector<unsigned char> want(30, 7);
  want[2 * 6 + 4] = 255;
  EXPECT_EQ(m, want);
  EXPECT_EQ(hard(5, 4, 0, 0, 5, 6), std::vector<unsigned char>(30, 7));  // centre outside
  m = hard(2, 3, 0, 2, 5, 6);                                            // a horizontal segment
  want.assign(30, 7);
  for (int x = 1; x <= 5; ++x) want[2 * 6 + x] = 255;
  EXPECT_EQ(m, want);
  for (int a : {-1, 46341, INT_MIN}) {
    EXPECT_EQ(hard(2, 3, a, 2, 5, 6), std::vector<unsigned char>(30, 7)) << a;
    EXPECT_EQ(hard(2, 3, 2, a, 5, 6), std::vector<unsigned char>(30, 7)) << a;
  }
}

// Exact integer test dy^2 b^2 + dx^2 a^2 <= a^2 b^2, skipping pixels exactly
// on the ellipse (where double rounding may go either way).
TEST(GenEllipse, MatchesIntegerCriterion) {
  std::mt19937 rng(5);
  for (int iter = 0; iter < 300; ++iter) {
    const int h = qlsbp_test::random_int(rng, 1, 40), w = qlsbp_test::random_int(rng, 1, 40);
    const int a = qlsbp_test::random_int(rng, 1, 25), b = qlsbp_test::random_int(rng, 1, 25);
    const int cy = qlsbp_test::random_int(rng, -10, h + 10);
    const int cx = qlsbp_test::random_int(rng, -10, w + 10);
    const auto m = hard(cy, cx, a, b, h, w);
    for (int r = 0; r < h; ++r) {
      for (int x = 0; x < w; ++x) {
        const int64_t dy = cy - r, dx = cx - x, a2 = a * a, b2 = b * b;
        const int64_t lhs = dy * dy * b2 + dx * dx * a2, rhs = a2 * b2;
        if (lhs == rhs) continue;
        ASSERT_EQ(m[r * w + x], lhs < rhs ? 255 : 7);
      }
    }
  }
}

TEST(GenEllipse, ExtremeCentre) {
  for (int c : {INT_MIN, INT_MAX}) {
    EXPECT_EQ(hard(c, 3, 2, 2, 5, 6), std::vector<unsigned char>(30, 7));
    EXPECT_EQ(hard(2, c, 2, 2, 5, 6), std::vector<unsigned char>(30, 7));
  }
  auto m = hard(2, 3, INT_MAX, INT_MAX, 5, 6);  // squares wrap to 1: a unit circle
  EXPECT_EQ(m[2 * 6 + 3], 255);
  EXPECT_EQ(m[0], 7);
}

// ---- gen_ellipse2 -----------------------------------------------------------

// 20 x 20 plane, t = 5: S = (1 + 5 / 10)^2 = 2.25 whatever the ellipse.
TEST(GenEllipse2, CentreRowByHand) {
  const auto m = weights(10, 10, 4, 4, 5, 20, 20);
  const double* row = m.data() + 10 * 20;
  for (int x = 0; x < 4; ++x) EXPECT_EQ(row[x], -1.0) << x;  // not written
  EXPECT_EQ(row[4], 0.0);                                    // on the outer ellipse
  EXPECT_NEAR(row[5], 0.55, 1e-12);
  for (int x = 6; x < 14; ++x) EXPECT_EQ(row[x], 1.0) << x;
  EXPECT_NEAR(row[14], 1.0, 1e-12);
  EXPECT_NEAR(row[15], 0.55, 1e-12);
  for (int x = 16; x < 20; ++x) EXPECT_EQ(row[x], -1.0) << x;  // Ro = 16 untouched
  for (int r : {0, 4, 16, 19}) {
    for (int x = 0; x < 20; ++x) ASSERT_EQ(m[r * 20 + x], -1.0) << r << "," << x;
  }
}

// The band follows the image size, not the ellipse: S = (1 + t / (side / 2))^2,
// so the same t gives a relatively narrower band (fewer band pixels around
// the same ellipse) on the larger image, and the same band on two images of
// equal smaller side whatever their other side.
TEST(GenEllipse2, BandScalesWithImageNotEllipse) {
  auto band_pixels = [](int side) {
    const auto m = weights(side / 2, side / 2, 6, 6, 4, side, side);
    int n = 0;
    for (double v : m) n += v >= 0.0 && v < 1.0;
    return n;
  };
  const int small = band_pixels(40), large = band_pixels(200);
  EXPECT_GT(small, large);
  EXPECT_GT(large, 0);
  // Same smaller side (40), different width: identical rows around the centre.
  const auto narrow = weights(20, 20, 6, 6, 4, 40, 40);
  const auto wide = weights(20, 20, 6, 6, 4, 40, 90);
  for (int r = 0; r < 40; ++r) {
    for (int x = 0; x < 40; ++x) ASSERT_EQ(narrow[r * 40 + x], wide[r * 90 + x]) << r << "," << x;
  }
}

// Where min(h, w) / 2 equals min(a, b), S matches gen_ellipse4's, and in rows
// whose limits are two or more columns apart the two masks agree:
// trunc(weight * 1024) = 16-bit value.
TEST(GenEllipse2, AgreesWithFocusMaskOnRegularRows) {
  std::mt19937 rng(8);
  for (int iter = 0; iter < 300; ++iter) {
    const int a = qlsbp_test::random_int(rng, 2, 20);
    const int b = qlsbp_test::random_int(rng, a, 30);
    const int h = 2 * a, w = qlsbp_test::random_int(rng, h, 60);
    const int t = qlsbp_test::random_int(rng, 1, 12);
    const int cy = qlsbp_test::random_int(rng, -5, h + 5);
    const int cx = qlsbp_test::random_int(rng, -5, w + 5);
    const auto d = weights(cy, cx, a, b, t, h, w);
    std::vector<uint16_t> m4(static_cast<size_t>(h) * w, 0);
    Spans sp(h);
    gen_ellipse3(m4.data(), sp.p, cy, cx, a, b, t, h, w);
    for (int r = 0; r < h; ++r) {
      const std::vector<int> s = sp.row(r);
      if (s[0] == -4) continue;
      const bool crosses = !(s[2] == s[0] && s[3] == s[0]) || std::abs(cy - r) < a;
      if (crosses && (s[2] < s[0] + 2 || s[1] < s[3] + 2)) continue;  // shifted edge writes
      for (int x = 0; x < w; ++x) {
        const double v = d[r * w + x];
        const uint16_t want =
            v < 0.0 ? 0 : static_cast<uint16_t>(static_cast<uint32_t>(v * 1024.0));
        ASSERT_EQ(m4[r * w + x], want) << "r=" << r << " x=" << x;
      }
    }
  }
}

TEST(GenEllipse2, ZeroBandAndGuards) {
  const auto m = weights(10, 10, 4, 4, 0, 21, 21);
  for (int x = 0; x < 21; ++x) EXPECT_EQ(m[10 * 21 + x], x >= 6 && x <= 13 ? 1.0 : -1.0) << x;
  for (int a : {0, -2, 46341}) {
    EXPECT_EQ(weights(10, 10, a, 4, 3, 21, 21), std::vector<double>(441, -1.0));
  }
  std::vector<double> buf(4, -1.0);
  gen_ellipse2(buf.data(), 0, 0, 3, 3, 2, 0, 4);
  gen_ellipse2(buf.data(), 0, 0, 3, 3, 2, 4, 0);
  EXPECT_EQ(buf, std::vector<double>(4, -1.0));
}

// A negative band (outer ellipse inside the inner one) moves the run of ones
// right by Lo - Li; the sequential position is clipped at the row end.
TEST(GenEllipse2, SequentialPositionStaysInRow) {
  for (int t : {-1, -2, -3, INT_MIN, INT_MAX}) {
    for (int cx : {-3, 5, 9, 12, INT_MAX, INT_MIN}) {
      const auto m = weights(5, cx, 5, 8, t, 11, 12);  // ASan checks the bounds
      EXPECT_EQ(m.size(), 132u);
    }
  }
  // Centre row with t = -2 on a 40-wide plane: S = 0.81, ho = 10.8: Lo = 9;
  // Li = 8, Ri = 32: 24 ones from column 9, nothing before.
  const auto m = weights(20, 20, 12, 12, -2, 40, 40);
  const double* row = m.data() + 20 * 40;
  for (int x = 0; x < 40; ++x) EXPECT_EQ(row[x], x >= 9 && x < 33 ? 1.0 : -1.0) << x;
}

// ---- gen_ellipse3 -----------------------------------------------------------

TEST(GenEllipse3, SpansByHand) {
  std::vector<uint16_t> m(21 * 21, 0);
  Spans sp(21);
  gen_ellipse3(m.data(), sp.p, 10, 10, 4, 4, 2, 21, 21);
  EXPECT_EQ(sp.row(10), (std::vector<int>{4, 16, 6, 14}));
  EXPECT_EQ(sp.row(5), (std::vector<int>{7, 13, 7, 7}));     // outside the inner ellipse
  EXPECT_EQ(sp.row(4), (std::vector<int>{10, 10, 10, 10}));  // touches the outer one
  for (int r : {0, 3, 17, 20}) EXPECT_EQ(sp.row(r), (std::vector<int>{-4, -4, -4, -4})) << r;
  std::vector<uint16_t> m4(21 * 21, 0);
  gen_ellipse4(m4.data(), 10, 10, 4, 4, 2, 21, 21);
  EXPECT_EQ(m, m4);
}

TEST(GenEllipse3, SameMaskAsFocusMask) {
  std::mt19937 rng(3);
  for (int iter = 0; iter < 500; ++iter) {
    const int h = qlsbp_test::random_int(rng, 1, 40), w = qlsbp_test::random_int(rng, 1, 40);
    const int a = qlsbp_test::random_int(rng, 1, 30), b = qlsbp_test::random_int(rng, 1, 30);
    const int t = qlsbp_test::random_int(rng, 0, 10);
    const int cy = qlsbp_test::random_int(rng, -20, h + 20);
    const int cx = qlsbp_test::random_int(rng, -20, w + 20);
    std::vector<uint16_t> m3(static_cast<size_t>(h) * w, 0), m4(m3);
    Spans sp(h);
    gen_ellipse3(m3.data(), sp.p, cy, cx, a, b, t, h, w);
    gen_ellipse4(m4.data(), cy, cx, a, b, t, h, w);
    ASSERT_EQ(m3, m4);
    for (int r = 0; r < h; ++r) {
      const std::vector<int> s = sp.row(r);
      if (s[0] == -4) continue;
      ASSERT_GE(s[0], 0);
      ASSERT_LE(s[1], w - 1);
    }
  }
}

TEST(GenEllipse3, GuardsAndNullSpans) {
  std::vector<uint16_t> m(6 * 7, 0);
  Spans sp(6);
  gen_ellipse3(m.data(), sp.p, 3, 3, 0, 4, 2, 6, 7);  // no region: all rows -4
  for (int r = 0; r < 6; ++r) EXPECT_EQ(sp.row(r), (std::vector<int>{-4, -4, -4, -4}));
  EXPECT_EQ(m, std::vector<uint16_t>(42, 0));
  Spans untouched(6);
  gen_ellipse3(m.data(), untouched.p, 3, 3, 2, 2, 2, 0, 7);  // no rows: nothing at all
  EXPECT_EQ(untouched.row(0), (std::vector<int>{99, 99, 99, 99}));
  gen_ellipse3(m.data(), nullptr, 3, 3, 2, 2, 2, 6, 7);
  EXPECT_EQ(m[3 * 7 + 3], 1024);
}
