// Session options, the frame-size limit and result texts.
#include <cstdint>

#include "session/session_internal.h"
#include "threads/executor.h"

namespace {

// More persistent workers than this buys nothing: a frame has at most three
// plane tasks of seven strips each in flight.
constexpr int kMaxWorkers = 256;

}  // namespace

void qlsbp_session_options_init(qlsbp_session_options* options) {
  if (options == nullptr) return;
  options->size = static_cast<int>(sizeof(qlsbp_session_options));
  options->workers = qlsbp::online_processors();
  options->engine = QLSBP_ENGINE_FAST;
  options->clean_edges = 0;
}

int session_read_options(qlsbp_session_options* out, const qlsbp_session_options* in) {
  qlsbp_session_options_init(out);
  if (in == nullptr) return QLSBP_OK;
  // The caller's record may be shorter (an older header) than ours: the
  // fields it does not carry keep their defaults.
  const int known = static_cast<int>(sizeof(qlsbp_session_options));
  if (in->size < static_cast<int>(sizeof(int)) || in->size > known) return QLSBP_ERR_ARGUMENT;
  const int fields = in->size / static_cast<int>(sizeof(int));
  const int* src = &in->size;
  int* dst = &out->size;
  for (int i = 1; i < fields; ++i) dst[i] = src[i];
  if (out->workers < 0 || out->workers > kMaxWorkers) return QLSBP_ERR_ARGUMENT;
  if (out->engine != QLSBP_ENGINE_FAST && out->engine != QLSBP_ENGINE_REFERENCE) {
    return QLSBP_ERR_ARGUMENT;
  }
  if (out->clean_edges != 0 && out->clean_edges != 1) return QLSBP_ERR_ARGUMENT;
  return QLSBP_OK;
}

int session_check_size(int width, int height) {
  if (width < 2 || height < 2) return QLSBP_ERR_ARGUMENT;
  // Both factors are positive ints, so the product is exact in 64 bits.
  if (static_cast<int64_t>(width) * height > QLSBP_MAX_FRAME_PIXELS) return QLSBP_ERR_TOO_LARGE;
  return QLSBP_OK;
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
      return "out of memory or threads";
    case QLSBP_NEEDS_COPY:
      return "frame has no in-place layout: it goes through a copy";
    default:
      return "unknown result code";
  }
}
