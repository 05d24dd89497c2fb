// SBData: construction, arena carving and release.
//
// One calloc'ed arena of 15 bytes per luma pixel holds everything a frame
// needs. The long-lived blocks are carved once, in a fixed order, so that
// their offsets are the same for every session of a given size; the rest of
// the arena is per-frame filter scratch that the pipeline hands out as three
// task views (see pipeline.cc).
#include "qlsbp/sb_data.h"

#include <climits>
#include <cstdlib>

#include "processor/arena_plan.h"

SBData::SBData()
    : rows(0),
      cols(0),
      pixels(0),
      format(0),
      focusRow(0),
      focusCol(0),
      axisRows(0),
      axisCols(0),
      bandWidth(0),
      memInfo(nullptr),
      memBase(nullptr),
      srcFrame(nullptr),
      planarIn(nullptr),
      planarOut(nullptr),
      maskFull(nullptr),
      maskChroma(nullptr),
      smallPlanes(nullptr),
      wideTable(nullptr),
      cachedLevel(0),
      rangeTable(nullptr),
      task(),
      frameCount(0) {}

SBData::SBData(int r, int c) : SBData() {
  rows = r;
  cols = c;
  // The cached focus members start at zero like the default constructor's: a
  // first frame with zero axes and band keeps the zero (all-blurred) mask that
  // the fresh arena holds, which is exactly what drawing it would give.
  cachedLevel = kNoCachedLevel;

  const ArenaPlan plan = arena_plan(r, c);
  if (!plan.ok) return;  // no arena: DataProcessor refuses every frame
  pixels = r * c;
  const int n = pixels;
  const int q = n >> 2;

  memInfo = static_cast<QLMemInfoT*>(calloc(1, sizeof(QLMemInfoT)));
  memBase = static_cast<unsigned char*>(calloc(plan.capacity, 1));
  if (memInfo == nullptr || memBase == nullptr) {
    DataFree();
    return;
  }
  memInfo->base = memBase;
  memInfo->capacity = plan.capacity;
  memInfo->used = 0;

  planarIn = static_cast<unsigned char*>(AssignMemSpace(memInfo, 3u * n, 1));
  planarOut = static_cast<unsigned char*>(AssignMemSpace(memInfo, 3u * n, 1));
  maskFull = static_cast<unsigned short*>(AssignMemSpace(memInfo, 2u * n, 1));
  maskChroma = static_cast<unsigned short*>(AssignMemSpace(memInfo, 2u * n, 1));
  smallPlanes = static_cast<unsigned char*>(AssignMemSpace(memInfo, 3u * q, 1));
  // The task views are typed records: pad to their alignment first. For the
  // usual preview sizes the offset is already aligned and nothing is added.
  AssignMemSpace(memInfo, plan.record_pad, 1);
  for (SBPlaneTask& t : task) {
    t.mem = static_cast<QLMemInfoT*>(AssignMemSpace(memInfo, sizeof(QLMemInfoT), 1));
  }

  task[0].dst = planarOut;
  task[0].src = planarIn;
  task[0].small = smallPlanes;
  task[0].mask = maskFull;
  task[1].dst = planarOut + n;
  task[1].src = planarIn + n;
  task[1].small = smallPlanes + q;
  task[1].mask = maskChroma;
  task[2].small = smallPlanes + 2 * q;
  task[2].mask = maskChroma;
  // wide and range stay null: they only exist while the box method is in use,
  // and the pipeline points them at its own tables then.
}

SBData::~SBData() { DataFree(); }

void SBData::DataFree() {
  if (memBase != nullptr) {
    free(memBase);
    memBase = nullptr;
  }
  if (memInfo != nullptr) {
    free(memInfo);
    memInfo = nullptr;
  }
  // The box-method tables are owned here too (allocated on first use).
  free(wideTable);
  wideTable = nullptr;
  free(rangeTable);
  rangeTable = nullptr;
  frameCount = 0;
}
