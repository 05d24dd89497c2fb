// The whole preview frame: one session opened once, then sb_top_pv_processer
// per iteration on an NV21 frame at level 5, strength 3. The peer is an
// OpenCV composition doing comparable work on the same three planes: split
// the chroma, and per plane halve (INTER_AREA), blur 21x21 with the same
// sigma, enlarge (INTER_LINEAR), blend with the focus mask (blendLinear),
// then merge the chroma back. Its weight planes are built once outside the
// loop, as our session keeps its mask while the focus does not move.
#include <algorithm>
#include <cstring>

#include "bench_util.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/mask.h"

#if QLSBP_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace qlsbp_bench {
namespace {

constexpr int kLevel = 5;
constexpr int kStrength = 3;

// Focus ellipse in the middle of the frame, half the frame across.
QL_BokehParam frame_param(PlaneSize s) {
  QL_BokehParam p{};
  p.focusRow = s.height / 2;
  p.focusCol = s.width / 2;
  p.axisRows = s.height / 4;
  p.axisCols = s.width / 4;
  p.level = kLevel;
  p.strength = kStrength;
  return p;
}

void silent_log(int, const char*, const char*, void*) {}

void bm_ours(benchmark::State& state, PlaneSize s) {
  const size_t n = static_cast<size_t>(s.width) * s.height;
  std::vector<uint8_t> frame = random_bytes(n + n / 2, 9);
  const std::vector<uint8_t> input = frame;
  QL_IMAGEINFO img{};
  img.format = QL_FORMAT_YUV420_SEMIPLANAR;
  img.width = s.width;
  img.height = s.height;
  img.plane[0] = frame.data();
  img.plane[1] = frame.data() + n;
  img.stride[0] = s.width;
  img.stride[1] = s.width;
  QL_BokehParam param = frame_param(s);

  sb_top_pv_set_log_hook(silent_log, nullptr);
  sb_top_pv_initial(&img);
  // A frame that passes through untouched would time nothing worth having.
  sb_top_pv_processer(&img, &param);
  if (frame == input) {
    state.SkipWithError("frame passed through unprocessed (no session?)");
  } else {
    for (auto _ : state) {
      sb_top_pv_processer(&img, &param);
      benchmark::DoNotOptimize(frame.data());
      benchmark::ClobberMemory();
    }
  }
  sb_top_pv_deinit();
  sb_top_pv_set_log_hook(nullptr, nullptr);
  // Three plane workers, each starting 7 threads per filter pass.
  state.counters["worker_threads"] = 3 * 7;
  set_bytes(state, frame.size());
}

#if QLSBP_BENCH_HAVE_OPENCV
struct PlaneWork {
  cv::Mat w_sharp, w_blur;  // blend weights, sum 1
  cv::Mat half, half_blurred, blurred, out;
};

// Weights from the same focus mask our pipeline builds (1024 = sharp); the
// ramp's slight overshoot above 1024 is clamped, OpenCV has no use for it.
void fill_weights(PlaneWork* work, const std::vector<uint16_t>& mask, int mask_width, int rows,
                  int cols, int step) {
  work->w_sharp.create(rows, cols, CV_32FC1);
  work->w_blur.create(rows, cols, CV_32FC1);
  for (int y = 0; y < rows; ++y) {
    for (int x = 0; x < cols; ++x) {
      const int m =
          std::min<int>(mask[static_cast<size_t>(y * step) * mask_width + x * step], 1024);
      work->w_sharp.at<float>(y, x) = m / 1024.0f;
      work->w_blur.at<float>(y, x) = 1.0f - m / 1024.0f;
    }
  }
}

void blur_plane(cv::Mat& plane, PlaneWork* w) {
  cv::resize(plane, w->half, cv::Size(plane.cols / 2, plane.rows / 2), 0, 0, cv::INTER_AREA);
  cv::GaussianBlur(w->half, w->half_blurred, cv::Size(kTaps, kTaps), kLevel5Sigma, kLevel5Sigma,
                   cv::BORDER_REFLECT_101);
  cv::resize(w->half_blurred, w->blurred, plane.size(), 0, 0, cv::INTER_LINEAR);
  cv::blendLinear(plane, w->blurred, w->w_sharp, w->w_blur, w->out);
  w->out.copyTo(plane);
}

void bm_opencv(benchmark::State& state, PlaneSize s) {
  const size_t n = static_cast<size_t>(s.width) * s.height;
  std::vector<uint8_t> frame = random_bytes(n + n / 2, 9);
  cv::Mat luma(s.height, s.width, CV_8UC1, frame.data());
  cv::Mat chroma(s.height / 2, s.width / 2, CV_8UC2, frame.data() + n);

  const QL_BokehParam p = frame_param(s);
  const int band = kStrength * (std::min(s.width, s.height) / 50);
  std::vector<uint16_t> mask(n, 0);
  gen_ellipse4(mask.data(), p.focusRow, p.focusCol, p.axisRows, p.axisCols, band, s.height,
               s.width);
  PlaneWork work[3];
  fill_weights(&work[0], mask, s.width, s.height, s.width, 1);
  fill_weights(&work[1], mask, s.width, s.height / 2, s.width / 2, 2);
  fill_weights(&work[2], mask, s.width, s.height / 2, s.width / 2, 2);
  std::vector<cv::Mat> planes = {cv::Mat(s.height / 2, s.width / 2, CV_8UC1),
                                 cv::Mat(s.height / 2, s.width / 2, CV_8UC1)};

  for (auto _ : state) {
    cv::split(chroma, planes);
    blur_plane(luma, &work[0]);
    blur_plane(planes[0], &work[1]);
    blur_plane(planes[1], &work[2]);
    cv::merge(planes, chroma);
    benchmark::DoNotOptimize(frame.data());
    benchmark::ClobberMemory();
  }
  state.counters["worker_threads"] = cv::getNumThreads();
  set_bytes(state, frame.size());
}
#endif

}  // namespace

void register_frame_benchmarks() {
  for (PlaneSize s : frame_sizes()) {
    register_case("frame_nv21_level5", "ours", s, bm_ours);
#if QLSBP_BENCH_HAVE_OPENCV
    register_case("frame_nv21_level5", "opencv_composition", s, bm_opencv);
#endif
  }
}

}  // namespace qlsbp_bench
