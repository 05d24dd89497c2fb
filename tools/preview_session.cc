#include "preview_session.h"

#include <chrono>
#include <cstring>

int host_format_code(Layout layout) {
  switch (layout) {
    case Layout::kNV21:
    case Layout::kNV12:
      return QL_FORMAT_YUV420_SEMIPLANAR;
    case Layout::kI420:
    case Layout::kYV12:
      return QL_FORMAT_YUV420_PLANAR;
    case Layout::kYUYV:
      break;
  }
  return QL_FORMAT_YUYV422;
}

void fill_image_info(QL_IMAGEINFO* info, Layout layout, int width, int height, uint8_t* base,
                     int pad) {
  std::memset(info, 0, sizeof(*info));
  info->format = host_format_code(layout);
  info->width = width;
  info->height = height;
  const std::vector<PlaneSpan> planes = frame_planes(layout, width, height);
  size_t offset = 0;
  for (size_t i = 0; i < planes.size(); ++i) {
    info->plane[i] = base + offset;
    info->stride[i] = planes[i].row_bytes + pad;
    offset += static_cast<size_t>(planes[i].rows) * static_cast<size_t>(info->stride[i]);
  }
  if (layout == Layout::kI420) {
    // Layout code 3 expects V first (YV12 order).
    unsigned char* u = info->plane[1];
    info->plane[1] = info->plane[2];
    info->plane[2] = u;
  }
}

namespace {

size_t padded_bytes(Layout layout, int width, int height, int pad) {
  size_t total = 0;
  for (const PlaneSpan& plane : frame_planes(layout, width, height)) {
    total += static_cast<size_t>(plane.rows) * static_cast<size_t>(plane.row_bytes + pad);
  }
  return total;
}

// Copies between the dense frame and the strided copy, one row at a time.
void copy_rows(uint8_t* padded, uint8_t* dense, Layout layout, int width, int height, int pad,
               bool to_padded) {
  uint8_t* strided = padded;
  for (const PlaneSpan& plane : frame_planes(layout, width, height)) {
    const size_t pitch = static_cast<size_t>(plane.row_bytes + pad);
    for (int r = 0; r < plane.rows; ++r) {
      uint8_t* row = dense + plane.offset + static_cast<size_t>(r) * plane.row_bytes;
      if (to_padded) {
        std::memcpy(strided + r * pitch, row, plane.row_bytes);
      } else {
        std::memcpy(row, strided + r * pitch, plane.row_bytes);
      }
    }
    strided += static_cast<size_t>(plane.rows) * pitch;
  }
}

}  // namespace

PreviewSession::~PreviewSession() { qlsbp_session_close(session_); }

int PreviewSession::open(Layout layout, int width, int height, int pad, int workers,
                         bool clean_edges) {
  qlsbp_session_close(session_);
  session_ = nullptr;
  layout_ = layout;
  width_ = width;
  height_ = height;
  pad_ = pad;
  // Opening reads only the layout code and the size.
  QL_IMAGEINFO info;
  std::memset(&info, 0, sizeof(info));
  info.format = host_format_code(layout_);
  info.width = width_;
  info.height = height_;
  qlsbp_session_options options;
  qlsbp_session_options_init(&options);
  if (workers != kDefaultWorkers) options.workers = workers;
  options.clean_edges = clean_edges ? 1 : 0;
  const int rc = qlsbp_session_open(&session_, &info, &options);
  if (rc != QLSBP_OK) return rc;
  if (pad_ > 0) {
    // The padding bytes hold a pattern the frame never has, so that a
    // library reading them would show up in the --pad comparison.
    padded_.assign(padded_bytes(layout, width, height, pad), 0xA5);
  }
  return QLSBP_OK;
}

int PreviewSession::process(Frame* frame, const QL_BokehParam& param, double* ms) {
  *ms = 0.0;
  uint8_t* base = frame->data.data();
  if (pad_ > 0) {
    copy_rows(padded_.data(), frame->data.data(), layout_, width_, height_, pad_, true);
    base = padded_.data();
  }
  QL_IMAGEINFO info;
  fill_image_info(&info, layout_, width_, height_, base, pad_);
  const auto start = std::chrono::steady_clock::now();
  const int rc = qlsbp_session_process(session_, &info, &param);
  const auto stop = std::chrono::steady_clock::now();
  if (rc != QLSBP_OK) return rc;
  if (pad_ > 0) {
    copy_rows(padded_.data(), frame->data.data(), layout_, width_, height_, pad_, false);
  }
  *ms = std::chrono::duration<double, std::milli>(stop - start).count();
  return QLSBP_OK;
}
