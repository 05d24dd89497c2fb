// Integral images and the box (mean) filters built on them.
//
// Three integral layouts live side by side because each consumer was written
// against its own: a zero-bordered signed 64-bit table (OpenCV's layout), an
// inclusive unsigned 64-bit table and an inclusive float table. The sums are
// serial prefix sums, so they stay plain scalar code.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "qlsbp/gaussian.h"

// ---- Zero-bordered signed 64-bit integral -----------------------------------

void pxIntegralOpenCV_int(const unsigned char* src, int height, int width, long long* out) {
  if (src == nullptr || out == nullptr || width < 0) return;
  const size_t stride = static_cast<size_t>(width) + 1;
  memset(out, 0, stride * sizeof(*out));
  for (int y = 0; y < height; ++y) {
    const unsigned char* s = src + static_cast<size_t>(y) * width;
    const long long* above = out + static_cast<size_t>(y) * stride;
    long long* row = out + (static_cast<size_t>(y) + 1) * stride;
    long long run = 0;
    row[0] = 0;
    for (int x = 0; x < width; ++x) {
      run += s[x];
      row[x + 1] = above[x + 1] + run;
    }
  }
}

// ---- k x k mean through the zero-bordered integral -------------------------

// One output row of the interior: the k x k window whose top-left pixel is
// (y - r, x - r), i.e. integral rows `top` and `top + k`. The reciprocal is
// 2^24 / k^2 truncated, so the mean is exact only where k^2 divides 2^24;
// that truncation is the filter's defined behaviour.
static void mean_row_from_integral(unsigned char* dst, const long long* top,
                                   const long long* bottom, int k, int n, uint64_t recip) {
  for (int i = 0; i < n; ++i) {
    const long long s = bottom[i + k] - top[i + k] - bottom[i] + top[i];
    dst[i] = static_cast<unsigned char>((static_cast<uint64_t>(s) * recip) >> 24);
  }
}

void mean_filter_int_with_integrogram(unsigned char* img, int ksize, int height, int width) {
  if (img == nullptr || ksize < 1 || ksize > height || ksize > width) return;
  const int r = ksize >> 1;
  const uint64_t recip = (uint64_t{1} << 24) / (static_cast<uint64_t>(ksize) * ksize);
  const size_t stride = static_cast<size_t>(width) + 1;
  long long* integral = static_cast<long long*>(
      calloc((static_cast<size_t>(height) + 1) * stride, sizeof(long long)));
  if (integral == nullptr) return;
  pxIntegralOpenCV_int(img, height, width, integral);

  const size_t w = static_cast<size_t>(width);
  const int n = width - 2 * r;
  for (int y = r; y <= height - 1 - r; ++y) {
    const long long* top = integral + static_cast<size_t>(y - r) * stride;
    const long long* bottom = top + static_cast<size_t>(ksize) * stride;
    mean_row_from_integral(img + y * w + r, top, bottom, ksize, n, recip);
  }
  // The border rows and columns repeat the nearest filtered ones instead of
  // averaging a clipped window.
  for (int y = 0; y < r; ++y) memcpy(img + y * w, img + r * w, w);
  for (int y = height - r; y < height; ++y) memcpy(img + y * w, img + (height - 1 - r) * w, w);
  for (int y = 0; y < height; ++y) {
    unsigned char* row = img + y * w;
    for (int x = 0; x < r; ++x) row[x] = row[r];
    for (int x = width - r; x < width; ++x) row[x] = row[width - 1 - r];
  }
  free(integral);
}

// ---- Inclusive unsigned 64-bit integral ------------------------------------

// Row and column after which the integral prints a trace line on standard
// output. It is a leftover from tuning the unrolled loop, kept because the
// output of existing callers contains it.
static const int kTraceRow = 1855;
static const int kTraceCol = 2022;

void integral_image_uiuo_uint8(unsigned long long* out, unsigned char* src, int height, int width) {
  if (out == nullptr || src == nullptr || height < 1 || width < 1) return;
  const size_t w = static_cast<size_t>(width);
  unsigned long long run = 0;
  for (int x = 0; x < width; ++x) {
    run += src[x];
    out[x] = run;
  }
  for (int y = 1; y < height; ++y) {
    const unsigned char* s = src + y * w;
    const unsigned long long* above = out + (y - 1) * w;
    unsigned long long* row = out + y * w;
    run = 0;
    for (int x = 0; x < width; ++x) {
      run += s[x];
      row[x] = above[x] + run;
    }
    // The trace fired from the unrolled body of the row loop, which the last
    // column of a row never reaches; hence "more than" kTraceCol + 1 columns.
    if (y == kTraceRow && width > kTraceCol + 1) {
      printf("y = %d", y);
      fflush(stdout);
    }
  }
}

// ---- Clipped mean from the inclusive integral ------------------------------

// Value of pixel (y, x) recovered from the inclusive integral, used where the
// window below is empty.
static uint64_t pixel_from_integral(const unsigned long long* integral, size_t w, int64_t y,
                                    int64_t x) {
  uint64_t v = integral[y * w + x];
  if (y > 0) v -= integral[(y - 1) * w + x];
  if (x > 0) v -= integral[y * w + x - 1];
  if (y > 0 && x > 0) v += integral[(y - 1) * w + x - 1];
  return v;
}

void integral_image_mean_u_uint8(unsigned char* dst, unsigned long long* integral, int height,
                                 int width, int radius) {
  if (dst == nullptr || integral == nullptr || height < 1 || width < 1) return;
  // Windows are clipped to the plane, so a radius beyond the plane's size and
  // a negative one (treated as 0) change nothing but keep the index sums small.
  int64_t rad = radius < 0 ? 0 : radius;
  const int64_t longest = height > width ? height : width;
  if (rad > longest) rad = longest;
  const size_t w = static_cast<size_t>(width);

  for (int64_t y = 0; y < height; ++y) {
    // The window is rows top+1 .. bottom and columns left+1 .. right: the
    // clamped top and left are subtracted as they are, so row 0 and column 0
    // never count and a window reaching them is one pixel smaller.
    const int64_t top = y - rad - 1 > 0 ? y - rad - 1 : 0;
    const int64_t bottom = y + rad < height - 1 ? y + rad : height - 1;
    const unsigned long long* itop = integral + top * w;
    const unsigned long long* ibot = integral + bottom * w;
    unsigned char* out = dst + y * w;
    for (int64_t x = 0; x < width; ++x) {
      const int64_t left = x - rad - 1 > 0 ? x - rad - 1 : 0;
      const int64_t right = x + rad < width - 1 ? x + rad : width - 1;
      const int64_t area = (bottom - top) * (right - left);
      uint64_t q;
      if (area > 0) {
        const uint64_t sum =
            ibot[right] + static_cast<uint64_t>(area / 2) + itop[left] - itop[right] - ibot[left];
        q = sum / static_cast<uint64_t>(area);
      } else {
        q = pixel_from_integral(integral, w, y, x);
      }
      out[x] = q >= 256 ? 255 : static_cast<unsigned char>(q);
    }
  }
}

void GaussianBokeh_uint8(unsigned char* dst, unsigned char* src, int height, int width,
                         int radius) {
  if (dst == nullptr || src == nullptr || height < 1 || width < 1) return;
  unsigned long long* integral = static_cast<unsigned long long*>(
      calloc(static_cast<size_t>(height) * width, sizeof(unsigned long long)));
  if (integral == nullptr) return;
  integral_image_uiuo_uint8(integral, src, height, width);
  integral_image_mean_u_uint8(dst, integral, height, width, radius);
  free(integral);
}

// ---- Inclusive float integral ----------------------------------------------

void GetGrayIntegralImage(unsigned char* src, float* out, int width, int height) {
  if (src == nullptr || out == nullptr || height < 1 || width < 1) return;
  float* colsum = static_cast<float*>(calloc(static_cast<size_t>(width), sizeof(float)));
  if (colsum == nullptr) return;
  const size_t w = static_cast<size_t>(width);
  // Column sums first, then a running sum of them along the row: the order of
  // the float additions is part of the result once sums pass 2^24.
  colsum[0] = src[0];
  out[0] = colsum[0];
  for (int x = 1; x < width; ++x) {
    colsum[x] = src[x];
    out[x] = out[x - 1] + colsum[x];
  }
  for (int y = 1; y < height; ++y) {
    const unsigned char* s = src + y * w;
    float* row = out + y * w;
    colsum[0] += s[0];
    row[0] = colsum[0];
    for (int x = 1; x < width; ++x) {
      colsum[x] += s[x];
      row[x] = row[x - 1] + colsum[x];
    }
  }
  free(colsum);
}
