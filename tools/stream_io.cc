#include "stream_io.h"

#include <libyuv.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

ByteSource::~ByteSource() {
  if (file_ && owned_) std::fclose(file_);
}

bool ByteSource::open(const std::string& path, std::string* error) {
  name_ = path == "-" ? "standard input" : path;
  if (path == "-") {
    file_ = stdin;
  } else {
    file_ = std::fopen(path.c_str(), "rb");
    if (!file_) {
      *error = "cannot open " + path + ": " + std::strerror(errno);
      return false;
    }
    owned_ = true;
  }
  struct stat st;
  if (fstat(fileno(file_), &st) == 0) {
    if (S_ISDIR(st.st_mode)) {
      *error = "cannot read " + name_ + ": it is a directory";
      return false;
    }
    if (S_ISREG(st.st_mode)) size_ = static_cast<long long>(st.st_size);
  }
  return true;
}

const std::vector<uint8_t>& ByteSource::peek(size_t n) {
  while (ahead_.size() < n) {
    uint8_t buffer[4096];
    const size_t want = std::min(sizeof(buffer), n - ahead_.size());
    const size_t got = std::fread(buffer, 1, want, file_);
    if (got == 0) {
      if (std::ferror(file_)) error_ = errno;
      break;
    }
    ahead_.insert(ahead_.end(), buffer, buffer + got);
  }
  return ahead_;
}

size_t ByteSource::read(uint8_t* dst, size_t n) {
  size_t done = std::min(n, ahead_.size());
  if (done > 0) {
    std::memcpy(dst, ahead_.data(), done);
    ahead_.erase(ahead_.begin(), ahead_.begin() + static_cast<std::ptrdiff_t>(done));
  }
  while (done < n) {
    const size_t got = std::fread(dst + done, 1, n - done, file_);
    if (got == 0) {
      if (std::ferror(file_)) error_ = errno;
      break;
    }
    done += got;
  }
  return done;
}

bool ByteSource::read_line(std::string* line, size_t max_bytes, bool* too_long) {
  line->clear();
  *too_long = false;
  uint8_t c = 0;
  while (read(&c, 1) == 1) {
    if (c == '\n') return true;
    if (line->size() >= max_bytes) {
      *too_long = true;
      return false;
    }
    line->push_back(static_cast<char>(c));
  }
  return false;
}

std::vector<uint8_t> ByteSource::read_all() {
  std::vector<uint8_t> all;
  all.swap(ahead_);
  uint8_t buffer[65536];
  for (;;) {
    const size_t got = std::fread(buffer, 1, sizeof(buffer), file_);
    if (got == 0) {
      if (std::ferror(file_)) error_ = errno;
      break;
    }
    all.insert(all.end(), buffer, buffer + got);
  }
  return all;
}

bool ByteSource::failed() const { return error_ != 0; }

std::string ByteSource::error_text() const {
  return "cannot read " + name_ + ": " + std::strerror(error_);
}

bool is_y4m_data(const uint8_t* data, size_t size) {
  return size >= 10 && std::memcmp(data, "YUV4MPEG2 ", 10) == 0;
}

namespace {

// Strict decimal: digits only, no sign, no overflow past 2^31 - 1.
bool parse_y4m_int(const std::string& text, int* value) {
  if (text.empty() || text.size() > 9) return false;
  int v = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    v = v * 10 + (c - '0');
  }
  *value = v;
  return true;
}

}  // namespace

bool parse_y4m_header(const std::string& line, Y4mHeader* header, std::string* error) {
  std::istringstream tokens(line);
  std::string token;
  tokens >> token;
  if (token != "YUV4MPEG2") {
    *error = "not a YUV4MPEG2 stream";
    return false;
  }
  bool have_width = false;
  bool have_height = false;
  while (tokens >> token) {
    const char tag = token[0];
    const std::string value = token.substr(1);
    if (tag == 'W') {
      have_width = parse_y4m_int(value, &header->width);
      if (!have_width) break;
    } else if (tag == 'H') {
      have_height = parse_y4m_int(value, &header->height);
      if (!have_height) break;
    } else if (tag == 'C') {
      header->chroma = value;
    } else {
      header->extra += " " + token;
    }
  }
  if (!have_width || !have_height) {
    *error = "YUV4MPEG2 header has no valid width and height: \"" + line + "\"";
    return false;
  }
  const std::string& c = header->chroma;
  if (c != "420" && c != "420jpeg" && c != "420paldv" && c != "420mpeg2" && c != "422") {
    *error = "YUV4MPEG2 colour space C" + c +
             " is not supported (8-bit C420, C420jpeg, C420paldv, C420mpeg2 or C422 only)";
    return false;
  }
  return true;
}

Layout y4m_layout(const Y4mHeader& header) {
  return header.chroma == "422" ? Layout::kYUYV : Layout::kI420;
}

size_t y4m_payload_bytes(const Y4mHeader& header) {
  // The planar 4:2:2 payload has as many bytes as the packed YUYV frame.
  return frame_bytes(y4m_layout(header), header.width, header.height);
}

void y4m_payload_to_frame(const uint8_t* payload, const Y4mHeader& header, Frame* frame) {
  const int w = header.width;
  const int h = header.height;
  frame->layout = y4m_layout(header);
  frame->width = w;
  frame->height = h;
  const size_t bytes = y4m_payload_bytes(header);
  frame->data.resize(bytes);
  if (frame->layout == Layout::kI420) {
    std::memcpy(frame->data.data(), payload, bytes);
    return;
  }
  const uint8_t* u = payload + static_cast<size_t>(w) * h;
  const uint8_t* v = u + static_cast<size_t>(w / 2) * h;
  libyuv::I422ToYUY2(payload, w, u, w / 2, v, w / 2, frame->data.data(), w * 2, w, h);
}

void frame_to_y4m_payload(const Frame& frame, std::vector<uint8_t>* payload) {
  const int w = frame.width;
  const int h = frame.height;
  payload->resize(frame.data.size());
  uint8_t* y = payload->data();
  const size_t luma = static_cast<size_t>(w) * h;
  const uint8_t* src = frame.data.data();
  switch (frame.layout) {
    case Layout::kI420:
      std::memcpy(y, src, frame.data.size());
      break;
    case Layout::kYV12:
      std::memcpy(y, src, luma);
      std::memcpy(y + luma, src + luma + luma / 4, luma / 4);
      std::memcpy(y + luma + luma / 4, src + luma, luma / 4);
      break;
    case Layout::kNV21:
      libyuv::NV21ToI420(src, w, src + luma, w, y, w, y + luma, w / 2, y + luma + luma / 4, w / 2,
                         w, h);
      break;
    case Layout::kNV12:
      libyuv::NV12ToI420(src, w, src + luma, w, y, w, y + luma, w / 2, y + luma + luma / 4, w / 2,
                         w, h);
      break;
    case Layout::kYUYV: {
      uint8_t* u = y + luma;
      uint8_t* v = u + luma / 2;
      libyuv::YUY2ToI422(src, w * 2, y, w, u, w / 2, v, w / 2, w, h);
      break;
    }
  }
}

std::string y4m_header_line(Layout layout, int width, int height, const Y4mHeader* like) {
  std::string line = "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height);
  line += like ? like->extra : std::string(" F25:1 Ip A1:1");
  if (layout == Layout::kYUYV) {
    line += " C422";
  } else if (like && like->chroma != "422") {
    line += " C" + like->chroma;
  } else {
    line += " C420jpeg";
  }
  return line + "\n";
}
