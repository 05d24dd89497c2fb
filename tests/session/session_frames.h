// Helpers for the session tests: changing parameters, the thread count and
// a session opener.
#ifndef QLSBP_TESTS_SESSION_SESSION_FRAMES_H_
#define QLSBP_TESTS_SESSION_SESSION_FRAMES_H_

#include <dirent.h>

#include <cstdint>
#include <vector>

#include "common/frames.h"
#include "ql_single_bokeh_preview.h"

namespace qlsbp_test {

// Focus, axes, level and strength that change from frame to frame, with
// repeats (the mask cache), focus columns equal to the previous level (the
// records kept), and out-of-range values (clamping).
inline QL_BokehParam param_for(int frame, int w, int h) {
  const int level = 1 + (frame * 5) % 8;  // 1..8: above 7 is 7
  QL_BokehParam p;
  p.focusRow = (frame / 2) % 3 == 0 ? h / 2 : (frame * 37) % (h + 9);
  p.focusCol = frame % 4 == 3 ? 1 + ((frame - 1) * 5) % 8 : (frame * 53) % (w + 9);
  p.axisRows = h / 4 + frame % 5;
  p.axisCols = w / 3 + frame % 7;
  p.level = frame % 11 == 10 ? 0 : level;
  p.strength = (frame * 3) % 13;
  return p;
}

// Threads of this process.
inline int thread_count() {
  DIR* d = opendir("/proc/self/task");
  if (d == nullptr) return -1;
  int n = 0;
  while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
  closedir(d);
  return n;
}

inline qlsbp_session* open_session(int format, int w, int h, int workers,
                                   int engine = QLSBP_ENGINE_FAST) {
  qlsbp_session_options o;
  qlsbp_session_options_init(&o);
  o.workers = workers;
  o.engine = engine;
  QL_IMAGEINFO info{};
  info.format = format, info.width = w, info.height = h;
  qlsbp_session* s = nullptr;
  return qlsbp_session_open(&s, &info, &o) == QLSBP_OK ? s : nullptr;
}

}  // namespace qlsbp_test

#endif  // QLSBP_TESTS_SESSION_SESSION_FRAMES_H_
