// SBData::DataProcessor: one dense frame in, its bokeh version out.
//
// The frame is split into three planes, each plane is blurred and blended
// under the focus mask by its own worker thread, and the planes are joined
// back into the frame's layout. Everything that survives between frames (the
// mask, the task records) lives in the processor.
#include <cstdlib>
#include <cstring>

#include "processor/arena_plan.h"
#include "qlsbp/blur.h"
#include "qlsbp/convert.h"
#include "qlsbp/mask.h"
#include "qlsbp/sb_data.h"
#include "threads/parallel.h"

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

int SBData::DataProcessor(unsigned char* dst, unsigned char* src, int frameRows, int frameCols,
                          int /*stride*/, int frameFormat, int* frameParam, float factor) {
  if (dst == nullptr || src == nullptr || frameParam == nullptr) return -1;
  int* p = frameParam;

  // Upper bounds only: a negative centre or axis passes as it is.
  if (p[kFocusRow] >= rows) p[kFocusRow] = rows - 1;
  if (p[kFocusCol] >= cols) p[kFocusCol] = cols - 1;
  if (p[kAxisRows] > rows >> 1) p[kAxisRows] = rows >> 1;
  if (p[kAxisCols] > cols >> 1) p[kAxisCols] = cols >> 1;

  frameCount = frameCount == 255 ? 0 : static_cast<unsigned char>(frameCount + 1);
  srcFrame = src;
  format = frameFormat;

  // The buffers are made for one frame size. A frame of another size ends the
  // processor's life (its memory is released) and is not touched: the session
  // has to be closed and opened again for the new size.
  if (rows != frameRows || cols != frameCols) {
    DataFree();
    return -1;
  }
  // No arena (released, or a size it could not be made for), or a frame the
  // layouts cannot split into whole chroma samples: nothing is processed.
  if (memBase == nullptr || rows < 2 || cols < 2 || (rows & 1) != 0 || (cols & 1) != 0) {
    return -1;
  }
  const int n = pixels;

  if (dst != src) {
    memmove(dst, src, frame_bytes(frameFormat, static_cast<size_t>(n)));
    if (p[kLevel] < 1) return 0;
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
    memset(maskFull, 0, static_cast<size_t>(n) * 2);
    gen_ellipse4(maskFull, focusRow, focusCol, axisRows, axisCols, bandWidth, rows, cols);
    decimate_mask(maskChroma, maskFull, rows, cols, frameFormat == kPacked422 ? 1 : 2);
  }

  // The records are refreshed when the cached level differs from the focus
  // column. Comparing with the column rather than the level is how the
  // records have always been kept, and makes them refresh on nearly every
  // frame; records never filled are always refreshed.
  if (cachedLevel != p[kFocusCol] || task[0].planeRows == 0) {
    const int level = p[kLevel];
    cachedLevel = level;
    for (SBPlaneTask& t : task) {
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
    if (p[kUseGaussian] == 0 && !prepare_box_tables(this)) return -1;
  }

  switch (frameFormat) {
    case kPacked422:
      yuyv422_to_y4u2v2(planarIn, srcFrame, rows, cols);
      break;
    case kPlanar420:
      y4v1u1_to_y4u1v1(planarIn, srcFrame, rows, cols);
      break;
    case kSemiPlanar420:
      y4uv20_to_y4u1v1(planarIn, srcFrame, rows, cols);
      break;
    default:
      return -1;
  }

  if (!plan_task_views(this)) return -1;
  pthread_t handles[3];
  qlsbp_run_parallel(build_blur_image2, task, sizeof(SBPlaneTask), 3, handles);

  switch (frameFormat) {
    case kPacked422:
      y4u2v2_to_yuyv422(dst, planarOut, rows, cols);
      break;
    case kPlanar420:
      y4v1u1_to_y4u1v1(dst, planarOut, rows, cols);
      break;
    default:
      y4u1v1_to_y4uv20(dst, planarOut, rows, cols);
      break;
  }
  return 0;
}
