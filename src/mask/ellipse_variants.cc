// The exported ellipse mask variants: a hard-edged 8-bit mask, a
// floating-point weight mask and the 16-bit mask with its per-row spans.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "mask/ellipse_row.h"
#include "mask/mask_math.h"
#include "qlsbp/mask.h"

// ---- gen_ellipse: 255 inside, nothing else written -------------------------

// d^2 / axis^2 for |d| <= axis. A zero axis is a degenerate ellipse: its one
// allowed offset 0 contributes 0 (instead of 0 / 0), so a = b = 0 marks the
// centre pixel.
static inline double axis_term(double d, double axis2) { return d == 0.0 ? 0.0 : d * d / axis2; }

void gen_ellipse(unsigned char* mask, int cy, int cx, int a, int b, int height, int width) {
  if (height < 1 || width < 1 || a < 0 || b < 0) return;
  const int32_t aa = mask_square_i32(a);
  const int32_t bb = mask_square_i32(b);
  // A positive axis whose 32-bit square wraps to <= 0 describes no region.
  if ((a > 0 && aa <= 0) || (b > 0 && bb <= 0)) return;
  const double a2 = aa, b2 = bb;
  for (int r = 0; r < height; ++r) {
    const double dy = static_cast<double>(cy) - static_cast<double>(r);
    if (dy > a || -dy > a) continue;
    const double qy = axis_term(dy, a2);
    unsigned char* row = mask + static_cast<size_t>(r) * static_cast<size_t>(width);
    for (int x = 0; x < width; ++x) {
      const double dx = static_cast<double>(cx) - static_cast<double>(x);
      if (dx > b || -dx > b) continue;
      if (qy + axis_term(dx, b2) <= 1.0) row[x] = 255;
    }
  }
}

// ---- gen_ellipse2: double weights through one sequential write position ----

namespace {

struct WeightRowWriter {
  double* row;
  const EllipseShape& e;
  double qy;
  int64_t p;  // next write position, starts at the outer left limit

  // Ramp weights of columns first..last, clamped below at 0, not above.
  // Positions past the row end are dropped: the row is the caller's buffer.
  void ramp(int64_t first, int64_t last) {
    for (int64_t x = first; x <= last && p < e.width; ++x, ++p) {
      const double dx = e.cx - static_cast<double>(x);
      const double w = (e.S - (qy + dx * dx / e.b2)) / (e.S - 1.0);
      row[p] = w < 0.0 ? 0.0 : w;
    }
  }
  void ones(int64_t first, int64_t last) {
    for (int64_t x = first; x <= last && p < e.width; ++x, ++p) row[p] = 1.0;
  }
};

}  // namespace

void gen_ellipse2(double* mask, int cy, int cx, int a, int b, int t, int height, int width) {
  if (height < 1 || width < 1) return;
  EllipseShape e;
  if (!ellipse_shape(&e, cx, a, b, width)) return;
  // The band is measured against half the smaller image side, not the axes.
  e.S = ellipse_outer_scale2(t, 0.5 * std::min(height, width));
  const bool hard_edge = (e.S - 1.0 == 0.0);
  for (int r = 0; r < height; ++r) {
    EllipseRowSpan sp;
    if (!ellipse_row_span(&sp, e, cy, r)) continue;
    WeightRowWriter w{mask + static_cast<size_t>(r) * static_cast<size_t>(width), e, sp.qy, sp.lo};
    const int64_t lo = sp.lo, ro = sp.ro;
    if (!sp.inner) {
      if (!hard_edge) w.ramp(lo, ro - 1);
      continue;
    }
    const int64_t li = sp.li, ri = sp.ri;
    if (hard_edge) {
      // No band: Lo = Li and Ro = Ri, so the ramps are empty; skipping them
      // keeps their 0 / 0 formula from ever being evaluated.
      w.ones(li, ri - 1);
      continue;
    }
    w.ramp(lo, li - 1);
    w.ones(li, ri - 1);
    w.ramp(ri, ro - 1);
  }
}

// ---- gen_ellipse3: the 16-bit mask plus its span tables --------------------

static void set_spans(int** spans, int r, int lo, int ro, int li, int ri) {
  if (spans == nullptr) return;
  const int v[4] = {lo, ro, li, ri};
  for (int i = 0; i < 4; ++i) {
    if (spans[i] != nullptr) spans[i][r] = v[i];
  }
}

void gen_ellipse3(unsigned short* mask, int** spans, int cy, int cx, int a, int b, int t,
                  int height, int width) {
  if (height < 1) return;
  EllipseShape e;
  const bool valid = width >= 1 && ellipse_shape(&e, cx, a, b, width);
  if (valid) e.S = ellipse_outer_scale2(t, a < b ? a : b);
  for (int r = 0; r < height; ++r) {
    set_spans(spans, r, -4, -4, -4, -4);
    EllipseRowSpan sp;
    if (!valid || !ellipse_row_span(&sp, e, cy, r)) continue;
    set_spans(spans, r, sp.lo, sp.ro, sp.li, sp.ri);
    ellipse_row_u16(mask + static_cast<size_t>(r) * static_cast<size_t>(width), e, sp);
  }
}
