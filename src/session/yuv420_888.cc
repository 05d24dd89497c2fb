// Camera frames in YUV_420_888: describe them with the library's own
// descriptor when their memory already has one of its layouts, otherwise go
// through a dense copy kept in the session.
//
// The copy path exists so that a camera host never has to know which chroma
// arrangement its device delivers: whatever the strides, the samples reach
// the frame processor in the same dense order, and only the samples (never
// row padding or the bytes between interleaved samples) are written back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "ql_single_bokeh_preview.h"
#include "session/session_internal.h"

namespace {

// Samples of one plane: rows of cols samples, `step` bytes apart.
struct PlaneView {
  unsigned char* base;
  int row_stride;
  int step;
};

int validate(const qlsbp_yuv420_888& f) {
  if (f.y == nullptr || f.u == nullptr || f.v == nullptr) return QLSBP_ERR_ARGUMENT;
  if (f.width < 2 || f.height < 2 || (f.width & 1) != 0 || (f.height & 1) != 0) {
    return QLSBP_ERR_ARGUMENT;
  }
  if (static_cast<int64_t>(f.width) * f.height > QLSBP_MAX_FRAME_PIXELS) return QLSBP_ERR_TOO_LARGE;
  if (f.chroma_pixel_stride < 1 || f.y_row_stride < f.width) return QLSBP_ERR_ARGUMENT;
  // The last sample of a chroma row must come before the next row starts.
  const int64_t chroma_row = static_cast<int64_t>(f.width / 2 - 1) * f.chroma_pixel_stride + 1;
  if (f.u_row_stride < chroma_row || f.v_row_stride < chroma_row) return QLSBP_ERR_ARGUMENT;
  return QLSBP_OK;
}

int map_valid(QL_IMAGEINFO* out, const qlsbp_yuv420_888& f) {
  // Chroma planes with an odd side are not promised to be processed alike,
  // so the order of U and V in memory could show in the result.
  if ((f.width & 3) != 0 || (f.height & 3) != 0) return QLSBP_NEEDS_COPY;
  if (f.u_row_stride != f.v_row_stride) return QLSBP_NEEDS_COPY;
  const int chroma_stride = f.u_row_stride;
  QL_IMAGEINFO image = {};
  image.width = f.width;
  image.height = f.height;
  image.plane[0] = f.y;
  image.stride[0] = f.y_row_stride;
  if (f.chroma_pixel_stride == 2) {
    // Interleaved rows are read as width bytes from the lower plane.
    if (chroma_stride < f.width) return QLSBP_NEEDS_COPY;
    if (f.v == f.u + 1) {
      image.plane[1] = f.u;  // NV12
    } else if (f.u == f.v + 1) {
      image.plane[1] = f.v;  // NV21
    } else {
      return QLSBP_NEEDS_COPY;
    }
    image.format = QL_FORMAT_YUV420_SEMIPLANAR;
    image.stride[1] = chroma_stride;
  } else if (f.chroma_pixel_stride == 1) {
    // The layout-3 write-back keeps the input luma for this combination.
    if (f.y_row_stride == f.width && chroma_stride != f.width / 2) return QLSBP_NEEDS_COPY;
    image.format = QL_FORMAT_YUV420_PLANAR;
    image.plane[1] = f.v;
    image.plane[2] = f.u;
    image.stride[1] = chroma_stride;
    image.stride[2] = chroma_stride;
  } else {
    return QLSBP_NEEDS_COPY;
  }
  *out = image;
  return QLSBP_OK;
}

// Copies the samples of a plane into dense storage whose samples are
// dense_step bytes apart (to_dense), or back into the plane.
void copy_samples(const PlaneView& plane, unsigned char* dense, int dense_step, int rows, int cols,
                  bool to_dense) {
  for (int r = 0; r < rows; ++r) {
    unsigned char* p = plane.base + static_cast<ptrdiff_t>(r) * plane.row_stride;
    unsigned char* d = dense + static_cast<ptrdiff_t>(r) * cols * dense_step;
    for (int c = 0; c < cols; ++c) {
      unsigned char* sample = p + static_cast<ptrdiff_t>(c) * plane.step;
      unsigned char* slot = d + static_cast<ptrdiff_t>(c) * dense_step;
      if (to_dense) {
        *slot = *sample;
      } else {
        *sample = *slot;
      }
    }
  }
}

// Moves the frame's samples between the caller's planes and the session's
// dense copy: NV21 for layout 2, YV12 for layout 3 (V before U in both).
void exchange(const qlsbp_yuv420_888& f, int format, unsigned char* dense, bool to_dense) {
  const int w = f.width;
  const int h = f.height;
  const size_t luma = static_cast<size_t>(w) * h;
  const size_t chroma = luma / 4;
  copy_samples({f.y, f.y_row_stride, 1}, dense, 1, h, w, to_dense);
  const PlaneView u = {f.u, f.u_row_stride, f.chroma_pixel_stride};
  const PlaneView v = {f.v, f.v_row_stride, f.chroma_pixel_stride};
  if (format == QL_FORMAT_YUV420_SEMIPLANAR) {
    // Rows of w bytes, V and U samples alternating, V first.
    copy_samples(v, dense + luma, 2, h / 2, w / 2, to_dense);
    copy_samples(u, dense + luma + 1, 2, h / 2, w / 2, to_dense);
  } else {
    copy_samples(v, dense + luma, 1, h / 2, w / 2, to_dense);
    copy_samples(u, dense + luma + chroma, 1, h / 2, w / 2, to_dense);
  }
}

}  // namespace

int qlsbp_map_yuv420_888(QL_IMAGEINFO* out, const qlsbp_yuv420_888* in) {
  if (out == nullptr || in == nullptr) return QLSBP_ERR_ARGUMENT;
  const int rc = validate(*in);
  return rc != QLSBP_OK ? rc : map_valid(out, *in);
}

int qlsbp_session_process_yuv420_888(qlsbp_session* session, const qlsbp_yuv420_888* frame,
                                     const QL_BokehParam* param) {
  if (session == nullptr || frame == nullptr || param == nullptr) return QLSBP_ERR_ARGUMENT;
  QL_IMAGEINFO image;
  const int rc = qlsbp_map_yuv420_888(&image, frame);
  if (rc < 0) return rc;
  if (session->format != QL_FORMAT_YUV420_SEMIPLANAR &&
      session->format != QL_FORMAT_YUV420_PLANAR) {
    return QLSBP_ERR_LAYOUT;
  }
  if (frame->width != session->width || frame->height != session->height) {
    return QLSBP_ERR_SIZE_MISMATCH;
  }
  if (rc == QLSBP_OK && image.format == session->format) {
    return qlsbp_session_process(session, &image, param);
  }

  // The copy belongs to the session: one camera frame at a time uses it.
  bool expected = false;
  if (!session->camera_copy_busy.compare_exchange_strong(expected, true,
                                                         std::memory_order_acquire)) {
    return QLSBP_ERR_BUSY;
  }
  const size_t bytes = static_cast<size_t>(frame->width) * frame->height * 3 / 2;
  if (session->camera_copy == nullptr) {
    session->camera_copy = static_cast<unsigned char*>(malloc(bytes));
  }
  int result = QLSBP_ERR_NO_MEMORY;
  if (session->camera_copy != nullptr) {
    unsigned char* dense = session->camera_copy;
    exchange(*frame, session->format, dense, true);
    QL_IMAGEINFO copy = {};
    copy.format = session->format;
    copy.width = frame->width;
    copy.height = frame->height;
    copy.plane[0] = dense;
    copy.stride[0] = frame->width;
    copy.plane[1] = dense + static_cast<size_t>(frame->width) * frame->height;
    if (session->format == QL_FORMAT_YUV420_SEMIPLANAR) {
      copy.stride[1] = frame->width;
    } else {
      copy.plane[2] = copy.plane[1] + bytes / 6;
      copy.stride[1] = frame->width / 2;
      copy.stride[2] = frame->width / 2;
    }
    result = qlsbp_session_process(session, &copy, param);
    if (result == QLSBP_OK) exchange(*frame, session->format, dense, false);
  }
  session->camera_copy_busy.store(false, std::memory_order_release);
  return result;
}
