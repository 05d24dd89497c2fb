#include "processor/arena_plan.h"

#include <algorithm>

#include "ql_single_bokeh_preview.h"
#include "qlsbp/gaussian.h"

namespace {

using u64 = unsigned long long;

// The session blurs every plane at half resolution with 21 taps.
constexpr int kSessionKernel = 21;

u64 blur_scratch(int rows, int cols, int ksize) {
  return gaussian_filter_arena_bytes(rows, cols, ksize);
}

}  // namespace

ArenaPlan arena_plan(int rows, int cols) {
  ArenaPlan plan{false, 0, 0};
  if (rows <= 0 || cols <= 0) return plan;
  const u64 n = static_cast<u64>(rows) * static_cast<u64>(cols);
  // The library's frame limit: 15 bytes per pixel of it still count in a
  // 32-bit int, so every offset into the arena does.
  if (n > static_cast<u64>(QLSBP_MAX_FRAME_PIXELS)) return plan;
  const u64 fixed = 10 * n + 3 * (n >> 2);
  const u64 align = alignof(QLMemInfoT);
  plan.record_pad = static_cast<unsigned>((align - fixed % align) % align);
  const u64 views = fixed + plan.record_pad + 3 * sizeof(QLMemInfoT);
  // Room for the session's own settings in the layout with the largest
  // chroma planes (packed 4:2:2: rows x cols/2, halved for blurring).
  const u64 luma = blur_scratch(rows >> 1, cols >> 1, kSessionKernel);
  const u64 chroma = blur_scratch(rows >> 1, cols >> 2, kSessionKernel);
  const u64 need = views + std::max(n + (n >> 1), luma) + std::max(n >> 1, chroma) + chroma;
  const u64 capacity = std::max(15 * n, need);
  if (capacity > UINT_MAX) return plan;
  plan.ok = true;
  plan.capacity = static_cast<unsigned>(capacity);
  return plan;
}

unsigned long long task_scratch_bytes(const SBPlaneTask& t) {
  if (t.useGaussian == 0 || t.kernelSize < 1) return 0;
  const int h = t.blurOption != 0 ? t.planeRows >> 1 : t.planeRows;
  const int w = t.blurOption != 0 ? t.planeCols >> 1 : t.planeCols;
  return blur_scratch(h, w, t.kernelSize);
}

bool plan_task_views(SBData* d) {
  const QLMemInfoT& arena = *d->memInfo;
  const u64 n = static_cast<u64>(d->pixels);
  u64 start[3];
  start[0] = arena.used;
  // The first chroma view begins 1.5 N bytes after the luma view, worked out
  // in double precision and truncated, as the task records always have.
  const u64 chroma1 =
      static_cast<u64>(static_cast<double>(arena.used) + static_cast<double>(n) * 1.5);
  start[1] = std::max(chroma1, start[0] + task_scratch_bytes(d->task[0]));
  start[2] = std::max(start[1] + (n >> 1), start[1] + task_scratch_bytes(d->task[1]));
  if (start[2] + task_scratch_bytes(d->task[2]) > arena.capacity) return false;
  for (int k = 0; k < 3; ++k) {
    d->task[k].mem->base = arena.base;
    d->task[k].mem->capacity = arena.capacity;
    d->task[k].mem->used = static_cast<unsigned>(start[k]);
  }
  return true;
}
