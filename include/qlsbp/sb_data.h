// The frame processor: owns the work arena, the focus masks and the three
// per-plane blur tasks, and runs the per-frame pipeline.
#ifndef QLSBP_SB_DATA_H_
#define QLSBP_SB_DATA_H_

#include "qlsbp/arena.h"
#include "qlsbp/export.h"

// What the frame pipeline hands each blur worker (build_blur_image2).
struct SBPlaneTask {
  unsigned char* dst;        // output plane in planarOut
  unsigned char* src;        // input plane in planarIn
  unsigned char* small;      // quarter-size scratch plane
  unsigned long long* wide;  // integral image (box method only)
  unsigned int* range;       // window counts (box method only)
  unsigned short* mask;      // focus mask of this plane's size
  QLMemInfoT* mem;           // this task's own view of the arena
  int radiusRows;
  int radiusCols;
  int planeRows;
  int planeCols;
  int level;
  int useGaussian;
  int blurOption;
  int kernelSize;
  float factor;  // Gaussian standard deviation, in pixels of the blurred plane
};

// The eleven integers that the entry point hands to DataProcessor.
struct SBFrameParam {
  int focusRow;
  int focusCol;
  int axisRows;
  int axisCols;
  int level;
  int bandWidth;
  int reserved;
  int useGaussian;
  int blurOption;
  int kernelSize;
  int forceRebuild;
};

// The frame processor. One per session, sized for the preview frame.
//
// SBData(rows, cols) allocates one zero-filled arena of 15 * rows * cols bytes
// and carves, in this order: planarIn (3N), planarOut (3N), maskFull (2N
// bytes), maskChroma (2N bytes), smallPlanes (3 * (N >> 2)) and the three
// task views (sizeof(QLMemInfoT) each; they start at the next multiple of
// alignof(QLMemInfoT), which for the usual preview sizes is where the blocks
// end). For very small frames (below about 48 x 48) the arena grows beyond
// 15N so that the three tasks' filter scratch never overlaps. rows or cols
// below 1, or a frame too large for a 32-bit arena, leave the processor
// without memory: it then refuses every frame.
//
// wideTable and rangeTable (box method only) are allocated on first use and
// released by DataFree; while the Gaussian method is in use they stay null.
class QLSBP_API SBData {
 public:
  SBData();
  SBData(int rows, int cols);
  ~SBData();
  SBData(const SBData&) = delete;
  SBData& operator=(const SBData&) = delete;

  // Releases the arena and the tables; harmless when called again.
  void DataFree();

  // Processes one dense frame of `format` (2, 3 or 4) from src into dst (which
  // may be src). frameParam points to the eleven integers of an SBFrameParam;
  // its focus fields are clamped in place. `stride` is not used. Returns 0, or
  // -1 when the frame is not processed:
  //  - null pointers, a processor without memory, a frame of another size
  //    than the processor's (its memory is then released, and the session has
  //    to be opened again), or odd or fewer than two rows or columns (the
  //    entry point hands the even part of odd frames): dst is not touched;
  //  - an unknown layout, or blur settings whose filter scratch does not fit
  //    the arena: when dst != src, dst holds the copied source (for an unknown
  //    layout nothing is copied, as its size is unknown).
  int DataProcessor(unsigned char* dst, unsigned char* src, int rows, int cols, int stride,
                    int format, int* frameParam, float factor);

  int rows;
  int cols;
  int pixels;
  int format;
  int focusRow;
  int focusCol;
  int axisRows;
  int axisCols;
  int bandWidth;
  QLMemInfoT* memInfo;
  unsigned char* memBase;
  unsigned char* srcFrame;
  unsigned char* planarIn;
  unsigned char* planarOut;
  unsigned short* maskFull;
  unsigned short* maskChroma;
  unsigned char* smallPlanes;
  unsigned long long* wideTable;
  int cachedLevel;
  unsigned int* rangeTable;
  SBPlaneTask task[3];
  unsigned char frameCount;
};

// Session globals: the one frame processor and the dense work buffer.
extern QLSBP_API SBData* pData;
extern QLSBP_API unsigned char* idat_pv;

#endif  // QLSBP_SB_DATA_H_
