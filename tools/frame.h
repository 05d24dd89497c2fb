// YUV frames as the tool keeps them between reading, processing and writing:
// one dense buffer in the byte order of the layout's usual name (NV21, I420,
// ...), with no padding between rows or planes.
#ifndef BOKEH_PREVIEW_FRAME_H_
#define BOKEH_PREVIEW_FRAME_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

enum class Layout { kNV21, kNV12, kI420, kYV12, kYUYV };

// Parses "nv21", "nv12", "i420", "yv12" or "yuyv"; false for anything else.
bool parse_layout(const std::string& name, Layout* layout);
const char* layout_name(Layout layout);
// 4:2:0 layouts halve the chroma in both directions, YUYV only across.
bool layout_is_420(Layout layout);

// Whether frames of one layout can be rewritten in the other without loss:
// the 4:2:0 layouts differ only in the order of their chroma samples.
bool same_chroma_sampling(Layout a, Layout b);

// Bytes of one dense frame. The caller has checked the size first.
size_t frame_bytes(Layout layout, int width, int height);

// Empty when the preview pipeline can take frames of this size and layout,
// otherwise a sentence telling why not.
std::string frame_size_problem(Layout layout, int width, int height);

struct Frame {
  Layout layout = Layout::kNV21;
  int width = 0;
  int height = 0;
  std::vector<uint8_t> data;  // frame_bytes(layout, width, height) bytes
};

// One dense plane of a frame: where it starts, its rows and bytes per row.
struct PlaneSpan {
  size_t offset;
  int rows;
  int row_bytes;
};
// The planes of a dense frame in storage order (1 for YUYV, 2 for NV21/NV12,
// 3 for I420/YV12).
std::vector<PlaneSpan> frame_planes(Layout layout, int width, int height);

// The frame rewritten in another layout of the same chroma sampling
// (same_chroma_sampling): the same samples, in the other order.
Frame convert_frame(const Frame& frame, Layout layout);

#endif  // BOKEH_PREVIEW_FRAME_H_
