// The tool's side of the library, and its reference integration: opens a
// session (qlsbp_session_open) for one frame size and layout, hands it frames
// exactly as a camera host would (optionally with padded rows), checks every
// result code, and closes it again.
#ifndef BOKEH_PREVIEW_PREVIEW_SESSION_H_
#define BOKEH_PREVIEW_PREVIEW_SESSION_H_

#include <cstdint>
#include <vector>

#include "frame.h"
#include "ql_single_bokeh_preview.h"

class PreviewSession {
 public:
  PreviewSession() = default;
  ~PreviewSession();
  PreviewSession(const PreviewSession&) = delete;
  PreviewSession& operator=(const PreviewSession&) = delete;

  // Opens the session. pad: extra bytes at the end of every row of every
  // plane, as camera buffers often have; the result must not depend on it.
  // workers: the session's worker count, or kDefaultWorkers for the
  // library's default. clean_edges: the clean focus mask instead of the
  // exact one. Returns QLSBP_OK or the library's refusal.
  static constexpr int kDefaultWorkers = -1;
  int open(Layout layout, int width, int height, int pad, int workers, bool clean_edges);

  // Processes the frame in place. Returns QLSBP_OK or the library's code
  // (the frame is then unchanged); *ms receives the time spent inside
  // qlsbp_session_process.
  int process(Frame* frame, const QL_BokehParam& param, double* ms);

 private:
  qlsbp_session* session_ = nullptr;
  Layout layout_ = Layout::kNV21;
  int width_ = 0;
  int height_ = 0;
  int pad_ = 0;
  std::vector<uint8_t> padded_;  // strided copy of the frame when pad_ > 0
};

// The library's layout code for a tool layout.
int host_format_code(Layout layout);

// Describes a frame laid out in `base` with every row `pad` bytes longer
// than its content. I420 and YV12 both become code 3, whose first chroma
// plane is V: for I420 the planes are handed over in swapped order.
void fill_image_info(QL_IMAGEINFO* info, Layout layout, int width, int height, uint8_t* base,
                     int pad);

#endif  // BOKEH_PREVIEW_PREVIEW_SESSION_H_
