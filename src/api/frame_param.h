// From the caller's bokeh parameters to the record the frame pipeline reads.
#ifndef QLSBP_API_FRAME_PARAM_H_
#define QLSBP_API_FRAME_PARAM_H_

#include "ql_single_bokeh_preview.h"
#include "qlsbp/sb_data.h"

// Fills `out` and `*factor` for a frame of width x height as the per-frame
// entry point hands them to the pipeline: level clamped to at most 7,
// strength to 1..10, band width = strength * (min(width, height) / 50)
// (integer division first), then 0, 1 (Gaussian), 1 (half resolution), 21
// taps, and forceRebuild 0 (the mask stays cached while the focus is still).
// Returns false, leaving both untouched, when the level is below 1: such a
// frame passes unprocessed.
bool pv_frame_param_fill(SBFrameParam* out, float* factor, const __tag_QL_BokehParam* param,
                         int width, int height);

#endif  // QLSBP_API_FRAME_PARAM_H_
