// How the frame processor lays out its arena.
//
// The fixed blocks (planar input and output, two masks, three quarter-size
// scratch planes, three task views) come first. The rest is filter scratch,
// split between the three plane tasks every frame: the luma task from the end
// of the fixed blocks, the first chroma task 1.5 N bytes further, the second
// chroma task N / 2 bytes after that. On very small frames those slices are
// smaller than what a filter call takes (its offset tables, thread handles
// and worker records are a fixed few hundred bytes), so each slice is widened
// to the scratch its task really needs and the arena is grown to hold them;
// two tasks running at once then never share a byte. For every usual preview
// size the widening changes nothing and the arena is exactly 15 N bytes.
#ifndef QLSBP_PROCESSOR_ARENA_PLAN_H_
#define QLSBP_PROCESSOR_ARENA_PLAN_H_

#include <climits>

#include "qlsbp/arena.h"
#include "qlsbp/sb_data.h"

// cachedLevel of a processor that has not filled its task records yet.
constexpr int kNoCachedLevel = INT_MIN;

struct ArenaPlan {
  bool ok;              // false: the frame is empty or above QLSBP_MAX_FRAME_PIXELS
  unsigned capacity;    // arena bytes
  unsigned record_pad;  // padding before the three task views
};

// Arena layout of an SBData(rows, cols).
ArenaPlan arena_plan(int rows, int cols);

// Arena scratch that one plane task takes with the settings in its record.
unsigned long long task_scratch_bytes(const SBPlaneTask& t);

// Points the three task views into the arena for this frame (each starts
// from the same offsets every frame, which returns the previous frame's
// grants). Returns false, leaving the views alone, when the tasks need more
// scratch than the arena holds.
bool plan_task_views(SBData* d);

#endif  // QLSBP_PROCESSOR_ARENA_PLAN_H_
