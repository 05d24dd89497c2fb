// Packed 4:2:2 (Y0 U Y1 V) to and from separate planes.
//
// A row of `cols` pixels has cols >> 1 complete pairs. With an odd width the
// last pixel has luma and U in the packed row but no V; a pair loop run one
// pair further would read and write past the row, and past the row those
// bytes are simply the next row's first pair, which the next row rewrites with
// the same values. So the drivers stop at the complete pairs and handle the
// half pair by itself: the result is the same without touching anything
// outside the caller's buffers.
#include <cstddef>

#include "convert/convert_rows.h"
#include "qlsbp/convert.h"

namespace {

// Neutral chroma, for the one case (a width of 1) where a row has no chroma
// sample to take.
constexpr uint8_t kNeutralChroma = 128;

// yuyv row -> full-resolution y, u, v rows. U is sited on the even pixel and
// interpolated towards the next pair; V is sited on the odd pixel and
// interpolated from the previous pair. The asymmetry is deliberate. The first
// and last pair repeat their own sample where the neighbour is missing.
void yuyv_to_444_row_c(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int cols) {
  const int pairs = cols >> 1;
  for (int k = 0; k < pairs; ++k) {
    const uint8_t* s = yuyv + 4 * k;
    const int uk = s[1];
    const int vk = s[3];
    y[2 * k] = s[0];
    y[2 * k + 1] = s[2];
    u[2 * k] = static_cast<uint8_t>(uk);
    u[2 * k + 1] = static_cast<uint8_t>(k + 1 < pairs ? (uk + s[5] + 1) >> 1 : uk);
    v[2 * k] = static_cast<uint8_t>(k > 0 ? (s[-1] + vk + 1) >> 1 : vk);
    v[2 * k + 1] = static_cast<uint8_t>(vk);
  }
  if (cols & 1) {
    // The half pair: its own luma and U (U is sited on even pixels), and the
    // last V of the row repeated, as at the right edge of any row.
    const uint8_t* s = yuyv + 4 * pairs;
    y[cols - 1] = s[0];
    u[cols - 1] = s[1];
    v[cols - 1] = pairs > 0 ? s[-1] : kNeutralChroma;
  }
}

}  // namespace

int yuyv422_to_y4u2v2(unsigned char* dst, unsigned char* src, int rows, int cols) {
  if (rows < 1 || cols < 1) return 0;
  const size_t w = static_cast<size_t>(cols);
  const size_t n = static_cast<size_t>(rows) * w;
  const int pairs = cols >> 1;
  uint8_t* y = dst;
  uint8_t* u = dst + n;
  uint8_t* v = dst + n + (n >> 1);
  for (int r = 0; r < rows; ++r) {
    const uint8_t* s = src + 2 * w * r;
    const size_t c = static_cast<size_t>(pairs) * r;
    split_yuyv_row(y + w * r, u + c, v + c, s, pairs);
    if (cols & 1) y[w * r + w - 1] = s[2 * w - 2];
  }
  return 0;
}

int y4u2v2_to_yuyv422(unsigned char* dst, unsigned char* src, int rows, int cols) {
  if (rows < 1 || cols < 1) return 0;
  const size_t w = static_cast<size_t>(cols);
  const size_t n = static_cast<size_t>(rows) * w;
  const int pairs = cols >> 1;
  const uint8_t* y = src;
  const uint8_t* u = src + n;
  const uint8_t* v = src + n + (n >> 1);
  for (int r = 0; r < rows; ++r) {
    uint8_t* d = dst + 2 * w * r;
    const size_t c = static_cast<size_t>(pairs) * r;
    join_yuyv_row(d, y + w * r, u + c, v + c, pairs);
    if (cols & 1) {
      // The half pair's chroma byte is the U sample after the row's own ones
      // (the next row's first), which is what a pair loop running one pair
      // past the row reads; it lies inside the source whenever chroma exists.
      d[2 * w - 2] = y[w * r + w - 1];
      d[2 * w - 1] = pairs > 0 ? u[c + pairs] : kNeutralChroma;
    }
  }
  return 0;
}

int yuyv422_to_y4u4v4(unsigned char* dst, unsigned char* src, int rows, int cols) {
  if (rows < 1 || cols < 1) return 0;
  const size_t w = static_cast<size_t>(cols);
  const size_t n = static_cast<size_t>(rows) * w;
  for (int r = 0; r < rows; ++r) {
    yuyv_to_444_row_c(dst + w * r, dst + n + w * r, dst + 2 * n + w * r, src + 2 * w * r, cols);
  }
  return 0;
}
