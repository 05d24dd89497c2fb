// The session record, shared by the session entry points and the camera-frame
// front end (yuv420_888.cc), which keeps its copy buffer in the session.
#ifndef QLSBP_SESSION_SESSION_INTERNAL_H_
#define QLSBP_SESSION_SESSION_INTERNAL_H_

#include <atomic>

#include "ql_single_bokeh_preview.h"
#include "qlsbp/sb_data.h"

struct qlsbp_session {
  int format;
  int width;  // as opened; the even part is what the processor is made for
  int height;
  qlsbp_session_options options;
  SBData* processor;
  unsigned char* buffer;
  std::atomic<bool> busy;
  // Dense frame of the session's layout for camera frames that cannot be
  // handed over in place; allocated at the first such frame, freed by close.
  unsigned char* camera_copy;
  // Held while a camera frame is copied in, processed and copied back.
  std::atomic<bool> camera_copy_busy;
};

#endif  // QLSBP_SESSION_SESSION_INTERNAL_H_
