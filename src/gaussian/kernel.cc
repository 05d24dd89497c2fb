// Sampled Gaussian kernels in fixed point or float.
//
// The arithmetic follows one fixed order in single precision (densities,
// running sum, divide, scale, truncate) so that every platform produces the
// same taps; the blur builder's 21-tap kernel must be identical on x86-64,
// ARMv7 and AArch64.
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "qlsbp/gaussian.h"

namespace {

// How the unnormalised weights are produced. kDensity is the normal case;
// the other two stand in where single precision cannot represent the density
// (sigma not positive, or so small that 1/(2 sigma^2) overflows: all weight on
// the centre; sigma infinite or so large that the densities underflow to zero:
// the flat limit).
enum class WeightMode { kDensity, kImpulse, kFlat };

struct Density {
  WeightMode mode;
  float c;  // 1 / (2 sigma^2)
  float a;  // c / pi, the 2-D normalising factor
};

// expf(-(i*i) * c) with the square formed as an integer; the 64-bit product
// only differs from a 32-bit one where the latter would overflow.
float gauss_exp(long long i, float c) { return std::exp(static_cast<float>(-(i * i)) * c); }

float weight_1d(const Density& d, long long i) {
  if (d.mode == WeightMode::kImpulse) return i == 0 ? 1.0f : 0.0f;
  if (d.mode == WeightMode::kFlat) return 1.0f;
  return std::sqrt(d.a) * gauss_exp(i, d.c);
}

float weight_2d(const Density& d, long long i, long long j) {
  if (d.mode == WeightMode::kImpulse) return (i == 0 && j == 0) ? 1.0f : 0.0f;
  if (d.mode == WeightMode::kFlat) return 1.0f;
  return (d.a * gauss_exp(i, d.c)) * gauss_exp(j, d.c);
}

// Fills the scratch with the unnormalised weights in the fixed layout and
// returns their running sum. An even ksize computes ksize + 1 weights per
// axis; in two dimensions the extra last weight of each row lands on the next
// row's first slot and is overwritten by it, exactly as the layout implies.
float fill_weights(float* w, const Density& d, int ksize, int dims) {
  const long long r = ksize >> 1;
  float sum = 0.0f;
  if (dims == 1) {
    for (long long i = -r; i <= r; ++i) {
      w[i + r] = weight_1d(d, i);
      sum += w[i + r];
    }
    return sum;
  }
  for (long long i = -r; i <= r; ++i) {
    for (long long j = -r; j <= r; ++j) {
      const size_t at = static_cast<size_t>((i + r) * ksize + (j + r));
      w[at] = weight_2d(d, i, j);
      sum += w[at];
    }
  }
  return sum;
}

// Truncation toward zero without the undefined cases: NaN gives 0, values
// beyond the int range give INT_MIN or INT_MAX.
int truncate_to_int(float v) {
  if (!(v == v)) return 0;
  if (v >= 2147483648.0f) return INT_MAX;
  if (v < -2147483648.0f) return INT_MIN;
  return static_cast<int>(v);
}

// Two's-complement reinterpretation of a wrapped 32-bit sum, spelled out so
// that it is defined in C++17.
int wrap_to_int(uint32_t v) {
  return v <= 0x7fffffffu ? static_cast<int>(v) : -static_cast<int>(~v) - 1;
}

}  // namespace

void init_gaussian_kernel(void* kernel_out, float sigma, int ksize, int dims, int out_type,
                          float scale) {
  if (kernel_out == nullptr || ksize < 1) return;
  if (dims != 1 && dims != 2) return;
  if (out_type != 0 && out_type != 1) return;

  const unsigned long long side = static_cast<unsigned long long>(ksize) + 1;
  const unsigned long long slots = dims == 1 ? side : side * side;
  if (slots > SIZE_MAX / sizeof(float)) return;
  float* w = static_cast<float*>(std::calloc(static_cast<size_t>(slots), sizeof(float)));
  if (w == nullptr) return;

  Density d{WeightMode::kDensity, 0.0f, 0.0f};
  if (!(sigma > 0.0f)) {
    d.mode = WeightMode::kImpulse;  // zero, negative or NaN
  } else if (std::isinf(sigma)) {
    d.mode = WeightMode::kFlat;
  } else {
    d.c = 1.0f / ((sigma + sigma) * sigma);
    d.a = static_cast<float>(static_cast<double>(d.c) / 3.141592653589793);
  }
  float sum = fill_weights(w, d, ksize, dims);
  if (!(sum > 0.0f) || std::isinf(sum)) {
    d.mode = sigma < 1.0f ? WeightMode::kImpulse : WeightMode::kFlat;
    sum = fill_weights(w, d, ksize, dims);
  }

  const size_t count = dims == 1 ? static_cast<size_t>(ksize)
                                 : static_cast<size_t>(ksize) * static_cast<size_t>(ksize);
  for (size_t k = 0; k < count; ++k) w[k] = w[k] / sum;
  for (size_t k = 0; k < count; ++k) w[k] = w[k] * scale;

  if (out_type == 1) {
    float* out = static_cast<float*>(kernel_out);
    for (size_t k = 0; k < count; ++k) out[k] = w[k];
  } else {
    int* out = static_cast<int*>(kernel_out);
    uint32_t total = 0;
    for (size_t k = 0; k < count; ++k) {
      out[k] = truncate_to_int(w[k]);
      total += static_cast<uint32_t>(out[k]);
    }
    // Only the 1-D kernel is corrected: its taps drive the >> 10 filters and
    // must sum to the scale exactly. The 2-D kernel keeps its truncation loss.
    if (dims == 1) {
      const int r = ksize >> 1;
      const uint32_t target = static_cast<uint32_t>(truncate_to_int(scale));
      out[r] = wrap_to_int(static_cast<uint32_t>(out[r]) + target - total);
    }
  }
  std::free(w);
}
