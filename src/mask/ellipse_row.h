// Row geometry and the 16-bit row writer shared by gen_ellipse4 and
// gen_ellipse3.
#ifndef QLSBP_MASK_ELLIPSE_ROW_H_
#define QLSBP_MASK_ELLIPSE_ROW_H_

#include <cstdint>

// What every row of one call needs. All in double precision, as the masks are
// defined; a2 and b2 are the 32-bit integer squares read as doubles.
struct EllipseShape {
  double cx;  // centre column
  double b;   // horizontal semi-axis
  double a2;  // a * a
  double b2;  // b * b
  double S;   // squared scale of the outer ellipse
  int width;  // row length
};

// Column limits of one row. lo/ro bound the outer ellipse, li/ri the inner
// one (only when inner is set, i.e. the row crosses the inner ellipse).
struct EllipseRowSpan {
  double qy;  // (cy - r)^2 / a^2
  int lo, ro;
  int li, ri;
  bool inner;
};

// Fills every field but S, squaring both axes as the target's 32-bit
// products do. False when the axes describe no region: a <= 0, b <= 0, or a
// square that wraps to <= 0.
bool ellipse_shape(EllipseShape* e, int cx, int a, int b, int width);

// Squared scale of the outer ellipse for a band of t pixels measured against
// `reference` (the smaller semi-axis, or half the smaller image side).
inline double ellipse_outer_scale2(int t, double reference) {
  const double s = 1.0 + t / reference;
  return s * s;
}

// Limits of row r around centre row cy; false when the row lies wholly
// outside the outer ellipse (qy > S) and must not be touched.
bool ellipse_row_span(EllipseRowSpan* span, const EllipseShape& e, int cy, int r);

// Writes one row of the 1024-scale mask following the running-write-index
// rule (see gen_ellipse4 in qlsbp/mask.h). Never writes outside [0, width).
void ellipse_row_u16(uint16_t* row, const EllipseShape& e, const EllipseRowSpan& span);

#endif  // QLSBP_MASK_ELLIPSE_ROW_H_
