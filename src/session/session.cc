// Sessions as objects: each owns its frame processor and its dense work
// buffer, so any number of them can live side by side in one process.
//
// A frame is checked completely before anything is touched, so that a
// refused frame changes neither the caller's planes nor the session's
// frame-to-frame state. An accepted frame then takes exactly the host API's
// path: pack, process, unpack.
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "api/frame_param.h"
#include "engine/reference/reference_engine.h"
#include "processor/frame_state.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/mask.h"
#include "qlsbp/packing.h"
#include "qlsbp/sb_data.h"
#include "session/session_internal.h"
#include "threads/executor.h"

namespace {

int online_processors() {
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n >= 1 && n <= 1024 ? static_cast<int>(n) : 1;
}

// The exact mask unless the session asked for clean edges: the exact one is
// what the host API has always blended with, byte for byte.
MaskBuilder session_mask_builder(const qlsbp_session_options& options) {
  return options.clean_edges != 0 ? gen_ellipse4_clean : gen_ellipse4;
}

bool known_layout(int code) { return code == 2 || code == 3 || code == 4; }

size_t dense_bytes(int code, int rows, int cols) {
  const size_t n = static_cast<size_t>(rows) * static_cast<size_t>(cols);
  return code == 4 ? 2 * n : (3 * n) >> 1;
}

// The caller's record may be shorter (an older header) than ours: the
// fields it does not carry keep their defaults.
int read_options(qlsbp_session_options* out, const qlsbp_session_options* in) {
  qlsbp_session_options_init(out);
  if (in == nullptr) return QLSBP_OK;
  const int known = static_cast<int>(sizeof(qlsbp_session_options));
  if (in->size < static_cast<int>(sizeof(int)) || in->size > known) return QLSBP_ERR_ARGUMENT;
  const int fields = in->size / static_cast<int>(sizeof(int));
  const int* src = &in->size;
  int* dst = &out->size;
  for (int i = 1; i < fields; ++i) dst[i] = src[i];
  if (out->workers < 0 || out->workers > 256) return QLSBP_ERR_ARGUMENT;
  if (out->engine != QLSBP_ENGINE_FAST && out->engine != QLSBP_ENGINE_REFERENCE) {
    return QLSBP_ERR_ARGUMENT;
  }
  if (out->clean_edges != 0 && out->clean_edges != 1) return QLSBP_ERR_ARGUMENT;
  return QLSBP_OK;
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
  if (image.format == 4)
    return stride_ok(image.stride[0], 2 * static_cast<int64_t>(w)) ? QLSBP_OK : QLSBP_ERR_ARGUMENT;
  if (image.plane[1] == nullptr || !stride_ok(image.stride[0], w)) return QLSBP_ERR_ARGUMENT;
  if (image.format == 2) return stride_ok(image.stride[1], w) ? QLSBP_OK : QLSBP_ERR_ARGUMENT;
  if (image.plane[2] == nullptr || image.stride[1] != image.stride[2]) return QLSBP_ERR_ARGUMENT;
  return stride_ok(image.stride[1], w / 2) ? QLSBP_OK : QLSBP_ERR_ARGUMENT;
}

}  // namespace

void qlsbp_session_options_init(qlsbp_session_options* options) {
  if (options == nullptr) return;
  options->size = static_cast<int>(sizeof(qlsbp_session_options));
  options->workers = online_processors();
  options->engine = QLSBP_ENGINE_FAST;
  options->clean_edges = 0;
}

int qlsbp_session_open(qlsbp_session** session, const QL_IMAGEINFO* image,
                       const qlsbp_session_options* options) {
  if (session == nullptr) return QLSBP_ERR_ARGUMENT;
  *session = nullptr;
  if (image == nullptr) return QLSBP_ERR_ARGUMENT;
  qlsbp_session_options opts;
  const int rc = read_options(&opts, options);
  if (rc != QLSBP_OK) return rc;
  if (!known_layout(image->format)) return QLSBP_ERR_LAYOUT;
  if (image->width < 2 || image->height < 2) return QLSBP_ERR_ARGUMENT;
  const int rows = image->height & ~1;
  const int cols = image->width & ~1;
  if (static_cast<int64_t>(image->width) * image->height > QLSBP_MAX_FRAME_PIXELS) {
    return QLSBP_ERR_TOO_LARGE;
  }

  qlsbp_session* s = new (std::nothrow) qlsbp_session();
  if (s == nullptr) return QLSBP_ERR_NO_MEMORY;
  s->format = image->format;
  s->width = image->width;
  s->height = image->height;
  s->options = opts;
  s->busy.store(false);
  s->processor = new (std::nothrow) SBData(rows, cols);
  s->buffer = static_cast<unsigned char*>(calloc(dense_bytes(s->format, rows, cols), 1));
  if (s->processor == nullptr || s->processor->memBase == nullptr || s->buffer == nullptr) {
    qlsbp_session_close(s);
    return QLSBP_ERR_NO_MEMORY;
  }
  *session = s;
  return QLSBP_OK;
}

int qlsbp_session_process(qlsbp_session* session, QL_IMAGEINFO* image, const QL_BokehParam* param) {
  if (session == nullptr || image == nullptr || param == nullptr) return QLSBP_ERR_ARGUMENT;
  bool expected = false;
  if (!session->busy.compare_exchange_strong(expected, true, std::memory_order_acquire)) {
    return QLSBP_ERR_BUSY;
  }
  int rc = check_frame(*session, *image);
  SBFrameParam frame;
  float factor = 0.0f;
  if (rc == QLSBP_OK && pv_frame_param_fill(&frame, &factor, param, image->width, image->height)) {
    QL_IMAGEINFO even = *image;
    even.width &= ~1;
    even.height &= ~1;
    img_move_stride(&even, session->buffer);
    // DataProcessor's steps, with the session's mask builder.
    SBData* d = session->processor;
    if (frame_state_update(d, session->buffer, session->buffer, even.height, even.width,
                           even.format, reinterpret_cast<int*>(&frame), factor,
                           session_mask_builder(session->options)) == kFrameRunEngine) {
      qlsbp::PerCallExecutor threads;
      reference_engine_run(d, session->buffer, even.format, threads);
    }
    img_add_stride(&even, session->buffer);
  }
  session->busy.store(false, std::memory_order_release);
  return rc;
}

void qlsbp_session_close(qlsbp_session* session) {
  if (session == nullptr) return;
  delete session->processor;
  free(session->buffer);
  free(session->camera_copy);
  delete session;
}

const char* qlsbp_strerror(int code) {
  switch (code) {
    case QLSBP_OK:
      return "success";
    case QLSBP_ERR_ARGUMENT:
      return "invalid argument (null pointer, option, plane or stride)";
    case QLSBP_ERR_LAYOUT:
      return "layout not supported, or not the session's layout";
    case QLSBP_ERR_SIZE_MISMATCH:
      return "frame size is not the session's";
    case QLSBP_ERR_TOO_LARGE:
      return "frame larger than the library accepts";
    case QLSBP_ERR_BUSY:
      return "session is busy with another call";
    case QLSBP_ERR_NO_MEMORY:
      return "out of memory";
    case QLSBP_NEEDS_COPY:
      return "frame has no in-place layout: it goes through a copy";
    default:
      return "unknown result code";
  }
}
