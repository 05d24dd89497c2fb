#include "frame.h"

#include <algorithm>

namespace {

struct LayoutName {
  Layout layout;
  const char* name;
};
const LayoutName kLayoutNames[] = {{Layout::kNV21, "nv21"},
                                   {Layout::kNV12, "nv12"},
                                   {Layout::kI420, "i420"},
                                   {Layout::kYV12, "yv12"},
                                   {Layout::kYUYV, "yuyv"}};

}  // namespace

bool parse_layout(const std::string& name, Layout* layout) {
  for (const LayoutName& entry : kLayoutNames) {
    if (name == entry.name) {
      *layout = entry.layout;
      return true;
    }
  }
  return false;
}

const char* layout_name(Layout layout) {
  for (const LayoutName& entry : kLayoutNames) {
    if (entry.layout == layout) return entry.name;
  }
  return "?";
}

bool layout_is_420(Layout layout) { return layout != Layout::kYUYV; }

bool same_chroma_sampling(Layout a, Layout b) { return layout_is_420(a) == layout_is_420(b); }

size_t frame_bytes(Layout layout, int width, int height) {
  const size_t n = static_cast<size_t>(width) * static_cast<size_t>(height);
  return layout_is_420(layout) ? n + n / 2 : 2 * n;
}

std::string frame_size_problem(Layout layout, int width, int height) {
  const std::string size = std::to_string(width) + "x" + std::to_string(height);
  // The largest size is the library's to judge (QLSBP_MAX_FRAME_PIXELS):
  // opening its session tells.
  if (width < 1 || height < 1) return "frame size " + size + " is out of range";
  // Chroma comes in pairs of pixels (and, for 4:2:0, pairs of rows): a raw
  // or y4m frame with an odd side has no clear chroma layout. The library
  // itself takes any size, blurring small planes with a folded border.
  const bool is420 = layout_is_420(layout);
  if (width % 2 != 0 || (is420 && height % 2 != 0)) {
    return std::string("frame size ") + size + " does not suit " + layout_name(layout) +
           (is420 ? ": the width and height must be even" : ": the width must be even");
  }
  if (width < 2 || height < 2) {
    return std::string("frame size ") + size + " is too small: the effect needs at least 2x2";
  }
  return std::string();
}

std::vector<PlaneSpan> frame_planes(Layout layout, int width, int height) {
  const size_t luma = static_cast<size_t>(width) * static_cast<size_t>(height);
  switch (layout) {
    case Layout::kYUYV:
      return {{0, height, 2 * width}};
    case Layout::kNV21:
    case Layout::kNV12:
      return {{0, height, width}, {luma, height / 2, width}};
    case Layout::kI420:
    case Layout::kYV12:
      break;
  }
  const size_t chroma = luma / 4;
  return {
      {0, height, width}, {luma, height / 2, width / 2}, {luma + chroma, height / 2, width / 2}};
}

namespace {

// Where the U and V samples of chroma position i live in a dense 4:2:0
// frame, and how far apart consecutive positions are.
struct ChromaPlace {
  size_t u;
  size_t v;
  size_t step;
};

ChromaPlace chroma_place(Layout layout, size_t luma, size_t chroma) {
  switch (layout) {
    case Layout::kNV21:
      return {luma + 1, luma, 2};
    case Layout::kNV12:
      return {luma, luma + 1, 2};
    case Layout::kYV12:
      return {luma + chroma, luma, 1};
    case Layout::kI420:
    case Layout::kYUYV:  // not a 4:2:0 layout; never asked for
      break;
  }
  return {luma, luma + chroma, 1};
}

}  // namespace

Frame convert_frame(const Frame& frame, Layout layout) {
  if (frame.layout == layout || !layout_is_420(frame.layout) || !layout_is_420(layout)) {
    return frame;
  }
  Frame out;
  out.layout = layout;
  out.width = frame.width;
  out.height = frame.height;
  out.data.resize(frame.data.size());
  const size_t luma = static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height);
  const size_t chroma = luma / 4;
  std::copy(frame.data.begin(), frame.data.begin() + luma, out.data.begin());
  const ChromaPlace from = chroma_place(frame.layout, luma, chroma);
  const ChromaPlace to = chroma_place(layout, luma, chroma);
  for (size_t i = 0; i < chroma; ++i) {
    out.data[to.u + i * to.step] = frame.data[from.u + i * from.step];
    out.data[to.v + i * to.step] = frame.data[from.v + i * from.step];
  }
  return out;
}
