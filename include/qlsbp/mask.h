// Focus masks, box-window count tables, mask fill and border utilities.
#ifndef QLSBP_MASK_H_
#define QLSBP_MASK_H_

#include "qlsbp/export.h"

// 16-bit focus mask: 1024 inside the ellipse (centre cy, cx; semi-axes a
// vertical, b horizontal), a linear ramp over a band of t pixels, 0 beyond.
// The caller clears the mask first.
QLSBP_API void gen_ellipse4(unsigned short* mask, int cy, int cx, int a, int b, int t, int height,
                            int width);
// Per-pixel count of the pixels that a (2ry+1) x (2rx+1) box covers.
QLSBP_API void cal_blur_range(unsigned int* out, int rows, int cols, int ry, int rx);

// Hard-edged 8-bit ellipse: 255 inside, other pixels untouched.
QLSBP_API void gen_ellipse(unsigned char* mask, int cy, int cx, int a, int b, int height, int width);
// Floating-point weight mask, band measured against half the smaller image side.
QLSBP_API void gen_ellipse2(double* mask, int cy, int cx, int a, int b, int t, int height, int width);
// 16-bit mask as gen_ellipse4 plus the per-row spans (spans[0..3] of `height` ints).
QLSBP_API void gen_ellipse3(unsigned short* mask, int** spans, int cy, int cx, int a, int b, int t,
                            int height, int width);

struct PXrect {
  int x;     // first column
  int y;     // first row
  int rows;  // number of rows
  int cols;  // number of columns (bytes per row)
};

QLSBP_API void image_fill(unsigned char* img, int rows, int cols);
QLSBP_API void image_board_process(unsigned char* img, int rows, int cols, int n);
QLSBP_API void copy_image(unsigned char* dst, const unsigned char* src, int dst_rows, int dst_cols,
                          int src_rows, int src_cols, const PXrect* dst_rect, const PXrect* src_rect);

#endif  // QLSBP_MASK_H_
