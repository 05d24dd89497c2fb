// Row kernels of the separable integer Gaussian filters.
//
// Taps are symmetric and sum to 1024, so an output is
//   (k[r] * p[r] + sum_{d<r} k[d] * (p[d] + p[ksize-1-d])) >> 10
// with r = ksize >> 1, 32-bit sums and truncation (no rounding term). The
// scalar functions are the reference; the _sse2, _avx2 and _neon twins give
// the same bytes. All take the destination first and write n outputs.
//
// Arbitrary taps are allowed: products and sums are unsigned 32-bit and wrap,
// and the output byte is the low 8 bits of (sum >> 10), so no input can reach
// signed overflow and every variant agrees. Only kernel[0 .. r] is read.
// Nothing is written when n < 1 or ksize < 1. dst must not overlap the source
// rows (the vector twins may rewrite the last outputs of a row once more).
#ifndef QLSBP_GAUSSIAN_GAUSS_ROWS_H_
#define QLSBP_GAUSSIAN_GAUSS_ROWS_H_

#include <cstdint>

// Vertical: p[k] = src[x + row_offsets[k]], for x = 0 .. n-1.
void gauss_vertical_row_c(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                          const int* kernel, int ksize, int n);
// Horizontal: p[k] = src[x + k], for x = 0 .. n-1 (dst[x] is output x).
void gauss_horizontal_row_c(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize, int n);

// The vector twins work on 16 (then 8) outputs per step with 16-bit pair sums
// multiplied into 32-bit lanes; that is exact while every tap read fits in
// int16 and ksize <= kGaussVectorMaxTaps. Outside that range they hand the
// row to the scalar reference themselves, so they are safe for any input.
void gauss_vertical_row_sse2(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                             const int* kernel, int ksize, int n);
void gauss_horizontal_row_sse2(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize,
                               int n);
void gauss_vertical_row_avx2(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                             const int* kernel, int ksize, int n);
void gauss_horizontal_row_avx2(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize,
                               int n);
void gauss_vertical_row_neon(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                             const int* kernel, int ksize, int n);
void gauss_horizontal_row_neon(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize,
                               int n);

constexpr int kGaussVectorMaxTaps = 255;
// True when the vector twins can take these taps (see above).
bool gauss_taps_fit_vector(const int* kernel, int ksize);

using GaussVerticalRowFn = void (*)(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                                    const int* kernel, int ksize, int n);
using GaussHorizontalRowFn = void (*)(uint8_t* dst, const uint8_t* src, const int* kernel,
                                      int ksize, int n);

// The variants this build, CPU and environment select (scalar under
// QLSBP_FORCE_SCALAR): drivers fetch one per plane or strip and loop.
GaussVerticalRowFn gauss_vertical_row_pick();
GaussHorizontalRowFn gauss_horizontal_row_pick();
// One row through the selected variant.
void gauss_vertical_row(uint8_t* dst, const uint8_t* src, const int* row_offsets, const int* kernel,
                        int ksize, int n);
void gauss_horizontal_row(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize, int n);

// Number of leading taps kernel[0 .. z) that are zero, z <= ksize >> 1. Their
// pairs add nothing, so a row computed with kernel + z, ksize - 2z and the
// source (or row offsets) moved on by z gives the same bytes.
int gauss_zero_outer_taps(const int* kernel, int ksize);

// Index of the source sample for position i of a line of n samples, mirrored
// about the first and last sample without repeating them (reflect-101:
// -1 -> 1, n -> n-2). Lines shorter than the kernel fold as often as needed;
// a line of one sample maps everything to 0 (and so does n < 1).
int gauss_mirror(int i, int n);

#endif  // QLSBP_GAUSSIAN_GAUSS_ROWS_H_
