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

class QLSBP_API SBData {
 public:
  SBData();
  SBData(int rows, int cols);
  ~SBData();
  SBData(const SBData&) = delete;
  SBData& operator=(const SBData&) = delete;

  void DataFree();
  int DataProcessor(unsigned char* dst, unsigned char* src, int rows, int cols, int stride, int format,
                    int* frameParam, float factor);

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
