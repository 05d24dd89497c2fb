// Luma plus 4:2:0 chroma, interleaved or in two planes, to and from three
// planes. Each chroma plane holds C = (rows >> 1) x (cols >> 1) samples in
// rows of cols >> 1; the interleaved plane holds the same rows as pairs.
#include <cstddef>
#include <cstring>

#include "convert/convert_rows.h"
#include "qlsbp/convert.h"

namespace {

struct Sizes {
  size_t luma;    // N
  size_t chroma;  // C, samples in each chroma plane
  int chroma_rows;
  int chroma_cols;
};

Sizes sizes_420(int rows, int cols) {
  return {static_cast<size_t>(rows) * static_cast<size_t>(cols),
          static_cast<size_t>(rows >> 1) * static_cast<size_t>(cols >> 1), rows >> 1, cols >> 1};
}

}  // namespace

int y4uv20_to_y4u1v1(unsigned char* dst, unsigned char* src, int rows, int cols) {
  if (rows < 1 || cols < 1) return 0;
  const Sizes s = sizes_420(rows, cols);
  std::memcpy(dst, src, s.luma);
  uint8_t* first = dst + s.luma;
  uint8_t* second = first + s.chroma;
  const uint8_t* uv = src + s.luma;
  for (int r = 0; r < s.chroma_rows; ++r) {
    const size_t at = static_cast<size_t>(s.chroma_cols) * r;
    split_uv_row(first + at, second + at, uv + 2 * at, s.chroma_cols);
  }
  return 0;
}

int y4u1v1_to_y4uv20(unsigned char* dst, unsigned char* src, int rows, int cols) {
  if (rows < 1 || cols < 1) return 0;
  const Sizes s = sizes_420(rows, cols);
  std::memcpy(dst, src, s.luma);
  uint8_t* uv = dst + s.luma;
  const uint8_t* first = src + s.luma;
  const uint8_t* second = first + s.chroma;
  for (int r = 0; r < s.chroma_rows; ++r) {
    const size_t at = static_cast<size_t>(s.chroma_cols) * r;
    join_uv_row(uv + 2 * at, first + at, second + at, s.chroma_cols);
  }
  return 0;
}

int y4v1u1_to_y4u1v1(unsigned char* dst, unsigned char* src, int rows, int cols) {
  if (rows < 1 || cols < 1) return 0;
  const Sizes s = sizes_420(rows, cols);
  std::memcpy(dst, src, s.luma);
  std::memcpy(dst + s.luma, src + s.luma + s.chroma, s.chroma);
  std::memcpy(dst + s.luma + s.chroma, src + s.luma, s.chroma);
  return 0;
}
