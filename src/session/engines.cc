// A session's two ways of doing a frame's pixel work, after the same state
// step.
//
// The reference engine packs the caller's planes into the dense work buffer,
// splits it into planes, blurs and blends each, joins and unpacks: the
// specified execution, thread for thread. The fast engine reads and writes
// the caller's planes directly in cache-sized row bands; for the frames it
// declines (odd half-resolution planes, settings other than the preview
// path's, planes that packing would refuse) the reference engine does the
// work, so the caller's bytes are the same either way.
#include "engine/fast/fast_engine.h"
#include "engine/reference/reference_engine.h"
#include "qlsbp/packing.h"
#include "session/session_internal.h"
#include "threads/executor.h"

namespace {

FrameStep update_state(qlsbp_session* s, QL_IMAGEINFO* even, SBFrameParam* frame, float factor) {
  // The state step reads the record as its eleven integers in order.
  return frame_state_update(s->processor, s->buffer, s->buffer, even->height, even->width,
                            even->format, reinterpret_cast<int*>(frame), factor, s->mask_builder);
}

// The reference pixel work for a frame whose state step has run.
void reference_pixels(qlsbp_session* s, QL_IMAGEINFO* even) {
  img_move_stride(even, s->buffer);
  reference_engine_run(s->processor, s->buffer, even->format, *s->executor);
  img_add_stride(even, s->buffer);
}

}  // namespace

void session_run_reference(qlsbp_session* s, QL_IMAGEINFO* even, SBFrameParam* frame,
                           float factor) {
  // Packing comes before the state step, as it always has; the state step
  // reads no pixel, so the order only matters to a reader comparing traces.
  img_move_stride(even, s->buffer);
  const FrameStep step = update_state(s, even, frame, factor);
  if (step == kFrameRunEngine) {
    reference_engine_run(s->processor, s->buffer, even->format, *s->executor);
  }
  img_add_stride(even, s->buffer);
}

void session_run_fast(qlsbp_session* s, QL_IMAGEINFO* even, SBFrameParam* frame, float factor) {
  const FrameStep step = update_state(s, even, frame, factor);
  // Without pixel work, packing and unpacking would hand the caller its own
  // bytes back: nothing to do.
  if (step != kFrameRunEngine) return;

  if (s->options.workers == 0) {
    // Threads per call: one per processor, the calling thread included,
    // started and joined inside this frame. A frame whose work makes a
    // single piece starts none.
    qlsbp::ThreadTeamExecutor team(qlsbp::online_processors());
    if (fast_engine_run(s->processor, even, team) == 0) return;
  } else if (fast_engine_run(s->processor, even, *s->executor) == 0) {
    return;
  }
  reference_pixels(s, even);
}
