// 2:1 pyramid resampling of packed 8-bit planes: scalar row kernels, the
// variant choice, and the plane drivers.
//
// Every result is a mean of two or four bytes rounded half up, at most
// (4 x 255 + 2) >> 2 = 255, so no clamping exists anywhere.
#include <cstddef>

#include "blur/blur_rows.h"
#include "qlsbp/blur.h"
#include "simd/cpu.h"

void downsample2x2_row_c(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int n) {
  for (int i = 0; i < n; ++i) {
    dst[i] = static_cast<uint8_t>(
        (upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1] + 2) >> 2);
  }
}

void downsample2x2_uv_row_c(uint8_t* dst_even, uint8_t* dst_odd, const uint8_t* upper,
                            const uint8_t* lower, int n) {
  for (int i = 0; i < n; ++i) {
    const int b = 4 * i;
    dst_even[i] =
        static_cast<uint8_t>((upper[b] + upper[b + 2] + lower[b] + lower[b + 2] + 2) >> 2);
    dst_odd[i] =
        static_cast<uint8_t>((upper[b + 1] + upper[b + 3] + lower[b + 1] + lower[b + 3] + 2) >> 2);
  }
}

void upscale2x_row_c(uint8_t* d0, uint8_t* d1, const uint8_t* s0, const uint8_t* s1, int width) {
  if (width < 1) return;
  for (int x = 0; x + 1 < width; ++x) {
    const int a = s0[x], b = s0[x + 1], c = s1[x], d = s1[x + 1];
    d0[2 * x] = static_cast<uint8_t>(a);
    d0[2 * x + 1] = static_cast<uint8_t>((a + b + 1) >> 1);
    d1[2 * x] = static_cast<uint8_t>((a + c + 1) >> 1);
    d1[2 * x + 1] = static_cast<uint8_t>((a + b + c + d + 2) >> 2);
  }
  // Right column: no neighbour, so the pixel (and its vertical mean) repeats.
  const int x = width - 1;
  d0[2 * x] = d0[2 * x + 1] = s0[x];
  d1[2 * x] = d1[2 * x + 1] = static_cast<uint8_t>((s0[x] + s1[x] + 1) >> 1);
}

#if QLSBP_HAVE_SSE2
#define QLSBP_RESAMPLE_PICK(name) (qlsbp_cpu_has(kCpuHasSSE2) ? name##_sse2 : name##_c)
#elif QLSBP_HAVE_NEON
#define QLSBP_RESAMPLE_PICK(name) (qlsbp_cpu_has(kCpuHasNEON) ? name##_neon : name##_c)
#else
#define QLSBP_RESAMPLE_PICK(name) (name##_c)
#endif

void downsample2x2_row(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int n) {
  QLSBP_RESAMPLE_PICK(downsample2x2_row)(dst, upper, lower, n);
}

void downsample2x2_uv_row(uint8_t* dst_even, uint8_t* dst_odd, const uint8_t* upper,
                          const uint8_t* lower, int n) {
  QLSBP_RESAMPLE_PICK(downsample2x2_uv_row)(dst_even, dst_odd, upper, lower, n);
}

void upscale2x_row(uint8_t* d0, uint8_t* d1, const uint8_t* s0, const uint8_t* s1, int width) {
  QLSBP_RESAMPLE_PICK(upscale2x_row)(d0, d1, s0, s1, width);
}

void downsampleh2v2(unsigned char* dst, unsigned char* src, int height, int width) {
  if (height < 1 || width < 1) return;
  const int out_cols = ((width - 1) >> 1) + 1;
  const int out_rows = ((height - 1) >> 1) + 1;
  // Rows advance by width + 2 x out_cols: two rows for an even width, and one
  // byte more for an odd one, whose last pair takes the next row's first
  // byte. Callers pass even widths; the odd addressing is kept as it is.
  const size_t advance = static_cast<size_t>(width) + 2 * static_cast<size_t>(out_cols);
  for (int j = 0; j < out_rows; ++j) {
    const uint8_t* upper = src + advance * j;
    downsample2x2_row(dst + static_cast<size_t>(out_cols) * j, upper, upper + width, out_cols);
  }
}

void downsampleh4v4(unsigned char* dst, unsigned char* src, int height, int width) {
  if (height < 1 || width < 1) return;
  const int out_cols = ((width - 1) >> 2) + 1;
  const int out_rows = ((height - 1) >> 2) + 1;
  // Historical addressing, kept exactly: the pairs step by two pixels (only
  // the left half of each row is read), the two rows combined are three rows
  // apart, and output rows advance the source by width + 2 x out_cols bytes.
  const size_t advance = static_cast<size_t>(width) + 2 * static_cast<size_t>(out_cols);
  const size_t gap = 3 * static_cast<size_t>(width);
  for (int j = 0; j < out_rows; ++j) {
    const uint8_t* first = src + advance * j;
    downsample2x2_row(dst + static_cast<size_t>(out_cols) * j, first, first + gap, out_cols);
  }
}

void upscalingh2v2(unsigned char* dst, unsigned char* src, int height, int width) {
  if (width < 1) return;
  const size_t w = static_cast<size_t>(width);
  const int last = height > 1 ? height - 1 : 0;
  for (int y = 0; y < last; ++y) {
    uint8_t* d0 = dst + 4 * w * y;
    upscale2x_row(d0, d0 + 2 * w, src + w * y, src + w * (y + 1), width);
  }
  // The bottom row has no row below: interpolating it with itself gives the
  // horizontal interpolation in the upper output row and an identical copy in
  // the lower one, which is the replicated bottom edge.
  uint8_t* d0 = dst + 4 * w * last;
  const uint8_t* s = src + w * last;
  upscale2x_row(d0, d0 + 2 * w, s, s, width);
}
