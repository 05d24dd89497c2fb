// The whole preview frame, three ways in one interleaved case: the host API
// (sb_top_pv_*, threads started per call), a session with its default
// options (persistent workers), and the composed libyuv + OpenCV peer of
// peer.h. Layout codes 2, 3 and 4, four frame sizes, levels 1 and 7, planes
// with padded strides, a focus ellipse half the frame across, strength 3.
#include <algorithm>
#include <cstring>
#include <memory>

#include "bench_util.h"
#include "peer.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/mask.h"

#if QLSBP_BENCH_HAVE_PEER
#include "libyuv/convert_from.h"
#include "libyuv/planar_functions.h"
#endif

namespace qlsbp_bench {
namespace {

constexpr int kStrength = 3;
constexpr int kPad = 64;  // bytes of padding at the end of every row

QL_BokehParam frame_param(PlaneSize s, int level) {
  QL_BokehParam p{};
  p.focusRow = s.height / 2;
  p.focusCol = s.width / 2;
  p.axisRows = s.height / 4;
  p.axisCols = s.width / 4;
  p.level = level;
  p.strength = kStrength;
  return p;
}

// One frame in the caller's layout with padded strides, over one buffer.
struct Frame {
  std::vector<uint8_t> bytes;
  QL_IMAGEINFO info{};

  Frame(int format, PlaneSize s, uint32_t seed) {
    const int w = s.width, h = s.height;
    info.format = format;
    info.width = w;
    info.height = h;
    size_t offsets[3] = {0, 0, 0};
    if (format == QL_FORMAT_YUYV422) {
      info.stride[0] = 2 * w + kPad;
      bytes = random_bytes(static_cast<size_t>(info.stride[0]) * h, seed);
    } else if (format == QL_FORMAT_YUV420_SEMIPLANAR) {
      info.stride[0] = info.stride[1] = w + kPad;
      offsets[1] = static_cast<size_t>(info.stride[0]) * h;
      bytes = random_bytes(offsets[1] + static_cast<size_t>(info.stride[1]) * (h / 2), seed);
    } else {
      info.stride[0] = w + kPad;
      info.stride[1] = info.stride[2] = w / 2 + kPad / 2;
      offsets[1] = static_cast<size_t>(info.stride[0]) * h;
      offsets[2] = offsets[1] + static_cast<size_t>(info.stride[1]) * (h / 2);
      bytes = random_bytes(offsets[2] + static_cast<size_t>(info.stride[2]) * (h / 2), seed);
    }
    const int planes = format == QL_FORMAT_YUYV422 ? 1 : (format == 2 ? 2 : 3);
    for (int i = 0; i < planes; ++i) info.plane[i] = bytes.data() + offsets[i];
  }
};

void silent_log(int, const char*, const char*, void*) {}

const char* layout_name(int format) {
  return format == QL_FORMAT_YUV420_SEMIPLANAR ? "nv21"
         : format == QL_FORMAT_YUV420_PLANAR   ? "yv12"
                                               : "yuyv";
}

#if QLSBP_BENCH_HAVE_PEER
// The focus mask as the pipeline builds it, decimated for chroma planes.
std::vector<uint16_t> plane_mask(const std::vector<uint16_t>& full, PlaneSize s, int w, int h) {
  const int sx = s.width / w, sy = s.height / h;
  std::vector<uint16_t> out(static_cast<size_t>(w) * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      out[static_cast<size_t>(y) * w + x] = full[static_cast<size_t>(y * sy) * s.width + x * sx];
  return out;
}

struct PeerFrame {
  PlaneSize size;
  float sigma;
  PeerPlane planes[3];
  std::vector<uint8_t> y, u, v;  // dense planes for YUYV and NV21 chroma

  PeerFrame(int format, PlaneSize s, int level) : size(s), sigma(kLevelSigma[level]) {
    const QL_BokehParam p = frame_param(s, level);
    std::vector<uint16_t> full(static_cast<size_t>(s.width) * s.height, 0);
    gen_ellipse4(full.data(), p.focusRow, p.focusCol, p.axisRows, p.axisCols,
                 kStrength * (std::min(s.width, s.height) / 50), s.height, s.width);
    const int cw = s.width / 2, ch = format == QL_FORMAT_YUYV422 ? s.height : s.height / 2;
    planes[0].init(s.width, s.height, full);
    planes[1].init(cw, ch, plane_mask(full, s, cw, ch));
    planes[2].init(cw, ch, plane_mask(full, s, cw, ch));
    y.resize(static_cast<size_t>(s.width) * s.height);
    u.resize(static_cast<size_t>(cw) * ch);
    v.resize(u.size());
  }

  void run(QL_IMAGEINFO* f) {
    const int w = size.width, h = size.height, cw = w / 2;
    if (f->format == QL_FORMAT_YUYV422) {
      libyuv::YUY2ToI422(f->plane[0], f->stride[0], y.data(), w, u.data(), cw, v.data(), cw, w, h);
      planes[0].run(y.data(), w, sigma);
      planes[1].run(u.data(), cw, sigma);
      planes[2].run(v.data(), cw, sigma);
      libyuv::I422ToYUY2(y.data(), w, u.data(), cw, v.data(), cw, f->plane[0], f->stride[0], w, h);
    } else if (f->format == QL_FORMAT_YUV420_SEMIPLANAR) {
      planes[0].run(f->plane[0], f->stride[0], sigma);
      libyuv::SplitUVPlane(f->plane[1], f->stride[1], v.data(), cw, u.data(), cw, cw, h / 2);
      planes[1].run(v.data(), cw, sigma);
      planes[2].run(u.data(), cw, sigma);
      libyuv::MergeUVPlane(v.data(), cw, u.data(), cw, f->plane[1], f->stride[1], cw, h / 2);
    } else {
      for (int i = 0; i < 3; ++i) planes[i].run(f->plane[i], f->stride[i], sigma);
    }
  }
};
#endif

std::vector<Side> make_frame_sides(benchmark::State& state, int format, PlaneSize s, int level) {
  // The frames live as long as the case; the sides capture them.
  struct Buffers {
    Frame host, session, peer;
    qlsbp_session* handle = nullptr;
#if QLSBP_BENCH_HAVE_PEER
    PeerFrame peer_work;
#endif
    Buffers(int format, PlaneSize s, int level)
        : host(format, s, 1),
          session(format, s, 1),
          peer(format, s, 1)
#if QLSBP_BENCH_HAVE_PEER
          ,
          peer_work(format, s, level)
#endif
    {
      (void)level;
    }
    ~Buffers() {
      qlsbp_session_close(handle);
      sb_top_pv_deinit();
    }
  };
  static std::shared_ptr<Buffers> keep;  // one case at a time
  keep.reset();
  keep = std::make_shared<Buffers>(format, s, level);
  Buffers* b = keep.get();
  const QL_BokehParam param = frame_param(s, level);

  sb_top_pv_set_log_hook(silent_log, nullptr);
  qlsbp_session_options options;
  qlsbp_session_options_init(&options);
  if (sb_top_pv_initial(&b->host.info) != 0 ||
      qlsbp_session_open(&b->handle, &b->session.info, &options) != QLSBP_OK) {
    state.SkipWithError("could not open a session");
    return {};
  }
  std::vector<Side> sides;
  sides.push_back({"host", [b, param] {
                     QL_BokehParam p = param;
                     sb_top_pv_processer(&b->host.info, &p);
                   }});
  sides.push_back(
      {"session", [b, param] { qlsbp_session_process(b->handle, &b->session.info, &param); }});
#if QLSBP_BENCH_HAVE_PEER
  sides.push_back({"peer", [b] { b->peer_work.run(&b->peer.info); }});
#endif
  return sides;
}

}  // namespace

void register_frame_benchmarks() {
  const PlaneSize sizes[] = {{640, 480}, {1280, 720}, {1920, 1080}, {3840, 2160}};
  for (int format : {QL_FORMAT_YUV420_SEMIPLANAR, QL_FORMAT_YUV420_PLANAR, QL_FORMAT_YUYV422}) {
    for (int level : {1, 7}) {
      for (PlaneSize s : sizes) {
        const std::string name = std::string("frame_") + layout_name(format) + "_level" +
                                 std::to_string(level) + "/" + size_name(s);
        register_interleaved(name, [format, s, level](benchmark::State& state) {
          return make_frame_sides(state, format, s, level);
        });
      }
    }
  }
}

}  // namespace qlsbp_bench
