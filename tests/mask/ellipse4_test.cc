// gen_ellipse4: hand-worked rows, a step-by-step model on random geometries,
// and the guards for degenerate or extreme input.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "mask/mask_math.h"
#include "qlsbp/mask.h"

namespace {

using Mask = std::vector<uint16_t>;

Mask draw(int cy, int cx, int a, int b, int t, int h, int w, uint16_t fill = 0) {
  Mask m(static_cast<size_t>(std::max(h, 0)) * static_cast<size_t>(std::max(w, 0)), fill);
  gen_ellipse4(m.data(), cy, cx, a, b, t, h, w);
  return m;
}

std::vector<uint16_t> row_of(const Mask& m, int w, int r) {
  return std::vector<uint16_t>(m.begin() + static_cast<ptrdiff_t>(r) * w,
                               m.begin() + static_cast<ptrdiff_t>(r + 1) * w);
}

// ---- The model: the row-writing steps taken one by one, nothing optimised.
// Writes aimed outside the row are simply not stored.

int64_t model_trunc(double v) {
  if (std::isnan(v)) return 0;
  return static_cast<int64_t>(std::min(std::max(std::trunc(v), -2147483648.0), 2147483647.0));
}

uint16_t model_weight(double w) {
  double v = w * 1024.0;
  if (std::isnan(v) || v <= 0.0) return 0;
  v = std::min(std::trunc(v), 4294967295.0);
  return static_cast<uint16_t>(static_cast<uint64_t>(v) % 65536u);
}

int32_t square32(int v) {  // what a 32-bit multiply leaves
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(int64_t{v} * v)));
}

void model_ellipse4(Mask& mask, int cy, int cx, int a, int b, int t, int h, int w) {
  if (h < 1 || w < 1) return;
  const int32_t a2i = square32(a), b2i = square32(b);
  if (a <= 0 || b <= 0 || a2i <= 0 || b2i <= 0) return;
  const double a2 = a2i, b2 = b2i;
  const double m = std::min(a, b);
  const double s = 1.0 + t / m;
  const double S = s * s;
  for (int r = 0; r < h; ++r) {
    uint16_t* row = mask.data() + static_cast<size_t>(r) * w;
    auto put = [&](int64_t col, uint16_t v) {
      if (col >= 0 && col < w) row[col] = v;
    };
    const double dy = double(cy) - r;
    const double qy = dy * dy / a2;
    if (qy > S) continue;
    auto ramp = [&](int64_t x) {
      const double dx = double(cx) - double(x);
      return model_weight((S - (qy + dx * dx / b2)) / (S - 1));
    };
    const double ho = b * std::sqrt(S - qy);
    const int64_t Lo = std::max<int64_t>(model_trunc(cx - ho + 0.5), 0);
    int64_t Ro = model_trunc(cx + ho + 0.5);
    if (Ro >= w) Ro = w - 1;
    if (qy >= 1) {
      if (S - 1 == 0) continue;
      for (int64_t x = Lo; x < Ro; ++x) put(x, ramp(x));
      continue;
    }
    const double hi = b * std::sqrt(1 - qy);
    const int64_t Li = std::max<int64_t>(model_trunc(cx - hi + 0.5), 0);
    int64_t Ri = model_trunc(cx + hi + 0.5);
    if (Ri >= w) Ri = w - 1;
    if (S - 1 == 0) {  // documented: hard edge, inner run only
      for (int64_t x = Li; x < Ri; ++x) put(x, 1024);
      continue;
    }
    int64_t k = Lo;
    auto at_k = [&](int64_t x) {
      if (k < w) {
        put(k, ramp(x));
        ++k;
      }
    };
    at_k(Lo);  // step 3
    if (Li - 1 > Lo + 1)
      for (int64_t x = Lo + 1; x <= Li - 2; ++x, ++k) put(x, ramp(x));  // step 4
    at_k(Li - 1);                                                       // step 5
    if (Li < Ri)
      for (int64_t x = Li; x <= Ri - 1; ++x, ++k) put(x, 1024);  // step 6
    at_k(Ri);                                                    // step 7
    if (Ri + 1 < Ro - 1)
      for (int64_t x = Ri + 1; x <= Ro - 2; ++x, ++k) put(x, ramp(x));  // step 8
    at_k(Ro - 1);                                                       // step 9
  }
}

void expect_matches_model(int cy, int cx, int a, int b, int t, int h, int w) {
  const uint16_t sentinel = 0x7777;  // shows exactly which pixels are written
  Mask got = draw(cy, cx, a, b, t, h, w, sentinel);
  Mask want(got.size(), sentinel);
  model_ellipse4(want, cy, cx, a, b, t, h, w);
  ASSERT_EQ(got, want) << "cy=" << cy << " cx=" << cx << " a=" << a << " b=" << b << " t=" << t
                       << " h=" << h << " w=" << w;
}

}  // namespace

// a = b = 4, t = 2: s = 1.5, S = 2.25, centre (10, 10) of a 21 x 21 plane.
TEST(Ellipse4HandWorked, CentreRowAndRowsTouchingTheOuterEllipse) {
  const Mask m = draw(10, 10, 4, 4, 2, 21, 21);
  EXPECT_EQ(m[10 * 21 + 10], 1024);
  // Row 10: Lo = 4, Li = 6, Ri = 14, Ro = 16. Column 4 lies on the outer
  // ellipse (ramp 0), column 5 has q = 25/16: (2.25 - 1.5625) / 1.25 = 0.55.
  const std::vector<uint16_t> centre = {
      0, 0, 0, 0, 0, 563, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 563, 0, 0, 0, 0, 0};
  EXPECT_EQ(row_of(m, 21, 10), centre);
  // Row 5: qy = 25/16, ho = 3.32: Lo = 7, Ro = 13; Ro itself stays 0.
  const std::vector<uint16_t> r5 = {0,   0,   0, 0, 0, 0, 0, 102, 358, 512, 563,
                                    512, 358, 0, 0, 0, 0, 0, 0,   0,   0};
  EXPECT_EQ(row_of(m, 21, 5), r5);
  // Rows 4 and 16 have qy = 36/16 = S: ho = 0, Lo = Ro = 10, nothing written.
  for (int r : {0, 3, 4, 16, 17, 20}) {
    EXPECT_EQ(row_of(m, 21, r), std::vector<uint16_t>(21, 0)) << "row " << r;
  }
}

// a = b = 4, t = 4 (S = 4), centre column 10, plane cut at the right.
TEST(Ellipse4HandWorked, RightBorder) {
  // Width 17: Ro = 16 = width - 1, k in step, column Ro untouched.
  const std::vector<uint16_t> w17 = {0,    0,    0,    320,  597,  832,  1024, 1024, 1024,
                                     1024, 1024, 1024, 1024, 1024, 1024, 832,  0};
  EXPECT_EQ(row_of(draw(10, 10, 4, 4, 4, 21, 17), 17, 10), w17);
  // Width 16: Ro clipped to 15 = Ri + 1: step 9 puts column Ri's value (1024)
  // on column Ro.
  std::vector<uint16_t> w16(w17.begin(), w17.begin() + 16);
  w16[15] = 1024;
  EXPECT_EQ(row_of(draw(10, 10, 4, 4, 4, 21, 16), 16, 10), w16);
  // Width 15: Ro = Ri = 14; step 9 aims at column 15 = width: not written.
  const std::vector<uint16_t> w15(w17.begin(), w17.begin() + 15);
  EXPECT_EQ(row_of(draw(10, 10, 4, 4, 4, 21, 15), 15, 10), w15);
}

// a = b = 10, t = 4, centre (10, 2): on row 10 Lo = Li = 0 (both clipped),
// Ri = 12, Ro = 16. The edge writes run two columns ahead: column Ri keeps 0,
// Ri's value at 14 is overwritten by step 8, Ro - 1's value lands on 17.
TEST(Ellipse4HandWorked, LeftBorderTwoColumnShift) {
  const Mask m = draw(10, 2, 10, 10, 4, 21, 40);
  std::vector<uint16_t> want(40, 0);
  for (int x = 0; x < 12; ++x) want[x] = 1024;
  want[13] = 800;  // q = 1.21
  want[14] = 554;  // q = 1.44
  want[17] = 287;  // value of column 15, q = 1.69
  EXPECT_EQ(row_of(m, 40, 10), want);
  EXPECT_EQ(m[10 * 40 + 12], 0);  // column Ri
  EXPECT_EQ(m[10 * 40 + 16], 0);  // column Ro
}

// t = 2 with a = b = 100: S - 1 is about 0.04, so a column just inside the
// inner edge gets well above 1024.
TEST(Ellipse4HandWorked, NarrowBandExceeds1024) {
  const Mask m = draw(150, 150, 100, 100, 2, 300, 300);
  // Row 120: hi = 95.39, Ri = 245 with q = 0.9925 < 1.
  const std::vector<uint16_t> want = {1024, 1024, 1024, 1024, 1024, 1214, 729, 0, 0, 0};
  EXPECT_EQ(std::vector<uint16_t>(m.begin() + 120 * 300 + 240, m.begin() + 120 * 300 + 250), want);
  int above = 0;
  for (uint16_t v : m) above += v > 1024;
  EXPECT_GT(above, 0);
}

TEST(Ellipse4HandWorked, CentreOutsideImage) {
  // Centre column -5: row 10 has Lo = Li = 0, Ri = 5, Ro = 9.
  const std::vector<uint16_t> left = {1024, 1024, 1024, 1024, 1024, 0, 800, 554, 0, 0,
                                      287,  0,    0,    0,    0,    0, 0,   0,   0, 0};
  Mask m = draw(10, -5, 10, 10, 4, 21, 20);
  EXPECT_EQ(row_of(m, 20, 10), left);
  // Centre column 30 of a 20-wide plane: Lo = 16, Ro = Ri = 19, Li = 20.
  m = draw(10, 30, 10, 10, 4, 21, 20);
  const std::vector<uint16_t> right = {0, 0, 0, 0, 0, 0, 0, 0,   0,   0,
                                       0, 0, 0, 0, 0, 0, 0, 287, 554, 800};
  EXPECT_EQ(row_of(m, 20, 10), right);
  // Row 0: qy = 1, Lo = 20 >= Ro = 19: nothing.
  EXPECT_EQ(row_of(m, 20, 0), std::vector<uint16_t>(20, 0));
}

TEST(Ellipse4Model, RandomGeometries) {
  std::mt19937 rng(4242);
  for (int iter = 0; iter < 3000; ++iter) {
    const int h = qlsbp_test::random_int(rng, 1, 48);
    const int w = qlsbp_test::random_int(rng, 1, 48);
    const int a = qlsbp_test::random_int(rng, 1, 40);
    const int b = qlsbp_test::random_int(rng, 1, 40);
    const int t = qlsbp_test::random_int(rng, 0, 8) == 0 ? 0 : qlsbp_test::random_int(rng, 1, 30);
    const int cy = qlsbp_test::random_int(rng, -50, h + 50);
    const int cx = qlsbp_test::random_int(rng, -50, w + 50);
    expect_matches_model(cy, cx, a, b, t, h, w);
  }
}

// Thin ellipses and narrow bands put the inner and outer limits within one or
// two columns of each other on many rows: the shifted edge writes.
TEST(Ellipse4Model, NarrowBandsAndThinEllipses) {
  std::mt19937 rng(77);
  for (int iter = 0; iter < 3000; ++iter) {
    const int h = qlsbp_test::random_int(rng, 1, 40);
    const int w = qlsbp_test::random_int(rng, 1, 40);
    const int a = qlsbp_test::random_int(rng, 1, 60);
    const int b = qlsbp_test::random_int(rng, 1, 4);
    const int t = qlsbp_test::random_int(rng, 1, 3);
    const int cy = qlsbp_test::random_int(rng, -5, h + 5);
    const int cx = qlsbp_test::random_int(rng, -5, w + 5);
    expect_matches_model(cy, cx, a, b, t, h, w);
  }
}

// t = 0: no band; 1024 exactly on [Li, Ri - 1] of the rows crossing the ellipse.
TEST(Ellipse4Guards, ZeroBandIsHardEdged) {
  const Mask m = draw(10, 10, 4, 4, 0, 21, 21);
  Mask want(m.size(), 0);
  auto run = [&](int r, int first, int last) {
    for (int x = first; x <= last; ++x) want[r * 21 + x] = 1024;
  };
  run(10, 6, 13);  // hi = 4: Li = trunc(6.5), Ri = trunc(14.5)
  run(9, 6, 13);   // hi = 3.87: Li = trunc(6.63), Ri = trunc(14.37)
  run(11, 6, 13);
  run(8, 7, 12);  // hi = 3.46: Li = trunc(7.04), Ri = trunc(13.96)
  run(12, 7, 12);
  run(7, 7, 12);  // hi = 2.65: Li = trunc(7.85), Ri = trunc(13.15)
  run(13, 7, 12);
  // Rows 6 and 14 have qy = 1: outside the inner ellipse, nothing.
  EXPECT_EQ(m, want);
  expect_matches_model(10, 10, 4, 4, 0, 21, 21);
  expect_matches_model(3, -2, 7, 3, 0, 30, 40);
}

TEST(Ellipse4Guards, AxesWithoutRegionWriteNothing) {
  const uint16_t s = 0x5A5A;
  const Mask untouched(15 * 17, s);
  for (int a : {0, -3, 46341, 65536, INT_MIN}) {
    EXPECT_EQ(draw(7, 8, a, 5, 3, 15, 17, s), untouched) << "a=" << a;
    EXPECT_EQ(draw(7, 8, 5, a, 3, 15, 17, s), untouched) << "b=" << a;
  }
  // No rows or no columns: the buffer is not touched.
  for (int hw : {0, -1, INT_MIN}) {
    Mask m = untouched;
    gen_ellipse4(m.data(), 7, 8, 5, 5, 3, hw, 17);
    gen_ellipse4(m.data(), 7, 8, 5, 5, 3, 15, hw);
    EXPECT_EQ(m, untouched) << hw;
  }
}

// 70000^2 and INT_MAX^2 wrap to positive 32-bit values (INT_MAX^2 to 1);
// like the target, they are used as they are.
TEST(Ellipse4Guards, WrappedPositiveSquareIsUsed) {
  ASSERT_GT(mask_square_i32(70000), 0);
  ASSERT_EQ(mask_square_i32(INT_MAX), 1);
  for (int big : {70000, INT_MAX}) {
    expect_matches_model(5, 10, big, 6, 3, 11, 23);
    expect_matches_model(5, 10, 6, big, 3, 11, 23);
  }
}

TEST(Ellipse4Guards, ExtremeCoordinatesAndBands) {
  const int h = 17, w = 23;
  // Centre row/column far away: nothing in the plane (or the model's bytes).
  for (int c : {INT_MIN, INT_MIN + 1, INT_MAX}) {
    EXPECT_EQ(draw(c, 10, 5, 5, 3, h, w), Mask(h * w, 0)) << c;
  }
  EXPECT_EQ(draw(8, INT_MAX, 5, 5, 3, h, w), Mask(h * w, 0));
  expect_matches_model(8, INT_MIN, 5, 5, 3, h, w);
  expect_matches_model(8, INT_MAX - 3, 5, 5, 3, h, w);
  // Huge or negative bands: S far from 1 on either side.
  for (int t : {INT_MAX, INT_MIN, -1, -5, -10, 100000}) {
    expect_matches_model(8, 11, 5, 7, t, h, w);
    expect_matches_model(-3, 30, 9, 4, t, h, w);
  }
  // The largest valid axes with a huge band: limits saturate, runs are clipped.
  Mask m = draw(8, 11, 46340, 46340, INT_MAX, h, w);
  EXPECT_EQ(m[8 * w + 11], 1024);
  m = draw(INT_MAX, INT_MAX, 46340, 46340, INT_MAX, h, w);
  m = draw(INT_MIN, INT_MIN, 46340, 46340, INT_MIN, h, w);
  SUCCEED();  // the sanitizer build checks the last two for overflow and bounds
}

TEST(MaskMath, SaturatingConversions) {
  EXPECT_EQ(mask_trunc_i32(2.9), 2);
  EXPECT_EQ(mask_trunc_i32(-2.9), -2);
  EXPECT_EQ(mask_trunc_i32(3e9), INT32_MAX);
  EXPECT_EQ(mask_trunc_i32(-3e9), INT32_MIN);
  EXPECT_EQ(mask_trunc_i32(std::nan("")), 0);
  EXPECT_EQ(mask_trunc_i32(HUGE_VAL), INT32_MAX);
  EXPECT_EQ(mask_trunc_u32(-0.5), 0u);
  EXPECT_EQ(mask_trunc_u32(-1e300), 0u);
  EXPECT_EQ(mask_trunc_u32(std::nan("")), 0u);
  EXPECT_EQ(mask_trunc_u32(70000.7), 70000u);
  EXPECT_EQ(mask_trunc_u32(5e9), UINT32_MAX);
  EXPECT_EQ(mask_square_i32(46340), 2147395600);
  EXPECT_LT(mask_square_i32(46341), 0);
  EXPECT_EQ(mask_square_i32(65536), 0);
  EXPECT_EQ(mask_square_i32(-7), 49);
}
