// The reference engine: the frame's pixel work exactly as the pipeline has
// always done it. The frame is split into three planes in the processor's
// planarIn, each plane task (build_blur_image2) blurs and blends its plane
// into planarOut using its own arena view, and the planes are joined back
// into dst in the frame's layout.
#ifndef QLSBP_ENGINE_REFERENCE_REFERENCE_ENGINE_H_
#define QLSBP_ENGINE_REFERENCE_REFERENCE_ENGINE_H_

#include "qlsbp/sb_data.h"
#include "threads/executor.h"

// Runs after frame_state_update returned kFrameRunEngine. The three plane
// tasks run through `executor`. Returns 0.
int reference_engine_run(SBData* d, unsigned char* dst, int format, qlsbp::Executor& executor);

#endif  // QLSBP_ENGINE_REFERENCE_REFERENCE_ENGINE_H_
