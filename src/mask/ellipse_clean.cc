// gen_ellipse4_clean: the focus mask without the exact mask's edge artifacts.
//
// The ellipses, the band and the ramp are those of gen_ellipse4. What
// differs is how a row is written: every column in the row's span gets its
// own value, computed from its own position, clamped to 0..1024. There is no
// running write index, so nothing shifts where the ellipse is cut by the left
// border, and the limits are not clipped before the runs are formed, so a
// column at the right border is a column like its neighbours (the exact mask
// gives it the unclamped ramp of a point deep inside the ellipse, or leaves
// it at 0). In rows whose limits lie inside the image and at least two
// columns apart, the result equals the exact mask wherever that one lies
// within 0..1024.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "mask/ellipse_row.h"
#include "mask/mask_math.h"
#include "qlsbp/mask.h"

namespace {

// Ramp value of column x clamped to 0..1024; the same truncation as the
// exact mask, so values within that range agree with it.
inline uint16_t clamped_ramp(const EllipseShape& e, double qy, int64_t x) {
  const double dx = e.cx - static_cast<double>(x);
  const double v = (e.S - (qy + dx * dx / e.b2)) / (e.S - 1.0) * 1024.0;
  if (!(v > 0.0)) return 0;  // NaN too
  if (v >= 1024.0) return 1024;
  return static_cast<uint16_t>(v);
}

// x + 0.5 truncated, as the exact mask rounds its limits, but without the
// clip to the image: the row writer clips the runs instead.
inline int64_t rounded_limit(double v) { return mask_trunc_i32(v + 0.5); }

void clean_row(uint16_t* row, const EllipseShape& e, int cy, int r) {
  const double dy = static_cast<double>(cy) - static_cast<double>(r);
  const double qy = dy * dy / e.a2;
  if (qy > e.S) return;
  const int64_t last_col = e.width - 1;
  const bool inner = qy < 1.0;
  int64_t li = 0, ri = 0;  // inner run [li, ri - 1]
  if (inner) {
    const double hi = e.b * std::sqrt(1.0 - qy);
    li = rounded_limit(e.cx - hi);
    ri = rounded_limit(e.cx + hi);
  }
  const int64_t fill_lo = std::max<int64_t>(li, 0);
  const int64_t fill_hi = std::min<int64_t>(ri - 1, last_col);
  // A band of width 0 has no ramp: only the run of 1024, as in the exact mask.
  if (e.S - 1.0 == 0.0) {
    if (inner && fill_lo <= fill_hi) std::fill(row + fill_lo, row + fill_hi + 1, uint16_t{1024});
    return;
  }
  const double ho = e.b * std::sqrt(e.S - qy);
  const int64_t first = std::max<int64_t>(rounded_limit(e.cx - ho), 0);
  const int64_t last = std::min<int64_t>(rounded_limit(e.cx + ho) - 1, last_col);
  if (!inner || fill_lo > fill_hi) {
    for (int64_t x = first; x <= last; ++x) row[x] = clamped_ramp(e, qy, x);
    return;
  }
  for (int64_t x = first; x <= std::min(last, fill_lo - 1); ++x) row[x] = clamped_ramp(e, qy, x);
  std::fill(row + fill_lo, row + fill_hi + 1, uint16_t{1024});
  for (int64_t x = std::max(first, fill_hi + 1); x <= last; ++x) row[x] = clamped_ramp(e, qy, x);
}

}  // namespace

void gen_ellipse4_clean(unsigned short* mask, int cy, int cx, int a, int b, int t, int height,
                        int width) {
  if (mask == nullptr || height < 1 || width < 1) return;
  EllipseShape e;
  if (!ellipse_shape(&e, cx, a, b, width)) return;
  e.S = ellipse_outer_scale2(t, a < b ? a : b);
  for (int r = 0; r < height; ++r) {
    clean_row(mask + static_cast<size_t>(r) * static_cast<size_t>(width), e, cy, r);
  }
}
