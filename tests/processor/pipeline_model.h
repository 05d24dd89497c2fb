// A plain, slow model of one processed frame, written from the description of
// the effect rather than from the optimised code: split the layout into
// planes, decimate the mask, blur each plane at half resolution with a 21-tap
// kernel (direct two-pass convolution, reflect-101 borders), enlarge, blend.
// Only the kernel taps and the luma mask come from the library; both have
// their own tests.
#ifndef QLSBP_TESTS_PROCESSOR_PIPELINE_MODEL_H_
#define QLSBP_TESTS_PROCESSOR_PIPELINE_MODEL_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "qlsbp/gaussian.h"
#include "qlsbp/mask.h"

namespace model {

using Plane = std::vector<uint8_t>;

// Bytes of a dense frame of the layout (2 and 3: 4:2:0, 4: 4:2:2).
inline size_t dense_bytes(int format, int rows, int cols) {
  const size_t n = static_cast<size_t>(rows) * cols;
  return format == 4 ? 2 * n : (3 * n) / 2;
}

inline int fold(int i, int n) {
  if (n == 1) return 0;
  const int period = 2 * (n - 1);
  i %= period;
  if (i < 0) i += period;
  return i < n ? i : period - i;
}

// One separable pass: out(y, x) = sum_k tap[k] * in(fold(y - r + k)) >> 10.
inline Plane convolve(const Plane& in, int h, int w, const std::vector<int>& taps, bool vertical) {
  const int r = static_cast<int>(taps.size()) / 2;
  Plane out(in.size());
  for (int y = 0; y < h; ++y) {
    for (int x = 0; x < w; ++x) {
      uint32_t sum = 0;
      for (int k = 0; k < static_cast<int>(taps.size()); ++k) {
        const int yy = vertical ? fold(y - r + k, h) : y;
        const int xx = vertical ? x : fold(x - r + k, w);
        sum += static_cast<uint32_t>(taps[k]) * in[static_cast<size_t>(yy) * w + xx];
      }
      out[static_cast<size_t>(y) * w + x] = static_cast<uint8_t>(sum >> 10);
    }
  }
  return out;
}

// Blur and blend one plane the way a preview task does. Odd planes keep the
// historical quirks: the 2:1 reduction writes rows of ceil(w2 / 2) samples and
// steps through the source by 2 w2 + 1 bytes per row pair, the blur reads the
// result as rows of w2 / 2, the enlargement writes rows of 2 (w2 / 2) bytes
// back to back from the start of the plane, and the bytes after them stay
// sharp.
// `sharp` must stay readable past the plane as far as that stepping reads.
inline Plane process_plane(const uint8_t* sharp, const std::vector<uint16_t>& mask, int h2, int w2,
                           float sigma) {
  const int h = h2 / 2, w = w2 / 2, wc = (w2 + 1) / 2;
  Plane reduced(static_cast<size_t>(h) * wc + 1);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < wc; ++x) {
      const uint8_t* a = &sharp[static_cast<size_t>(y) * (w2 + 2 * wc) + 2 * x];
      reduced[static_cast<size_t>(y) * wc + x] =
          static_cast<uint8_t>((a[0] + a[1] + a[w2] + a[w2 + 1] + 2) >> 2);
    }
  Plane half(reduced.begin(), reduced.begin() + static_cast<long>(h) * w);
  std::vector<int> taps(21);
  init_gaussian_kernel(taps.data(), sigma, 21, 1, 0, 1024.0f);
  if (h > 0 && w > 0) half = convolve(convolve(half, h, w, taps, true), h, w, taps, false);

  Plane blurred(sharp, sharp + static_cast<size_t>(h2) * w2);
  auto s = [&](int y, int x) { return static_cast<int>(half[static_cast<size_t>(std::min(y, h - 1)) * w + std::min(x, w - 1)]); };
  for (int Y = 0; Y < 2 * h; ++Y)
    for (int X = 0; X < 2 * w; ++X) {
      const int y = Y / 2, x = X / 2;
      // Bilinear midpoints with edge replication: the right column and the
      // bottom row repeat their neighbours.
      const bool right = (X & 1) && x + 1 < w, down = (Y & 1) && y + 1 < h;
      int v;
      if (right && down) v = (s(y, x) + s(y, x + 1) + s(y + 1, x) + s(y + 1, x + 1) + 2) >> 2;
      else if (right) v = (s(y, x) + s(y, x + 1) + 1) >> 1;
      else if (down) v = (s(y, x) + s(y + 1, x) + 1) >> 1;
      else v = s(y, x);
      blurred[static_cast<size_t>(Y) * 2 * w + X] = static_cast<uint8_t>(v);
    }

  const size_t blocks = blurred.size() / 8 * 8;  // the tail keeps the blurred value
  for (size_t i = 0; i < blocks; ++i) {
    const int f = blurred[i], sh = sharp[i];
    const int wgt = static_cast<int16_t>(mask[i]);
    const int t = static_cast<int16_t>(((sh - f) * wgt + 512) >> 10);
    blurred[i] = static_cast<uint8_t>(t + f);
  }
  return blurred;
}

// The processed dense frame (layout 2, 3 or 4; even sizes) for clamped
// parameters: centre (cy, cx), semi-axes (a, b), band t, blur sigma.
inline Plane process_frame(const Plane& in, int format, int rows, int cols, int cy, int cx, int a,
                           int b, int t, float sigma) {
  const size_t n = static_cast<size_t>(rows) * cols;
  std::vector<uint16_t> luma_mask(n, 0);
  gen_ellipse4(luma_mask.data(), cy, cx, a, b, t, rows, cols);

  const bool packed = format == 4;
  const int crows = packed ? rows : rows / 2, ccols = cols / 2;
  const size_t cn = static_cast<size_t>(crows) * ccols;
  std::vector<uint16_t> chroma_mask(cn);
  for (int y = 0; y < crows; ++y)
    for (int x = 0; x < ccols; ++x)
      chroma_mask[static_cast<size_t>(y) * ccols + x] =
          luma_mask[static_cast<size_t>(packed ? y : 2 * y) * cols + 2 * x];

  Plane Y(n), c1(cn), c2(cn);
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < cols; ++x)
      Y[static_cast<size_t>(y) * cols + x] =
          packed ? in[static_cast<size_t>(y) * cols * 2 + 2 * x] : in[static_cast<size_t>(y) * cols + x];
  for (size_t j = 0; j < cn; ++j) {
    if (format == 4) {
      const size_t row = j / ccols, k = j % ccols;
      c1[j] = in[row * cols * 2 + 4 * k + 1];
      c2[j] = in[row * cols * 2 + 4 * k + 3];
    } else if (format == 2) {
      c1[j] = in[n + 2 * j];
      c2[j] = in[n + 2 * j + 1];
    } else {  // 4:2:0 planar is processed with its two chroma planes swapped
      c1[j] = in[n + cn + j];
      c2[j] = in[n + j];
    }
  }
  // The planes lie one after another in a zeroed block of 3 N bytes, as in
  // the processor, so that reads past an odd plane see what it sees.
  Plane planar(3 * n, 0);
  std::copy(Y.begin(), Y.end(), planar.begin());
  std::copy(c1.begin(), c1.end(), planar.begin() + static_cast<long>(n));
  std::copy(c2.begin(), c2.end(), planar.begin() + static_cast<long>(n + cn));
  Y = process_plane(planar.data(), luma_mask, rows, cols, sigma);
  c1 = process_plane(planar.data() + n, chroma_mask, crows, ccols, sigma);
  c2 = process_plane(planar.data() + n + cn, chroma_mask, crows, ccols, sigma);

  Plane out(in.size());
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < cols; ++x)
      (packed ? out[static_cast<size_t>(y) * cols * 2 + 2 * x] : out[static_cast<size_t>(y) * cols + x]) =
          Y[static_cast<size_t>(y) * cols + x];
  for (size_t j = 0; j < cn; ++j) {
    if (format == 4) {
      const size_t row = j / ccols, k = j % ccols;
      out[row * cols * 2 + 4 * k + 1] = c1[j];
      out[row * cols * 2 + 4 * k + 3] = c2[j];
    } else if (format == 2) {
      out[n + 2 * j] = c1[j];
      out[n + 2 * j + 1] = c2[j];
    } else {
      out[n + cn + j] = c1[j];
      out[n + j] = c2[j];
    }
  }
  return out;
}

}  // namespace model

#endif  // QLSBP_TESTS_PROCESSOR_PIPELINE_MODEL_H_
