// The tool's side of the host API: opens the library's process-wide session
// for one frame size and layout, hands it frames exactly as a camera host
// would (optionally with padded rows), and closes it again.
#ifndef BOKEH_PREVIEW_HOST_SESSION_H_
#define BOKEH_PREVIEW_HOST_SESSION_H_

#include <cstdint>
#include <vector>

#include "frame.h"
#include "ql_single_bokeh_preview.h"

class HostSession {
 public:
  // pad: extra bytes at the end of every row of every plane, as camera
  // buffers often have; the result must not depend on it. clean_edges: go
  // through a library session with the clean focus mask instead of the host
  // API (whose exact mask is the default).
  HostSession(Layout layout, int width, int height, int pad, bool clean_edges = false);
  ~HostSession();
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  // Processes the frame in place; returns the milliseconds spent inside
  // sb_top_pv_processer.
  double process(Frame* frame, const QL_BokehParam& param);

 private:
  Layout layout_;
  int width_;
  int height_;
  int pad_;
  qlsbp_session* session_ = nullptr;  // only with clean_edges
  std::vector<uint8_t> padded_;       // strided copy of the frame when pad_ > 0
};

// The library's layout code for a tool layout.
int host_format_code(Layout layout);

// Describes a frame laid out in `base` with every row `pad` bytes longer
// than its content. I420 and YV12 both become code 3, whose first chroma
// plane is V: for I420 the planes are handed over in swapped order.
void fill_image_info(QL_IMAGEINFO* info, Layout layout, int width, int height, uint8_t* base,
                     int pad);

#endif  // BOKEH_PREVIEW_HOST_SESSION_H_
