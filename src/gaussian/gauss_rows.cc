// Scalar reference row kernels of the separable Gaussian filters, the mirror
// rule of their borders, and the one place that picks a vector twin.
#include "gaussian/gauss_rows.h"

#include "simd/cpu.h"

void gauss_vertical_row_c(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                          const int* kernel, int ksize, int n) {
  if (ksize < 1) return;
  const int r = ksize >> 1;
  for (int x = 0; x < n; ++x) {
    const uint8_t* p = src + x;
    uint32_t sum = static_cast<uint32_t>(kernel[r]) * p[row_offsets[r]];
    for (int d = 0; d < r; ++d) {
      const uint32_t pair =
          static_cast<uint32_t>(p[row_offsets[d]]) + p[row_offsets[ksize - 1 - d]];
      sum += static_cast<uint32_t>(kernel[d]) * pair;
    }
    dst[x] = static_cast<uint8_t>(sum >> 10);
  }
}

void gauss_horizontal_row_c(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize, int n) {
  if (ksize < 1) return;
  const int r = ksize >> 1;
  for (int x = 0; x < n; ++x) {
    const uint8_t* p = src + x;
    uint32_t sum = static_cast<uint32_t>(kernel[r]) * p[r];
    for (int d = 0; d < r; ++d) {
      const uint32_t pair = static_cast<uint32_t>(p[d]) + p[ksize - 1 - d];
      sum += static_cast<uint32_t>(kernel[d]) * pair;
    }
    dst[x] = static_cast<uint8_t>(sum >> 10);
  }
}

bool gauss_taps_fit_vector(const int* kernel, int ksize) {
  if (ksize < 1 || ksize > kGaussVectorMaxTaps) return false;
  // Biased by 32768, an int16 tap has its upper 16 bits clear; one OR over
  // all taps tests them together (this runs once per row).
  uint32_t high = 0;
  for (int k = 0; k <= (ksize >> 1); ++k) high |= static_cast<uint32_t>(kernel[k]) + 32768u;
  return (high >> 16) == 0;
}

GaussVerticalRowFn gauss_vertical_row_pick() {
#if QLSBP_HAVE_AVX2
  if (qlsbp_cpu_has(kCpuHasAVX2)) return gauss_vertical_row_avx2;
#endif
#if QLSBP_HAVE_SSE2
  if (qlsbp_cpu_has(kCpuHasSSE2)) return gauss_vertical_row_sse2;
#endif
#if QLSBP_HAVE_NEON
  if (qlsbp_cpu_has(kCpuHasNEON)) return gauss_vertical_row_neon;
#endif
  return gauss_vertical_row_c;
}

GaussHorizontalRowFn gauss_horizontal_row_pick() {
#if QLSBP_HAVE_AVX2
  if (qlsbp_cpu_has(kCpuHasAVX2)) return gauss_horizontal_row_avx2;
#endif
#if QLSBP_HAVE_SSE2
  if (qlsbp_cpu_has(kCpuHasSSE2)) return gauss_horizontal_row_sse2;
#endif
#if QLSBP_HAVE_NEON
  if (qlsbp_cpu_has(kCpuHasNEON)) return gauss_horizontal_row_neon;
#endif
  return gauss_horizontal_row_c;
}

void gauss_vertical_row(uint8_t* dst, const uint8_t* src, const int* row_offsets, const int* kernel,
                        int ksize, int n) {
  gauss_vertical_row_pick()(dst, src, row_offsets, kernel, ksize, n);
}

void gauss_horizontal_row(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize, int n) {
  gauss_horizontal_row_pick()(dst, src, kernel, ksize, n);
}

int gauss_zero_outer_taps(const int* kernel, int ksize) {
  int z = 0;
  while (z < (ksize >> 1) && kernel[z] == 0) ++z;
  return z;
}

int gauss_mirror(int i, int n) {
  if (n <= 1) return 0;
  if (i >= 0 && i < n) return i;
  // Reflect-101 repeats with period 2(n-1); 64-bit so that no i overflows.
  const long long period = 2LL * (n - 1);
  long long m = static_cast<long long>(i) % period;
  if (m < 0) m += period;
  if (m >= n) m = period - m;
  return static_cast<int>(m);
}
