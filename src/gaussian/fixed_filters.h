// Row kernel of the one-pass float-tap Gaussian filters.
//
// dst[x] = byte(sum over k = 0 .. ksize-1 of (float)src[x + k * step] *
// kernel[k]) for x = 0 .. n-1, the sum in single precision and in tap order,
// no fused multiply-add. step is 1 for the horizontal pass and the row pitch
// for the vertical one. byte() truncates to unsigned 32 bits and keeps the
// low byte; a negative or NaN sum gives 0 and a sum of 2^32 or more gives 255
// (saturation to 0xffffffff). The scalar function is the reference; the
// twins give the same bytes.
#ifndef QLSBP_GAUSSIAN_FIXED_FILTERS_H_
#define QLSBP_GAUSSIAN_FIXED_FILTERS_H_

#include <cstdint>

#include "simd/cpu.h"

// AArch64 only: ARMv7 NEON flushes denormals to zero, which the scalar VFP
// code does not, so 32-bit ARM keeps the scalar kernel for bit-exactness.
#if QLSBP_HAVE_NEON && defined(__aarch64__)
#define QLSBP_HAVE_FLOAT_TAPS_NEON 1
#else
#define QLSBP_HAVE_FLOAT_TAPS_NEON 0
#endif

void float_taps_row_c(uint8_t* dst, const uint8_t* src, int step, const float* kernel, int ksize,
                      int n);
void float_taps_row_sse2(uint8_t* dst, const uint8_t* src, int step, const float* kernel, int ksize,
                         int n);
void float_taps_row_neon(uint8_t* dst, const uint8_t* src, int step, const float* kernel, int ksize,
                         int n);

// The variant this build and environment select.
void float_taps_row(uint8_t* dst, const uint8_t* src, int step, const float* kernel, int ksize,
                    int n);

#endif  // QLSBP_GAUSSIAN_FIXED_FILTERS_H_
