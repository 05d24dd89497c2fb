// cal_blur_range: per-pixel pixel counts of a box window, the divisor table of
// the box (mean) blur.
#include <cstddef>
#include <cstdint>

#include "qlsbp/mask.h"

// Count along one axis for position i of n with radius r. The first branch
// ignores the far border on purpose (the box filter's top and left bands use
// the same convention), so for i <= r the count can exceed what the box
// really covers on a small plane. Unsigned 32-bit, wrapping like the target.
static inline uint32_t window_count(int i, int r, int n) {
  if (i <= r) return static_cast<uint32_t>(r) + 1u + static_cast<uint32_t>(i);
  if (static_cast<int64_t>(i) + r < n) return 2u * static_cast<uint32_t>(r) + 1u;
  return static_cast<uint32_t>(n) + static_cast<uint32_t>(r) - static_cast<uint32_t>(i);
}

void cal_blur_range(unsigned int* out, int rows, int cols, int ry, int rx) {
  if (rows < 1 || cols < 1) return;
  for (int i = 0; i < rows; ++i) {
    const uint32_t vy = window_count(i, ry, rows);
    unsigned int* row = out + static_cast<size_t>(i) * static_cast<size_t>(cols);
    for (int j = 0; j < cols; ++j) row[j] = vy * window_count(j, rx, cols);
  }
}
