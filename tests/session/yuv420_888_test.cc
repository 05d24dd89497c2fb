// Camera frames in YUV_420_888: which memory arrangements are described in
// place and which go through the session's copy, and that every arrangement
// gives the bytes of the same samples handed to a session as a hand-built
// dense NV21 (layout 2) or YV12 (layout 3) frame. Bytes that are not samples
// (row padding, gaps between planes) must never change.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "common/test_util.h"
#include "session/session_frames.h"

namespace {

enum class Chroma {
  kVU,        // interleaved, V first (NV21)
  kUV,        // interleaved, U first (NV12)
  kPlanarUV,  // separate planes, U plane first in memory (I420)
  kPlanarVU,  // separate planes, V plane first (YV12)
  kApart2,    // pixel stride 2, but U and V in planes of their own
  kStep3      // pixel stride 3
};

struct Shape {
  Chroma chroma;
  int y_pad;
  int u_pad;
  int v_pad;
};

std::string name(const Shape& s) {
  static const char* const kNames[] = {"NV21", "NV12", "I420", "YV12", "apart2", "step3"};
  return std::string(kNames[static_cast<int>(s.chroma)]) + " pads " + std::to_string(s.y_pad) +
         "/" + std::to_string(s.u_pad) + "/" + std::to_string(s.v_pad);
}

struct Samples {
  int w, h;
  std::vector<uint8_t> y, u, v;  // dense: h x w, (h/2) x (w/2) twice
};

Samples make_samples(int w, int h, uint32_t seed) {
  Samples s{w, h, qlsbp_test::random_bytes(static_cast<size_t>(w) * h, seed),
            qlsbp_test::random_bytes(static_cast<size_t>(w / 2) * (h / 2), seed + 1),
            qlsbp_test::random_bytes(static_cast<size_t>(w / 2) * (h / 2), seed + 2)};
  return s;
}

// A frame laid out in one block of memory the way a camera might deliver it,
// with every byte that is not a sample holding noise.
struct CameraFrame {
  std::vector<uint8_t> mem;
  std::vector<bool> is_sample;
  qlsbp_yuv420_888 f;
};

CameraFrame make_frame(const Samples& px, const Shape& shape) {
  const int w = px.w, h = px.h, cw = w / 2, ch = h / 2;
  const int ps = shape.chroma == Chroma::kVU || shape.chroma == Chroma::kUV ||
                         shape.chroma == Chroma::kApart2
                     ? 2
                     : shape.chroma == Chroma::kStep3 ? 3 : 1;
  const bool interleaved = shape.chroma == Chroma::kVU || shape.chroma == Chroma::kUV;
  const int ys = w + shape.y_pad;
  const int us = cw * ps + shape.u_pad - (interleaved ? 0 : ps - 1);
  const int vs = interleaved ? us : cw * ps + shape.v_pad - (ps - 1);
  const size_t y_extent = static_cast<size_t>(ys) * (h - 1) + w;
  const size_t u_extent = static_cast<size_t>(us) * (ch - 1) + static_cast<size_t>(cw - 1) * ps + 1;
  const size_t v_extent = static_cast<size_t>(vs) * (ch - 1) + static_cast<size_t>(cw - 1) * ps + 1;
  const size_t gap = 16;
  size_t u_off, v_off, total;
  if (interleaved) {
    const size_t c = y_extent + gap;
    u_off = shape.chroma == Chroma::kUV ? c : c + 1;
    v_off = shape.chroma == Chroma::kUV ? c + 1 : c;
    total = c + u_extent + 1;
  } else if (shape.chroma == Chroma::kPlanarVU) {
    v_off = y_extent + gap;
    u_off = v_off + v_extent + gap;
    total = u_off + u_extent;
  } else {
    u_off = y_extent + gap;
    v_off = u_off + u_extent + gap;
    total = v_off + v_extent;
  }
  CameraFrame cf;
  cf.mem = qlsbp_test::random_bytes(total, 99);
  cf.is_sample.assign(total, false);
  auto put = [&](size_t off, int stride, int step, int rows, int cols, const std::vector<uint8_t>& s) {
    for (int r = 0; r < rows; ++r) {
      for (int c = 0; c < cols; ++c) {
        const size_t at = off + static_cast<size_t>(r) * stride + static_cast<size_t>(c) * step;
        cf.mem[at] = s[static_cast<size_t>(r) * cols + c];
        cf.is_sample[at] = true;
      }
    }
  };
  put(0, ys, 1, h, w, px.y);
  put(u_off, us, ps, ch, cw, px.u);
  put(v_off, vs, ps, ch, cw, px.v);
  cf.f = {w, h, cf.mem.data(), cf.mem.data() + u_off, cf.mem.data() + v_off, ys, us, vs, ps};
  return cf;
}

Samples read_frame(const CameraFrame& cf) {
  const qlsbp_yuv420_888& f = cf.f;
  Samples s{f.width, f.height, {}, {}, {}};
  auto get = [](const uint8_t* p, int stride, int step, int rows, int cols) {
    std::vector<uint8_t> out;
    for (int r = 0; r < rows; ++r) {
      for (int c = 0; c < cols; ++c) out.push_back(p[static_cast<size_t>(r) * stride + c * step]);
    }
    return out;
  };
  s.y = get(f.y, f.y_row_stride, 1, f.height, f.width);
  s.u = get(f.u, f.u_row_stride, f.chroma_pixel_stride, f.height / 2, f.width / 2);
  s.v = get(f.v, f.v_row_stride, f.chroma_pixel_stride, f.height / 2, f.width / 2);
  return s;
}

QL_BokehParam params(int frame) {
  QL_BokehParam p = {20 + 3 * frame, 24 - frame, 10, 14, 4 + frame, 5};
  return p;
}

qlsbp_session* open_session(int format, int w, int h) {
  qlsbp_session* s = qlsbp_test::open_session(format, w, h, 2);
  EXPECT_NE(nullptr, s);
  return s;
}

// The reference: the samples as a hand-built dense frame of the session's
// layout, V before U, through qlsbp_session_process. Two frames, so that
// state kept between frames is covered too.
std::vector<Samples> reference(int format, const std::vector<Samples>& in) {
  const int w = in[0].w, h = in[0].h, n = w * h, q = (w / 2) * (h / 2);
  const bool nv21 = format == QL_FORMAT_YUV420_SEMIPLANAR;
  auto v_at = [&](int k) { return static_cast<size_t>(nv21 ? n + 2 * k : n + k); };
  auto u_at = [&](int k) { return static_cast<size_t>(nv21 ? n + 2 * k + 1 : n + q + k); };
  qlsbp_session* s = open_session(format, w, h);
  std::vector<Samples> out;
  for (size_t i = 0; i < in.size(); ++i) {
    std::vector<uint8_t> dense(in[i].y);
    dense.resize(static_cast<size_t>(n + 2 * q));
    for (int k = 0; k < q; ++k) dense[v_at(k)] = in[i].v[k], dense[u_at(k)] = in[i].u[k];
    QL_IMAGEINFO img = {};
    img.format = format, img.width = w, img.height = h;
    img.plane[0] = dense.data(), img.stride[0] = w;
    img.plane[1] = dense.data() + n, img.stride[1] = nv21 ? w : w / 2;
    if (!nv21) img.plane[2] = dense.data() + n + q, img.stride[2] = w / 2;
    const QL_BokehParam p = params(static_cast<int>(i));
    EXPECT_EQ(qlsbp_session_process(s, &img, &p), QLSBP_OK);
    Samples r{w, h, std::vector<uint8_t>(dense.begin(), dense.begin() + n), {}, {}};
    for (int k = 0; k < q; ++k) r.v.push_back(dense[v_at(k)]), r.u.push_back(dense[u_at(k)]);
    out.push_back(r);
  }
  qlsbp_session_close(s);
  return out;
}

bool operator==(const Samples& a, const Samples& b) { return a.y == b.y && a.u == b.u && a.v == b.v; }

const Shape kShapes[] = {
    {Chroma::kVU, 0, 0, 0},       {Chroma::kVU, 16, 24, 24},      {Chroma::kUV, 0, 0, 0},
    {Chroma::kUV, 8, 8, 8},       {Chroma::kPlanarUV, 0, 0, 0},   {Chroma::kPlanarUV, 16, 8, 8},
    {Chroma::kPlanarVU, 0, 0, 0}, {Chroma::kPlanarVU, 4, 0, 0},   {Chroma::kPlanarUV, 0, 8, 8},
    {Chroma::kPlanarUV, 0, 0, 4}, {Chroma::kApart2, 0, 0, 0},     {Chroma::kApart2, 8, 6, 6},
    {Chroma::kStep3, 0, 0, 0},    {Chroma::kStep3, 8, 8, 8}};

}  // namespace

// Which arrangements map, to what, and which need the copy (64 x 48: both
// sides multiple of 4).
TEST(CameraFrameMap, ArrangementsOfAValidFrame) {
  struct Case {
    Shape shape;
    int rc;
    int format;
    bool u_first;  // plane[1] is u (layout 2) / layout 3 always has v first
  };
  const Case cases[] = {
      {{Chroma::kVU, 0, 0, 0}, QLSBP_OK, 2, false},
      {{Chroma::kVU, 16, 24, 24}, QLSBP_OK, 2, false},
      {{Chroma::kUV, 8, 8, 8}, QLSBP_OK, 2, true},
      {{Chroma::kPlanarUV, 0, 0, 0}, QLSBP_OK, 3, false},
      {{Chroma::kPlanarVU, 16, 8, 8}, QLSBP_OK, 3, false},
      {{Chroma::kPlanarUV, 4, 0, 0}, QLSBP_OK, 3, false},
      // Unpadded luma with padded chroma would keep its input luma.
      {{Chroma::kPlanarUV, 0, 8, 8}, QLSBP_NEEDS_COPY, 0, false},
      {{Chroma::kPlanarUV, 8, 0, 4}, QLSBP_NEEDS_COPY, 0, false},  // unequal strides
      {{Chroma::kApart2, 0, 0, 0}, QLSBP_NEEDS_COPY, 0, false},
      {{Chroma::kStep3, 0, 0, 0}, QLSBP_NEEDS_COPY, 0, false},
  };
  const Samples px = make_samples(64, 48, 1);
  for (const Case& c : cases) {
    SCOPED_TRACE(name(c.shape));
    CameraFrame cf = make_frame(px, c.shape);
    QL_IMAGEINFO out;
    memset(&out, 0x5a, sizeof(out));
    const QL_IMAGEINFO untouched = out;
    ASSERT_EQ(qlsbp_map_yuv420_888(&out, &cf.f), c.rc);
    if (c.rc != QLSBP_OK) {
      EXPECT_EQ(memcmp(&out, &untouched, sizeof(out)), 0);
      continue;
    }
    EXPECT_EQ(out.format, c.format);
    EXPECT_EQ(out.width, 64);
    EXPECT_EQ(out.height, 48);
    EXPECT_EQ(out.plane[0], cf.f.y);
    EXPECT_EQ(out.stride[0], cf.f.y_row_stride);
    EXPECT_EQ(out.stride[1], cf.f.u_row_stride);
    EXPECT_EQ(out.plane[3], nullptr);
    if (c.format == 2) {
      EXPECT_EQ(out.plane[1], c.u_first ? cf.f.u : cf.f.v);
    } else {
      EXPECT_EQ(out.plane[1], cf.f.v);
      EXPECT_EQ(out.plane[2], cf.f.u);
      EXPECT_EQ(out.stride[2], cf.f.v_row_stride);
    }
  }
}

TEST(CameraFrameMap, SidesNotMultipleOfFourNeedTheCopy) {
  for (const auto& size : {std::pair<int, int>{66, 48}, {64, 50}, {6, 6}}) {
    const Samples px = make_samples(size.first, size.second, 2);
    for (Chroma chroma : {Chroma::kVU, Chroma::kPlanarUV}) {
      CameraFrame cf = make_frame(px, {chroma, 0, 0, 0});
      QL_IMAGEINFO out;
      EXPECT_EQ(qlsbp_map_yuv420_888(&out, &cf.f), QLSBP_NEEDS_COPY)
          << size.first << "x" << size.second;
    }
  }
}

TEST(CameraFrameMap, NonsenseIsRefused) {
  const Samples px = make_samples(8, 4, 3);
  const CameraFrame cf = make_frame(px, {Chroma::kVU, 0, 0, 0});
  QL_IMAGEINFO out;
  EXPECT_EQ(qlsbp_map_yuv420_888(nullptr, &cf.f), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(qlsbp_map_yuv420_888(&out, nullptr), QLSBP_ERR_ARGUMENT);
  auto with = [&](void (*change)(qlsbp_yuv420_888&)) {
    qlsbp_yuv420_888 f = cf.f;
    change(f);
    return qlsbp_map_yuv420_888(&out, &f);
  };
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.y = nullptr; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.u = nullptr; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.v = nullptr; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.width = 7; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.height = 3; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.width = 0; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.height = -4; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.y_row_stride = 7; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.y_row_stride = -8; }), QLSBP_ERR_ARGUMENT);
  // Four chroma samples two bytes apart span 7 bytes: a row stride of 6
  // would start the next row on the last sample.
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.u_row_stride = 6; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.v_row_stride = 6; }), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.chroma_pixel_stride = 0; }), QLSBP_ERR_ARGUMENT);
  // A row stride of 7 is valid but too short for 8-byte interleaved rows.
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.u_row_stride = f.v_row_stride = 7; }),
            QLSBP_NEEDS_COPY);
  EXPECT_EQ(with([](qlsbp_yuv420_888& f) { f.width = f.height = 16384; }), QLSBP_ERR_TOO_LARGE);
  EXPECT_STRNE(qlsbp_strerror(QLSBP_NEEDS_COPY), qlsbp_strerror(12345));
}

// Every arrangement, padded and unpadded, through sessions of both 4:2:0
// layouts, in place or through the copy: the samples come out as the dense
// reference's, and nothing else in the caller's memory changes.
TEST(CameraFrameProcess, EveryArrangementGivesTheDenseFrameBytes) {
  for (const auto& size : {std::pair<int, int>{64, 48}, {66, 50}}) {
    const int w = size.first, h = size.second;
    const std::vector<Samples> in = {make_samples(w, h, 10), make_samples(w, h, 20)};
    for (int format : {QL_FORMAT_YUV420_SEMIPLANAR, QL_FORMAT_YUV420_PLANAR}) {
      const std::vector<Samples> want = reference(format, in);
      for (const Shape& shape : kShapes) {
        SCOPED_TRACE(name(shape) + " layout " + std::to_string(format) + " " + std::to_string(w) +
                     "x" + std::to_string(h));
        qlsbp_session* s = open_session(format, w, h);
        for (size_t i = 0; i < in.size(); ++i) {
          CameraFrame cf = make_frame(in[i], shape);
          const std::vector<uint8_t> before = cf.mem;
          const QL_BokehParam p = params(static_cast<int>(i));
          ASSERT_EQ(qlsbp_session_process_yuv420_888(s, &cf.f, &p), QLSBP_OK);
          EXPECT_TRUE(read_frame(cf) == want[i]) << "frame " << i;
          size_t changed = 0;
          for (size_t k = 0; k < cf.mem.size(); ++k) {
            changed += !cf.is_sample[k] && cf.mem[k] != before[k];
          }
          EXPECT_EQ(changed, 0u);
        }
        qlsbp_session_close(s);
      }
    }
  }
}

// With sides that are multiples of 4 the two chroma planes are processed
// alike, so the layouts agree with each other too: NV21 through a layout-2
// session and I420 through a layout-3 session give the same bytes.
TEST(CameraFrameProcess, ChromaOrderDoesNotShow) {
  const std::vector<Samples> in = {make_samples(64, 48, 30), make_samples(64, 48, 40)};
  const std::vector<Samples> nv21 = reference(QL_FORMAT_YUV420_SEMIPLANAR, in);
  const std::vector<Samples> yv12 = reference(QL_FORMAT_YUV420_PLANAR, in);
  // The same samples with U and V exchanged: each plane must come out as the
  // other plane did.
  std::vector<Samples> swapped = in;
  for (Samples& s : swapped) s.u.swap(s.v);
  const std::vector<Samples> nv12 = reference(QL_FORMAT_YUV420_SEMIPLANAR, swapped);
  for (size_t i = 0; i < in.size(); ++i) {
    EXPECT_TRUE(nv21[i] == yv12[i]) << "frame " << i;
    EXPECT_TRUE((Samples{64, 48, nv12[i].y, nv12[i].v, nv12[i].u} == nv21[i])) << "frame " << i;
  }
}

TEST(CameraFrameProcess, RefusalsLeaveTheFrame) {
  const Samples px = make_samples(32, 16, 50);
  CameraFrame cf = make_frame(px, {Chroma::kApart2, 4, 2, 2});  // would take the copy
  const std::vector<uint8_t> before = cf.mem;
  const QL_BokehParam p = params(0);
  qlsbp_session* yuyv = open_session(QL_FORMAT_YUYV422, 32, 16);
  qlsbp_session* other_size = open_session(QL_FORMAT_YUV420_SEMIPLANAR, 32, 20);
  qlsbp_session* fine = open_session(QL_FORMAT_YUV420_PLANAR, 32, 16);
  EXPECT_EQ(qlsbp_session_process_yuv420_888(yuyv, &cf.f, &p), QLSBP_ERR_LAYOUT);
  EXPECT_EQ(qlsbp_session_process_yuv420_888(other_size, &cf.f, &p), QLSBP_ERR_SIZE_MISMATCH);
  EXPECT_EQ(qlsbp_session_process_yuv420_888(nullptr, &cf.f, &p), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(qlsbp_session_process_yuv420_888(fine, nullptr, &p), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(qlsbp_session_process_yuv420_888(fine, &cf.f, nullptr), QLSBP_ERR_ARGUMENT);
  qlsbp_yuv420_888 bad = cf.f;
  bad.chroma_pixel_stride = 0;
  EXPECT_EQ(qlsbp_session_process_yuv420_888(fine, &bad, &p), QLSBP_ERR_ARGUMENT);
  EXPECT_EQ(cf.mem, before);
  qlsbp_session_close(yuyv);
  qlsbp_session_close(other_size);
  qlsbp_session_close(fine);
}
