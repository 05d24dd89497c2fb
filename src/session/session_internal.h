// A session: one frame processor, its dense work buffer, the executor that
// runs its parallel steps, and the engine and mask builder it was opened
// with. The public functions (session.cc) check a frame completely before
// they run it; the host entry points (src/api) run their one process-wide
// session with their own, long-standing, checks. Both end in
// session_run_frame. The camera-frame front end (yuv420_888.cc) keeps its
// copy buffer in the session too.
#ifndef QLSBP_SESSION_SESSION_INTERNAL_H_
#define QLSBP_SESSION_SESSION_INTERNAL_H_

#include <atomic>
#include <cstddef>
#include <memory>

#include "processor/frame_state.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/sb_data.h"
#include "threads/executor.h"

// The pixel work of one frame after the state step (reference_engine_run's
// signature).
using EngineRun = int (*)(SBData* d, unsigned char* dst, int format, qlsbp::Executor& executor);

struct qlsbp_session {
  int format;  // layout code as opened
  int width;   // as opened; the processor is made for the even part
  int height;
  qlsbp_session_options options;
  SBData* processor;
  unsigned char* buffer;
  size_t buffer_bytes;
  std::unique_ptr<qlsbp::Executor> executor;
  EngineRun engine;
  MaskBuilder mask_builder;
  std::atomic<bool> busy;
  // Dense frame of the session's layout for camera frames that cannot be
  // handed over in place; allocated at the first such frame, freed by close.
  unsigned char* camera_copy;
  // Held while a camera frame is copied in, processed and copied back.
  std::atomic<bool> camera_copy_busy;
};

// Options as the library reads them: the caller's record (null for the
// defaults; it may be shorter than ours, see qlsbp_session_options.size)
// over the defaults, then validated. QLSBP_OK or QLSBP_ERR_ARGUMENT.
int session_read_options(qlsbp_session_options* out, const qlsbp_session_options* in);

// Width and height of at least 2 and at most QLSBP_MAX_FRAME_PIXELS pixels:
// QLSBP_OK, QLSBP_ERR_ARGUMENT or QLSBP_ERR_TOO_LARGE.
int session_check_size(int width, int height);

// The executor of `workers` (0: threads per call; N: N persistent workers).
// Null when the workers could not all be started.
std::unique_ptr<qlsbp::Executor> session_make_executor(int workers);

// Where the engine and the focus-mask builder are chosen.
EngineRun session_engine(int engine);
MaskBuilder session_mask_builder(int clean_edges);

// Creates a session for an already checked size and options. Any layout
// code is taken (the host API opens sessions for unknown codes too); the work
// buffer is sized for 4:2:2 with code 4 and for 4:2:0 otherwise. QLSBP_OK or
// QLSBP_ERR_NO_MEMORY (*out then null).
int session_create(qlsbp_session** out, int format, int width, int height,
                   const qlsbp_session_options& options);

// Joins the workers and frees everything. Null is harmless.
void session_destroy(qlsbp_session* s);

// Packs `even` (the caller's frame cut to its even part) into the work
// buffer, runs the state step and the engine, and unpacks: exactly what the
// host API has always done with a frame, packing refusals included.
void session_run_frame(qlsbp_session* s, QL_IMAGEINFO* even, SBFrameParam* frame, float factor);

#endif  // QLSBP_SESSION_SESSION_INTERNAL_H_
