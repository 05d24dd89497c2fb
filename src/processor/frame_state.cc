// The per-frame state step of the processor: clamping, the frame counter,
// the mask cache and its rebuild rule, and the task-record refresh rule.
#include "processor/frame_state.h"

#include <cstdlib>
#include <cstring>

#include "processor/arena_plan.h"
#include "qlsbp/mask.h"

namespace {

// Fields of the eleven-integer frame parameter record.
enum FrameField {
  kFocusRow = 0,
  kFocusCol = 1,
  kAxisRows = 2,
  kAxisCols = 3,
  kLevel = 4,
  kBandWidth = 5,
  kUseGaussian = 7,
  kBlurOption = 8,
  kKernelSize = 9,
  kForceRebuild = 10,
};

enum Layout { kSemiPlanar420 = 2, kPlanar420 = 3, kPacked422 = 4 };

size_t frame_bytes(int format, size_t n) {
  if (format == kPacked422) return n * 2;
  if (format == kSemiPlanar420 || format == kPlanar420) return (n * 3) >> 1;
  return 0;
}

// Chroma mask by plain decimation: even columns of every row (4:2:2) or of
// every other row (4:2:0). No averaging, so the mask edge stays where the
// luma mask puts it.
void decimate_mask(unsigned short* dst, const unsigned short* src, int rows, int cols,
                   int row_step) {
  const int half = ((cols - 1) >> 1) + 1;
  for (int r = 0; r < rows; r += row_step) {
    const unsigned short* s = src + static_cast<size_t>(r) * cols;
    for (int k = 0; k < half; ++k) dst[k] = s[2 * k];
    dst += half;
  }
}

// Box-method tables: the integral image and window counts of each task, in
// regions of their own so that the three workers never write the same entry.
bool prepare_box_tables(SBData* d) {
  const size_t n = static_cast<size_t>(d->pixels);
  if (d->rangeTable == nullptr) {
    d->rangeTable = static_cast<unsigned int*>(calloc(2 * n, sizeof(unsigned int)));
  }
  if (d->wideTable == nullptr) {
    d->wideTable = static_cast<unsigned long long*>(calloc(2 * n, sizeof(unsigned long long)));
  }
  if (d->rangeTable == nullptr || d->wideTable == nullptr) return false;
  size_t offset = 0;
  for (SBPlaneTask& t : d->task) {
    t.range = d->rangeTable + offset;
    t.wide = d->wideTable + offset;
    const int h = t.blurOption != 0 ? t.planeRows >> 1 : t.planeRows;
    const int w = t.blurOption != 0 ? t.planeCols >> 1 : t.planeCols;
    cal_blur_range(t.range, h, w, t.radiusRows, t.radiusCols);
    offset += static_cast<size_t>(t.planeRows) * static_cast<size_t>(t.planeCols);
  }
  return true;
}

}  // namespace

FrameStep frame_state_update(SBData* d, unsigned char* dst, unsigned char* src, int frameRows,
                             int frameCols, int frameFormat, int* frameParam, float factor,
                             MaskBuilder builder) {
  if (dst == nullptr || src == nullptr || frameParam == nullptr) return kFrameRefused;
  int* p = frameParam;
  SBData& self = *d;
  int& rows = self.rows;
  int& cols = self.cols;
  int& focusRow = self.focusRow;
  int& focusCol = self.focusCol;
  int& axisRows = self.axisRows;
  int& axisCols = self.axisCols;
  int& bandWidth = self.bandWidth;
  int& cachedLevel = self.cachedLevel;
  unsigned char& frameCount = self.frameCount;
  SBPlaneTask* task = self.task;
  unsigned char* const planarIn = self.planarIn;
  unsigned char* const planarOut = self.planarOut;

  // Upper bounds only: a negative centre or axis passes as it is.
  if (p[kFocusRow] >= rows) p[kFocusRow] = rows - 1;
  if (p[kFocusCol] >= cols) p[kFocusCol] = cols - 1;
  if (p[kAxisRows] > rows >> 1) p[kAxisRows] = rows >> 1;
  if (p[kAxisCols] > cols >> 1) p[kAxisCols] = cols >> 1;

  frameCount = frameCount == 255 ? 0 : static_cast<unsigned char>(frameCount + 1);
  self.srcFrame = src;
  self.format = frameFormat;

  // The buffers are made for one frame size. A frame of another size ends the
  // processor's life (its memory is released) and is not touched: the session
  // has to be closed and opened again for the new size.
  if (rows != frameRows || cols != frameCols) {
    self.DataFree();
    return kFrameRefused;
  }
  // No arena (released, or a size it could not be made for), or a frame the
  // layouts cannot split into whole chroma samples: nothing is processed.
  if (self.memBase == nullptr || rows < 2 || cols < 2 || (rows & 1) != 0 || (cols & 1) != 0) {
    return kFrameRefused;
  }
  const int n = self.pixels;

  if (dst != src) {
    memmove(dst, src, frame_bytes(frameFormat, static_cast<size_t>(n)));
    if (p[kLevel] < 1) return kFrameDoneOk;
  }

  bool geometryChanged = false;
  if (p[kFocusRow] != focusRow || p[kFocusCol] != focusCol || p[kAxisRows] != axisRows ||
      p[kAxisCols] != axisCols) {
    focusRow = p[kFocusRow];
    focusCol = p[kFocusCol];
    axisRows = p[kAxisRows];
    axisCols = p[kAxisCols];
    geometryChanged = true;
  }
  bool rebuild = geometryChanged || p[kForceRebuild] != 0;
  if (p[kBandWidth] != bandWidth) {
    bandWidth = p[kBandWidth];
    rebuild = true;
  }
  if (rebuild) {
    memset(self.maskFull, 0, static_cast<size_t>(n) * 2);
    builder(self.maskFull, focusRow, focusCol, axisRows, axisCols, bandWidth, rows, cols);
    decimate_mask(self.maskChroma, self.maskFull, rows, cols, frameFormat == kPacked422 ? 1 : 2);
  }

  // The records are refreshed when the cached level differs from the focus
  // column. Comparing with the column rather than the level is how the
  // records have always been kept, and makes them refresh on nearly every
  // frame; records never filled are always refreshed.
  if (cachedLevel != p[kFocusCol] || task[0].planeRows == 0) {
    const int level = p[kLevel];
    cachedLevel = level;
    for (SBPlaneTask& t : self.task) {
      t.level = level;
      t.useGaussian = p[kUseGaussian];
      t.blurOption = p[kBlurOption];
      t.kernelSize = p[kKernelSize];
      t.factor = factor;
    }
    task[0].radiusRows = level;
    task[0].radiusCols = level;
    task[0].planeRows = rows;
    task[0].planeCols = cols;
    if (frameFormat == kPacked422) {
      for (int k = 1; k < 3; ++k) {
        task[k].radiusRows = level;
        task[k].radiusCols = level >> 1;
        task[k].planeRows = rows;
        task[k].planeCols = cols >> 1;
      }
      task[2].dst = planarOut + n + (n >> 1);
      task[2].src = planarIn + n + (n >> 1);
    } else if (frameFormat == kSemiPlanar420 || frameFormat == kPlanar420) {
      for (int k = 1; k < 3; ++k) {
        task[k].radiusRows = level >> 1;
        task[k].radiusCols = level >> 1;
        task[k].planeRows = rows >> 1;
        task[k].planeCols = cols >> 1;
      }
      task[2].dst = planarOut + n + (n >> 2);
      task[2].src = planarIn + n + (n >> 2);
    }
    if (p[kUseGaussian] == 0 && !prepare_box_tables(d)) return kFrameRefused;
  }

  if (frameFormat != kPacked422 && frameFormat != kPlanar420 && frameFormat != kSemiPlanar420) {
    return kFrameRefused;
  }
  if (!plan_task_views(d)) return kFrameRefused;
  return kFrameRunEngine;
}
