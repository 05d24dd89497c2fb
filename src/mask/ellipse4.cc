// gen_ellipse4: the focus mask of the preview path.
#include <cstddef>
#include <cstdint>

#include "mask/ellipse_row.h"
#include "qlsbp/mask.h"

void gen_ellipse4(unsigned short* mask, int cy, int cx, int a, int b, int t, int height,
                  int width) {
  if (height < 1 || width < 1) return;
  EllipseShape e;
  if (!ellipse_axes(a, b, &e.a2, &e.b2)) return;
  const double m = a < b ? a : b;
  const double s = 1.0 + t / m;
  e.cx = cx;
  e.b = b;
  e.S = s * s;
  e.width = width;
  for (int r = 0; r < height; ++r) {
    EllipseRowSpan span;
    if (!ellipse_row_span(&span, e, cy, r)) continue;
    ellipse_row_u16(mask + static_cast<size_t>(r) * static_cast<size_t>(width), e, span);
  }
}
