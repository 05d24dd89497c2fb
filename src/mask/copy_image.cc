// copy_image: a rectangle of one plane into a rectangle of another.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "qlsbp/mask.h"

static ptrdiff_t rect_offset(const PXrect* rect, int stride) {
  if (rect == nullptr) return 0;
  return static_cast<ptrdiff_t>(rect->y) * stride + rect->x;
}

void copy_image(unsigned char* dst, const unsigned char* src, int dst_rows, int dst_cols,
                int src_rows, int src_cols, const PXrect* dst_rect, const PXrect* src_rect) {
  int rows, bytes;
  if (dst_rect == nullptr && src_rect == nullptr) {
    rows = std::min(dst_rows, src_rows);
    bytes = std::min(dst_cols, src_cols);
  } else if (src_rect == nullptr) {
    rows = dst_rect->rows;
    bytes = dst_rect->cols;
  } else if (dst_rect == nullptr) {
    rows = src_rect->rows;
    bytes = src_rect->cols;
  } else {
    // The row count comes from the source plane's height, not from
    // src_rect->rows: kept on purpose.
    rows = std::min(src_rows, dst_rect->rows);
    bytes = std::min(src_rect->cols, dst_rect->cols);
  }
  if (rows <= 0 || bytes <= 0) return;
  unsigned char* d = dst + rect_offset(dst_rect, dst_cols);
  const unsigned char* s = src + rect_offset(src_rect, src_cols);
  for (int r = 0; r < rows; ++r) {
    // memmove: a copy within one plane may overlap.
    memmove(d + static_cast<ptrdiff_t>(r) * dst_cols, s + static_cast<ptrdiff_t>(r) * src_cols,
            static_cast<size_t>(bytes));
  }
}
