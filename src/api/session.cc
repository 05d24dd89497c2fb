// The four host entry points: a thin layer over one process-wide session.
//
// The session's frame processor is published in `pData` and its dense work
// buffer in `idat_pv`, created by the set-up and released by the tear-down,
// as hosts have always seen them. Frames run on threads started and joined
// inside the call, so nothing of the library runs between calls.
//
// Beyond what the processor itself does, this layer keeps the library inside
// its own buffers: a frame is only packed when its (even) size is the
// session's and its layout is the set-up's; anything else passes through
// untouched and leaves the session as it was.
//
// The host is meant to serialise the entry points; a host that does not must
// still not crash the library. A frame that arrives while another call is
// inside the library is refused (it passes through) rather than waited for,
// so that a camera thread is never blocked; set-up and tear-down wait for a
// call in flight, so the session is never freed under a running frame.
#include "session/session_internal.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "api/frame_param.h"
#include "api/log.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/sb_data.h"

SBData* pData = nullptr;
unsigned char* idat_pv = nullptr;

namespace {

qlsbp_session* g_session = nullptr;

// True while an entry point works on the session.
std::atomic<bool> g_in_call{false};
// Where set-up and tear-down wait for a call to leave.
std::mutex g_wait_mutex;
std::condition_variable g_left;

bool try_enter() { return !g_in_call.exchange(true, std::memory_order_acquire); }

void enter_waiting() {
  std::unique_lock<std::mutex> lock(g_wait_mutex);
  g_left.wait(lock, [] { return try_enter(); });
}

void leave() {
  g_in_call.store(false, std::memory_order_release);
  // Taking the mutex once orders the store before a waiter's next check, so
  // its wake-up cannot be lost.
  { std::lock_guard<std::mutex> lock(g_wait_mutex); }
  g_left.notify_all();
}

bool known_layout(int code) {
  return code == QL_FORMAT_YUV420_SEMIPLANAR || code == QL_FORMAT_YUV420_PLANAR ||
         code == QL_FORMAT_YUYV422;
}

// `even` is the caller's descriptor cut to its even part. The globals must
// still be the session's own (a host must not assign them).
bool frame_fits_session(const QL_IMAGEINFO& even) {
  const qlsbp_session* s = g_session;
  if (s == nullptr || pData != s->processor || idat_pv != s->buffer) return false;
  if (even.height != s->processor->rows || even.width != s->processor->cols) return false;
  // A known layout other than the set-up's would meet task records, masks
  // and a buffer made for another chroma geometry. Unknown codes are never
  // packed: they pass through with the processor's long-standing bookkeeping.
  return !known_layout(even.format) || even.format == s->format;
}

}  // namespace

const char* sb_top_pv_getVersion(void) { return "QUILLON CBP VER 2.1.1"; }

int sb_top_pv_initial(__tag_QL_IMAGEINFO* image) {
  pv_log_banner("Quillon Single Bokeh Version 6.0 For Preview -2018.03.22:  \n");
  pv_log_banner("Preview Init:  \n");
  if (image == nullptr) return 0;
  if (session_check_size(image->width, image->height) != QLSBP_OK) return 0;

  enter_waiting();
  // An open session is kept as it is, whatever size it was made for: set-up
  // never resizes, a host closes the session to change size. The session is
  // made whole or not at all, so a failed set-up leaves nothing behind.
  if (g_session == nullptr) {
    qlsbp_session_options options;
    qlsbp_session_options_init(&options);
    options.workers = 0;
    options.engine = QLSBP_ENGINE_REFERENCE;
    options.clean_edges = 0;
    if (session_create(&g_session, image->format, image->width, image->height, options) ==
        QLSBP_OK) {
      pData = g_session->processor;
      idat_pv = g_session->buffer;
    }
  }
  leave();
  return 0;
}

int sb_top_pv_processer(__tag_QL_IMAGEINFO* image, __tag_QL_BokehParam* param) {
  pv_log_banner("Quillon Single Bokeh Version PV 5.0 -2018.03.02:  \n");
  pv_log_banner("Preview process:  \n");
  if (image == nullptr || param == nullptr) return 0;

  SBFrameParam frame;
  float factor = 0.0f;
  if (!pv_frame_param_fill(&frame, &factor, param, image->width, image->height)) return 0;

  // An odd frame is processed through its even part: same planes and
  // strides, the last row and column stay as they came.
  if (image->width < 2 || image->height < 2) return 0;
  __tag_QL_IMAGEINFO even = *image;
  even.width = image->width & ~1;
  even.height = image->height & ~1;

  if (!try_enter()) return 0;  // another call is inside: pass through
  // Packing refuses unknown codes and code 3 frames with unequal chroma
  // strides; the processor then runs its state step on what the buffer holds
  // (or stops before any pixel work for unknown codes) and unpacking refuses
  // the frame in the same way, so the caller's frame is unchanged.
  if (frame_fits_session(even)) session_run_frame(g_session, &even, &frame, factor);
  leave();
  return 0;
}

int sb_top_pv_deinit(void) {
  enter_waiting();
  session_destroy(g_session);
  g_session = nullptr;
  pData = nullptr;
  idat_pv = nullptr;
  leave();
  return 0;
}
