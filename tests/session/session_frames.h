// Frames for the session tests: every plane in its own heap block with
// optional padding after each row, random content, and helpers to run a
// sequence through the host API or a session.
#ifndef QLSBP_TESTS_SESSION_SESSION_FRAMES_H_
#define QLSBP_TESTS_SESSION_SESSION_FRAMES_H_

#include <dirent.h>

#include <cstdint>
#include <vector>

#include "common/test_util.h"
#include "ql_single_bokeh_preview.h"

namespace qlsbp_test {

using Bytes = std::vector<uint8_t>;

struct TestFrame {
  QL_IMAGEINFO info;
  std::vector<Bytes> planes;

  TestFrame(int format, int w, int h, int pad, uint32_t seed) : info() {
    info.format = format;
    info.width = w;
    info.height = h;
    const int cw = (w + 1) / 2, ch = (h + 1) / 2;
    if (format == QL_FORMAT_YUV420_SEMIPLANAR) add(w, h, pad, seed), add(2 * cw, ch, pad, seed + 1);
    if (format == QL_FORMAT_YUV420_PLANAR) {
      add(w, h, pad, seed), add(cw, ch, pad, seed + 1), add(cw, ch, pad, seed + 2);
    }
    if (format == QL_FORMAT_YUYV422) add(4 * cw, h, pad, seed);
  }
  TestFrame(const TestFrame& o) : info(o.info), planes(o.planes) { rebind(); }
  TestFrame& operator=(const TestFrame& o) {
    info = o.info;
    planes = o.planes;
    rebind();
    return *this;
  }
  void add(int row_bytes, int rows, int pad, uint32_t seed) {
    const int i = static_cast<int>(planes.size());
    info.stride[i] = row_bytes + pad;
    planes.push_back(random_bytes(static_cast<size_t>(row_bytes + pad) * rows, seed));
    rebind();
  }
  void rebind() {
    for (size_t i = 0; i < planes.size(); ++i) info.plane[i] = planes[i].data();
  }
  bool operator==(const TestFrame& o) const { return planes == o.planes; }
};

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

inline qlsbp_session* open_session(int format, int w, int h, int workers) {
  qlsbp_session_options o;
  qlsbp_session_options_init(&o);
  o.workers = workers;
  QL_IMAGEINFO info{};
  info.format = format, info.width = w, info.height = h;
  qlsbp_session* s = nullptr;
  return qlsbp_session_open(&s, &info, &o) == QLSBP_OK ? s : nullptr;
}

}  // namespace qlsbp_test

#endif  // QLSBP_TESTS_SESSION_SESSION_FRAMES_H_
