// Single-threaded Gaussian utilities beside the threaded filters: in-place
// integer filters with a fixed tap count (heap scratch, no arena), one-pass
// float-kernel filters and three kernel builders.
#include "gaussian/fixed_filters.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "gaussian/gauss_rows.h"
#include "qlsbp/gaussian.h"
#include "simd/cpu.h"

// ---- In-place integer filters with 11 and 21 taps ---------------------------

// Vertical pass of one output row y into dst: the taps read rows
// mirror(y - r + k), so border rows use the same reflect-101 rule (folded for
// planes shorter than the kernel) as the threaded filters. Offsets are taken
// from the lowest row under the kernel so that they stay small and
// non-negative.
static void fixed_vertical_row(uint8_t* dst, const uint8_t* img, int y, int height, int width,
                               const int* kernel, int taps, int* offsets) {
  const int r = taps >> 1;
  int lowest = height;
  for (int k = 0; k < taps; ++k) {
    offsets[k] = gauss_mirror(y - r + k, height);
    if (offsets[k] < lowest) lowest = offsets[k];
  }
  for (int k = 0; k < taps; ++k) offsets[k] = (offsets[k] - lowest) * width;
  gauss_vertical_row(dst, img + static_cast<size_t>(lowest) * width, offsets, kernel, taps, width);
}

// Horizontal pass of one row: the row is laid into `line` with r mirrored
// samples on each side, so that one contiguous kernel call covers border and
// interior columns alike.
static void fixed_horizontal_row(uint8_t* dst, const uint8_t* src, int width, const int* kernel,
                                 int taps, uint8_t* line) {
  const int r = taps >> 1;
  for (int i = 0; i < width + 2 * r; ++i) line[i] = src[gauss_mirror(i - r, width)];
  gauss_horizontal_row(dst, line, kernel, taps, width);
}

static void fixed_gaussian_plane(unsigned char* img, int height, int width, const int* kernel,
                                 int taps) {
  if (img == nullptr || kernel == nullptr || height < 1 || width < 1) return;
  const int r = taps >> 1;
  // Row offsets span at most 2r rows; keep them inside int.
  const int span = height - 1 < 2 * r ? height - 1 : 2 * r;
  if (static_cast<int64_t>(span) * width > INT_MAX || width > INT_MAX - 2 * r) return;
  const size_t w = static_cast<size_t>(width);
  const size_t size = static_cast<size_t>(height) * w;
  uint8_t* tmp = static_cast<uint8_t*>(calloc(size, 1));
  uint8_t* line = static_cast<uint8_t*>(calloc(w + 2 * r, 1));
  if (tmp != nullptr && line != nullptr) {
    int offsets[21];
    for (int y = 0; y < height; ++y)
      fixed_vertical_row(tmp + y * w, img, y, height, width, kernel, taps, offsets);
    memcpy(img, tmp, size);
    for (int y = 0; y < height; ++y)
      fixed_horizontal_row(img + y * w, tmp + y * w, width, kernel, taps, line);
  }
  free(line);
  free(tmp);
}

void gaussian_filter_for_int_image_11_11(unsigned char* img, int height, int width, int ksize,
                                         const int* kernel) {
  (void)ksize;  // the tap count is the function's; see the header
  fixed_gaussian_plane(img, height, width, kernel, 11);
}

void gaussian_filter_for_int_image_21_21(unsigned char* img, int height, int width, int ksize,
                                         const int* kernel) {
  (void)ksize;
  fixed_gaussian_plane(img, height, width, kernel, 21);
}

// ---- One-pass filters with float taps ---------------------------------------

// Float sum to byte: truncation to unsigned 32 bits, then the low byte, as the
// integer conversion does for every sum it defines. Sums it leaves undefined
// get fixed answers: negative and NaN give 0, 2^32 and above (+inf included)
// saturate to 0xffffffff, whose low byte is 255 (what a saturating vector
// conversion gives, too).
static uint8_t float_sum_to_byte(float sum) {
  if (!(sum > 0.0f)) return 0;
  if (sum >= 4294967296.0f) return 255;
  return static_cast<uint8_t>(static_cast<uint32_t>(sum));
}

void float_taps_row_c(uint8_t* dst, const uint8_t* src, int step, const float* kernel, int ksize,
                      int n) {
  for (int x = 0; x < n; ++x) {
    const uint8_t* p = src + x;
    float sum = 0.0f;
    for (int k = 0; k < ksize; ++k)
      sum += static_cast<float>(p[static_cast<size_t>(k) * step]) * kernel[k];
    dst[x] = float_sum_to_byte(sum);
  }
}

void float_taps_row(uint8_t* dst, const uint8_t* src, int step, const float* kernel, int ksize,
                    int n) {
#if QLSBP_HAVE_SSE2
  if (qlsbp_cpu_has(kCpuHasSSE2)) return float_taps_row_sse2(dst, src, step, kernel, ksize, n);
#elif QLSBP_HAVE_FLOAT_TAPS_NEON
  if (qlsbp_cpu_has(kCpuHasNEON)) return float_taps_row_neon(dst, src, step, kernel, ksize, n);
#endif
  float_taps_row_c(dst, src, step, kernel, ksize, n);
}

// Shared front of both passes: copy src (so that the border pixels keep their
// values) and return the source to read taps from. When dst is src the taps
// are read from a copy, so the in-place call filters the original image.
static const uint8_t* float_pass_source(unsigned char* dst, const unsigned char* src, size_t size,
                                        uint8_t** copy) {
  *copy = nullptr;
  if (dst != src) {
    memcpy(dst, src, size);
    return src;
  }
  *copy = static_cast<uint8_t*>(malloc(size));
  if (*copy != nullptr) memcpy(*copy, src, size);
  return *copy;
}

void gaussian_filter_horizontal_int(unsigned char* dst, const unsigned char* src, int height,
                                    int width, const float* kernel, int ksize) {
  if (dst == nullptr || src == nullptr || height < 1 || width < 1) return;
  if (ksize > 0 && kernel == nullptr) return;
  if (ksize < 0) ksize = 0;
  const size_t w = static_cast<size_t>(width);
  uint8_t* copy;
  const uint8_t* in = float_pass_source(dst, src, static_cast<size_t>(height) * w, &copy);
  if (in == nullptr) return;
  const int r = ksize >> 1;
  const int n = width - 2 * r;
  if (n > 0) {
    for (int y = 0; y < height; ++y)
      float_taps_row(dst + y * w + r, in + y * w, 1, kernel, ksize, n);
  }
  free(copy);
}

void gaussian_filter_vertical_int(unsigned char* dst, const unsigned char* src, int height,
                                  int width, const float* kernel, int ksize) {
  if (dst == nullptr || src == nullptr || height < 1 || width < 1) return;
  if (ksize > 0 && kernel == nullptr) return;
  if (ksize < 0) ksize = 0;
  const size_t w = static_cast<size_t>(width);
  uint8_t* copy;
  const uint8_t* in = float_pass_source(dst, src, static_cast<size_t>(height) * w, &copy);
  if (in == nullptr) return;
  const int r = ksize >> 1;
  for (int y = r; y < height - r; ++y)
    float_taps_row(dst + y * w, in + (y - r) * w, width, kernel, ksize, width);
  free(copy);
}

// ---- Kernel builders ----------------------------------------------------------

// Level of row (or column) i in the pyramid: its distance to the nearer edge,
// counted as i up to the centre r and ksize - 1 - i after it.
static int pyramid_level(int i, int ksize, int r) { return i <= r ? i : ksize - 1 - i; }

void init_gaussian_filter_int(const char* name, int* kernel, int ksize) {
  (void)name;  // kept for the callers' labelling; never read
  if (kernel == nullptr || ksize < 1) return;
  const int r = ksize >> 1;
  // The pyramid peaks at 2^r, and its 32-bit sum must not wrap: sizes past
  // that point leave the kernel untouched (see the header).
  if (r > 30) return;
  int64_t sum = 0;
  for (int i = 0; i < ksize; ++i) {
    for (int j = 0; j < ksize; ++j) {
      sum += int64_t{1} << std::min(pyramid_level(i, ksize, r), pyramid_level(j, ksize, r));
    }
  }
  if (sum > INT_MAX) return;
  // A pyramid of powers of two rather than a sampled Gaussian, scaled to
  // 1024 by truncation with no correction: the entries sum to at most 1024.
  const float f = static_cast<float>(1024.0 / static_cast<float>(sum));
  for (int i = 0; i < ksize; ++i) {
    for (int j = 0; j < ksize; ++j) {
      const int entry = 1 << std::min(pyramid_level(i, ksize, r), pyramid_level(j, ksize, r));
      kernel[i * ksize + j] = static_cast<int>(static_cast<float>(entry) * f);
    }
  }
}

void fspecial_gaussian(int* kernel, int radius, double sigma) {
  if (kernel == nullptr || radius < 0) return;
  const uint64_t side = 2 * static_cast<uint64_t>(radius) + 1;
  if (side * side > SIZE_MAX / sizeof(double)) return;  // no such buffer exists
  const size_t count = static_cast<size_t>(side * side);
  double* w = static_cast<double*>(calloc(count, sizeof(double)));
  if (w == nullptr) return;
  // The divisor is 2 sigma pi, not 2 pi sigma^2: it cancels in the
  // normalisation, so only the sum's scale differs from a true density.
  const double pi = 3.14159265358979;
  double sum = 0.0;
  size_t k = 0;
  for (int64_t y = -radius; y <= radius; ++y) {
    for (int64_t x = -radius; x <= radius; ++x, ++k) {
      w[k] = exp(static_cast<double>(-(y * y + x * x)) / (2 * sigma * sigma)) / (2 * sigma * pi);
      sum += w[k];
    }
  }
  if (std::isfinite(sum) && sum != 0.0) {
    for (k = 0; k < count; ++k) kernel[k] = static_cast<int>((w[k] / sum) * 1024.0);
  } else {
    // sigma 0 (or too close to 0, or NaN) has no finite weights: use the
    // limit as sigma goes to 0, all weight on the centre. A negative sigma
    // needs no guard: its sign cancels in the normalisation.
    for (k = 0; k < count; ++k) kernel[k] = 0;
    kernel[count / 2] = 1024;
  }
  free(w);
}

void cvt_gaussina_kernel_21(float* a, char use_a, float* b, char use_b, float* src, char use_src,
                            int n) {
  (void)use_src;  // src is always read; see the header
  if ((a == nullptr && b == nullptr) || src == nullptr || n < 1) return;
  const size_t m = static_cast<size_t>(n);
  if (a != nullptr && use_a) {
    for (size_t i = 0; i < m; ++i) a[i] = 0.0f;
    for (size_t i = 0; i < m; ++i)
      for (size_t j = 0; j < m; ++j) a[i] += src[i * m + j];
  }
  if (b != nullptr && use_b) {
    for (size_t j = 0; j < m; ++j) {
      float s = 0.0f;
      for (size_t i = 0; i < m; ++i) s += src[i * m + j];
      b[j] = s;
    }
  }
}
