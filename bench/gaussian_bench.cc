// The 21-tap threaded Gaussian on the half-resolution planes that the preview
// blurs, against OpenCV's GaussianBlur and sepFilter2D with the same kernel
// length, sigma and border rule (reflect-101). OpenCV runs at its default
// thread count; our filter always starts 7 threads per pass (the count is
// fixed by the design), whatever the core count.
#include "bench_util.h"
#include "qlsbp/gaussian.h"
#include "threads/parallel.h"

#if QLSBP_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace qlsbp_bench {
namespace {

constexpr int kOurThreadsPerPass = 7;

std::vector<int> level5_taps() {
  std::vector<int> taps(kTaps, 0);
  init_gaussian_kernel(taps.data(), kLevel5Sigma, kTaps, 1, 0, 1024.0f);
  return taps;
}

void bm_ours(benchmark::State& state, PlaneSize s) {
  std::vector<uint8_t> img = random_bytes(static_cast<size_t>(s.width) * s.height, 8);
  const std::vector<int> taps = level5_taps();
  const unsigned long long need = gaussian_filter_arena_bytes(s.height, s.width, kTaps);
  std::vector<uint8_t> arena(static_cast<size_t>(need));
  QLMemInfoT mem{arena.data(), static_cast<unsigned>(need), 0};
  for (auto _ : state) {
    // The preview restores its arena view before every frame; so do we.
    mem.used = 0;
    // In place, as in the preview: each iteration blurs the previous result,
    // which costs the same as blurring fresh content.
    gaussian_filter_for_int_image_21x21(img.data(), s.height, s.width, kTaps, taps.data(), &mem);
    benchmark::DoNotOptimize(img.data());
    benchmark::ClobberMemory();
  }
  state.counters["worker_threads"] = kOurThreadsPerPass;
  set_bytes(state, img.size());
}

// The same worker bodies called once each on the calling thread over the
// whole interior (no thread start-up, no mirrored border rows and columns):
// what the filter's arithmetic alone costs, to tell it apart from the cost of
// starting 14 threads per call.
void bm_ours_workers_inline(benchmark::State& state, PlaneSize s) {
  std::vector<uint8_t> img = random_bytes(static_cast<size_t>(s.width) * s.height, 8);
  std::vector<uint8_t> tmp(img.size());
  const std::vector<int> taps = level5_taps();
  const int r = kTaps >> 1;
  std::vector<int> row_offsets(kTaps);
  for (int k = 0; k < kTaps; ++k) row_offsets[k] = k * s.width;
  GaussianThreadArg vertical{img.data(),       tmp.data() + r * s.width,
                             taps.data(),      row_offsets.data(),
                             s.height - 2 * r, s.width,
                             s.width,          kTaps};
  GaussianThreadArg horizontal{tmp.data(), img.data() + r,  taps.data(), row_offsets.data(),
                               s.height,   s.width - 2 * r, s.width,     kTaps};
  for (auto _ : state) {
    thread_vertical_gaussian_21(&vertical);
    thread_horizon_gaussian_21(&horizontal);
    benchmark::DoNotOptimize(img.data());
    benchmark::ClobberMemory();
  }
  state.counters["worker_threads"] = 1;
  set_bytes(state, img.size());
}

// What one filter pass pays to start and join its 7 threads, with tasks that
// do nothing: the fixed cost that the arithmetic has to amortise.
void* empty_task(void* arg) { return arg; }

void bm_empty_pass(benchmark::State& state) {
  int args[kOurThreadsPerPass] = {};
  pthread_t handles[kOurThreadsPerPass];
  for (auto _ : state) {
    qlsbp_run_parallel(empty_task, args, sizeof(int), kOurThreadsPerPass, handles);
    benchmark::ClobberMemory();
  }
  state.counters["worker_threads"] = kOurThreadsPerPass;
}

#if QLSBP_BENCH_HAVE_OPENCV
void bm_gaussian_blur(benchmark::State& state, PlaneSize s) {
  std::vector<uint8_t> img = random_bytes(static_cast<size_t>(s.width) * s.height, 8);
  const cv::Mat src(s.height, s.width, CV_8UC1, img.data());
  cv::Mat dst(s.height, s.width, CV_8UC1);
  for (auto _ : state) {
    cv::GaussianBlur(src, dst, cv::Size(kTaps, kTaps), kLevel5Sigma, kLevel5Sigma,
                     cv::BORDER_REFLECT_101);
    benchmark::DoNotOptimize(dst.data);
    benchmark::ClobberMemory();
  }
  state.counters["worker_threads"] = cv::getNumThreads();
  set_bytes(state, img.size());
}

// sepFilter2D with our own integer taps as floats (tap / 1024): the same
// kernel through OpenCV's general separable filter.
void bm_sep_filter(benchmark::State& state, PlaneSize s) {
  std::vector<uint8_t> img = random_bytes(static_cast<size_t>(s.width) * s.height, 8);
  const std::vector<int> taps = level5_taps();
  cv::Mat kernel(kTaps, 1, CV_32FC1);
  for (int i = 0; i < kTaps; ++i) kernel.at<float>(i) = taps[i] / 1024.0f;
  const cv::Mat src(s.height, s.width, CV_8UC1, img.data());
  cv::Mat dst(s.height, s.width, CV_8UC1);
  for (auto _ : state) {
    cv::sepFilter2D(src, dst, CV_8U, kernel, kernel, cv::Point(-1, -1), 0, cv::BORDER_REFLECT_101);
    benchmark::DoNotOptimize(dst.data);
    benchmark::ClobberMemory();
  }
  state.counters["worker_threads"] = cv::getNumThreads();
  set_bytes(state, img.size());
}
#endif

}  // namespace

void register_gaussian_benchmarks() {
  for (PlaneSize s : half_plane_sizes()) {
    register_case("gaussian_21x21", "ours", s, bm_ours);
    register_case("gaussian_21x21", "ours_workers_inline", s, bm_ours_workers_inline);
#if QLSBP_BENCH_HAVE_OPENCV
    register_case("gaussian_21x21", "opencv_gaussianblur", s, bm_gaussian_blur);
    register_case("gaussian_21x21", "opencv_sepfilter2d", s, bm_sep_filter);
#endif
  }
  benchmark::RegisterBenchmark("thread_pass_empty:ours/7threads", bm_empty_pass)
      ->Unit(benchmark::kMicrosecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime();
  benchmark::AddCustomContext("ours.gaussian_threads", "7 per pass (vertical, then horizontal)");
}

}  // namespace qlsbp_bench
