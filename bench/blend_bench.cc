// The mask blend of the preview (blurred and sharp plane under a 16-bit
// weight map) against libyuv's BlendPlane (8-bit alpha plane) and OpenCV's
// blendLinear (two float weight planes). Each side gets its weights in its
// own format, converted once outside the timed loop, so only the blend is
// timed; the rounding differs between the three, the work per pixel is alike.
#include "bench_util.h"
#include "qlsbp/blur.h"

#if QLSBP_BENCH_HAVE_LIBYUV
#include "libyuv.h"
#endif
#if QLSBP_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace qlsbp_bench {
namespace {

struct BlendInputs {
  explicit BlendInputs(PlaneSize s)
      : n(static_cast<size_t>(s.width) * s.height),
        first(random_bytes(n, 5)),
        second(random_bytes(n, 6)),
        weight(random_weights(n, 7)),
        dst(n) {}
  size_t n;
  std::vector<uint8_t> first;    // blurred
  std::vector<uint8_t> second;   // sharp
  std::vector<uint16_t> weight;  // 1024 = sharp
  std::vector<uint8_t> dst;
};

void bm_ours(benchmark::State& state, PlaneSize s) {
  BlendInputs in(s);
  for (auto _ : state) {
    img_blend_neon(in.dst.data(), in.first.data(), in.second.data(), in.weight.data(),
                   static_cast<int>(in.n));
    benchmark::DoNotOptimize(in.dst.data());
    benchmark::ClobberMemory();
  }
  set_bytes(state, in.n);
}

#if QLSBP_BENCH_HAVE_LIBYUV
void bm_libyuv(benchmark::State& state, PlaneSize s) {
  BlendInputs in(s);
  // BlendPlane: dst = (y0 * alpha + y1 * (255 - alpha) + 255) >> 8, so the
  // sharp plane goes first and alpha is the weight rescaled to 0 .. 255.
  std::vector<uint8_t> alpha(in.n);
  for (size_t i = 0; i < in.n; ++i) alpha[i] = static_cast<uint8_t>(in.weight[i] * 255 / 1024);
  for (auto _ : state) {
    libyuv::BlendPlane(in.second.data(), s.width, in.first.data(), s.width, alpha.data(), s.width,
                       in.dst.data(), s.width, s.width, s.height);
    benchmark::DoNotOptimize(in.dst.data());
    benchmark::ClobberMemory();
  }
  set_bytes(state, in.n);
}
#endif

#if QLSBP_BENCH_HAVE_OPENCV
void bm_opencv(benchmark::State& state, PlaneSize s) {
  BlendInputs in(s);
  cv::Mat w_first(s.height, s.width, CV_32FC1), w_second(s.height, s.width, CV_32FC1);
  for (size_t i = 0; i < in.n; ++i) {
    w_second.ptr<float>()[i] = in.weight[i] / 1024.0f;
    w_first.ptr<float>()[i] = 1.0f - in.weight[i] / 1024.0f;
  }
  const cv::Mat first(s.height, s.width, CV_8UC1, in.first.data());
  const cv::Mat second(s.height, s.width, CV_8UC1, in.second.data());
  cv::Mat dst(s.height, s.width, CV_8UC1, in.dst.data());
  for (auto _ : state) {
    cv::blendLinear(first, second, w_first, w_second, dst);
    benchmark::DoNotOptimize(in.dst.data());
    benchmark::ClobberMemory();
  }
  set_bytes(state, in.n);
}
#endif

}  // namespace

void register_blend_benchmarks() {
  for (PlaneSize s : frame_sizes()) {
    register_case("img_blend_neon", "ours", s, bm_ours);
#if QLSBP_BENCH_HAVE_LIBYUV
    register_case("img_blend_neon", "libyuv_blendplane", s, bm_libyuv);
#endif
#if QLSBP_BENCH_HAVE_OPENCV
    register_case("img_blend_neon", "opencv_blendlinear", s, bm_opencv);
#endif
  }
}

}  // namespace qlsbp_bench
