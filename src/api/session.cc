// The four host entry points and the process-wide session.
//
// One session at a time: the frame processor in `pData` and the dense work
// buffer in `idat_pv`. Every frame is packed into the buffer, processed there
// in place and unpacked into the caller's planes. Beyond what the processor
// itself does, this file keeps the library inside its own buffers: a frame is
// only packed when its (even) size matches the processor and its layout fits
// the buffer that was allocated for the session; anything else passes
// through untouched.
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "api/frame_param.h"
#include "api/log.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/packing.h"
#include "qlsbp/sb_data.h"

SBData* pData = nullptr;
unsigned char* idat_pv = nullptr;

namespace {

// The work buffer this library allocated and its size, so that a frame of a
// layout needing more (code 4 in a session opened for code 2) is refused
// instead of overrunning it.
struct PvBufferRecord {
  const unsigned char* buffer;
  size_t bytes;
};
PvBufferRecord g_buffer = {nullptr, 0};

// Dense bytes of a frame of an even size; 0 for codes that are never packed.
size_t dense_frame_bytes(int code, int rows, int cols) {
  const size_t n = static_cast<size_t>(rows) * static_cast<size_t>(cols);
  if (code == 4) return 2 * n;
  if (code == 2 || code == 3) return (3 * n) >> 1;
  return 0;
}

// The work buffer is sized by the set-up's layout code; any code other
// than 4 gets the 4:2:0 size.
size_t session_buffer_bytes(int code, int rows, int cols) {
  return dense_frame_bytes(code == 4 ? 4 : 2, rows, cols);
}

// The processor keeps 15 bytes of arena per pixel and counts them in 32-bit
// integers; larger frames, and frames without an even 2 x 2 part, get no
// session.
bool session_size_ok(int rows, int cols) {
  if (rows < 2 || cols < 2) return false;
  return static_cast<int64_t>(rows) * cols * 15 <= INT_MAX;
}

int even_part(int size) { return size & ~1; }

bool session_is_open() {
  return pData != nullptr && pData->memBase != nullptr && idat_pv != nullptr &&
         idat_pv == g_buffer.buffer;
}

// `even` is the caller's descriptor cut to its even part.
bool frame_fits_session(const __tag_QL_IMAGEINFO& even) {
  if (!session_is_open()) return false;
  if (even.height != pData->rows || even.width != pData->cols) return false;
  return dense_frame_bytes(even.format, even.height, even.width) <= g_buffer.bytes;
}

}  // namespace

const char* sb_top_pv_getVersion(void) { return "QUILLON CBP VER 2.1.1"; }

int sb_top_pv_initial(__tag_QL_IMAGEINFO* image) {
  pv_log_banner("Quillon Single Bokeh Version 6.0 For Preview -2018.03.22:  \n");
  pv_log_banner("Preview Init:  \n");
  if (image == nullptr) return 0;

  const int code = image->format;
  const int rows = even_part(image->height);
  const int cols = even_part(image->width);
  if (image->height < 2 || image->width < 2 || !session_size_ok(rows, cols)) return 0;

  // Whatever already exists is kept as it is, whatever size it was made
  // for: set-up never resizes, a host closes the session to change size.
  if (pData == nullptr) pData = new (std::nothrow) SBData(rows, cols);
  if (idat_pv != nullptr) return 0;

  const size_t bytes = session_buffer_bytes(code, rows, cols);
  idat_pv = static_cast<unsigned char*>(calloc(bytes, 1));
  g_buffer.buffer = idat_pv;
  g_buffer.bytes = idat_pv != nullptr ? bytes : 0;
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
  even.width = even_part(image->width);
  even.height = even_part(image->height);
  if (!frame_fits_session(even)) return 0;

  // Packing refuses unknown codes and code 3 frames with unequal chroma
  // strides; the pipeline then runs on what the buffer holds (or returns at
  // once for unknown codes) and unpacking refuses the frame in the same way,
  // so the caller's frame is unchanged.
  img_move_stride(&even, idat_pv);
  // The pipeline reads the record as its eleven integers in order.
  pData->DataProcessor(idat_pv, idat_pv, even.height, even.width, even.stride[0], even.format,
                       reinterpret_cast<int*>(&frame), factor);
  img_add_stride(&even, idat_pv);
  return 0;
}

int sb_top_pv_deinit(void) {
  if (pData != nullptr) {
    delete pData;
    pData = nullptr;
  }
  if (idat_pv != nullptr) {
    free(idat_pv);
    idat_pv = nullptr;
  }
  g_buffer.buffer = nullptr;
  g_buffer.bytes = 0;
  return 0;
}
