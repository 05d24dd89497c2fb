// YUV / linear RGB to CIE L*a*b* (D65 white).
//
// The precision of every step is part of the result: the matrix sums run in
// double and are rounded to float, everything after that is single precision.
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "qlsbp/analysis.h"

namespace {

// Below this (normalised) value the cube root is replaced by its linear
// approximation. Compared as a double literal, as the threshold is written.
constexpr double kLabEpsilon = 0.008856;

float lab_f(float t) {
  // 0.33333334f is 1/3 rounded to float; powf keeps the root in single
  // precision.
  if (t > kLabEpsilon) return powf(t, 0.33333334f);
  return 7.787f * t + 0.137931f;
}

// Maps one unnormalised channel to [0, 1]: negative -> 0, above 255 -> 1.
double normalise_channel(double c) {
  if (c < 0.0) return 0.0;
  if (c > 255.0) return 1.0;
  return c / 255.0;
}

}  // namespace

void RGBToLab(float* lab, double* rgb) {
  const double r = rgb[0];
  const double g = rgb[1];
  const double b = rgb[2];
  // BT.709 primaries, D65 white (Xn = 0.95047, Zn = 1.08883). The input is
  // taken as linear on purpose: no sRGB gamma expansion.
  const float x = static_cast<float>(0.412453 * r + 0.35758 * g + 0.180423 * b) / 0.95047f;
  const float y = static_cast<float>(0.212671 * r + 0.71516 * g + 0.072169 * b);
  const float z = static_cast<float>(0.019334 * r + 0.119193 * g + 0.950227 * b) / 1.08883f;

  const float fx = lab_f(x);
  const float fy = lab_f(y);
  const float fz = lab_f(z);

  lab[0] = y > kLabEpsilon ? 116.0f * fy - 16.0f : 903.3f * y;
  lab[1] = 500.0f * (fx - fy);
  lab[2] = 200.0f * (fy - fz);
}

void YUV2Lab(float* lab, float* rgb, unsigned char y, unsigned char u, unsigned char v) {
  const double du = static_cast<double>(u) - 128.0;
  const double dv = static_cast<double>(v) - 128.0;
  const double yy = static_cast<double>(y);
  double norm[3];
  norm[0] = normalise_channel(yy + 1.4075 * dv);
  norm[1] = normalise_channel(yy - 0.3455 * du - 0.7169 * dv);
  norm[2] = normalise_channel(yy + 1.779 * du);
  rgb[0] = static_cast<float>(norm[0]);
  rgb[1] = static_cast<float>(norm[1]);
  rgb[2] = static_cast<float>(norm[2]);
  // The Lab step sees the double values, not their float copies.
  RGBToLab(lab, norm);
}

void Y4U4V42Lab(float* lab, float* rgb, unsigned char* yuv, int width, int height) {
  if (lab == nullptr || rgb == nullptr || yuv == nullptr || width < 1 || height < 1) return;
  const size_t w = static_cast<size_t>(width);
  const size_t rows = static_cast<size_t>(height);
  // A pixel count whose buffers could not be addressed converts nothing.
  if (rows > SIZE_MAX / 3 / sizeof(float) / w) return;
  const size_t n = w * rows;
  const unsigned char* py = yuv;
  const unsigned char* pu = yuv + n;
  const unsigned char* pv = yuv + 2 * n;
  for (size_t i = 0; i < n; ++i) YUV2Lab(lab + 3 * i, rgb + 3 * i, py[i], pu[i], pv[i]);
}
