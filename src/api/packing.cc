// Stride packing: the caller's strided planes <-> the dense work buffer.
//
// Each plane is one block copy when the caller's pitch equals the dense row
// length (the common unpadded preview frame costs two or three memcpy calls),
// otherwise one memcpy per row. Both directions are pure copies.
#include "qlsbp/packing.h"

#include <cstddef>
#include <cstring>

namespace {

// Row-by-row copies between a strided plane and dense storage whose rows
// follow each other without gaps. A negative stride walks a bottom-up plane.
void rows_to_dense(unsigned char* dense, const unsigned char* plane, int stride, size_t row_bytes,
                   size_t rows) {
  for (size_t r = 0; r < rows; ++r) {
    memcpy(dense + r * row_bytes, plane + static_cast<ptrdiff_t>(r) * stride, row_bytes);
  }
}

void rows_to_plane(unsigned char* plane, int stride, const unsigned char* dense, size_t row_bytes,
                   size_t rows) {
  for (size_t r = 0; r < rows; ++r) {
    memcpy(plane + static_cast<ptrdiff_t>(r) * stride, dense + r * row_bytes, row_bytes);
  }
}

bool is_unpadded(int stride, size_t row_bytes) {
  return stride >= 0 && static_cast<size_t>(stride) == row_bytes;
}

// One plane: a single block copy (`block_bytes`) when the caller's pitch has
// no padding, else `rows` rows of `row_bytes`. The block size is passed on
// its own because for odd sizes the block and row formulas of a layout do
// not cover the same bytes, and both are kept as they are.
void plane_to_dense(unsigned char* dense, const unsigned char* plane, int stride, size_t row_bytes,
                    size_t rows, size_t block_bytes) {
  if (is_unpadded(stride, row_bytes)) {
    memcpy(dense, plane, block_bytes);
  } else {
    rows_to_dense(dense, plane, stride, row_bytes, rows);
  }
}

void dense_to_plane(unsigned char* plane, int stride, const unsigned char* dense, size_t row_bytes,
                    size_t rows, size_t block_bytes) {
  if (is_unpadded(stride, row_bytes)) {
    memcpy(plane, dense, block_bytes);
  } else {
    rows_to_plane(plane, stride, dense, row_bytes, rows);
  }
}

// Shared validation. Returns 1 for a frame that neither direction may touch.
int refuse_frame(const __tag_QL_IMAGEINFO* image, const unsigned char* dense) {
  if (image == nullptr) return 1;
  const int code = image->format;
  if (code != 2 && code != 3 && code != 4) return 1;
  if (code == 3 && image->stride[1] != image->stride[2]) return 1;
  // Null buffers are refused rather than dereferenced.
  if (dense == nullptr || image->plane[0] == nullptr) return 1;
  if (code != 4 && image->plane[1] == nullptr) return 1;
  if (code == 3 && image->plane[2] == nullptr) return 1;
  return 0;
}

// Frames with no pixel (width or height below 1) copy nothing; this also
// keeps negative sizes away from the size arithmetic below.
bool has_no_pixels(const __tag_QL_IMAGEINFO* image) {
  return image->width < 1 || image->height < 1;
}

}  // namespace

int img_move_stride(__tag_QL_IMAGEINFO* image, unsigned char* dense) {
  if (refuse_frame(image, dense)) return 1;
  if (has_no_pixels(image)) return 0;
  const size_t w = static_cast<size_t>(image->width);
  const size_t h = static_cast<size_t>(image->height);
  const size_t wh = w * h;
  unsigned char* const* p = image->plane;
  const int* s = image->stride;

  if (image->format == 4) {
    plane_to_dense(dense, p[0], s[0], 2 * w, h, 2 * wh);
    return 0;
  }
  plane_to_dense(dense, p[0], s[0], w, h, wh);
  if (image->format == 2) {
    plane_to_dense(dense + wh, p[1], s[1], w, h / 2, (w >> 1) * (h >> 1) * 2);
    return 0;
  }
  // Code 3: the second chroma block sits at (w>>1)*(h>>1) after the first
  // when copied as a block but at (w*h)>>2 when copied by rows. The two
  // agree for the even sizes the pipeline is made for; the difference for
  // odd sizes is kept on purpose.
  const size_t half_w = w / 2;
  if (is_unpadded(s[1], half_w)) {
    const size_t block = (w >> 1) * (h >> 1);
    memcpy(dense + wh, p[1], block);
    memcpy(dense + wh + block, p[2], block);
  } else {
    rows_to_dense(dense + wh, p[1], s[1], half_w, h / 2);
    rows_to_dense(dense + wh + (wh >> 2), p[2], s[1], half_w, h / 2);
  }
  return 0;
}

int img_add_stride(__tag_QL_IMAGEINFO* image, unsigned char* dense) {
  if (refuse_frame(image, dense)) return 1;
  if (has_no_pixels(image)) return 0;
  const size_t w = static_cast<size_t>(image->width);
  const size_t h = static_cast<size_t>(image->height);
  const size_t wh = w * h;
  unsigned char* const* p = image->plane;
  const int* s = image->stride;

  if (image->format == 4) {
    dense_to_plane(p[0], s[0], dense, 2 * w, h, 2 * wh);
    return 0;
  }
  if (image->format == 2) {
    dense_to_plane(p[0], s[0], dense, w, h, wh);
    dense_to_plane(p[1], s[1], dense + wh, w, h / 2, (w >> 1) * (h >> 1) * 2);
    return 0;
  }
  const size_t half_w = w / 2;
  if (is_unpadded(s[1], half_w)) {
    const size_t block = (w >> 1) * (h >> 1);
    dense_to_plane(p[0], s[0], dense, w, h, wh);
    memcpy(p[1], dense + wh, block);
    memcpy(p[2], dense + wh + block, block);
    return 0;
  }
  // Padded chroma with an unpadded luma plane: the luma block is copied in
  // the packing direction (caller -> dense), so the caller's luma keeps its
  // input values and only the chroma planes receive the result. Hosts rely
  // on this exact behaviour, so it is kept.
  if (is_unpadded(s[0], w)) {
    memcpy(dense, p[0], wh);
  } else {
    dense_to_plane(p[0], s[0], dense, w, h, wh);
  }
  rows_to_plane(p[1], s[1], dense + wh, half_w, h / 2);
  rows_to_plane(p[2], s[1], dense + wh + (wh >> 2), half_w, h / 2);
  return 0;
}
