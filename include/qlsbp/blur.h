// Blur image builder, 2:1 pyramid resampling and mask blending.
#ifndef QLSBP_BLUR_H_
#define QLSBP_BLUR_H_

#include "qlsbp/export.h"

// Thread body: blurs and blends one plane described by an SBPlaneTask
// (qlsbp/sb_data.h) into task->dst, then returns null.
//  - Gaussian method (useGaussian != 0): kernelSize taps of sigma = factor; at
//    half resolution (blurOption != 0) the plane is halved into `small`,
//    blurred there with the 61- or 21-tap filter (or the general one for other
//    sizes) and enlarged into dst; at full resolution dst is a copy of src
//    blurred with the general filter. Filter scratch comes from task->mem. A
//    kernelSize below 1 (or a filter that refuses) leaves the plane unblurred.
//  - Box method (useGaussian == 0): a mean over the window of radiusRows x
//    radiusCols each way, from a 64-bit integral image in `wide` divided by
//    the counts in `range` (both at the working size). The window is clipped
//    to the plane, so small planes stay inside it; a zero count gives 0. With
//    wide or range null the box step is skipped.
//  - Half resolution: enlarging covers the first 4 (H >> 1)(W >> 1) bytes of
//    dst as rows of 2 (W >> 1) bytes; for odd planes the bytes after that take
//    the sharp pixels rather than what dst held before. An odd last source row
//    is not read, and nothing past src's H x W bytes is read for any size.
//  - Finally dst = blend(dst, src, mask) over whole blocks of eight pixels.
// A null record, null planes or a size below 1 do nothing. Buffers: src, dst
// and mask H x W entries; small (H >> 1) rows of ((W - 1) >> 1) + 1 bytes;
// wide and range one entry per pixel of the working size.
QLSBP_API void* build_blur_image2(void* task);

// Pyramid resampling of packed planes (stride = width). (height, width) is
// the source size; dst must not overlap src. Nothing is allocated, clamped or
// checked: the caller sizes the buffers as stated.

// 2x2 box average, round half up, into ((width-1)>>1)+1 columns by
// ((height-1)>>1)+1 rows. Output row j reads two source rows starting at
// src + j x (width + 2 x W2) and width bytes later, 2 x W2 bytes each
// (W2 = output columns). For even sizes that is exactly the source; an odd
// width reads one byte past each row (the next row's first) and advances by
// 2 x width + 1, an odd height reads the row below the image: src must be
// readable for H2 x (width + 2 x W2) bytes (H2 = output rows). height < 1 or
// width < 1 writes nothing.
QLSBP_API void downsampleh2v2(unsigned char* dst, unsigned char* src, int height, int width);
// The same arithmetic with its historical addressing, kept exactly: output
// ((width-1)>>2)+1 = W4 columns by ((height-1)>>2)+1 = H4 rows; output row j
// pairs up bytes 2i, 2i+1 of the row at src + j x (width + 2 x W4) and of the
// row three rows (3 x width bytes) further on. src must be readable for
// H4 x (width + 2 x W4) + 2 x width bytes, which exceeds height x width for
// heights below 4 and for some widths that are not multiples of 4.
// height < 1 or width < 1 writes nothing.
QLSBP_API void downsampleh4v4(unsigned char* dst, unsigned char* src, int height, int width);
// 2x bilinear enlargement into 2 x width columns by 2 x height rows, round
// half up, the right column and the bottom row replicated. width < 1 writes
// nothing. height < 1 is treated like height 1: source row 0 is read and
// output rows 0 and 1 are written (dst must hold 4 x width bytes).
QLSBP_API void upscalingh2v2(unsigned char* dst, unsigned char* src, int height, int width);

// Mask blend on whole blocks of 8 pixels: with F = first[i], S = second[i]
// and W = weight[i] read as signed 16-bit,
//   dst[i] = low byte of (F + low 16 bits of (((S - F) * W + 512) >> 10)).
// W = 0 gives F, W = 1024 gives S. There is no saturation: weights above 1024
// can wrap (F 200, S 255, W 1100 gives 3). The last count % 8 pixels are not
// written; count < 8 (including negative) writes nothing. dst may be first
// or second (element-wise, in place).
QLSBP_API void img_blend_neon(unsigned char* dst, unsigned char* first, unsigned char* second,
                              unsigned short* weight, int count);
// Blend with a global strength a = low 16 bits of alpha as signed (128 = full):
// k = (int16)(1024 - W) * a and dst[i] = low byte of
// ((F * k + S * (131072 - k) + 65536) >> 17) in wrapping 32-bit arithmetic.
// alpha 0 copies second; alpha 128 equals img_blend_neon for every weight
// except 0x8000 .. 0x8400, where 1024 - W leaves the 16-bit range. Blocks,
// tail and in-place use as for img_blend_neon.
QLSBP_API void img_blend_neon_alpha(unsigned char* dst, unsigned char* first, unsigned char* second,
                                    unsigned short* weight, int count, int alpha);

#endif  // QLSBP_BLUR_H_
