// Exact Euclidean distance transform: two separable passes of a 1-D lower
// envelope (partial Voronoi diagram) over squared distances, then sqrt.
//
// Working values are squared distances as double; -1.0 means "no site seen
// yet" and 0.0 marks a site. Every value produced by the passes is an exact
// integer (a sum of squared integer offsets), so the result is exactly the
// square root of the true squared distance.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "qlsbp/analysis.h"

namespace {

// The squared offset between a site position and a query position. Computed
// on the 64-bit magnitude so that it cannot overflow for any pair of int
// positions (|h - i| < 2^32); identical to the 32-bit product whenever that
// one does not overflow (|h - i| <= 46340).
double squared_offset(int h, int i) {
  const int64_t d = static_cast<int64_t>(h) - i;
  const uint64_t m = static_cast<uint64_t>(d < 0 ? -d : d);
  return static_cast<double>(m * m);
}

// Runs the 1-D transform on `count` contiguous lines of length n, reusing one
// pair of stack arrays for all of them.
void transform_lines(double* data, int n, int count, double* g, int* h) {
  for (int k = 0; k < count; ++k) {
    voronoiEDT(data + static_cast<size_t>(k) * static_cast<size_t>(n), g, h, n);
  }
}

}  // namespace

int RemoveEDT(double du, double dv, double dw, double u, double v, double w) {
  const double a = v - u;
  const double b = w - v;
  const double c = w - u;
  // Left to right as written; the middle site v is hidden by u and w.
  return (c * dv - b * du - a * dw > a * b * c) ? 1 : 0;
}

int constructPartialVoronoi(double* f, double* g, int* h, int n) {
  if (n < 1) return -1;
  int l = -1;
  for (int i = 0; i < n; ++i) {
    const double fi = f[i];
    if (fi == -1.0) continue;  // no site here
    while (l >= 1 && RemoveEDT(g[l - 1], g[l], fi, static_cast<double>(h[l - 1]),
                               static_cast<double>(h[l]), static_cast<double>(i))) {
      --l;
    }
    ++l;
    g[l] = fi;
    h[l] = i;
  }
  return l;
}

void queryPartialVoronoi(const double* g, const int* h, int top, double* f, int n) {
  // An empty envelope has nothing to evaluate.
  if (n < 1 || top < 0) return;
  int l = 0;
  for (int i = 0; i < n; ++i) {
    // Strict comparison: on a tie the earlier (lower-position) site wins.
    while (l < top && g[l] + squared_offset(h[l], i) > g[l + 1] + squared_offset(h[l + 1], i)) {
      ++l;
    }
    f[i] = g[l] + squared_offset(h[l], i);
  }
}

void voronoiEDT(double* f, double* g, int* h, int n) {
  const int top = constructPartialVoronoi(f, g, h, n);
  if (top != -1) queryPartialVoronoi(g, h, top, f, n);
}

void processDimN(int n, int count, double* data) {
  if (data == nullptr || n < 1 || count < 1) return;
  // calloc refuses sizes whose byte count would overflow.
  double* g = static_cast<double*>(calloc(static_cast<size_t>(n), sizeof(double)));
  int* h = static_cast<int*>(calloc(static_cast<size_t>(n), sizeof(int)));
  if (g != nullptr && h != nullptr) transform_lines(data, n, count, g, h);
  free(h);
  free(g);
}

void computeEDT(double* out, unsigned char* img, int width, int height) {
  if (out == nullptr || img == nullptr || width < 1 || height < 1) return;
  const size_t w = static_cast<size_t>(width);
  const size_t rows = static_cast<size_t>(height);
  const size_t m = width > height ? w : rows;
  // All scratch is taken up front so that a failed allocation leaves `out`
  // untouched instead of half transformed. The row pass reuses g and h
  // (width <= m), which is what a separate processDimN call would allocate.
  double* line = static_cast<double*>(calloc(m, sizeof(double)));
  double* g = static_cast<double*>(calloc(m, sizeof(double)));
  int* h = static_cast<int*>(calloc(m, sizeof(int)));
  if (line != nullptr && g != nullptr && h != nullptr) {
    // Column pass: gather each column into a contiguous line.
    for (size_t x = 0; x < w; ++x) {
      for (size_t y = 0; y < rows; ++y) line[y] = img[y * w + x] != 0 ? -1.0 : 0.0;
      voronoiEDT(line, g, h, height);
      for (size_t y = 0; y < rows; ++y) out[y * w + x] = line[y];
    }
    // Row pass: columns without a site are still -1.0 and get resolved here
    // from the other columns. An image without any site stays -1.0 and ends
    // as NaN below, on purpose.
    transform_lines(out, width, height, g, h);
    const size_t total = w * rows;
    // sqrt(-1.0) gives a NaN whose sign bit differs between x86-64 (set) and
    // ARM (clear); one canonical quiet NaN keeps the bytes the same on all.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (size_t i = 0; i < total; ++i) out[i] = out[i] < 0.0 ? nan : sqrt(out[i]);
  }
  free(h);
  free(g);
  free(line);
}

int vecSqrDist_i3(int* a, int* b) {
  // Unsigned arithmetic wraps modulo 2^32, as the 32-bit result is meant to.
  const uint32_t d0 = static_cast<uint32_t>(a[0]) - static_cast<uint32_t>(b[0]);
  const uint32_t d1 = static_cast<uint32_t>(a[1]) - static_cast<uint32_t>(b[1]);
  const uint32_t d2 = static_cast<uint32_t>(a[2]) - static_cast<uint32_t>(b[2]);
  const uint32_t s = d1 * d1 + d0 * d0 + d2 * d2;
  // Two's-complement reinterpretation without relying on implementation-
  // defined narrowing.
  return s <= 0x7fffffffu ? static_cast<int>(s)
                          : static_cast<int>(s - 0x80000000u) - 0x7fffffff - 1;
}

float vecSqrDist_f3(float* a, float* b) {
  const float d0 = a[0] - b[0];
  const float d1 = a[1] - b[1];
  const float d2 = a[2] - b[2];
  return (d1 * d1 + d0 * d0) + d2 * d2;
}

float vecDist_f3(float* a, float* b) { return sqrtf(vecSqrDist_f3(a, b)); }

double pntSqrDist_d2(double* a, double* b) {
  const double d0 = a[0] - b[0];
  const double d1 = a[1] - b[1];
  return d1 * d1 + d0 * d0;
}
