// build_blur_image2: the per-plane worker of the frame pipeline.
//
// Blur (Gaussian at half resolution on the preview path, or a box blur from a
// 64-bit integral image), enlarge back when blurring at half resolution, then
// blend blurred and sharp under the focus mask. The worker owns nothing but
// its kernel taps; every plane and table comes in the task record.
#include "blur/build_blur.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "gaussian/threaded_filter.h"
#include "qlsbp/blur.h"
#include "qlsbp/gaussian.h"
#include "qlsbp/sb_data.h"

namespace {

using u64 = unsigned long long;

// Inclusive integral image of an h x w packed plane, no zero row or column.
void integral_u64(u64* out, const unsigned char* src, int h, int w) {
  for (int y = 0; y < h; ++y) {
    const unsigned char* s = src + static_cast<size_t>(y) * w;
    u64* o = out + static_cast<size_t>(y) * w;
    const u64* above = y > 0 ? o - w : nullptr;
    u64 run = 0;
    for (int x = 0; x < w; ++x) {
      run += s[x];
      o[x] = above != nullptr ? above[x] + run : run;
    }
  }
}

// Box mean from the integral image: the window reaches ry rows and rx columns
// each way, clipped to the plane, and its sum is divided by the count table.
// On planes of at least 2ry + 2 rows and 2rx + 2 columns the clipping only
// acts on the bottom and right bands, so this is the three-band form; on
// smaller planes it keeps every read inside the plane. A zero count gives 0.
void box_mean(unsigned char* dst, const u64* ii, const unsigned* count, int h, int w, int ry,
              int rx) {
  // A radius beyond the plane reaches the same rows and columns as one equal
  // to the plane's size; bounding it first keeps y + ry and x + rx inside int
  // for radii up to INT_MAX.
  ry = std::min(std::max(ry, 0), h);
  rx = std::min(std::max(rx, 0), w);
  for (int y = 0; y < h; ++y) {
    const int yb = std::min(y + ry, h - 1);
    const int yt = y - ry - 1;
    const u64* rb = ii + static_cast<size_t>(yb) * w;
    const u64* rt = yt >= 0 ? ii + static_cast<size_t>(yt) * w : nullptr;
    for (int x = 0; x < w; ++x) {
      const int xr = std::min(x + rx, w - 1);
      const int xl = x - rx - 1;
      u64 s = rb[xr];
      if (rt != nullptr) s -= rt[xr];
      if (xl >= 0) {
        s -= rb[xl];
        if (rt != nullptr) s += rt[xl];
      }
      const unsigned c = count[static_cast<size_t>(y) * w + x];
      dst[static_cast<size_t>(y) * w + x] = c != 0 ? static_cast<unsigned char>(s / c) : 0;
    }
  }
}

void gaussian_blur(const SBPlaneTask& t, int h, int w, qlsbp::Executor& executor) {
  const int ksize = t.kernelSize;
  if (ksize < 1) return;  // no kernel: the plane stays unblurred
  int* taps = static_cast<int*>(calloc(static_cast<size_t>(ksize), sizeof(int)));
  if (taps == nullptr) return;
  init_gaussian_kernel(taps, t.factor, ksize, 1, 0, 1024.0f);
  // The filters specialised for 61 and 21 taps serve the half-resolution
  // path only; full resolution always takes the general filter.
  unsigned char* plane = t.blurOption == 0 ? t.dst : t.small;
  GaussianFilterKind kind = GaussianFilterKind::kCommon;
  if (t.blurOption != 0 && ksize == 61) kind = GaussianFilterKind::k61x61;
  if (t.blurOption != 0 && ksize == 21) kind = GaussianFilterKind::k21x21;
  gaussian_filter_int_image(plane, h, w, ksize, taps, t.mem, kind, executor);
  free(taps);
}

// The enlarged half plane fills the first 2 (H >> 1) x 2 (W >> 1) bytes of
// dst, rows of 2 (W >> 1) bytes one after another, as the enlargement lays
// them out (for an odd width that is not the plane's own row pitch). The
// bytes after it would keep whatever an earlier frame left; they take the
// sharp pixels instead, so that nothing stale reaches the blend.
void fill_tail_sharp(const SBPlaneTask& t, size_t enlarged, size_t n) {
  if (enlarged < n) memcpy(t.dst + enlarged, t.src + enlarged, n - enlarged);
}

// downsampleh2v2 over the plane's even rows without reading past its n
// bytes. For an odd width the halving drifts by one byte per output row and
// its last rows would run up to (H >> 1) bytes beyond the plane; the entries
// that take those bytes lie in the last column of each half row, which the
// later steps (reading h x w with w = W >> 1) never use. Those rows are
// halved from a zero-padded copy of their in-plane bytes instead, which gives
// every used entry unchanged.
void halve_within_plane(unsigned char* small, unsigned char* src, int H, int W, size_t n) {
  const int even_rows = H & ~1;
  if ((W & 1) == 0) {
    downsampleh2v2(small, src, even_rows, W);
    return;
  }
  const int out_rows = even_rows >> 1;
  const size_t out_cols = (static_cast<size_t>(W) >> 1) + 1;
  const size_t advance = 2 * static_cast<size_t>(W) + 1;  // source bytes per half row
  const size_t safe_rows = std::min(static_cast<size_t>(out_rows), n / advance);
  if (safe_rows > 0) downsampleh2v2(small, src, static_cast<int>(2 * safe_rows), W);
  if (safe_rows == static_cast<size_t>(out_rows)) return;
  std::vector<unsigned char> pair(advance);
  for (size_t j = safe_rows; j < static_cast<size_t>(out_rows); ++j) {
    const size_t start = j * advance;
    std::fill(pair.begin(), pair.end(), 0);
    if (start < n) memcpy(pair.data(), src + start, std::min(advance, n - start));
    downsampleh2v2(small + j * out_cols, pair.data(), 2, W);
  }
}

}  // namespace

void build_blur_plane(const SBPlaneTask* task, qlsbp::Executor& executor) {
  if (task == nullptr || task->dst == nullptr || task->src == nullptr || task->planeRows < 1 ||
      task->planeCols < 1) {
    return;
  }
  const SBPlaneTask& t = *task;
  const int H = t.planeRows;
  const int W = t.planeCols;
  const size_t n = static_cast<size_t>(H) * static_cast<size_t>(W);
  const bool half = t.blurOption != 0;

  int h = H;
  int w = W;
  if (half) {
    halve_within_plane(t.small, t.src, H, W, n);
    h = H >> 1;
    w = W >> 1;
  }
  if (t.useGaussian == 0 && t.wide != nullptr) {
    // The integral image is taken over the first h x w bytes of the sharp
    // plane even at half resolution; that box result is then replaced by the
    // enlarged half plane, so box + half resolution yields the resampled
    // sharp plane.
    integral_u64(t.wide, t.src, h, w);
  }
  if (!half) memcpy(t.dst, t.src, n);

  if (t.useGaussian != 0) {
    gaussian_blur(t, h, w, executor);
  } else if (t.wide != nullptr && t.range != nullptr) {
    box_mean(t.dst, t.wide, t.range, h, w, t.radiusRows, t.radiusCols);
  }

  if (half) {
    if (h > 0 && w > 0) upscalingh2v2(t.dst, t.small, h, w);
    fill_tail_sharp(t, static_cast<size_t>(4) * h * w, n);
  }
  img_blend_neon(t.dst, t.dst, t.src, t.mask, static_cast<int>(n));
}

void* build_blur_image2(void* arg) {
  qlsbp::PerCallExecutor threads;
  build_blur_plane(static_cast<const SBPlaneTask*>(arg), threads);
  return nullptr;
}
