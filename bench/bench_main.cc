// Benchmark driver: sets the peers' thread count to ours, records in the
// run's context what a reader of the numbers needs (CPU paths, peer versions,
// thread counts), registers every case and hands over to Google Benchmark.
#include <string>

#include "bench_util.h"
#include "simd/cpu.h"

#if QLSBP_BENCH_HAVE_LIBYUV
#include "libyuv/version.h"
#endif
#if QLSBP_BENCH_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#endif

namespace {

void add_run_context() {
  const int flags = qlsbp_cpu_flags();
  std::string path = flags == 0 ? "scalar" : "";
  if (flags & kCpuHasAVX2) path += "avx2 ";
  if (flags & kCpuHasSSE2) path += "sse2 ";
  if (flags & kCpuHasNEON) path += "neon ";
  benchmark::AddCustomContext("ours.cpu_paths", path);
  benchmark::AddCustomContext("online_processors",
                              std::to_string(qlsbp_bench::online_processors()));
#if QLSBP_BENCH_HAVE_LIBYUV
  benchmark::AddCustomContext("libyuv.version", std::to_string(LIBYUV_VERSION));
#endif
#if QLSBP_BENCH_HAVE_OPENCV
  // OpenCV may use as many threads as our frame spreads over, no more.
  cv::setNumThreads(qlsbp_bench::online_processors());
  benchmark::AddCustomContext("opencv.version", CV_VERSION);
  benchmark::AddCustomContext("opencv.threads", std::to_string(cv::getNumThreads()));
#endif
}

}  // namespace

int main(int argc, char** argv) {
  add_run_context();
  qlsbp_bench::register_frame_benchmarks();
  qlsbp_bench::register_stage_benchmarks();
  qlsbp_bench::register_path_benchmarks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
