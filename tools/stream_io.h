// Reading bytes from a file or standard input with a look-ahead for format
// detection, and the YUV4MPEG2 stream syntax (header and FRAME lines).
#ifndef BOKEH_PREVIEW_STREAM_IO_H_
#define BOKEH_PREVIEW_STREAM_IO_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "frame.h"

class ByteSource {
 public:
  ByteSource() = default;
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  // "-" reads standard input.
  bool open(const std::string& path, std::string* error);
  // The first up to n bytes, without consuming them.
  const std::vector<uint8_t>& peek(size_t n);
  // Reads up to n bytes; fewer only at the end of the input or on an error.
  size_t read(uint8_t* dst, size_t n);
  // Reads one line (without its '\n') of at most max_bytes; false at the end
  // of the input, or when the line is longer (then *too_long is set).
  bool read_line(std::string* line, size_t max_bytes, bool* too_long);
  // Everything that is left.
  std::vector<uint8_t> read_all();
  bool failed() const;
  std::string error_text() const;  // message for failed()
  // Size in bytes for a regular file, -1 for pipes and terminals.
  long long size() const { return size_; }
  const std::string& name() const { return name_; }

 private:
  FILE* file_ = nullptr;
  bool owned_ = false;
  std::string name_;
  long long size_ = -1;
  std::vector<uint8_t> ahead_;  // peeked bytes not yet consumed
  int error_ = 0;
};

// What a YUV4MPEG2 header says. Only 8-bit 4:2:0 and 4:2:2 are accepted.
struct Y4mHeader {
  int width = 0;
  int height = 0;
  std::string chroma = "420jpeg";  // the C parameter without its C
  std::string extra;               // F, I, A and X parameters, kept for the output
};

bool is_y4m_data(const uint8_t* data, size_t size);
// Parses the header line (without '\n'); false with a message when it is
// malformed or describes a sampling the tool does not take.
bool parse_y4m_header(const std::string& line, Y4mHeader* header, std::string* error);
// The frame layout a y4m stream is processed in: I420 for 4:2:0, YUYV for
// 4:2:2 (the library's only 4:2:2 layout).
Layout y4m_layout(const Y4mHeader& header);
// Bytes of one frame's planar payload.
size_t y4m_payload_bytes(const Y4mHeader& header);

// Converts a planar y4m payload into a frame of y4m_layout(), and back.
void y4m_payload_to_frame(const uint8_t* payload, const Y4mHeader& header, Frame* frame);
void frame_to_y4m_payload(const Frame& frame, std::vector<uint8_t>* payload);

// Header line (with '\n') for writing frames of this layout and size;
// `like` carries the parameters of an input stream, if any.
std::string y4m_header_line(Layout layout, int width, int height, const Y4mHeader* like);

#endif  // BOKEH_PREVIEW_STREAM_IO_H_
