// Sessions as objects: each owns its frame processor, its dense work buffer
// and its executor, so any number of them can live side by side in one
// process and run at the same time on different threads.
//
// A frame is checked completely before anything is touched, so that a
// refused frame changes neither the caller's planes nor the session's
// frame-to-frame state. An accepted frame then takes exactly the host API's
// path: pack, process, unpack.
#include <cstdint>
#include <cstdlib>
#include <new>

#include "api/frame_param.h"
#include "qlsbp/packing.h"
#include "session/session_internal.h"

namespace {

bool known_layout(int code) {
  return code == QL_FORMAT_YUV420_SEMIPLANAR || code == QL_FORMAT_YUV420_PLANAR ||
         code == QL_FORMAT_YUYV422;
}

size_t buffer_bytes(int code, int rows, int cols) {
  const size_t n = static_cast<size_t>(rows) * static_cast<size_t>(cols);
  return code == QL_FORMAT_YUYV422 ? 2 * n : (3 * n) >> 1;
}

bool stride_ok(int stride, int64_t row_bytes) {
  const int64_t magnitude = stride < 0 ? -static_cast<int64_t>(stride) : stride;
  return magnitude >= row_bytes;
}

// Everything a frame must satisfy before the session touches it.
int check_frame(const qlsbp_session& s, const QL_IMAGEINFO& image) {
  if (!known_layout(image.format) || image.format != s.format) return QLSBP_ERR_LAYOUT;
  if (image.width != s.width || image.height != s.height) return QLSBP_ERR_SIZE_MISMATCH;
  const int w = image.width & ~1;
  if (image.plane[0] == nullptr) return QLSBP_ERR_ARGUMENT;
  if (image.format == QL_FORMAT_YUYV422) {
    return stride_ok(image.stride[0], 2 * static_cast<int64_t>(w)) ? QLSBP_OK : QLSBP_ERR_ARGUMENT;
  }
  if (image.plane[1] == nullptr || !stride_ok(image.stride[0], w)) return QLSBP_ERR_ARGUMENT;
  if (image.format == QL_FORMAT_YUV420_SEMIPLANAR) {
    return stride_ok(image.stride[1], w) ? QLSBP_OK : QLSBP_ERR_ARGUMENT;
  }
  if (image.plane[2] == nullptr || image.stride[1] != image.stride[2]) return QLSBP_ERR_ARGUMENT;
  return stride_ok(image.stride[1], w / 2) ? QLSBP_OK : QLSBP_ERR_ARGUMENT;
}

}  // namespace

int session_create(qlsbp_session** out, int format, int width, int height,
                   const qlsbp_session_options& options) {
  *out = nullptr;
  const int rows = height & ~1;
  const int cols = width & ~1;
  qlsbp_session* s = new (std::nothrow) qlsbp_session();
  if (s == nullptr) return QLSBP_ERR_NO_MEMORY;
  s->format = format;
  s->width = width;
  s->height = height;
  s->options = options;
  s->busy.store(false);
  s->camera_copy = nullptr;
  s->camera_copy_busy.store(false);
  s->engine = session_engine(options.engine);
  s->mask_builder = session_mask_builder(options.clean_edges);
  s->buffer_bytes = buffer_bytes(format, rows, cols);
  s->processor = new (std::nothrow) SBData(rows, cols);
  s->buffer = static_cast<unsigned char*>(calloc(s->buffer_bytes, 1));
  if (s->processor == nullptr || s->processor->memBase == nullptr || s->buffer == nullptr) {
    session_destroy(s);
    return QLSBP_ERR_NO_MEMORY;
  }
  // Workers last: a session that cannot be had starts no thread.
  s->executor = session_make_executor(options.workers);
  if (s->executor == nullptr) {
    session_destroy(s);
    return QLSBP_ERR_NO_MEMORY;
  }
  *out = s;
  return QLSBP_OK;
}

void session_destroy(qlsbp_session* s) {
  if (s == nullptr) return;
  s->executor.reset();  // joins persistent workers
  delete s->processor;
  free(s->buffer);
  free(s->camera_copy);
  delete s;
}

void session_run_frame(qlsbp_session* s, QL_IMAGEINFO* even, SBFrameParam* frame, float factor) {
  img_move_stride(even, s->buffer);
  // The state step reads the record as its eleven integers in order.
  const FrameStep step =
      frame_state_update(s->processor, s->buffer, s->buffer, even->height, even->width,
                         even->format, reinterpret_cast<int*>(frame), factor, s->mask_builder);
  if (step == kFrameRunEngine) s->engine(s->processor, s->buffer, even->format, *s->executor);
  img_add_stride(even, s->buffer);
}

int qlsbp_session_open(qlsbp_session** session, const QL_IMAGEINFO* image,
                       const qlsbp_session_options* options) {
  if (session == nullptr) return QLSBP_ERR_ARGUMENT;
  *session = nullptr;
  if (image == nullptr) return QLSBP_ERR_ARGUMENT;
  qlsbp_session_options opts;
  int rc = session_read_options(&opts, options);
  if (rc != QLSBP_OK) return rc;
  if (!known_layout(image->format)) return QLSBP_ERR_LAYOUT;
  rc = session_check_size(image->width, image->height);
  if (rc != QLSBP_OK) return rc;
  return session_create(session, image->format, image->width, image->height, opts);
}

int qlsbp_session_process(qlsbp_session* session, QL_IMAGEINFO* image, const QL_BokehParam* param) {
  if (session == nullptr || image == nullptr || param == nullptr) return QLSBP_ERR_ARGUMENT;
  bool expected = false;
  if (!session->busy.compare_exchange_strong(expected, true, std::memory_order_acquire)) {
    return QLSBP_ERR_BUSY;
  }
  const int rc = check_frame(*session, *image);
  SBFrameParam frame;
  float factor = 0.0f;
  if (rc == QLSBP_OK && pv_frame_param_fill(&frame, &factor, param, image->width, image->height)) {
    QL_IMAGEINFO even = *image;
    even.width &= ~1;
    even.height &= ~1;
    session_run_frame(session, &even, &frame, factor);
  }
  session->busy.store(false, std::memory_order_release);
  return rc;
}

void qlsbp_session_close(qlsbp_session* session) { session_destroy(session); }
