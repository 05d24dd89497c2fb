// Row kernels of the 2:1 pyramid resampling and of the mask blend.
//
// The scalar functions (_c) are the reference; the _sse2 and _neon twins give
// the same bytes and finish each row with the scalar kernel. All take the
// destination first; a count below 1 writes nothing.
#ifndef QLSBP_BLUR_BLUR_ROWS_H_
#define QLSBP_BLUR_BLUR_ROWS_H_

#include <cstdint>

// n outputs of a 2x2 box average with round half up:
//   dst[i] = (upper[2i] + upper[2i+1] + lower[2i] + lower[2i+1] + 2) >> 2.
// Reads exactly 2n bytes of each source row.
void downsample2x2_row_c(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int n);
void downsample2x2_row_sse2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int n);
void downsample2x2_row_neon(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int n);

// The same 2x2 average over a row pair of interleaved chroma (U0 V0 U1 V1
// ...): the even bytes give dst_even, the odd bytes dst_odd, n outputs each,
// exactly what splitting the rows first and halving each plane gives. Reads
// exactly 4n bytes of each source row.
void downsample2x2_uv_row_c(uint8_t* dst_even, uint8_t* dst_odd, const uint8_t* upper,
                            const uint8_t* lower, int n);
void downsample2x2_uv_row_sse2(uint8_t* dst_even, uint8_t* dst_odd, const uint8_t* upper,
                               const uint8_t* lower, int n);
void downsample2x2_uv_row_neon(uint8_t* dst_even, uint8_t* dst_odd, const uint8_t* upper,
                               const uint8_t* lower, int n);

// 2x bilinear enlargement of source row s0 with s1 below it into the output
// rows d0 and d1 (2 x width bytes each), round half up; the right column is
// replicated. With s1 == s0 the result is the horizontal interpolation of s0
// in both output rows. The output rows must not overlap the source rows (the
// vector twins may write some outputs twice).
void upscale2x_row_c(uint8_t* d0, uint8_t* d1, const uint8_t* s0, const uint8_t* s1, int width);
void upscale2x_row_sse2(uint8_t* d0, uint8_t* d1, const uint8_t* s0, const uint8_t* s1, int width);
void upscale2x_row_neon(uint8_t* d0, uint8_t* d1, const uint8_t* s0, const uint8_t* s1, int width);

// n pixels of dst = low byte of (F + low 16 bits of (((S - F) * W + 512) >> 10))
// with W = weight read as signed 16-bit: no saturation, wraps on purpose.
void blend_row_c(uint8_t* dst, const uint8_t* first, const uint8_t* second, const uint16_t* weight,
                 int n);
void blend_row_sse2(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                    const uint16_t* weight, int n);
void blend_row_neon(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                    const uint16_t* weight, int n);

// The blend above for interleaved chroma, n pixel pairs sharing one weight:
//   dst[2i] = blend(first_even[i], second[2i], weight[i]),
//   dst[2i+1] = blend(first_odd[i], second[2i+1], weight[i]),
// which equals blending each split plane and interleaving the results. dst
// may be second (the caller's row, blended in place).
void blend_uv_row_c(uint8_t* dst, const uint8_t* first_even, const uint8_t* first_odd,
                    const uint8_t* second, const uint16_t* weight, int n);
void blend_uv_row_sse2(uint8_t* dst, const uint8_t* first_even, const uint8_t* first_odd,
                       const uint8_t* second, const uint16_t* weight, int n);
void blend_uv_row_neon(uint8_t* dst, const uint8_t* first_even, const uint8_t* first_odd,
                       const uint8_t* second, const uint16_t* weight, int n);

// The blend above for packed 4:2:2 (Y0 U Y1 V), n pairs: luma sample j of
// the row blends first_y[j] under weight_y[j], the chroma samples of pair i
// blend first_u[i] and first_v[i] under weight_c[i]; second holds the sharp
// pairs. Equals splitting the row, blending each plane and joining them. dst
// may be second.
void blend_yuyv_row_c(uint8_t* dst, const uint8_t* first_y, const uint8_t* first_u,
                      const uint8_t* first_v, const uint8_t* second, const uint16_t* weight_y,
                      const uint16_t* weight_c, int n);
void blend_yuyv_row_sse2(uint8_t* dst, const uint8_t* first_y, const uint8_t* first_u,
                         const uint8_t* first_v, const uint8_t* second, const uint16_t* weight_y,
                         const uint16_t* weight_c, int n);
void blend_yuyv_row_neon(uint8_t* dst, const uint8_t* first_y, const uint8_t* first_u,
                         const uint8_t* first_v, const uint8_t* second, const uint16_t* weight_y,
                         const uint16_t* weight_c, int n);

// n pixels of dst = low byte of ((F * k + S * (131072 - k) + 65536) >> 17) in
// wrapping 32-bit arithmetic, k = (int16)(1024 - W) * (int16)alpha.
void blend_alpha_row_c(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                       const uint16_t* weight, int n, int alpha);
void blend_alpha_row_sse2(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                          const uint16_t* weight, int n, int alpha);
void blend_alpha_row_neon(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                          const uint16_t* weight, int n, int alpha);

// Runs of equal weights: the number of leading (weight_run_forward) or
// trailing (weight_run_backward) entries of weight[0 .. n) equal to v, 0 when
// n < 1. They read the run and at most one block past it, never outside
// weight[0 .. n).
int weight_run_forward_c(const uint16_t* weight, int n, uint16_t v);
int weight_run_forward_sse2(const uint16_t* weight, int n, uint16_t v);
int weight_run_forward_neon(const uint16_t* weight, int n, uint16_t v);
int weight_run_backward_c(const uint16_t* weight, int n, uint16_t v);
int weight_run_backward_sse2(const uint16_t* weight, int n, uint16_t v);
int weight_run_backward_neon(const uint16_t* weight, int n, uint16_t v);

using WeightRunFn = int (*)(const uint16_t* weight, int n, uint16_t v);

// The variants this build and environment select (scalar under
// QLSBP_FORCE_SCALAR).
void downsample2x2_row(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int n);
void downsample2x2_uv_row(uint8_t* dst_even, uint8_t* dst_odd, const uint8_t* upper,
                          const uint8_t* lower, int n);
void upscale2x_row(uint8_t* d0, uint8_t* d1, const uint8_t* s0, const uint8_t* s1, int width);
void blend_row(uint8_t* dst, const uint8_t* first, const uint8_t* second, const uint16_t* weight,
               int n);
void blend_uv_row(uint8_t* dst, const uint8_t* first_even, const uint8_t* first_odd,
                  const uint8_t* second, const uint16_t* weight, int n);
void blend_alpha_row(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                     const uint16_t* weight, int n, int alpha);
void blend_yuyv_row(uint8_t* dst, const uint8_t* first_y, const uint8_t* first_u,
                    const uint8_t* first_v, const uint8_t* second, const uint16_t* weight_y,
                    const uint16_t* weight_c, int n);
WeightRunFn weight_run_forward_pick();
WeightRunFn weight_run_backward_pick();

#endif  // QLSBP_BLUR_BLUR_ROWS_H_
