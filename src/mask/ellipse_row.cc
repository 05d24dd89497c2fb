// The focus ellipse, one row at a time.
//
// A row crossing the inner ellipse is written with a running write index k
// that starts at the outer left limit. The single edge values (the outer and
// inner limits) go to k, the runs between them to their own columns; while the
// limits are at least two columns apart both agree. Where they come closer
// (the ellipse cut by the left border, a very narrow band) the edge values
// land one or two columns beside their own column. The mask must stay
// byte-identical to the one previews have always been blended with, so the
// shift is kept as it is.
#include "mask/ellipse_row.h"

#include <algorithm>
#include <cmath>

#include "mask/mask_math.h"

bool ellipse_shape(EllipseShape* e, int cx, int a, int b, int width) {
  const int32_t aa = mask_square_i32(a);
  const int32_t bb = mask_square_i32(b);
  if (a <= 0 || b <= 0 || aa <= 0 || bb <= 0) return false;
  e->cx = cx;
  e->b = b;
  e->a2 = static_cast<double>(aa);
  e->b2 = static_cast<double>(bb);
  e->width = width;
  return true;
}

static int left_limit(double cx, double h) { return std::max(mask_trunc_i32(cx - h + 0.5), 0); }

static int right_limit(double cx, double h, int width) {
  const int r = mask_trunc_i32(cx + h + 0.5);
  return r >= width ? width - 1 : r;
}

bool ellipse_row_span(EllipseRowSpan* span, const EllipseShape& e, int cy, int r) {
  // In double, so that a centre far outside the image cannot overflow.
  const double dy = static_cast<double>(cy) - static_cast<double>(r);
  const double qy = dy * dy / e.a2;
  if (qy > e.S) return false;
  const double ho = e.b * std::sqrt(e.S - qy);
  span->qy = qy;
  span->lo = left_limit(e.cx, ho);
  span->ro = right_limit(e.cx, ho, e.width);
  span->inner = qy < 1.0;
  if (span->inner) {
    const double hi = e.b * std::sqrt(1.0 - qy);
    span->li = left_limit(e.cx, hi);
    span->ri = right_limit(e.cx, hi, e.width);
  } else {
    span->li = span->lo;
    span->ri = span->lo;
  }
  return true;
}

// Linear in q: 1024 on the inner ellipse, 0 on the outer one. Not clamped
// above; the low 16 bits of the saturated unsigned value are stored.
static inline uint16_t ramp_u16(const EllipseShape& e, double qy, int64_t x) {
  const double dx = e.cx - static_cast<double>(x);
  const double w = (e.S - (qy + dx * dx / e.b2)) / (e.S - 1.0);
  return static_cast<uint16_t>(mask_trunc_u32(w * 1024.0) & 0xFFFFu);
}

namespace {

// Write cursor of one row: k-relative edge writes and absolute runs.
struct RowWriter {
  uint16_t* row;
  const EllipseShape& e;
  double qy;
  int64_t k;

  // The value of column x, written at k (nothing, k kept, once k >= width).
  void edge(int64_t x) {
    if (k >= e.width) return;
    row[k] = ramp_u16(e, qy, x);
    ++k;
  }
  // Ramp values of columns first..last at their own columns. Columns the
  // limits allow outside the row (centre far outside the image) are dropped;
  // k still advances by the full count, as if they had been written.
  void ramp_run(int64_t first, int64_t last) {
    if (first > last) return;
    const int64_t lo = std::max<int64_t>(first, 0);
    const int64_t hi = std::min<int64_t>(last, e.width - 1);
    for (int64_t x = lo; x <= hi; ++x) row[x] = ramp_u16(e, qy, x);
    k += last - first + 1;
  }
  // 1024 on columns first..last, a block fill.
  void full_run(int64_t first, int64_t last) {
    if (first > last) return;
    const int64_t lo = std::max<int64_t>(first, 0);
    const int64_t hi = std::min<int64_t>(last, e.width - 1);
    if (lo <= hi) std::fill(row + lo, row + hi + 1, static_cast<uint16_t>(1024));
    k += last - first + 1;
  }
};

}  // namespace

void ellipse_row_u16(uint16_t* row, const EllipseShape& e, const EllipseRowSpan& s) {
  // A band of width 0 has no ramp (its formula would divide by zero): the row
  // keeps only its run of 1024.
  const bool hard_edge = (e.S - 1.0 == 0.0);
  RowWriter w{row, e, s.qy, s.lo};
  if (!s.inner) {
    if (!hard_edge) w.ramp_run(s.lo, static_cast<int64_t>(s.ro) - 1);
    return;
  }
  if (hard_edge) {
    w.full_run(s.li, static_cast<int64_t>(s.ri) - 1);
    return;
  }
  const int64_t lo = s.lo, ro = s.ro, li = s.li, ri = s.ri;
  w.edge(lo);
  w.ramp_run(lo + 1, li - 2);
  w.edge(li - 1);
  w.full_run(li, ri - 1);
  w.edge(ri);
  w.ramp_run(ri + 1, ro - 2);
  w.edge(ro - 1);
}
