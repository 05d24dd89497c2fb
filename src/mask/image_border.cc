// image_board_process: mirrors a border of n pixels into all four sides of a
// plane so that a following filter can read past the image edge.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "qlsbp/mask.h"

// Right border, deliberately one column to the right of a true mirror about
// column cols - 1 - n: copy m = 0 lands on column 0 of the next row (which the
// left border rewrites afterwards, unless the next row's own right border reads
// it first, as it does when cols = 2n + 1) and column cols - n is not written.
// The last row's spill would be the byte just past the plane; it is skipped,
// so the caller's plane needs no spare byte and every byte inside it is the
// same as with the spill.
static void mirror_right_shifted(unsigned char* img, int rows, int cols, int n) {
  const size_t stride = static_cast<size_t>(cols);
  const size_t plane = static_cast<size_t>(rows) * stride;
  for (int i = 0; i < rows; ++i) {
    unsigned char* p = img + static_cast<size_t>(i) * stride;
    for (int m = 0; m < n; ++m) {
      const size_t dst = static_cast<size_t>(i) * stride + static_cast<size_t>(cols - m);
      if (dst >= plane) continue;
      img[dst] = p[cols - 1 - 2 * n + m];
    }
  }
}

void image_board_process(unsigned char* img, int rows, int cols, int n) {
  if (n <= 0) return;
  const int64_t span = 2 * static_cast<int64_t>(n) + 1;
  if (span > rows || span > cols) return;
  const size_t stride = static_cast<size_t>(cols);
  unsigned char* const last_row = img + static_cast<size_t>(rows - 1) * stride;
  // Top: mirror about row n (kept). Source rows are never destinations here.
  for (int k = 0; k < n; ++k) {
    memcpy(img + static_cast<size_t>(k) * stride, img + static_cast<size_t>(2 * n - k) * stride,
           stride);
  }
  // Bottom: mirror about row rows - 1 - n.
  for (int m = 0; m < n; ++m) {
    memcpy(last_row - static_cast<size_t>(m) * stride,
           last_row - static_cast<size_t>(2 * n - m) * stride, stride);
  }
  mirror_right_shifted(img, rows, cols, n);
  // Left: column k <- column 2n - k, i.e. columns n+1..2n reversed into 0..n-1.
  for (int i = 0; i < rows; ++i) {
    unsigned char* p = img + static_cast<size_t>(i) * stride;
    std::reverse_copy(p + n + 1, p + 2 * n + 1, p);
  }
}
