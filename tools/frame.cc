#include "frame.h"

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

// Frames larger than this would overflow the library's int sizes.
constexpr int kMaxSide = 16384;

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

size_t frame_bytes(Layout layout, int width, int height) {
  const size_t n = static_cast<size_t>(width) * static_cast<size_t>(height);
  return layout_is_420(layout) ? n + n / 2 : 2 * n;
}

std::string frame_size_problem(Layout layout, int width, int height) {
  const std::string size = std::to_string(width) + "x" + std::to_string(height);
  if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) {
    return "frame size " + size + " is out of range (1.." + std::to_string(kMaxSide) + " per side)";
  }
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
