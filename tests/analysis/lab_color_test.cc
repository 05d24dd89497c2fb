// Lab conversion against a double-precision colour model written from the
// textbook formulas, plus hand-worked values.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/analysis.h"

namespace {

struct Lab {
  double l, a, b;
};

// D65 Lab of linear RGB, all in double.
Lab model_lab(double r, double g, double b) {
  const double x = (0.412453 * r + 0.357580 * g + 0.180423 * b) / 0.95047;
  const double y = 0.212671 * r + 0.715160 * g + 0.072169 * b;
  const double z = (0.019334 * r + 0.119193 * g + 0.950227 * b) / 1.08883;
  auto f = [](double t) { return t > 0.008856 ? std::cbrt(t) : 7.787 * t + 16.0 / 116.0; };
  const double l = y > 0.008856 ? 116.0 * f(y) - 16.0 : 903.3 * y;
  return {l, 500.0 * (f(x) - f(y)), 200.0 * (f(y) - f(z))};
}

// Normalised, clamped RGB of a YUV pixel, in double.
void model_rgb(double rgb[3], int y, int u, int v) {
  const double du = u - 128;
  const double dv = v - 128;
  const double raw[3] = {y + 1.4075 * dv, y - 0.3455 * du - 0.7169 * dv, y + 1.779 * du};
  for (int k = 0; k < 3; ++k) rgb[k] = std::min(1.0, std::max(0.0, raw[k] / 255.0));
}

// Single-precision tolerance on values up to ~100 (L) and a few hundred (a, b).
constexpr double kTol = 2e-3;

TEST(LabColor, RgbMatchesDoubleModel) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (int i = 0; i < 2000; ++i) {
    double rgb[3] = {unit(rng), unit(rng), unit(rng)};
    if (i < 8) {  // the corners of the cube
      for (int k = 0; k < 3; ++k) rgb[k] = (i >> k) & 1;
    }
    float lab[3];
    RGBToLab(lab, rgb);
    const Lab m = model_lab(rgb[0], rgb[1], rgb[2]);
    EXPECT_NEAR(lab[0], m.l, kTol) << i;
    EXPECT_NEAR(lab[1], m.a, kTol) << i;
    EXPECT_NEAR(lab[2], m.b, kTol) << i;
  }
}

TEST(LabColor, DarkColoursUseTheLinearBranch) {
  // Y below 0.008856: L = 903.3 Y, f linear.
  double rgb[3] = {0.004, 0.002, 0.006};
  float lab[3];
  RGBToLab(lab, rgb);
  const Lab m = model_lab(rgb[0], rgb[1], rgb[2]);
  EXPECT_NEAR(lab[0], m.l, 1e-4);
  EXPECT_NEAR(lab[1], m.a, 1e-4);
  EXPECT_NEAR(lab[2], m.b, 1e-4);
}

TEST(LabColor, YuvMatchesDoubleModelOverAllChroma) {
  for (int y = 0; y < 256; y += 15) {
    for (int u = 0; u < 256; u += 17) {
      for (int v = 0; v < 256; v += 17) {
        float lab[3];
        float rgb[3];
        YUV2Lab(lab, rgb, static_cast<unsigned char>(y), static_cast<unsigned char>(u),
                static_cast<unsigned char>(v));
        double mrgb[3];
        model_rgb(mrgb, y, u, v);
        for (int k = 0; k < 3; ++k) EXPECT_EQ(rgb[k], static_cast<float>(mrgb[k]));
        const Lab m = model_lab(mrgb[0], mrgb[1], mrgb[2]);
        EXPECT_NEAR(lab[0], m.l, kTol);
        EXPECT_NEAR(lab[1], m.a, kTol);
        EXPECT_NEAR(lab[2], m.b, kTol);
      }
    }
  }
}

TEST(LabColor, WorkedValues) {
  float lab[3];
  float rgb[3];
  YUV2Lab(lab, rgb, 0, 128, 128);  // black
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(rgb[k], 0.0f);
    EXPECT_EQ(lab[k], 0.0f);
  }
  YUV2Lab(lab, rgb, 255, 128, 128);  // white: 255 is not above 255
  for (int k = 0; k < 3; ++k) EXPECT_EQ(rgb[k], 1.0f);
  EXPECT_NEAR(lab[0], 100.0f, 1e-3);
  EXPECT_NEAR(lab[1], 0.0f, 1e-2);
  EXPECT_NEAR(lab[2], 0.0f, 1e-2);
  // Y = 200, V = 255: R = 200 + 1.4075 * 127 > 255 clamps to 1; G below.
  YUV2Lab(lab, rgb, 200, 128, 255);
  EXPECT_EQ(rgb[0], 1.0f);
  EXPECT_EQ(rgb[1], static_cast<float>((200.0 - 0.7169 * 127.0) / 255.0));
  EXPECT_EQ(rgb[2], static_cast<float>(200.0 / 255.0));
  // Y = 10, U = 0: B = 10 - 1.779 * 128 < 0 clamps to 0.
  YUV2Lab(lab, rgb, 10, 0, 128);
  EXPECT_EQ(rgb[2], 0.0f);
  EXPECT_EQ(rgb[0], static_cast<float>(10.0 / 255.0));
}

TEST(LabColor, PlanarImageWalksThePlanesInStep) {
  const int w = 5;
  const int h = 3;
  const int n = w * h;
  const std::vector<uint8_t> yuv = qlsbp_test::random_bytes(3 * n, 11);
  std::vector<uint8_t> buf = yuv;
  std::vector<float> lab(3 * n, -7.0f);
  std::vector<float> rgb(3 * n, -7.0f);
  Y4U4V42Lab(lab.data(), rgb.data(), buf.data(), w, h);
  for (int i = 0; i < n; ++i) {
    float el[3];
    float er[3];
    YUV2Lab(el, er, yuv[i], yuv[n + i], yuv[2 * n + i]);
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(lab[3 * i + k], el[k]) << i;
      EXPECT_EQ(rgb[3 * i + k], er[k]) << i;
    }
  }
  // Empty or negative sizes convert nothing.
  std::vector<float> untouched(3, -7.0f);
  Y4U4V42Lab(untouched.data(), untouched.data(), buf.data(), 0, 5);
  Y4U4V42Lab(untouched.data(), untouched.data(), buf.data(), -1, -1);
  Y4U4V42Lab(untouched.data(), untouched.data(), nullptr, 1, 1);
  for (float v : untouched) EXPECT_EQ(v, -7.0f);
}

}  // namespace
