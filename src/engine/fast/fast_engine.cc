// The fast engine: in row bands, halve, blur, enlarge and blend straight
// into the caller's planes.
//
// Why the bytes equal the reference engine's:
//  - halving, enlarging and blending use the same row kernels as the
//    reference plane drivers, or twins of them that split or interleave the
//    samples on the way (tested equal to splitting first), on the same
//    samples;
//  - the reference filter computes every output of each pass as the full
//    21-tap sum over reflect-101 indices (gauss_mirror), interior and border
//    alike, in exact 32-bit arithmetic truncated by >> 10. Dropping the taps
//    that are zero and computing one row at a time changes no sum;
//  - the blend only covers whole blocks of eight pixels of each plane in
//    dense order, so the pixels after the last block keep the enlarged
//    blurred value, row by row as they fall;
//  - under the weights 0 and 1024 the blend's result is known exactly (see
//    "Mask runs"), so those pixels are copied or left alone, and blurred
//    values that only such sharp pixels would read are not computed.
#include "engine/fast/fast_engine.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>

#include "blur/blur_rows.h"
#include "convert/convert_rows.h"
#include "gaussian/gauss_rows.h"
#include "qlsbp/gaussian.h"

namespace {

enum Layout { kSemiPlanar420 = 2, kPlanar420 = 3, kPacked422 = 4 };

// The preview path's Gaussian kernel size, and its reach on either side.
constexpr int kPreviewTaps = 21;
constexpr int kPreviewReach = kPreviewTaps >> 1;
// Pieces of work per worker that the executor can run at once: a few, so
// that a slower piece does not leave the other workers idle for long.
constexpr int kPiecesPerWorker = 3;
// Scratch rows start on cache-line boundaries.
constexpr size_t kScratchAlign = 64;

size_t align_up(size_t v) { return (v + kScratchAlign - 1) & ~(kScratchAlign - 1); }

// One plane as the reference engine sees it (a plane of planarIn), with the
// settings of its own task record.
struct Plane {
  uint8_t* small;        // the half-size plane, h x w, packed
  const uint16_t* mask;  // H x W weights, packed
  int H, W, h, w;
  long long blended;  // pixels the blend covers, in dense order
  int ksize;          // non-zero taps of the kernel, 2 * reach + 1
  int kernel[kPreviewTaps];
  int focus;  // a column where the sharp region of the mask is looked for
};

// How the planes of a group share the caller's rows.
enum GroupKind {
  kOnePlane,   // a plane of its own: one sample per byte
  kChromaUV,   // interleaved chroma: plane 0 the even bytes, plane 1 the odd
  kPackedYUYV  // Y0 U Y1 V: planes luma, U, V
};

// Planes stored in the same caller rows; all of them have H rows.
struct Group {
  GroupKind kind;
  uint8_t* base;     // caller row 0
  ptrdiff_t stride;  // caller row pitch (may be negative)
  int count;         // planes in the group
  Plane* plane[3];
  int H, h;
  int pieces;       // bands
  int first_piece;  // the flat index of the group's first band
  size_t scratch;   // bytes per band
  size_t offset;    // of the group's first band in the scratch
  size_t split_at;  // where a band's split rows for the halving start
};

// At most 64 workers are assumed; each group gets at most its share of
// workers x kPiecesPerWorker pieces plus one for rounding.
constexpr int kMaxWorkers = 64;
constexpr int kMaxPieces = 3 * (kMaxWorkers * kPiecesPerWorker + 1);

struct Frame {
  Plane planes[3];
  Group groups[3];
  int group_count;
  uint8_t* scratch;
  // Per band, the state of the boundary above it (see "One run per frame").
  std::atomic<int> boundary[kMaxPieces];
  // Piece index -> group and piece within it, for the executor's flat index.
  int piece_group[kMaxPieces];
  int piece_local[kMaxPieces];
  int piece_count;
};

// Blended pixels of row y of a plane: whole blocks of eight in dense order.
int blended_in_row(const Plane& p, int y) {
  const long long left = p.blended - static_cast<long long>(y) * p.W;
  if (left <= 0) return 0;
  return left >= p.W ? p.W : static_cast<int>(left);
}

// The non-zero middle of the task's 21 taps; false when the taps are not
// symmetric (the row kernels sum pairs).
bool prepare_kernel(Plane* p, float factor) {
  int taps[kPreviewTaps] = {0};
  init_gaussian_kernel(taps, factor, kPreviewTaps, 1, 0, 1024.0f);
  int reach = 0;
  for (int d = 0; d <= kPreviewReach; ++d) {
    if (taps[kPreviewReach - d] != taps[kPreviewReach + d]) return false;
    if (taps[kPreviewReach - d] != 0) reach = d;
  }
  p->ksize = 2 * reach + 1;
  for (int k = 0; k < p->ksize; ++k) p->kernel[k] = taps[kPreviewReach - reach + k];
  return true;
}

bool task_is_preview(const SBPlaneTask& t) {
  return t.useGaussian != 0 && t.blurOption != 0 && t.kernelSize == kPreviewTaps &&
         t.small != nullptr && t.mask != nullptr;
}

// Checks that task k fits this frame (plane size, its planes in planarIn and
// planarOut where this layout puts them) and fills the plane from it.
bool take_task(const SBData* d, int k, int rows, int cols, size_t offset, Plane* p) {
  const SBPlaneTask& t = d->task[k];
  if (!task_is_preview(t) || t.planeRows != rows || t.planeCols != cols) return false;
  if (t.src != d->planarIn + offset || t.dst != d->planarOut + offset) return false;
  if ((rows & 1) != 0 || (cols & 1) != 0 || rows < 2 || cols < 2) return false;
  p->small = t.small;
  p->mask = t.mask;
  p->H = rows;
  p->W = cols;
  p->h = rows >> 1;
  p->w = cols >> 1;
  const long long n = static_cast<long long>(rows) * cols;
  p->blended = n / 8 * 8;
  return prepare_kernel(p, t.factor);
}

bool frame_fits(const SBData* d, const QL_IMAGEINFO* f) {
  if (f == nullptr || f->width != d->cols || f->height != d->rows) return false;
  if (d->planarIn == nullptr || d->planarOut == nullptr) return false;
  const int code = f->format;
  if (code != kSemiPlanar420 && code != kPlanar420 && code != kPacked422) return false;
  if (f->plane[0] == nullptr) return false;
  if (code != kPacked422 && f->plane[1] == nullptr) return false;
  if (code == kPlanar420 && (f->plane[2] == nullptr || f->stride[1] != f->stride[2])) return false;
  return true;
}

void add_group(Frame* fr, GroupKind kind, uint8_t* base, int stride, int count, Plane* a, Plane* b,
               Plane* c) {
  Group& g = fr->groups[fr->group_count++];
  g.kind = kind;
  g.base = base;
  g.stride = stride;
  g.count = count;
  g.plane[0] = a;
  g.plane[1] = b;
  g.plane[2] = c;
  g.H = a->H;
  g.h = a->h;
}

// ---- Halving: caller rows into the task's scratch plane -----------------

void halve_rows(const Group& g, uint8_t* scratch, int first, int end) {
  for (int j = first; j < end; ++j) {
    const uint8_t* upper = g.base + g.stride * (2 * static_cast<ptrdiff_t>(j));
    const uint8_t* lower = upper + g.stride;
    if (g.kind == kOnePlane) {
      const Plane& p = *g.plane[0];
      downsample2x2_row(p.small + static_cast<size_t>(j) * p.w, upper, lower, p.w);
      continue;
    }
    if (g.kind == kChromaUV) {
      // The pairs are split inside the halving: no split rows at all.
      const Plane& u = *g.plane[0];
      const Plane& v = *g.plane[1];
      const size_t at = static_cast<size_t>(j) * u.w;
      downsample2x2_uv_row(u.small + at, v.small + at, upper, lower, u.w);
      continue;
    }
    // Split both caller rows into the planes' own rows, then halve those.
    uint8_t* rows[2][3];
    uint8_t* at = scratch;
    for (int r = 0; r < 2; ++r) {
      for (int i = 0; i < g.count; ++i) {
        rows[r][i] = at;
        at += align_up(static_cast<size_t>(g.plane[i]->W));
      }
    }
    split_yuyv_row(rows[0][0], rows[0][1], rows[0][2], upper, g.plane[1]->W);
    split_yuyv_row(rows[1][0], rows[1][1], rows[1][2], lower, g.plane[1]->W);
    for (int i = 0; i < g.count; ++i) {
      const Plane& p = *g.plane[i];
      downsample2x2_row(p.small + static_cast<size_t>(j) * p.w, rows[0][i], rows[1][i], p.w);
    }
  }
}

// ---- Per band: blur, enlarge and blend row by row -------------------------

// A band's working rows of one plane.
struct PlaneRows {
  uint8_t* line;     // vertical result with reflected ends, w + 2 * reach
  uint8_t* ring[2];  // blurred half rows, by row parity
  uint8_t* up[2];    // the two enlarged rows
  uint8_t* sharp;    // the caller's row split out (packed 4:2:2 only)
};

// `split`: the band also needs the plane's sharp row split out of the
// caller's row (packed 4:2:2 only; interleaved chroma blends in place).
size_t plane_band_bytes(const Plane& p, bool split) {
  size_t bytes = align_up(static_cast<size_t>(p.w) + 2 * kPreviewReach);
  bytes += 2 * align_up(static_cast<size_t>(p.w));
  bytes += 2 * align_up(static_cast<size_t>(p.W));
  if (split) bytes += align_up(static_cast<size_t>(p.W));
  return bytes;
}

uint8_t* carve_plane_rows(const Plane& p, bool split, uint8_t* at, PlaneRows* r) {
  r->line = at;
  at += align_up(static_cast<size_t>(p.w) + 2 * kPreviewReach);
  for (int i = 0; i < 2; ++i) {
    r->ring[i] = at;
    at += align_up(static_cast<size_t>(p.w));
  }
  for (int i = 0; i < 2; ++i) {
    r->up[i] = at;
    at += align_up(static_cast<size_t>(p.W));
  }
  r->sharp = nullptr;
  if (split) {
    r->sharp = at;
    at += align_up(static_cast<size_t>(p.W));
  }
  return at;
}

// ---- Mask runs: where the blend has nothing to compute -------------------
//
// Under the weight 1024 the blend gives exactly the sharp pixel, whatever the
// blurred one is: F + (((S - F) * 1024 + 512) >> 10) == S; under the weight 0
// it gives exactly the blurred one, F + (512 >> 10) == F. So, per output row,
// a run of blended pixels whose weights are all exactly 1024 needs neither a
// blend nor (when the rows around it agree) a blur, and a run of zeros needs
// only a copy of the blurred pixels. A focus mask row is zeros, a ramp, a
// sharp middle, a ramp and zeros again: the zeros are measured from both
// ends, the sharp run around the middle of the previous row's (or the focus
// column). Each weight of a run is read once by a vector compare, which is
// far cheaper than blending it. A missed or shorter run is still right,
// only slower. Weights above 1024 and the unblended end of the plane are in
// no run.

constexpr uint16_t kSharp = 1024;
// Half rows skip their blur only over at least this many columns.
constexpr int kMinSkip = 32;

struct Run {
  int a = 0, b = 0;  // [a, b), empty when a >= b
};

// One output row: zeros over [0, z0) and [z1, n), 1024 over sharp (inside
// [z0, z1)); n is the row's blended length.
struct RowRuns {
  int z0 = 0, z1 = 0;
  Run sharp;
};

// The runs of a plane's last four output rows (enough for one half row and
// the two rows being stored), and the last sharp run as the next hint.
struct RunCache {
  int tag[4] = {-1, -1, -1, -1};
  RowRuns runs[4];
  Run hint;
  WeightRunFn forward = weight_run_forward_pick();
  WeightRunFn backward = weight_run_backward_pick();
};

RowRuns find_runs(const Plane& p, RunCache* c, int y) {
  const int n = blended_in_row(p, y);
  const uint16_t* w = p.mask + static_cast<size_t>(y) * p.W;
  RowRuns r;
  r.z0 = c->forward(w, n, 0);
  r.z1 = n - c->backward(w + r.z0, n - r.z0, 0);
  const int guesses[2] = {c->hint.a < c->hint.b ? (c->hint.a + c->hint.b) >> 1 : -1, p.focus};
  for (int m : guesses) {
    if (m < r.z0 || m >= r.z1 || w[m] != kSharp) continue;
    r.sharp.a = m - c->backward(w + r.z0, m - r.z0, kSharp);
    r.sharp.b = m + c->forward(w + m, r.z1 - m, kSharp);
    break;
  }
  c->hint = r.sharp;
  return r;
}

const RowRuns& row_runs(const Plane& p, RunCache* c, int y) {
  const int slot = y & 3;
  if (c->tag[slot] != y) {
    c->runs[slot] = find_runs(p, c, y);
    c->tag[slot] = y;
  }
  return c->runs[slot];
}

// Half columns [a, b) of half row j that no output pixel outside the sharp
// runs reads: output rows 2j - 1 .. 2j + 1 read half row j, and output
// column c reads half columns c >> 1 and, for odd c, (c + 1) >> 1.
Run half_row_skip(const Plane& p, RunCache* c, int j) {
  Run out{0, p.W};
  for (int y = 2 * j - 1; y <= 2 * j + 1; ++y) {
    if (y < 0 || y >= p.H) continue;
    const Run r = row_runs(p, c, y).sharp;
    if (r.a > out.a) out.a = r.a;
    if (r.b < out.b) out.b = r.b;
  }
  Run half{(out.a + 2) >> 1, out.b >> 1};
  if (out.a >= out.b || half.b - half.a < kMinSkip) half = Run{};
  return half;
}

// Half row j of the blurred plane: the vertical pass over the half plane's
// rows j - reach .. j + reach (reflected), then the horizontal pass over a
// line whose ends are reflected the same way.
//
// Columns [skip.a, skip.b) of the result are not needed: the horizontal pass
// leaves them out, and the vertical pass leaves out what only they read
// (the values left there are never used).
void blur_half_row(const Plane& p, const PlaneRows& r, int j, Run skip, uint8_t* out) {
  const int reach = p.ksize >> 1;
  int offsets[kPreviewTaps];
  if (j >= reach && j + reach < p.h) {
    for (int k = 0; k < p.ksize; ++k) offsets[k] = (j - reach + k) * p.w;
  } else {
    for (int k = 0; k < p.ksize; ++k) offsets[k] = gauss_mirror(j - reach + k, p.h) * p.w;
  }
  uint8_t* v = r.line + reach;
  const GaussVerticalRowFn vertical = gauss_vertical_row_pick();
  if (skip.a < skip.b) {
    const int left = skip.a + reach;   // vertical results [0, left)
    const int right = skip.b - reach;  // and [right, w)
    vertical(v, p.small, offsets, p.kernel, p.ksize, left < p.w ? left : p.w);
    if (right < p.w) vertical(v + right, p.small + right, offsets, p.kernel, p.ksize, p.w - right);
  } else {
    vertical(v, p.small, offsets, p.kernel, p.ksize, p.w);
  }
  if (p.w > reach) {
    // Reflect-101 without folding twice: -d -> d, w - 1 + d -> w - 1 - d.
    for (int i = 0; i < reach; ++i) {
      r.line[i] = v[reach - i];
      v[p.w + i] = v[p.w - 2 - i];
    }
  } else {
    for (int i = 0; i < reach; ++i) {
      r.line[i] = v[gauss_mirror(i - reach, p.w)];
      v[p.w + i] = v[gauss_mirror(p.w + i, p.w)];
    }
  }
  const GaussHorizontalRowFn horizontal = gauss_horizontal_row_pick();
  if (skip.a < skip.b) {
    horizontal(out, r.line, p.kernel, p.ksize, skip.a);
    horizontal(out + skip.b, r.line + skip.b, p.kernel, p.ksize, p.w - skip.b);
  } else {
    horizontal(out, r.line, p.kernel, p.ksize, p.w);
  }
}

// Output row y of a plane of its own: blend the enlarged row with the
// caller's sharp row in place; after the last whole block of eight the
// enlarged value stays.
// Calls blend(from, to) over the parts of [runs.z0, runs.z1) outside the
// sharp run, which already holds its result.
template <typename Blend>
void blend_between(const RowRuns& runs, Blend blend) {
  if (runs.sharp.a < runs.sharp.b) {
    blend(runs.z0, runs.sharp.a);
    blend(runs.sharp.b, runs.z1);
  } else {
    blend(runs.z0, runs.z1);
  }
}

// Output row y of a plane of its own, blended in place: the enlarged row
// where the weights are 0 and after the last whole block of eight, the
// caller's pixels where they are 1024, the blend elsewhere.
void store_own_row(const Plane& p, const uint8_t* up, uint8_t* row, int y, const RowRuns& runs) {
  const uint16_t* w = p.mask + static_cast<size_t>(y) * p.W;
  if (runs.z0 > 0) memcpy(row, up, static_cast<size_t>(runs.z0));
  blend_between(runs, [&](int from, int to) {
    if (to > from) blend_row(row + from, up + from, row + from, w + from, to - from);
  });
  if (runs.z1 < p.W) memcpy(row + runs.z1, up + runs.z1, static_cast<size_t>(p.W - runs.z1));
}

// Calls f(from, to) over the blended parts of [0, m) and copy(from, to)
// over the zero parts; the sharp part is left as it is.
template <typename Blend, typename Copy>
void store_parts(int zero_end, int sharp_a, int sharp_b, int zero_begin, int m, Blend blend,
                 Copy copy) {
  const int z0 = zero_end < m ? zero_end : m;
  const int z1 = zero_begin < z0 ? z0 : (zero_begin > m ? m : zero_begin);
  if (z0 > 0) copy(0, z0);
  const int a = sharp_a < z0 ? z0 : sharp_a;
  const int b = sharp_b > z1 ? z1 : sharp_b;
  if (a < b) {
    if (a > z0) blend(z0, a);
    if (z1 > b) blend(b, z1);
  } else if (z1 > z0) {
    blend(z0, z1);
  }
  if (m > z1) copy(z1, m);
}

// Output row y of a group sharing its caller rows, blended in place with one
// pass over the row: interleaved chroma in pairs (both planes of 4:2:0 share
// one mask, whose runs serve both), packed 4:2:2 in Y0 U Y1 V groups (the
// two chroma planes share one mask; a group is copied or kept only when its
// luma and chroma weights all agree).
void store_group_row(const Group& g, PlaneRows* rows, int half, uint8_t* row, int y,
                     RunCache* runs) {
  if (g.kind == kChromaUV) {
    const Plane& p = *g.plane[0];
    const RowRuns& r = row_runs(p, &runs[0], y);
    const uint8_t* u = rows[0].up[half];
    const uint8_t* v = rows[1].up[half];
    const uint16_t* w = p.mask + static_cast<size_t>(y) * p.W;
    store_parts(
        r.z0, r.sharp.a, r.sharp.b, r.z1, p.W,
        [&](int from, int to) {
          blend_uv_row(row + 2 * from, u + from, v + from, row + 2 * from, w + from, to - from);
        },
        [&](int from, int to) { join_uv_row(row + 2 * from, u + from, v + from, to - from); });
    return;
  }
  const Plane& py = *g.plane[0];
  const Plane& pc = *g.plane[1];
  const RowRuns& ry = row_runs(py, &runs[0], y);
  const RowRuns& rc = row_runs(pc, &runs[1], y);
  const uint16_t* wy = py.mask + static_cast<size_t>(y) * py.W;
  const uint16_t* wc = pc.mask + static_cast<size_t>(y) * pc.W;
  uint8_t* uy = rows[0].up[half];
  uint8_t* uu = rows[1].up[half];
  uint8_t* uv = rows[2].up[half];
  const int pairs = pc.W;
  const int ny = blended_in_row(py, y), nc = blended_in_row(pc, y);
  const int m = (ny >> 1) < nc ? ny >> 1 : nc;  // pairs blended whole
  auto max = [](int a, int b) { return a > b ? a : b; };
  auto min = [](int a, int b) { return a < b ? a : b; };
  const bool sharp = ry.sharp.a < ry.sharp.b && rc.sharp.a < rc.sharp.b;
  store_parts(
      min(ry.z0 >> 1, rc.z0), sharp ? max((ry.sharp.a + 1) >> 1, rc.sharp.a) : 0,
      sharp ? min(ry.sharp.b >> 1, rc.sharp.b) : 0, max((ry.z1 + 1) >> 1, rc.z1), m,
      [&](int from, int to) {
        blend_yuyv_row(row + 4 * from, uy + 2 * from, uu + from, uv + from, row + 4 * from,
                       wy + 2 * from, wc + from, to - from);
      },
      [&](int from, int to) {
        join_yuyv_row(row + 4 * from, uy + 2 * from, uu + from, uv + from, to - from);
      });
  if (m == pairs) return;
  // The end of the plane's blended part: split, blend what each plane
  // blends, join.
  split_yuyv_row(rows[0].sharp, rows[1].sharp, rows[2].sharp, row + 4 * m, pairs - m);
  if (ny > 2 * m) blend_row(uy + 2 * m, uy + 2 * m, rows[0].sharp, wy + 2 * m, ny - 2 * m);
  if (nc > m) {
    blend_row(uu + m, uu + m, rows[1].sharp, wc + m, nc - m);
    blend_row(uv + m, uv + m, rows[2].sharp, wc + m, nc - m);
  }
  join_yuyv_row(row + 4 * m, uy + 2 * m, uu + m, uv + m, pairs - m);
}

// Half rows a band reads on either side of itself: the filter's reach, and
// one more for the enlargement of its last half row.
constexpr int kHalo = kPreviewReach + 1;
constexpr int kMinBandRows = 2 * kHalo;

// The band's own half rows, halved just ahead of the vertical pass that
// reads them: their source rows are then still in cache when the band
// blends them, a few rows later, and so are the half rows.
struct HalveAhead {
  const Group* g;
  uint8_t* split;  // the band's split rows (packed 4:2:2)
  int next, end;   // own half rows [next, end) not halved yet
  void upto(int j) {
    const int stop = j < end ? j : end;
    if (next < stop) halve_rows(*g, split, next, stop);
    if (stop > next) next = stop;
  }
};

void run_band(const Group& g, uint8_t* scratch, int first, int end, HalveAhead* ahead) {
  const bool grouped = g.kind != kOnePlane;
  const bool split = g.kind == kPackedYUYV;
  PlaneRows rows[3];
  uint8_t* at = scratch;
  for (int i = 0; i < g.count; ++i) at = carve_plane_rows(*g.plane[i], split, at, &rows[i]);

  // Interleaved chroma planes share their mask, so the first plane's runs
  // serve both; packed 4:2:2 planes each have their own.
  RunCache runs[3];
  const int run_of[3] = {0, g.kind == kChromaUV ? 0 : 1, g.kind == kChromaUV ? 0 : 2};
  // Half row j reads half rows up to j + reach.
  ahead->upto(first + kHalo);
  for (int i = 0; i < g.count; ++i) {
    const Plane& p = *g.plane[i];
    blur_half_row(p, rows[i], first, half_row_skip(p, &runs[run_of[i]], first),
                  rows[i].ring[first & 1]);
  }
  for (int s = first; s < end; ++s) {
    const bool below = s + 1 < g.h;
    ahead->upto(s + 1 + kHalo);
    for (int i = 0; i < g.count; ++i) {
      const Plane& p = *g.plane[i];
      const PlaneRows& r = rows[i];
      if (below) {
        blur_half_row(p, r, s + 1, half_row_skip(p, &runs[run_of[i]], s + 1), r.ring[(s + 1) & 1]);
      }
      // The bottom half row has no row below: enlarging it with itself
      // replicates the bottom edge, as the reference enlargement does.
      const uint8_t* next = below ? r.ring[(s + 1) & 1] : r.ring[s & 1];
      upscale2x_row(r.up[0], r.up[1], r.ring[s & 1], next, p.w);
    }
    for (int half = 0; half < 2; ++half) {
      const int y = 2 * s + half;
      uint8_t* row = g.base + g.stride * static_cast<ptrdiff_t>(y);
      if (grouped) {
        store_group_row(g, rows, half, row, y, runs);
      } else {
        store_own_row(*g.plane[0], rows[0].up[half], row, y, row_runs(*g.plane[0], &runs[0], y));
      }
    }
  }
}

// ---- One run per frame ---------------------------------------------------
//
// Each band halves the source rows of its own half rows and then blurs and
// blends them in place, all in one parallel run: the halved rows are still
// in cache when the vertical pass reads them, and the workers are woken once
// per frame. The hazard is at the boundaries between bands: the vertical
// pass and the enlargement of a band read up to kHalo half rows of the band
// beside it, whose source rows that band overwrites when it blends. So the
// kHalo half rows on either side of a boundary are halved by whichever of
// the two bands gets there first, before either of them writes a row: the
// first one claims the boundary and halves, the other waits for it (the
// claimer is running and halves a few rows, so the wait is short and cannot
// be on a band that has not started). Every band then finds all the half
// rows it reads halved before it writes its first caller row, and writes
// only rows nobody else halves any more. Bands are at least 2 * kHalo half
// rows tall, so no row is in two boundaries.

enum BoundaryState { kBoundaryFree = 0, kBoundaryBusy = 1, kBoundaryReady = 2 };

// Piece `local` of the group's bands over its h half rows.
void piece_rows(const Group& g, int local, int* first, int* end) {
  *first = static_cast<int>(static_cast<long long>(g.h) * local / g.pieces);
  *end = static_cast<int>(static_cast<long long>(g.h) * (local + 1) / g.pieces);
}

// Makes sure the half rows around the top of band `local` (local > 0) are
// halved.
void boundary_halved(Frame* fr, const Group& g, int local, uint8_t* split) {
  std::atomic<int>& state = fr->boundary[g.first_piece + local];
  int expected = kBoundaryFree;
  if (state.compare_exchange_strong(expected, kBoundaryBusy, std::memory_order_acquire)) {
    int at, unused;
    piece_rows(g, local, &at, &unused);
    halve_rows(g, split, at - kHalo, at + kHalo < g.h ? at + kHalo : g.h);
    state.store(kBoundaryReady, std::memory_order_release);
    return;
  }
  for (int spins = 0; state.load(std::memory_order_acquire) != kBoundaryReady; ++spins) {
    if (spins >= 64) std::this_thread::yield();
  }
}

void band_piece(void* ctx, int index) {
  Frame* fr = static_cast<Frame*>(ctx);
  const Group& g = fr->groups[fr->piece_group[index]];
  const int local = fr->piece_local[index];
  int first, end;
  piece_rows(g, local, &first, &end);
  if (first >= end) return;
  uint8_t* scratch = fr->scratch + g.offset + g.scratch * local;
  uint8_t* split = scratch + g.split_at;
  const bool above = local > 0, below = local + 1 < g.pieces;
  if (above) boundary_halved(fr, g, local, split);
  if (below) boundary_halved(fr, g, local + 1, split);
  HalveAhead ahead{&g, split, above ? first + kHalo : first, below ? end - kHalo : end};
  run_band(g, scratch, first, end, &ahead);
}

// Cuts `total` bands among the groups in proportion to their pixels (at
// least one each, none shorter than kMinBandRows half rows unless alone)
// and lays out their scratch.
size_t plan_pieces(Frame* fr, int total) {
  long long all = 0;
  long long weight[3];
  for (int i = 0; i < fr->group_count; ++i) {
    const Group& g = fr->groups[i];
    weight[i] = 0;
    for (int k = 0; k < g.count; ++k) weight[i] += static_cast<long long>(g.H) * g.plane[k]->W;
    all += weight[i];
  }
  size_t offset = 0;
  fr->piece_count = 0;
  for (int i = 0; i < fr->group_count; ++i) {
    Group& g = fr->groups[i];
    long long n = all > 0 ? (static_cast<long long>(total) * weight[i] + all / 2) / all : 1;
    if (n > g.h / kMinBandRows) n = g.h / kMinBandRows;
    if (n < 1) n = 1;
    const bool split = g.kind == kPackedYUYV;
    size_t band = 0, halving = 0;
    for (int k = 0; k < g.count; ++k) {
      band += plane_band_bytes(*g.plane[k], split);
      if (split) halving += 2 * align_up(static_cast<size_t>(g.plane[k]->W));
    }
    g.pieces = static_cast<int>(n);
    g.first_piece = fr->piece_count;
    g.split_at = band;
    g.scratch = band + halving;
    g.offset = offset;
    offset += g.scratch * static_cast<size_t>(g.pieces);
    for (int p = 0; p < g.pieces; ++p) {
      fr->boundary[fr->piece_count].store(kBoundaryFree, std::memory_order_relaxed);
      fr->piece_group[fr->piece_count] = i;
      fr->piece_local[fr->piece_count] = p;
      ++fr->piece_count;
    }
  }
  return offset;
}

}  // namespace

int fast_engine_run(SBData* d, QL_IMAGEINFO* frame, qlsbp::Executor& ex,
                    long long min_piece_pixels) {
  if (d == nullptr || !frame_fits(d, frame)) return kFastEngineUseReference;
  const int code = frame->format;
  const int rows = d->rows;
  const int cols = d->cols;
  const size_t n = static_cast<size_t>(rows) * static_cast<size_t>(cols);

  Frame* fr = new (std::nothrow) Frame();
  if (fr == nullptr) return kFastEngineUseReference;
  Plane* luma = &fr->planes[0];
  Plane* first = &fr->planes[1];
  Plane* second = &fr->planes[2];
  // Chroma plane sizes and where the reference keeps the second one.
  const bool packed = code == kPacked422;
  const int chroma_rows = packed ? rows : rows >> 1;
  const size_t second_at = packed ? n + (n >> 1) : n + (n >> 2);
  bool ok = take_task(d, 0, rows, cols, 0, luma) && d->task[0].mask == d->maskFull &&
            take_task(d, 1, chroma_rows, cols >> 1, n, first) &&
            take_task(d, 2, chroma_rows, cols >> 1, second_at, second);
  if (!ok) {
    delete fr;
    return kFastEngineUseReference;
  }

  // The mask's sharp region lies around the focus column.
  const int focus = d->focusCol < 0 ? 0 : d->focusCol;
  luma->focus = focus;
  first->focus = second->focus = focus >> 1;

  unsigned char* const* p = frame->plane;
  const int* s = frame->stride;
  if (code == kPacked422) {
    if (first->mask != second->mask) {
      delete fr;
      return kFastEngineUseReference;
    }
    add_group(fr, kPackedYUYV, p[0], s[0], 3, luma, first, second);
  } else if (code == kSemiPlanar420) {
    if (first->mask != second->mask) {
      delete fr;
      return kFastEngineUseReference;
    }
    add_group(fr, kOnePlane, p[0], s[0], 1, luma, nullptr, nullptr);
    add_group(fr, kChromaUV, p[1], s[1], 2, first, second, nullptr);
  } else {
    // Planar 4:2:0 arrives with the chroma planes exchanged: the first task
    // blurs plane[2], the second plane[1]. When the luma plane is unpadded
    // and the chroma planes padded, unpacking never writes the luma back
    // (QUIRK: layout-3 luma write-back), so the luma is not worked on.
    const bool luma_kept = s[0] == cols && s[1] != (cols >> 1);
    if (!luma_kept) add_group(fr, kOnePlane, p[0], s[0], 1, luma, nullptr, nullptr);
    add_group(fr, kOnePlane, p[2], s[1], 1, first, nullptr, nullptr);
    add_group(fr, kOnePlane, p[1], s[1], 1, second, nullptr, nullptr);
  }

  int workers = ex.concurrency();
  if (workers < 1) workers = 1;
  if (workers > kMaxWorkers) workers = kMaxWorkers;
  // A piece should outweigh what handing it to another thread may cost (an
  // executor may start a thread per piece); a frame with work for one piece
  // only runs on the calling thread.
  long long work = 0;
  for (int i = 0; i < 3; ++i) work += static_cast<long long>(fr->planes[i].H) * fr->planes[i].W;
  long long wanted = min_piece_pixels > 0 ? work / min_piece_pixels : work;
  if (wanted > workers * kPiecesPerWorker) wanted = workers * kPiecesPerWorker;
  const int total = wanted > 1 ? static_cast<int>(wanted) : 1;
  qlsbp::SerialExecutor here;
  qlsbp::Executor& run_on = total > 1 ? ex : here;
  const size_t need = plan_pieces(fr, total) + kScratchAlign;
  // The processor's planar output block is free scratch on this path.
  uint8_t* own = nullptr;
  uint8_t* block = d->planarOut;
  if (need > 3 * n) {
    own = static_cast<uint8_t*>(malloc(need));
    if (own == nullptr) {
      delete fr;
      return kFastEngineUseReference;
    }
    block = own;
  }
  fr->scratch = reinterpret_cast<uint8_t*>(align_up(reinterpret_cast<uintptr_t>(block)));

  run_on.run(fr->piece_count, band_piece, fr);

  free(own);
  delete fr;
  return kFastEngineDone;
}
