// SBData::DataProcessor: one dense frame in, its bokeh version out.
//
// The state step decides everything that survives between frames; the
// reference engine then splits the frame into three planes, blurs and
// blends each on a thread of its own, and joins the planes back into the
// frame's layout.
#include "engine/reference/reference_engine.h"
#include "processor/frame_state.h"
#include "qlsbp/mask.h"
#include "qlsbp/sb_data.h"
#include "threads/executor.h"

int SBData::DataProcessor(unsigned char* dst, unsigned char* src, int frameRows, int frameCols,
                          int /*stride*/, int frameFormat, int* frameParam, float factor) {
  const FrameStep step = frame_state_update(this, dst, src, frameRows, frameCols, frameFormat,
                                            frameParam, factor, gen_ellipse4);
  if (step != kFrameRunEngine) return step;
  qlsbp::PerCallExecutor threads;
  return reference_engine_run(this, dst, frameFormat, threads);
}
