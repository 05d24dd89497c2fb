// Focus masks, box-window count tables, mask fill and border utilities.
#ifndef QLSBP_MASK_H_
#define QLSBP_MASK_H_

#include "qlsbp/export.h"

// 16-bit focus mask: 1024 inside the ellipse (centre cy, cx; semi-axes a
// vertical, b horizontal), a linear ramp over a band of t pixels, 0 beyond.
// The caller clears the mask first (width x height entries); only pixels
// inside the outer ellipse of each row are written.
//
// Kept exactly: double precision throughout, a*a and b*b as 32-bit integer
// products, limits rounded by truncating x + 0.5, ramp values above 1024 just
// inside the inner edge (low 16 bits of the unsigned value stored), column Ro
// never written, and the edge values written through a running index, which
// shifts them one or two columns where the inner and outer limits come closer
// than two columns (e.g. an ellipse cut by the left border).
//
// Defined here for inputs the formulas leave open:
// - Every double-to-integer conversion saturates (NaN gives 0, negative gives
//   0 for the unsigned ramp value), as the ARM conversions do.
// - a <= 0, b <= 0, or a*a / b*b wrapping to <= 0 in 32 bits (|a| > 46340):
//   nothing is written (no focus region). A square that wraps to a positive
//   value is used as is, like on the target.
// - t = 0 (band width 0, e.g. frames whose shorter side is below 50 pixels):
//   a hard-edged mask, the same rows and inner run [Li, Ri-1] of 1024 as the
//   banded mask, and no ramp or edge values.
// - Centre far outside the image (any int cy, cx): row and column offsets are
//   computed in double; run columns that fall outside [0, width) are dropped
//   (the running index still counts them), so nothing is written outside the
//   mask. height < 1 or width < 1: nothing is written.
QLSBP_API void gen_ellipse4(unsigned short* mask, int cy, int cx, int a, int b, int t, int height,
                            int width);

// The focus mask of gen_ellipse4 without its edge artifacts, for callers not
// bound to the exact mask's bytes (sessions with the clean_edges option).
// Same arguments, ellipses, band and linear ramp, and the caller clears the
// mask first likewise. Differences:
// - every weight is clamped to 0..1024 (no overshoot just inside the inner
//   ellipse, where the blend would wrap);
// - every column gets the value of its own position: no running index, so an
//   ellipse cut by the left border has no shifted edge values and no column
//   of 0 inside the sharp region;
// - the limits are clipped to the image only after the runs are formed, so
//   the last column of a row cut by the right border gets 1024 or its ramp
//   value like its neighbours, not the exact mask's 0 or unclamped value.
// Hence each row falls monotonically from its run of 1024 outwards. In rows
// whose limits lie inside the image at least two columns apart, the result
// equals gen_ellipse4 wherever that one lies within 0..1024. Invalid axes,
// t = 0, huge coordinates and sizes below 1 are handled as in gen_ellipse4;
// a null mask writes nothing.
QLSBP_API void gen_ellipse4_clean(unsigned short* mask, int cy, int cx, int a, int b, int t,
                                  int height, int width);

// Per-pixel count of the pixels that a (2ry+1) x (2rx+1) box covers. Per axis:
// r + 1 + i while i <= r (the far border is ignored there on purpose, so small
// planes get counts above the real coverage), 2r + 1 in the middle, n + r - i
// near the far border; out = vertical x horizontal count.
// rows < 1 or cols < 1: nothing is written. Counts and the product are
// unsigned 32-bit and wrap (no overflow), so negative or huge radii give
// defined, if meaningless, counts.
QLSBP_API void cal_blur_range(unsigned int* out, int rows, int cols, int ry, int rx);

// Hard-edged 8-bit ellipse: 255 where (cy-r)^2/a^2 + (cx-x)^2/b^2 <= 1 and
// |cy-r| <= a, |cx-x| <= b; other pixels untouched (the caller clears first).
// A zero axis is degenerate, not 0/0: only offset 0 along it qualifies, so
// a = b = 0 marks the centre pixel when it lies in the image. Negative axes,
// or a positive axis whose 32-bit square wraps to <= 0, write nothing; so do
// height < 1 and width < 1.
QLSBP_API void gen_ellipse(unsigned char* mask, int cy, int cx, int a, int b, int height,
                           int width);

// Floating-point weight mask: 1.0 inside, ramp (S - q) / (S - 1) in the band
// (clamped below at 0.0, not above), with S = (1 + t / (0.5 * min(height,
// width)))^2: the band is measured against half the smaller image side, not
// the ellipse. Each row is written from one sequential position starting at
// column Lo: ramp for [Lo, Li-1], 1.0 for [Li, Ri-1], ramp for [Ri, Ro-1] (a
// row outside the inner ellipse: ramp for [Lo, Ro-1]); positions past the row
// end are dropped, never written. Axes, t = 0, huge coordinates and sizes
// below 1 are handled as in gen_ellipse4 (t = 0: only the 1.0 run).
QLSBP_API void gen_ellipse2(double* mask, int cy, int cx, int a, int b, int t, int height,
                            int width);

// 16-bit mask exactly as gen_ellipse4 (same running-index edge writes and the
// same guards), plus the per-row spans: spans[0..3][r] = Lo, Ro, Li, Ri, with
// Li = Ri = Lo for rows not crossing the inner ellipse and -4 in all four for
// rows outside the outer ellipse. When no region exists (invalid axes, or
// width < 1) every row gets -4. height < 1 writes nothing, not even spans.
// spans, or any of spans[0..3], may be null: that table is not filled.
QLSBP_API void gen_ellipse3(unsigned short* mask, int** spans, int cy, int cx, int a, int b, int t,
                            int height, int width);

struct PXrect {
  int x;     // first column
  int y;     // first row
  int rows;  // number of rows
  int cols;  // number of columns (bytes per row)
};

// Fills an outline mask (nonzero = on): each row gets 255 from its left edge
// (the clear pixel before its first run; 0 when pixels 0 and 1 are set) to its
// right edge (the last pixel of its last run; cols - 2 when the two last
// pixels are set); then every column with a top edge (the clear pixel above
// its first run; 1 when rows 0 and 1 are set) is cleared above it and below
// its bottom edge (last pixel of the last run; rows - 1 when the two last rows
// are set; none clears the whole column). Edges come from the input mask.
// rows < 2 or cols < 2 (no pixel pairs to compare): the mask is left as is.
// If a scratch allocation fails the mask is left as is.
QLSBP_API void image_fill(unsigned char* img, int rows, int cols);

// Mirrors a border of n pixels: top rows k <- 2n - k, bottom rows mirrored
// about rows - 1 - n, then the right border shifted one column right of a
// mirror (column cols - m <- cols - 1 - 2n + m, so m = 0 lands on column 0 of
// the next row and column cols - n is not written), then left columns
// k <- 2n - k. Requires 2n + 1 <= rows and 2n + 1 <= cols; otherwise, and
// for n <= 0, nothing is done. The last row's right spill (one byte past the
// plane) is skipped: the plane needs no spare byte and every byte inside it
// is as with the spill.
QLSBP_API void image_board_process(unsigned char* img, int rows, int cols, int n);

// Copies rows of bytes from src (+ src_rect->y * src_cols + src_rect->x) to
// dst (+ dst_rect->y * dst_cols + dst_rect->x); a null rect means offset 0.
// Size: no rects: min(dst_rows, src_rows) x min(dst_cols, src_cols); only
// dst_rect: its rows x cols; only src_rect: its rows x cols; both:
// min(src_rows, dst_rect->rows) (the source plane's height, on purpose) x
// min(src_rect->cols, dst_rect->cols). Nothing when either is <= 0. No
// clipping: the caller guarantees that the rectangles fit both planes.
// Overlapping source and destination are copied row by row as with memmove.
QLSBP_API void copy_image(unsigned char* dst, const unsigned char* src, int dst_rows, int dst_cols,
                          int src_rows, int src_cols, const PXrect* dst_rect,
                          const PXrect* src_rect);

#endif  // QLSBP_MASK_H_
