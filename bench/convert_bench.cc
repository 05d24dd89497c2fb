// Layout conversions of the preview path against libyuv's plane splitters
// and packers. Both sides produce the same bytes (noted in the run context),
// so the times compare like for like.
#include <cstring>

#include "bench_util.h"
#include "qlsbp/convert.h"

#if QLSBP_BENCH_HAVE_LIBYUV
#include "libyuv.h"
#endif

namespace qlsbp_bench {
namespace {

using ConvertFn = void (*)(uint8_t* dst, const uint8_t* src, int width, int height);

// NV21 (luma + interleaved chroma) <-> three planes, 4:2:0.
void ours_split_nv(uint8_t* dst, const uint8_t* src, int w, int h) {
  y4uv20_to_y4u1v1(dst, const_cast<uint8_t*>(src), h, w);
}
void ours_merge_nv(uint8_t* dst, const uint8_t* src, int w, int h) {
  y4u1v1_to_y4uv20(dst, const_cast<uint8_t*>(src), h, w);
}
// YUYV <-> three planes, 4:2:2.
void ours_split_yuyv(uint8_t* dst, const uint8_t* src, int w, int h) {
  yuyv422_to_y4u2v2(dst, const_cast<uint8_t*>(src), h, w);
}
void ours_join_yuyv(uint8_t* dst, const uint8_t* src, int w, int h) {
  y4u2v2_to_yuyv422(dst, const_cast<uint8_t*>(src), h, w);
}

#if QLSBP_BENCH_HAVE_LIBYUV
void yuv_split_nv(uint8_t* dst, const uint8_t* src, int w, int h) {
  const int n = w * h, c = (w / 2) * (h / 2);
  libyuv::CopyPlane(src, w, dst, w, w, h);
  libyuv::SplitUVPlane(src + n, w, dst + n, w / 2, dst + n + c, w / 2, w / 2, h / 2);
}
void yuv_merge_nv(uint8_t* dst, const uint8_t* src, int w, int h) {
  const int n = w * h, c = (w / 2) * (h / 2);
  libyuv::CopyPlane(src, w, dst, w, w, h);
  libyuv::MergeUVPlane(src + n, w / 2, src + n + c, w / 2, dst + n, w, w / 2, h / 2);
}
void yuv_split_yuyv(uint8_t* dst, const uint8_t* src, int w, int h) {
  const int n = w * h;
  libyuv::YUY2ToI422(src, 2 * w, dst, w, dst + n, w / 2, dst + n + n / 2, w / 2, w, h);
}
void yuv_join_yuyv(uint8_t* dst, const uint8_t* src, int w, int h) {
  const int n = w * h;
  libyuv::I422ToYUY2(src, w, src + n, w / 2, src + n + n / 2, w / 2, dst, 2 * w, w, h);
}
#endif

// Frame bytes of each layout pair: 4:2:0 takes 1.5 bytes a pixel, 4:2:2 two.
size_t frame_bytes(bool is422, PlaneSize s) {
  const size_t n = static_cast<size_t>(s.width) * s.height;
  return is422 ? 2 * n : n + n / 2;
}

void run_convert(benchmark::State& state, PlaneSize s, ConvertFn fn, bool is422) {
  const size_t bytes = frame_bytes(is422, s);
  const std::vector<uint8_t> src = random_bytes(bytes, 1);
  std::vector<uint8_t> dst(bytes);
  for (auto _ : state) {
    fn(dst.data(), src.data(), s.width, s.height);
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  set_bytes(state, bytes);
}

struct ConvertCase {
  const char* kernel;
  bool is422;
  ConvertFn ours;
  ConvertFn libyuv;  // null without the peer
};

}  // namespace

void register_convert_benchmarks() {
#if QLSBP_BENCH_HAVE_LIBYUV
  const ConvertCase cases[] = {
      {"y4uv20_to_y4u1v1", false, ours_split_nv, yuv_split_nv},
      {"y4u1v1_to_y4uv20", false, ours_merge_nv, yuv_merge_nv},
      {"yuyv422_to_y4u2v2", true, ours_split_yuyv, yuv_split_yuyv},
      {"y4u2v2_to_yuyv422", true, ours_join_yuyv, yuv_join_yuyv},
  };
#else
  const ConvertCase cases[] = {
      {"y4uv20_to_y4u1v1", false, ours_split_nv, nullptr},
      {"y4u1v1_to_y4uv20", false, ours_merge_nv, nullptr},
      {"yuyv422_to_y4u2v2", true, ours_split_yuyv, nullptr},
      {"y4u2v2_to_yuyv422", true, ours_join_yuyv, nullptr},
  };
#endif
  for (const ConvertCase& cc : cases) {
    for (PlaneSize s : frame_sizes()) {
      register_case(cc.kernel, "ours", s, [cc](benchmark::State& st, PlaneSize ps) {
        run_convert(st, ps, cc.ours, cc.is422);
      });
      if (cc.libyuv == nullptr) continue;
      register_case(cc.kernel, "libyuv", s, [cc](benchmark::State& st, PlaneSize ps) {
        run_convert(st, ps, cc.libyuv, cc.is422);
      });
    }
    if (cc.libyuv != nullptr) {
      // One small frame is enough to tell whether both sides agree.
      const PlaneSize s{64, 48};
      const size_t bytes = frame_bytes(cc.is422, s);
      const std::vector<uint8_t> src = random_bytes(bytes, 2);
      std::vector<uint8_t> a(bytes), b(bytes);
      cc.ours(a.data(), src.data(), s.width, s.height);
      cc.libyuv(b.data(), src.data(), s.width, s.height);
      note_same_bytes(std::string(cc.kernel) + "_vs_libyuv", a, b);
    }
  }
}

}  // namespace qlsbp_bench
