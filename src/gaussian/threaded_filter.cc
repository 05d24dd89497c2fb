// Threaded separable Gaussian filters over a caller's arena.
//
// A call blurs the plane in two passes: rows into a temporary image, then
// columns back into the plane. The interior of each pass (every output whose
// whole kernel lies inside the image) is cut into strips that run on worker
// threads (started per call for the exported filters, a session's workers
// otherwise); the border outputs, which need mirrored indices, are computed on
// the calling thread afterwards. All scratch comes from the arena, taken up
// front so that a too small arena is noticed before the plane is touched.
#include "gaussian/threaded_filter.h"

#include <pthread.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <new>

#include "gaussian/gauss_rows.h"
#include "qlsbp/gaussian.h"
#include "threads/executor.h"

namespace {

// How the three public filters differ.
struct FilterVariant {
  int strips;                // strips per pass
  bool threaded_horizontal;  // false: horizontal strips run on the caller
  void* (*vertical)(void*);
  void* (*horizontal)(void*);
};

// Most strips a pass is cut into.
constexpr int kMaxStrips = 7;

// The scratch of one call. The arena is charged exactly the documented bytes
// (see take_scratch); the typed arrays live where their alignment is natural.
struct FilterScratch {
  uint8_t* tmp;
  int* row_offsets;
  int* border_offsets;
  pthread_t* vertical_handles;
  GaussianThreadArg* vertical_args;
  pthread_t* horizontal_handles;  // stays null when the caller runs the strips
  GaussianThreadArg* horizontal_args;
};

// Thread handles and worker records of both passes, on the calling thread's
// stack: naturally aligned whatever the arena offset.
struct StripStorage {
  pthread_t handles[2][kMaxStrips];
  GaussianThreadArg args[2][kMaxStrips];
};

// Grants count * size bytes, exactly, or null (also when the byte count does
// not fit the arena's 32-bit sizes).
void* grant_bytes(QLMemInfoT* mem, unsigned long long count, size_t size) {
  const unsigned long long bytes = count * size;
  if (bytes > UINT_MAX || mem->base == nullptr) return nullptr;
  return AssignMemSpace(mem, static_cast<unsigned>(bytes), 1);
}

// Arena bytes of one pass's handles and records.
unsigned long long pass_bytes(int handles, int records) {
  return static_cast<unsigned long long>(handles) * sizeof(pthread_t) +
         static_cast<unsigned long long>(records) * sizeof(GaussianThreadArg);
}

// Sizes whose row offsets and mirrored indices all fit in int.
bool sizes_supported(int height, int width, int ksize) {
  return static_cast<long long>(height) * width <= INT_MAX &&
         static_cast<long long>(height) + ksize <= INT_MAX &&
         static_cast<long long>(width) + ksize <= INT_MAX;
}

bool taps_symmetric(const int* kernel, int ksize) {
  for (int d = 0; d < (ksize >> 1); ++d) {
    if (kernel[d] != kernel[ksize - 1 - d]) return false;
  }
  return true;
}

// Strip i of `count` lines cut into `strips`: the first strips - 1 take
// (count - 1) / strips lines each and the last takes the rest (1 to strips
// more). No count is ever negative, so planes smaller than the kernel simply
// have empty strips.
void strip_range(int count, int strips, int i, int* first, int* len) {
  const int q = count > 0 ? (count - 1) / strips : 0;
  *first = i * q;
  *len = i < strips - 1 ? q : count - (strips - 1) * q;
}

// Border outputs use the plain sum over all ksize taps with mirrored offsets.
// For symmetric taps it equals the pair sum, which the vector kernels take.
void full_sum_row(uint8_t* dst, const uint8_t* src, const int* offsets, const int* kernel,
                  int ksize, int n) {
  for (int x = 0; x < n; ++x) {
    uint32_t sum = 0;
    for (int k = 0; k < ksize; ++k) sum += static_cast<uint32_t>(kernel[k]) * src[x + offsets[k]];
    dst[x] = static_cast<uint8_t>(sum >> 10);
  }
}

void vertical_border_row(uint8_t* tmp, const uint8_t* img, int y, int height, int width, int ksize,
                         const int* kernel, int* border_offsets, bool symmetric) {
  const int r = ksize >> 1;
  for (int k = 0; k < ksize; ++k) border_offsets[k] = gauss_mirror(y - r + k, height) * width;
  uint8_t* dst = tmp + static_cast<ptrdiff_t>(y) * width;
  if (symmetric) {
    gauss_vertical_row(dst, img, border_offsets, kernel, ksize, width);
  } else {
    full_sum_row(dst, img, border_offsets, kernel, ksize, width);
  }
}

// Output columns [a, b) of every row, for symmetric taps: the mirrored
// source span of each row is gathered into a short line so that the
// horizontal row kernel can run on it unchanged.
constexpr int kBorderLine = 384;

void horizontal_border_span(uint8_t* img, const uint8_t* tmp, int height, int width, int ksize,
                            const int* kernel, int a, int b) {
  const int r = ksize >> 1;
  const int len = (b - a) + 2 * r;
  int index[kBorderLine];
  uint8_t line[kBorderLine];
  for (int j = 0; j < len; ++j) index[j] = gauss_mirror(a - r + j, width);
  const GaussHorizontalRowFn row_kernel = gauss_horizontal_row_pick();
  for (int y = 0; y < height; ++y) {
    const uint8_t* row = tmp + static_cast<ptrdiff_t>(y) * width;
    for (int j = 0; j < len; ++j) line[j] = row[index[j]];
    row_kernel(img + static_cast<ptrdiff_t>(y) * width + a, line, kernel, ksize, b - a);
  }
}

// Any taps: one output column at a time through the border-offset table.
void horizontal_border_column(uint8_t* img, const uint8_t* tmp, int height, int width, int ksize,
                              const int* kernel, int* border_offsets, int x) {
  const int r = ksize >> 1;
  for (int k = 0; k < ksize; ++k) border_offsets[k] = gauss_mirror(x - r + k, width);
  for (int y = 0; y < height; ++y) {
    const ptrdiff_t at = static_cast<ptrdiff_t>(y) * width;
    full_sum_row(img + at + x, tmp + at, border_offsets, kernel, ksize, 1);
  }
}

// The handle and record grants of both passes, in order: vertical handles and
// records, then horizontal handles (threaded variants only) and records. They
// are charged to the arena exactly, so that callers can size arenas by the
// documented sum; the arrays actually used are the aligned ones in `local`.
bool take_pass_scratch(QLMemInfoT* mem, const FilterVariant& v, FilterScratch* s,
                       StripStorage* local) {
  if (grant_bytes(mem, v.strips, sizeof(pthread_t)) == nullptr) return false;
  if (grant_bytes(mem, v.strips, sizeof(GaussianThreadArg)) == nullptr) return false;
  s->vertical_handles = local->handles[0];
  s->vertical_args = local->args[0];
  s->horizontal_handles = nullptr;
  if (v.threaded_horizontal) {
    if (grant_bytes(mem, v.strips, sizeof(pthread_t)) == nullptr) return false;
    s->horizontal_handles = local->handles[1];
  }
  if (grant_bytes(mem, v.strips, sizeof(GaussianThreadArg)) == nullptr) return false;
  s->horizontal_args = local->args[1];
  return true;
}

GaussianThreadArg strip_arg(uint8_t* src, uint8_t* dst, const int* kernel, int* row_offsets,
                            int rows, int cols, int stride, int ksize) {
  GaussianThreadArg a;
  a.src = src;
  a.dst = dst;
  a.kernel = kernel;
  a.row_offsets = row_offsets;
  a.rows = rows;
  a.cols = cols;
  a.stride = stride;
  a.ksize = ksize;
  return a;
}

// One pass's strips on the executor. The thread handles granted for the pass
// stay part of the arena accounting whichever executor runs the strips.
struct StripBatch {
  void* (*body)(void*);
  GaussianThreadArg* args;
};

void run_strip(void* ctx, int index) {
  const StripBatch* b = static_cast<const StripBatch*>(ctx);
  b->body(&b->args[index]);
}

void run_strips(qlsbp::Executor& executor, void* (*body)(void*), GaussianThreadArg* args,
                int strips) {
  StripBatch batch{body, args};
  executor.run(strips, run_strip, &batch);
}

// Interior rows: output row y + r of tmp from input rows y .. y + 2r.
void vertical_pass(uint8_t* img, int height, int width, int ksize, const int* kernel,
                   const FilterVariant& v, const FilterScratch& s, qlsbp::Executor& executor) {
  const int r = ksize >> 1;
  const int interior = height - 2 * r > 0 ? height - 2 * r : 0;
  if (interior == 0) return;
  for (int i = 0; i < v.strips; ++i) {
    int first, len;
    strip_range(interior, v.strips, i, &first, &len);
    uint8_t* src = img + static_cast<ptrdiff_t>(first) * width;
    uint8_t* dst = s.tmp + static_cast<ptrdiff_t>(r + first) * width;
    new (&s.vertical_args[i])
        GaussianThreadArg(strip_arg(src, dst, kernel, s.row_offsets, len, width, width, ksize));
  }
  run_strips(executor, v.vertical, s.vertical_args, v.strips);
}

void vertical_border(uint8_t* img, int height, int width, int ksize, const int* kernel,
                     const FilterScratch& s) {
  const int r = ksize >> 1;
  const bool symmetric = taps_symmetric(kernel, ksize);
  const int top_end = r < height ? r : height;
  const int bottom_begin = height - r > top_end ? height - r : top_end;
  for (int y = 0; y < top_end; ++y) {
    vertical_border_row(s.tmp, img, y, height, width, ksize, kernel, s.border_offsets, symmetric);
  }
  for (int y = bottom_begin; y < height; ++y) {
    vertical_border_row(s.tmp, img, y, height, width, ksize, kernel, s.border_offsets, symmetric);
  }
}

// Interior columns: output column x + r of img from columns x .. x + 2r of
// tmp, for every row.
void horizontal_pass(uint8_t* img, int height, int width, int ksize, const int* kernel,
                     const FilterVariant& v, const FilterScratch& s, qlsbp::Executor& executor) {
  const int r = ksize >> 1;
  const int interior = width - 2 * r > 0 ? width - 2 * r : 0;
  if (interior == 0) return;
  for (int i = 0; i < v.strips; ++i) {
    int first, len;
    strip_range(interior, v.strips, i, &first, &len);
    new (&s.horizontal_args[i]) GaussianThreadArg(strip_arg(
        s.tmp + first, img + r + first, kernel, s.row_offsets, height, len, width, ksize));
  }
  if (v.threaded_horizontal) {
    run_strips(executor, v.horizontal, s.horizontal_args, v.strips);
  } else {
    // The general filter runs its column strips one after the other here.
    for (int i = 0; i < v.strips; ++i) v.horizontal(&s.horizontal_args[i]);
  }
}

void horizontal_border(uint8_t* img, int height, int width, int ksize, const int* kernel,
                       const FilterScratch& s) {
  const int r = ksize >> 1;
  const int left_end = r < width ? r : width;
  const int right_begin = width - r > left_end ? width - r : left_end;
  if (taps_symmetric(kernel, ksize) && r <= kBorderLine / 3) {
    if (left_end > 0) horizontal_border_span(img, s.tmp, height, width, ksize, kernel, 0, left_end);
    if (right_begin < width) {
      horizontal_border_span(img, s.tmp, height, width, ksize, kernel, right_begin, width);
    }
    return;
  }
  for (int x = 0; x < left_end; ++x) {
    horizontal_border_column(img, s.tmp, height, width, ksize, kernel, s.border_offsets, x);
  }
  for (int x = right_begin; x < width; ++x) {
    horizontal_border_column(img, s.tmp, height, width, ksize, kernel, s.border_offsets, x);
  }
}

int filter_plane(uint8_t* img, int height, int width, int ksize, const int* kernel, QLMemInfoT* mem,
                 const FilterVariant& v, qlsbp::Executor& executor) {
  if (ksize < 1) return 1;
  if (height <= 0 || width <= 0) return (ksize & 1) ? 0 : 1;
  if (img == nullptr || kernel == nullptr || mem == nullptr) return 1;
  if (!sizes_supported(height, width, ksize)) return 1;

  // Grants in order and of exactly these sizes: the temporary image, the
  // row-offset and the border-offset tables, then the pass scratch. Within
  // the span they make, the two int tables are placed first, at the first
  // int-aligned address, and the temporary image after them; the up to
  // alignof(int) - 1 bytes this shifts the image by come out of the pass
  // grants that follow (at least 5 handles), which are taken before the
  // image is written.
  FilterScratch s;
  StripStorage local;
  const unsigned pixels = static_cast<unsigned>(height) * static_cast<unsigned>(width);
  uint8_t* span = static_cast<uint8_t*>(AssignMemSpace(mem, pixels, 1));  // zero-filled
  if (span == nullptr) return 1;
  if (grant_bytes(mem, static_cast<unsigned>(ksize), sizeof(int)) == nullptr) return 1;
  if (grant_bytes(mem, static_cast<unsigned>(ksize), sizeof(int)) == nullptr) return 1;
  const uintptr_t at = reinterpret_cast<uintptr_t>(span);
  const size_t shift = (alignof(int) - at % alignof(int)) % alignof(int);
  s.row_offsets = reinterpret_cast<int*>(span + shift);
  s.border_offsets = s.row_offsets + ksize;
  s.tmp = reinterpret_cast<uint8_t*>(s.border_offsets + ksize);
  // Offsets of rows beyond the image are never read (those planes have no
  // interior rows); they are capped so that the table stays defined.
  for (int k = 0; k < ksize; ++k) {
    const long long off = static_cast<long long>(k) * width;
    s.row_offsets[k] = off <= INT_MAX ? static_cast<int>(off) : INT_MAX;
  }
  if ((ksize & 1) == 0) return 1;
  if (!take_pass_scratch(mem, v, &s, &local)) return 1;

  vertical_pass(img, height, width, ksize, kernel, v, s, executor);
  vertical_border(img, height, width, ksize, kernel, s);
  // The horizontal pass writes every column of img from tmp, interior and
  // border alike, so img needs no copy of tmp in between.
  horizontal_pass(img, height, width, ksize, kernel, v, s, executor);
  horizontal_border(img, height, width, ksize, kernel, s);
  return 0;
}

}  // namespace

int gaussian_filter_int_image(unsigned char* img, int height, int width, int ksize,
                              const int* kernel, QLMemInfoT* mem, GaussianFilterKind kind,
                              qlsbp::Executor& executor) {
  // The 61- and 21-tap bodies serve only their own tap count.
  FilterVariant v{5, false, thread_vertical_gaussian, thread_horizon_gaussian};
  if (kind == GaussianFilterKind::k61x61) {
    const bool own = ksize == 61;
    v = FilterVariant{7, true, own ? thread_vertical_gaussian_61 : thread_vertical_gaussian,
                      own ? thread_horizon_gaussian_61 : thread_horizon_gaussian};
  } else if (kind == GaussianFilterKind::k21x21) {
    const bool own = ksize == 21;
    v = FilterVariant{7, true, own ? thread_vertical_gaussian_21 : thread_vertical_gaussian,
                      own ? thread_horizon_gaussian_21 : thread_horizon_gaussian};
  }
  return filter_plane(img, height, width, ksize, kernel, mem, v, executor);
}

int gaussian_filter_for_int_image_61x61(unsigned char* img, int height, int width, int ksize,
                                        const int* kernel, QLMemInfoT* mem) {
  qlsbp::PerCallExecutor threads;
  return gaussian_filter_int_image(img, height, width, ksize, kernel, mem,
                                   GaussianFilterKind::k61x61, threads);
}

int gaussian_filter_for_int_image_21x21(unsigned char* img, int height, int width, int ksize,
                                        const int* kernel, QLMemInfoT* mem) {
  qlsbp::PerCallExecutor threads;
  return gaussian_filter_int_image(img, height, width, ksize, kernel, mem,
                                   GaussianFilterKind::k21x21, threads);
}

int gaussian_filter_for_int_image_common(unsigned char* img, int height, int width, int ksize,
                                         const int* kernel, QLMemInfoT* mem) {
  qlsbp::PerCallExecutor threads;
  return gaussian_filter_int_image(img, height, width, ksize, kernel, mem,
                                   GaussianFilterKind::kCommon, threads);
}

unsigned long long gaussian_filter_arena_bytes(int height, int width, int ksize) {
  if (height <= 0 || width <= 0 || ksize < 1) return 0;
  const unsigned long long pixels = static_cast<unsigned long long>(height) * width;
  const unsigned long long tables = 2ULL * static_cast<unsigned long long>(ksize) * sizeof(int);
  const unsigned long long threaded = 2 * pass_bytes(7, 7);
  const unsigned long long common = pass_bytes(5, 10);
  return pixels + tables + (threaded > common ? threaded : common);
}
