// Caller frames for the tests: every plane in its own exact-size heap block
// (so the sanitizers see any stray access) with optional padding after each
// row, random content in rows and padding alike.
#ifndef QLSBP_TESTS_COMMON_FRAMES_H_
#define QLSBP_TESTS_COMMON_FRAMES_H_

#include <cstdint>
#include <vector>

#include "common/test_util.h"
#include "ql_single_bokeh_preview.h"

namespace qlsbp_test {

using Bytes = std::vector<uint8_t>;

struct TestFrame {
  QL_IMAGEINFO info;
  std::vector<Bytes> planes;
  std::vector<int> row_bytes, rows;

  TestFrame(int format, int w, int h, int pad, uint32_t seed) : info() {
    info.format = format;
    info.width = w;
    info.height = h;
    const int cw = (w + 1) / 2, ch = (h + 1) / 2;
    if (format == QL_FORMAT_YUV420_SEMIPLANAR) add(w, h, pad, seed), add(2 * cw, ch, pad, seed + 1);
    if (format == QL_FORMAT_YUV420_PLANAR) {
      add(w, h, pad, seed), add(cw, ch, pad, seed + 1), add(cw, ch, pad, seed + 2);
    }
    if (format == QL_FORMAT_YUYV422) add(4 * cw, h, pad, seed);
  }
  TestFrame(const TestFrame& o) : info(o.info), planes(o.planes), row_bytes(o.row_bytes), rows(o.rows) {
    rebind();
  }
  TestFrame& operator=(const TestFrame& o) {
    info = o.info, planes = o.planes, row_bytes = o.row_bytes, rows = o.rows;
    rebind();
    return *this;
  }
  void add(int bytes, int nrows, int pad, uint32_t seed) {
    info.stride[planes.size()] = bytes + pad;
    planes.push_back(random_bytes(static_cast<size_t>(bytes + pad) * nrows, seed));
    row_bytes.push_back(bytes), rows.push_back(nrows);
    rebind();
  }
  void rebind() {
    for (size_t i = 0; i < planes.size(); ++i) info.plane[i] = planes[i].data();
  }
  bool operator==(const TestFrame& o) const { return planes == o.planes; }
  // Calls fn(plane, offset, is_padding) for every byte of the planes.
  template <typename Fn>
  void each_byte(Fn fn) const {
    for (size_t i = 0; i < planes.size(); ++i) {
      for (size_t o = 0; o < planes[i].size(); ++o) {
        fn(i, o, static_cast<int>(o % info.stride[i]) >= row_bytes[i]);
      }
    }
  }
  // Padding bytes as they were in `before`.
  bool padding_as(const TestFrame& before) const {
    bool same = true;
    each_byte([&](size_t i, size_t o, bool pad) { same &= !pad || planes[i][o] == before.planes[i][o]; });
    return same;
  }
  // The rows of every plane back to back: the processor's dense layout for
  // even sizes.
  Bytes dense() const {
    Bytes out;
    each_byte([&](size_t i, size_t o, bool pad) {
      if (!pad) out.push_back(planes[i][o]);
    });
    return out;
  }
};

}  // namespace qlsbp_test

#endif  // QLSBP_TESTS_COMMON_FRAMES_H_
