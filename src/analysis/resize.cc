// General bilinear resize: per-geometry tables (source index and 1/256
// weight of the right / lower neighbour), then an 8-bit and a double
// resampler that only look the tables up.
#include <cstddef>
#include <cstdint>

#include "qlsbp/analysis.h"

namespace {

// Largest source side the tables accept: up to 2^24 every position is an
// exact float and (i + 0.5) * scale stays far inside int range.
constexpr int kMaxScaleSide = 1 << 24;

bool scale_side_ok(int side) { return side >= -kMaxScaleSide && side <= kMaxScaleSide; }

// One axis of the tables, in single precision.
void build_axis(int* index, int* frac, int dst, int src) {
  // dst - 0.5 on purpose: the mapping stretches slightly so that the last
  // destination sample lands near the last source sample.
  const float scale = static_cast<float>(src) / (static_cast<float>(dst) - 0.5f);
  for (int i = 0; i < dst; ++i) {
    const float f = (static_cast<float>(i) + 0.5f) * scale;
    const int k = static_cast<int>(f);
    index[i] = k < src - 1 ? k : src - 2;
    // The weight comes from the unclamped k: where the index is clamped to
    // src - 2 the weight is not raised towards 256 (kept as it is).
    frac[i] = static_cast<int>(static_cast<double>((f - static_cast<float>(k)) * 256.0f) + 0.5);
  }
}

// True when every index addresses a 2x2 neighbourhood inside a plane of
// `src` samples along this axis. Only the indexes decide what is read; the
// weights are any int (the resamplers compute them wide and clamp).
bool indexes_fit(const int* index, int dst, int src) {
  for (int i = 0; i < dst; ++i) {
    if (index[i] < 0 || index[i] > src - 2) return false;
  }
  return true;
}

// Signed product / 256, truncating toward zero, exact for any int weight and
// any difference within +-2^32 + 2^9: the magnitude of the product stays
// below 2^64, and so does the quotient in int64.
inline int64_t weighted_step(int weight, int64_t diff) {
  const uint64_t mw =
      weight < 0 ? 0u - static_cast<uint64_t>(weight) : static_cast<uint64_t>(weight);
  const uint64_t md = diff < 0 ? 0u - static_cast<uint64_t>(diff) : static_cast<uint64_t>(diff);
  const int64_t q = static_cast<int64_t>((mw * md) / 256u);
  return (weight < 0) != (diff < 0) ? -q : q;
}

// Shared refusals of both resamplers (see the header). 0 = go ahead.
int check_resize_args(const void* dst, int dst_height, int dst_width, const int* row_index,
                      const int* row_frac, const int* col_index, const int* col_frac,
                      const void* src, int src_height, int src_width) {
  if (dst == nullptr || src == nullptr || row_index == nullptr || row_frac == nullptr ||
      col_index == nullptr || col_frac == nullptr) {
    return 1;
  }
  if (src_height < 2 || src_width < 2) return 1;
  if (!indexes_fit(row_index, dst_height, src_height)) return 1;
  if (!indexes_fit(col_index, dst_width, src_width)) return 1;
  return 0;
}

}  // namespace

int build_scaling_rate(int* col_index, int* col_frac, int* row_index, int* row_frac, int dst_width,
                       int dst_height, int src_width, int src_height) {
  const bool do_cols = dst_width >= 1;
  const bool do_rows = dst_height >= 1;
  if (do_cols && (col_index == nullptr || col_frac == nullptr || !scale_side_ok(src_width))) {
    return 1;
  }
  if (do_rows && (row_index == nullptr || row_frac == nullptr || !scale_side_ok(src_height))) {
    return 1;
  }
  if (do_cols) build_axis(col_index, col_frac, dst_width, src_width);
  if (do_rows) build_axis(row_index, row_frac, dst_height, src_height);
  return 0;
}

int image_u8_resize(unsigned char* dst, int dst_height, int dst_width, int* row_index,
                    int* row_frac, int* col_index, int* col_frac, unsigned char* src,
                    int src_height, int src_width) {
  if (dst_height < 1 || dst_width < 1) return 0;  // nothing to write
  if (check_resize_args(dst, dst_height, dst_width, row_index, row_frac, col_index, col_frac, src,
                        src_height, src_width) != 0) {
    return 1;
  }
  const size_t sw = static_cast<size_t>(src_width);
  const size_t dw = static_cast<size_t>(dst_width);
  for (int r = 0; r < dst_height; ++r) {
    const int wy = row_frac[r];
    const unsigned char* src_row = src + static_cast<size_t>(row_index[r]) * sw;
    unsigned char* dst_row = dst + static_cast<size_t>(r) * dw;
    for (int c = 0; c < dst_width; ++c) {
      const int wx = col_frac[c];
      const unsigned char* p = src_row + col_index[c];
      const int a = p[0];
      const int b = p[1];
      const int c2 = p[sw];
      const int d = p[sw + 1];
      // Signed division truncates toward zero (not a floor shift): kept,
      // it decides the last bit on falling edges. Weights outside 0 .. 256
      // extrapolate; 64-bit steps keep every product exact before the clamp.
      const int64_t top = a + weighted_step(wx, b - a);
      const int64_t bottom = c2 + weighted_step(wx, d - c2);
      int64_t value = top + weighted_step(wy, bottom - top);
      if (value < 0) value = 0;
      if (value > 255) value = 255;
      dst_row[c] = static_cast<unsigned char>(value);
    }
  }
  return 0;
}

int double_resize(double* dst, int dst_height, int dst_width, double max_value, int* row_index,
                  int* row_frac, int* col_index, int* col_frac, double* src, int src_height,
                  int src_width) {
  if (dst_height < 1 || dst_width < 1) return 0;  // nothing to write
  if (check_resize_args(dst, dst_height, dst_width, row_index, row_frac, col_index, col_frac, src,
                        src_height, src_width) != 0) {
    return 1;
  }
  const size_t sw = static_cast<size_t>(src_width);
  const size_t dw = static_cast<size_t>(dst_width);
  for (int r = 0; r < dst_height; ++r) {
    const double wy = row_frac[r];
    const double* src_row = src + static_cast<size_t>(row_index[r]) * sw;
    double* dst_row = dst + static_cast<size_t>(r) * dw;
    for (int c = 0; c < dst_width; ++c) {
      const double wx = col_frac[c];
      const double* p = src_row + col_index[c];
      const double a = p[0];
      const double b = p[1];
      const double c2 = p[sw];
      const double d = p[sw + 1];
      // Operation order as written; the two rows multiply in different
      // orders and that is kept.
      const double top = a + (b - a) * wx * 0.00390625;
      const double bottom = c2 + wx * (d - c2) * 0.00390625;
      double value = top + (bottom - top) * wy * 0.00390625;
      if (value < 0.0) {
        value = 0.0;
      } else if (value > max_value) {
        value = max_value;
      }
      dst_row[c] = value;
    }
  }
  return 0;
}
