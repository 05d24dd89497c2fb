// Analysis utilities: the distance transform against a brute-force search,
// Lab against a double-precision model of the textbook formulas, and the
// resize tables and resamplers against the stretched position and a plain
// bilinear model; hand-worked values pin the documented quirks.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/analysis.h"

namespace {

using qlsbp_test::random_int;

std::vector<double> run_edt(std::vector<uint8_t> img, int w, int h) {
  std::vector<double> out(img.size(), 12345.0);
  computeEDT(out.data(), img.data(), w, h);
  return out;
}

// Random images of several densities of 0 pixels (at least one) against the
// square root of the smallest squared distance over all sites.
TEST(DistanceTransform, MatchesBruteForce) {
  const int sizes[][2] = {{1, 1}, {1, 9}, {9, 1}, {7, 5}, {33, 17}, {17, 40}, {64, 48}};
  std::mt19937 rng(1);
  for (const auto& [w, h] : sizes) {
    for (int percent : {1, 5, 30, 90}) {
      std::vector<uint8_t> img(size_t(w) * h);
      for (auto& p : img) p = int(rng() % 100) < percent ? 0 : 1 + rng() % 255;
      img[rng() % img.size()] = 0;
      const std::vector<double> got = run_edt(img, w, h);
      for (int i = 0; i < w * h; ++i) {
        int64_t best = INT64_MAX;
        for (int j = 0; j < w * h; ++j) {
          const int64_t dx = i % w - j % w, dy = i / w - j / w;
          if (img[j] == 0) best = std::min(best, dx * dx + dy * dy);
        }
        ASSERT_EQ(got[i], std::sqrt(double(best))) << w << "x" << h << " " << percent << "%, " << i;
      }
    }
  }
}

// Squared distances up to 59999^2 > 2^31 along one column; all sites give 0,
// none gives NaN; bad sizes and null pointers write nothing. The 1-D steps
// by hand.
TEST(DistanceTransform, LongColumnEdgeCasesAndLines) {
  std::vector<uint8_t> col(60000, 1);
  col[0] = 0;
  const std::vector<double> got = run_edt(col, 1, 60000);
  for (int y = 0; y < 60000; ++y) ASSERT_EQ(got[y], double(y));
  for (double v : run_edt(std::vector<uint8_t>(30, 0), 6, 5)) EXPECT_EQ(v, 0.0);
  // No site at all: one canonical quiet NaN, the same bits on every
  // platform (sqrt of a negative number would carry the sign bit on x86-64
  // and not on ARM).
  for (double v : run_edt(std::vector<uint8_t>(30, 9), 6, 5)) {
    uint64_t bits;
    memcpy(&bits, &v, sizeof bits);
    EXPECT_EQ(bits, 0x7ff8000000000000ULL);
  }
  std::vector<uint8_t> img(4, 0);
  std::vector<double> out(4, 42.0);
  computeEDT(out.data(), img.data(), 4, -2);
  computeEDT(out.data(), nullptr, 2, 2);
  computeEDT(nullptr, img.data(), 2, 2);
  processDimN(0, 3, out.data());
  processDimN(4, 0, out.data());
  processDimN(4, 1, nullptr);
  EXPECT_EQ(out, std::vector<double>(4, 42.0));
  // Sites carry their column-pass values (position 1: 4, position 5: 0):
  // min over sites of value + offset^2.
  std::vector<double> line = {-1, 4, -1, -1, -1, 0, -1}, g(7);
  std::vector<int> h(7);
  voronoiEDT(line.data(), g.data(), h.data(), 7);
  EXPECT_EQ(line, (std::vector<double>{5, 4, 5, 4, 1, 0, 1}));
  // Lines back to back; a line without sites stays -1 (and has no envelope).
  std::vector<double> data = {0, -1, -1, -1, -1, -1, -1, -1, -1, 1, -1, 0};
  processDimN(4, 3, data.data());
  EXPECT_EQ(constructPartialVoronoi(&data[4], g.data(), h.data(), 4), -1);
  queryPartialVoronoi(g.data(), h.data(), -1, &data[4], 4);  // empty envelope: unchanged
  EXPECT_EQ(data, (std::vector<double>{0, 1, 4, 9, -1, -1, -1, -1, 2, 1, 1, 0}));
  // An offset beyond 46340 is squared exactly, in 64 bits.
  g[0] = 0.0, h[0] = -2000000000;
  std::vector<double> f(2, 0.0);
  queryPartialVoronoi(g.data(), h.data(), 0, f.data(), 2);
  EXPECT_EQ(f, (std::vector<double>{4.0e18, double(2000000001ULL * 2000000001ULL)}));
  // u, v, w = 0, 1, 2: remove v when 2 dv - du - dw > 2, strictly.
  EXPECT_EQ(RemoveEDT(0, 5, 0, 0, 1, 2) + 2 * RemoveEDT(1, 2, 0, 0, 1, 2), 3);
  EXPECT_EQ(RemoveEDT(0, 1, 0, 0, 1, 2) + RemoveEDT(2, 2, 0, 0, 1, 2), 0);
}

TEST(VectorDistance, WrapAndOrderOfOperations) {
  int c[3] = {INT_MAX, 0, 0}, d[3] = {-1, 0, 0}, e[3] = {1, 65536, 46341};
  EXPECT_EQ(vecSqrDist_i3(c, d), 0);  // d0 = 2^31 wraps; 2^62 = 0 mod 2^32
  // 2^2 + (65536^2 -> 0) + 46341^2 (past INT_MAX, wraps negative).
  EXPECT_EQ(vecSqrDist_i3(e, d), int(4 + 2147488281LL - 4294967296LL));
  // (d1^2 + d0^2) + d2^2 with d1 = 4096: 2^24 + 1 rounds back to 2^24 twice.
  float p[3] = {1, 4096, 1}, q[3] = {0, 0, 0}, s[3] = {3, 0, 1}, t[3] = {0, 4, 1};
  EXPECT_EQ(vecSqrDist_f3(p, q), 16777216.0f);
  EXPECT_EQ(vecDist_f3(s, t), 5.0f);
  // Doubles: (a - b) per component, squared and summed. 2^27 + 1 squared is
  // 2^54 + 2^28 + 1, which rounds to 2^54 + 2^28; adding 1 rounds back.
  double u[2] = {1.5, -2.0}, v[2] = {-1.5, 2.0}, big[2] = {134217729.0, 1.0}, zero[2] = {0, 0};
  EXPECT_EQ(pntSqrDist_d2(u, v), 25.0);
  EXPECT_EQ(pntSqrDist_d2(v, u), 25.0);
  EXPECT_EQ(pntSqrDist_d2(big, zero), 18014398777917440.0);
  EXPECT_EQ(pntSqrDist_d2(zero, zero), 0.0);
}

// D65 Lab of linear RGB, all in double; compared within single precision.
void expect_lab(const float lab[3], double r, double g, double b, double tol = 2e-3) {
  const double x = (0.412453 * r + 0.357580 * g + 0.180423 * b) / 0.95047;
  const double y = 0.212671 * r + 0.715160 * g + 0.072169 * b;
  const double z = (0.019334 * r + 0.119193 * g + 0.950227 * b) / 1.08883;
  auto f = [](double t) { return t > 0.008856 ? std::cbrt(t) : 7.787 * t + 16.0 / 116.0; };
  const double fx = f(x), fy = f(y), fz = f(z);
  const double w[3] = {y > 0.008856 ? 116 * fy - 16 : 903.3 * y, 500 * (fx - fy), 200 * (fy - fz)};
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(lab[k], w[k], tol) << r << " " << g << " " << b;
}

// The cube corners, a dark colour (the linear branches) and random colours;
// then YUV -> clamped, normalised RGB (exact as float) -> Lab on a grid.
TEST(LabColor, MatchesDoubleModel) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  float lab[3], rgb[3];
  for (int i = 0; i < 2000; ++i) {
    double c[3] = {unit(rng), unit(rng), unit(rng)};
    for (int k = 0; k < 3 && i < 8; ++k) c[k] = (i >> k) & 1;
    if (i == 8) c[0] = 0.004, c[1] = 0.002, c[2] = 0.006;
    RGBToLab(lab, c);
    expect_lab(lab, c[0], c[1], c[2], i == 8 ? 1e-4 : 2e-3);
  }
  for (int i = 0; i < 18 * 16 * 16; ++i) {
    const int y = i / 256 * 15, u = i / 16 % 16 * 17, v = i % 16 * 17;
    YUV2Lab(lab, rgb, uint8_t(y), uint8_t(u), uint8_t(v));
    const double du = u - 128, dv = v - 128;
    double m[3] = {y + 1.4075 * dv, y - 0.3455 * du - 0.7169 * dv, y + 1.779 * du};
    for (int k = 0; k < 3; ++k) {
      m[k] = std::min(1.0, std::max(0.0, m[k] / 255.0));
      ASSERT_EQ(rgb[k], float(m[k])) << y << " " << u << " " << v;
    }
    expect_lab(lab, m[0], m[1], m[2]);
  }
}

TEST(LabColor, PlanarImageWalksThePlanesInStep) {
  // The planes are walked in step: pixel i takes Y[i], U[n + i], V[2n + i].
  const int n = 15;
  std::vector<uint8_t> yuv = qlsbp_test::random_bytes(3 * n, 11);
  std::vector<float> plab(3 * n, -7.0f), prgb(3 * n, -7.0f);
  Y4U4V42Lab(plab.data(), prgb.data(), yuv.data(), 5, 3);
  std::vector<float> elab(3 * n), ergb(3 * n);
  for (int i = 0; i < n; ++i)
    YUV2Lab(&elab[3 * i], &ergb[3 * i], yuv[i], yuv[n + i], yuv[2 * n + i]);
  EXPECT_EQ(plab, elab);
  EXPECT_EQ(prgb, ergb);
  Y4U4V42Lab(elab.data(), ergb.data(), yuv.data(), 0, 5);  // bad sizes or pointers:
  Y4U4V42Lab(elab.data(), ergb.data(), nullptr, 1, 1);     // nothing converted
  EXPECT_EQ(plab, elab);
}

using V = std::vector<int>;

struct Tables {
  V ci, cf, ri, rf;
  Tables(int dw, int dh, int sw, int sh) : ci(dw), cf(dw), ri(dh), rf(dh) {
    EXPECT_EQ(build_scaling_rate(ci.data(), cf.data(), ri.data(), rf.data(), dw, dh, sw, sh), 0);
  }
  int u8(uint8_t* dst, int dh, int dw, uint8_t* src, int sh, int sw) {
    return image_u8_resize(dst, dh, dw, ri.data(), rf.data(), ci.data(), cf.data(), src, sh, sw);
  }
  int dbl(double* dst, int dh, int dw, double max, double* src, int sh, int sw) {
    return double_resize(dst, dh, dw, max, ri.data(), rf.data(), ci.data(), cf.data(), src, sh, sw);
  }
};

TEST(ResizeTables, HandWorkedAndRefused) {
  Tables t(2, 1, 4, 2);  // scale 4 / 1.5: 1.33 -> 1 + 85/256; 4.0 clamps to 2, weight 0
  EXPECT_EQ((V{t.ci[0], t.ci[1], t.cf[0], t.cf[1]}), (V{1, 2, 85, 0}));
  Tables u(3, 1, 2, 2);  // scale 0.8: 0.4, 1.2, 2.0 clamp to 0 with weights of 1.2 and 2.0
  EXPECT_EQ(u.ci, (V{0, 0, 0}));
  EXPECT_EQ((V{u.cf[0], u.cf[1], u.cf[2], u.rf[0]}), (V{102, 51, 0, 0}));  // one row: at 2.0
  V ci(2, -9), cf(ci), ri(ci), rf(ci);
  EXPECT_EQ(build_scaling_rate(ci.data(), cf.data(), ri.data(), rf.data(), 2, 2, INT_MAX, 4), 1);
  EXPECT_EQ(build_scaling_rate(ci.data(), cf.data(), ri.data(), rf.data(), 2, 2, 4, INT_MIN), 1);
  EXPECT_EQ(build_scaling_rate(nullptr, cf.data(), ri.data(), rf.data(), 2, 2, 4, 4), 1);
  EXPECT_EQ(ri, V(2, -9));
  // An empty destination axis needs no table and no valid source side.
  EXPECT_EQ(build_scaling_rate(nullptr, nullptr, ri.data(), rf.data(), 0, 2, INT_MAX, 4), 0);
  EXPECT_EQ(ri, (V{1, 2}));
}

// The tables written out from their definition, in single precision as
// defined: f = (i + 0.5) * (src / (dst - 0.5)), index = trunc(f) clamped to
// src - 2, weight = round((f - trunc(f)) * 256) from the unclamped index.
struct ModelAxis {
  V index, frac, whole;
  ModelAxis(int dst, int src) {
    const float scale = float(src) / (float(dst) - 0.5f);
    for (int i = 0; i < dst; ++i) {
      const float f = (float(i) + 0.5f) * scale;
      const int k = int(f);
      whole.push_back(k);
      index.push_back(std::min(k, src - 2));
      const float part = (f - float(k)) * 256.0f;
      frac.push_back(int(double(part) + 0.5));
    }
  }
};

// The bilinear step with truncating division, in exact 64-bit arithmetic.
int64_t lerp256(int64_t a, int64_t b, int64_t w) {
  const int64_t p = w * (b - a);
  return a + p / 256;
}

// Random geometries: the tables equal the model exactly (and lie within one
// weight step of the exact position); the byte resampler matches the
// truncating integer model on the model's own tables exactly, the double one
// the real-valued model within rounding, clamped.
TEST(Resize, TablesAndResamplersMatchModels) {
  std::mt19937 rng(9);
  for (int iter = 0; iter < 300; ++iter) {
    const int sw = random_int(rng, 2, iter < 100 ? 30 : 700), sh = random_int(rng, 2, 30);
    const int dw = random_int(rng, 1, iter < 100 ? 45 : 700), dh = random_int(rng, 1, 45);
    std::vector<uint8_t> src = qlsbp_test::random_bytes(size_t(sw) * sh, iter), dst(dw * dh);
    std::vector<double> srcd(src.begin(), src.end()), dstd(dst.size());
    Tables t(dw, dh, sw, sh);
    const ModelAxis mc(dw, sw), mr(dh, sh);
    ASSERT_EQ(t.ci, mc.index) << sw << " " << dw;
    ASSERT_EQ(t.cf, mc.frac) << sw << " " << dw;
    ASSERT_EQ(t.ri, mr.index) << sh << " " << dh;
    ASSERT_EQ(t.rf, mr.frac) << sh << " " << dh;
    ASSERT_EQ(t.ci[dw - 1], sw - 2);
    for (int i = 0; i < dw; ++i) {
      const double pos = (i + 0.5) * sw / (dw - 0.5);
      ASSERT_NEAR(mc.whole[i] + mc.frac[i] / 256.0, pos, 0.5 / 256 + 1e-4) << sw << " " << dw;
    }
    ASSERT_EQ(t.u8(dst.data(), dh, dw, src.data(), sh, sw), 0);
    ASSERT_EQ(t.dbl(dstd.data(), dh, dw, 200.0, srcd.data(), sh, sw), 0);
    for (int i = 0; i < dw * dh; ++i) {
      const int r = i / dw, c = i % dw, wx = mc.frac[c], wy = mr.frac[r];
      auto px = [&](int dy, int dx) { return int(src[(mr.index[r] + dy) * sw + mc.index[c] + dx]); };
      const int64_t top = lerp256(px(0, 0), px(0, 1), wx);
      const int64_t bot = lerp256(px(1, 0), px(1, 1), wx);
      ASSERT_EQ(dst[i], lerp256(top, bot, wy)) << r << "," << c;
      const double rtop = px(0, 0) + (px(0, 1) - px(0, 0)) * wx / 256.0;
      const double rbot = px(1, 0) + (px(1, 1) - px(1, 0)) * wx / 256.0;
      ASSERT_NEAR(dstd[i], std::min(200.0, rtop + (rbot - rtop) * wy / 256.0), 1e-9);
    }
  }
}

// Weights outside 0 .. 256 extrapolate and clamp; only indexes are refused.
// Hand-worked on src row 0 = {10, 20}, row 1 = {30, 60}:
//  wx = 512: top = 10 + 2 x 10 = 30, bottom = 30 + 2 x 30 = 90; wy = -256:
//  30 + (-256 x 60) / 256 = -30 -> 0; wy = 128: 30 + 30 = 60.
//  wx = -300: top = 10 + (-3000 / 256 = -11) = -1, bottom = 30 + (-9000 /
//  256 = -35) = -5; wy = 300: -1 + (-1200 / 256 = -4) = -5 -> 0.
// Weights of INT_MAX and INT_MIN stay exact (no wrapping) and clamp.
TEST(Resize, WeightsOutsideTheUnitRangeExtrapolate) {
  std::vector<uint8_t> src = {10, 20, 30, 60}, dst(3, 0xA5);
  V ri = {0, 0, 0}, ci = {0, 0, 0};
  V rf = {-256}, cf = {512, 512, -300};
  ASSERT_EQ(image_u8_resize(dst.data(), 1, 2, ri.data(), rf.data(), ci.data(), cf.data(), src.data(), 2, 2), 0);
  EXPECT_EQ(dst[0], 0);
  rf = {128};
  ASSERT_EQ(image_u8_resize(dst.data(), 1, 2, ri.data(), rf.data(), ci.data(), cf.data(), src.data(), 2, 2), 0);
  EXPECT_EQ(dst[0], 60);
  rf = {300};
  cf = {-300};
  ASSERT_EQ(image_u8_resize(dst.data(), 1, 1, ri.data(), rf.data(), ci.data(), cf.data(), src.data(), 2, 2), 0);
  EXPECT_EQ(dst[0], 0);
  // INT_MAX: top = 10 + (2^31 - 1) x 10 / 256, far above 255 -> 255; with
  // INT_MIN on rows the huge negative step wins -> 0.
  cf = {INT_MAX};
  rf = {0};
  ASSERT_EQ(image_u8_resize(dst.data(), 1, 1, ri.data(), rf.data(), ci.data(), cf.data(), src.data(), 2, 2), 0);
  EXPECT_EQ(dst[0], 255);
  rf = {INT_MIN};
  ASSERT_EQ(image_u8_resize(dst.data(), 1, 1, ri.data(), rf.data(), ci.data(), cf.data(), src.data(), 2, 2), 0);
  EXPECT_EQ(dst[0], 0);
  std::vector<double> srcd = {10, 20, 30, 60}, dd(1, -1.0);
  rf = {128};
  cf = {512};
  ASSERT_EQ(double_resize(dd.data(), 1, 1, 1000.0, ri.data(), rf.data(), ci.data(), cf.data(), srcd.data(), 2, 2), 0);
  EXPECT_EQ(dd[0], 60.0);
}

TEST(Resize, HandWorkedClampsAndRefusals) {
  // 2 x 2 -> 3 x 2, falling row 200 -> 0: 200 + (-20400 / 256 = -79) = 121
  // (toward zero, not -80); rows at weights 171 and 0.
  Tables t(3, 2, 2, 2), one_row(3, 1, 2, 2);
  std::vector<uint8_t> src = {0, 200, 200, 0}, dst(6, 0xA5);
  ASSERT_EQ(t.u8(dst.data(), 2, 3, src.data(), 2, 2), 0);
  EXPECT_EQ(dst, (std::vector<uint8_t>{107, 120, 133, 79, 39, 0}));
  // Negative values become 0.0, values above max_value max_value.
  std::vector<double> srcd = {-80.0, 400.0, 1000.0, 1000.0}, dd(3, -1.0);
  ASSERT_EQ(one_row.dbl(dd.data(), 1, 3, 100.0, srcd.data(), 2, 2), 0);
  EXPECT_EQ(dd, (std::vector<double>{100.0, 15.625, 0.0}));
  // Too small sources, a table that leaves the source: 1, nothing written.
  dst.assign(6, 7);
  EXPECT_EQ(t.u8(dst.data(), 2, 3, src.data(), 1, 2), 1);  // no lower neighbour
  EXPECT_EQ(t.u8(dst.data(), 2, 3, src.data(), 2, 1), 1);
  t.ci[2] = 1;
  EXPECT_EQ(t.u8(dst.data(), 2, 3, src.data(), 2, 2), 1);
  t.ci[2] = -1;
  EXPECT_EQ(t.u8(dst.data(), 2, 3, src.data(), 2, 2), 1);
  t.ci[2] = 0, t.ri[1] = 1;  // row index past side - 2
  EXPECT_EQ(t.u8(dst.data(), 2, 3, src.data(), 2, 2), 1);
  EXPECT_EQ(image_u8_resize(dst.data(), 0, 3, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
            0);
  EXPECT_EQ(dst, std::vector<uint8_t>(6, 7));
}

}  // namespace
