// A caller frame for the host-API tests: planes laid out the way a host
// allocates them, with sentinel-filled padding and a guard after each plane.
#ifndef QLSBP_TESTS_API_TEST_FRAME_H_
#define QLSBP_TESTS_API_TEST_FRAME_H_

#include <cstdint>
#include <cstring>
#include <vector>

#include "common/test_util.h"
#include "ql_single_bokeh_preview.h"

namespace qlsbp_test_api {

using qlsbp_test::random_bytes;

constexpr uint8_t kSentinel = 0xA5;
constexpr size_t kGuard = 64;  // sentinel bytes after every buffer

// One caller plane: `rows` rows of `row_bytes` payload at pitch `stride`,
// padding and guard filled with the sentinel.
struct Plane {
  int rows = 0;
  int row_bytes = 0;
  int stride = 0;
  std::vector<uint8_t> bytes;

  Plane() = default;
  Plane(int r, int rb, int s, uint32_t seed) : rows(r), row_bytes(rb), stride(s) {
    bytes.assign(static_cast<size_t>(rows) * stride + kGuard, kSentinel);
    auto payload = random_bytes(static_cast<size_t>(rows) * row_bytes, seed);
    for (int y = 0; y < rows && row_bytes > 0; ++y) {
      memcpy(bytes.data() + static_cast<size_t>(y) * stride, payload.data() + static_cast<size_t>(y) * row_bytes,
             row_bytes);
    }
  }
  uint8_t* data() { return bytes.data(); }
};

// A caller frame of one layout: planes sized the way a host would allocate
// them for (w, h), with the given extra padding per row.
struct Frame {
  QL_IMAGEINFO info{};
  Plane p[3];

  Frame(int format, int w, int h, int pad0, int pad1, uint32_t seed) {
    info.format = format;
    info.width = w;
    info.height = h;
    if (format == 4) {
      p[0] = Plane(h, 2 * w, 2 * w + pad0, seed);
    } else {
      p[0] = Plane(h, w, w + pad0, seed);
      if (format == 2) {
        p[1] = Plane(h / 2, w, w + pad1, seed + 1);
      } else {
        p[1] = Plane(h / 2, w / 2, w / 2 + pad1, seed + 1);
        p[2] = Plane(h / 2, w / 2, w / 2 + pad1, seed + 2);
      }
    }
    for (int i = 0; i < 3; ++i) {
      info.plane[i] = p[i].bytes.empty() ? nullptr : p[i].data();
      info.stride[i] = p[i].stride;
    }
    info.plane[3] = nullptr;
    info.stride[3] = 0;
  }
  // The descriptor points into the planes, so a copy would alias them.
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  std::vector<std::vector<uint8_t>> snapshot() const { return {p[0].bytes, p[1].bytes, p[2].bytes}; }

  // The payload bytes of plane i, row after row, without padding.
  std::vector<uint8_t> payload(int i) const {
    std::vector<uint8_t> out;
    for (int y = 0; y < p[i].rows; ++y) {
      const uint8_t* row = &p[i].bytes[static_cast<size_t>(y) * p[i].stride];
      out.insert(out.end(), row, row + p[i].row_bytes);
    }
    return out;
  }
};

inline size_t dense_size(int format, int w, int h) {
  return format == 4 ? static_cast<size_t>(w) * h * 2 : (static_cast<size_t>(w) * h * 3) / 2 + 8;
}

}  // namespace qlsbp_test_api

#endif  // QLSBP_TESTS_API_TEST_FRAME_H_
