// gen_ellipse4: the focus mask of the preview path.
#include <cstddef>
#include <cstdint>

#include "mask/ellipse_row.h"
#include "qlsbp/mask.h"

void gen_ellipse4(unsigned short* mask, int cy, int cx, int a, int b, int t, int height,
                  int width) {
  if (height < 1 || width < 1) return;
  EllipseShape e;
  if (!ellipse_shape(&e, cx, a, b, width)) return;
  e.S = ellipse_outer_scale2(t, a < b ? a : b);
  for (int r = 0; r < height; ++r) {
    EllipseRowSpan span;
    if (!ellipse_row_span(&span, e, cy, r)) continue;
    ellipse_row_u16(mask + static_cast<size_t>(r) * static_cast<size_t>(width), e, span);
  }
}
