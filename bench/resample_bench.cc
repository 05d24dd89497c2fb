// 2:1 pyramid resampling of one luma plane against libyuv's plane scaler and
// OpenCV's resize. The halving is the same 2x2 box with round half up on all
// sides; the doubling is bilinear everywhere, but we keep every source pixel
// on the even output grid while the peers sample at pixel centres, so the
// enlarged bytes differ and that pair compares cost only.
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

// (dst, src, source width, source height, destination width, height)
using ResampleFn = void (*)(uint8_t*, const uint8_t*, int, int, int, int);

void ours_down(uint8_t* dst, const uint8_t* src, int sw, int sh, int, int) {
  downsampleh2v2(dst, const_cast<uint8_t*>(src), sh, sw);
}
void ours_up(uint8_t* dst, const uint8_t* src, int sw, int sh, int, int) {
  upscalingh2v2(dst, const_cast<uint8_t*>(src), sh, sw);
}

#if QLSBP_BENCH_HAVE_LIBYUV
void yuv_box(uint8_t* dst, const uint8_t* src, int sw, int sh, int dw, int dh) {
  libyuv::ScalePlane(src, sw, sw, sh, dst, dw, dw, dh, libyuv::kFilterBox);
}
void yuv_bilinear(uint8_t* dst, const uint8_t* src, int sw, int sh, int dw, int dh) {
  libyuv::ScalePlane(src, sw, sw, sh, dst, dw, dw, dh, libyuv::kFilterBilinear);
}
#endif

#if QLSBP_BENCH_HAVE_OPENCV
void cv_resize(uint8_t* dst, const uint8_t* src, int sw, int sh, int dw, int dh, int mode) {
  const cv::Mat in(sh, sw, CV_8UC1, const_cast<uint8_t*>(src));
  cv::Mat out(dh, dw, CV_8UC1, dst);
  cv::resize(in, out, out.size(), 0, 0, mode);
}
void cv_area(uint8_t* dst, const uint8_t* src, int sw, int sh, int dw, int dh) {
  cv_resize(dst, src, sw, sh, dw, dh, cv::INTER_AREA);
}
void cv_linear(uint8_t* dst, const uint8_t* src, int sw, int sh, int dw, int dh) {
  cv_resize(dst, src, sw, sh, dw, dh, cv::INTER_LINEAR);
}
#endif

// `frame` is the full-resolution size: the source of the halving and the
// result of the doubling. Throughput counts the full-resolution plane.
void run_resample(benchmark::State& state, PlaneSize frame, ResampleFn fn, bool halve) {
  const PlaneSize half{frame.width / 2, frame.height / 2};
  const PlaneSize in = halve ? frame : half;
  const PlaneSize out = halve ? half : frame;
  const std::vector<uint8_t> src = random_bytes(static_cast<size_t>(in.width) * in.height, 3);
  std::vector<uint8_t> dst(static_cast<size_t>(out.width) * out.height);
  for (auto _ : state) {
    fn(dst.data(), src.data(), in.width, in.height, out.width, out.height);
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  set_bytes(state, static_cast<size_t>(frame.width) * frame.height);
}

void check_same(const char* what, ResampleFn ours, ResampleFn peer, bool halve) {
  const PlaneSize frame{64, 48};
  const PlaneSize half{32, 24};
  const PlaneSize in = halve ? frame : half;
  const PlaneSize out = halve ? half : frame;
  const std::vector<uint8_t> src = random_bytes(static_cast<size_t>(in.width) * in.height, 4);
  std::vector<uint8_t> a(static_cast<size_t>(out.width) * out.height), b(a.size());
  ours(a.data(), src.data(), in.width, in.height, out.width, out.height);
  peer(b.data(), src.data(), in.width, in.height, out.width, out.height);
  note_same_bytes(what, a, b);
}

void register_pair(const char* kernel, const char* impl, ResampleFn fn, bool halve) {
  for (PlaneSize s : frame_sizes()) {
    register_case(kernel, impl, s, [fn, halve](benchmark::State& st, PlaneSize ps) {
      run_resample(st, ps, fn, halve);
    });
  }
}

}  // namespace

void register_resample_benchmarks() {
  register_pair("downsampleh2v2", "ours", ours_down, true);
#if QLSBP_BENCH_HAVE_LIBYUV
  register_pair("downsampleh2v2", "libyuv_box", yuv_box, true);
  check_same("downsampleh2v2_vs_libyuv_box", ours_down, yuv_box, true);
#endif
#if QLSBP_BENCH_HAVE_OPENCV
  register_pair("downsampleh2v2", "opencv_area", cv_area, true);
  check_same("downsampleh2v2_vs_opencv_area", ours_down, cv_area, true);
#endif

  register_pair("upscalingh2v2", "ours", ours_up, false);
#if QLSBP_BENCH_HAVE_LIBYUV
  register_pair("upscalingh2v2", "libyuv_bilinear", yuv_bilinear, false);
  check_same("upscalingh2v2_vs_libyuv_bilinear", ours_up, yuv_bilinear, false);
#endif
#if QLSBP_BENCH_HAVE_OPENCV
  register_pair("upscalingh2v2", "opencv_linear", cv_linear, false);
  check_same("upscalingh2v2_vs_opencv_linear", ours_up, cv_linear, false);
#endif
}

}  // namespace qlsbp_bench
