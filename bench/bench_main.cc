// Benchmark driver: registers every case, then records in the run's context
// what a reader of the numbers needs (vector or scalar path, peer versions
// and thread counts) before handing over to Google Benchmark.
#include <thread>

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
  const char* path = "scalar";
  if (qlsbp_simd_enabled()) path = QLSBP_HAVE_NEON ? "vector (NEON)" : "vector (SSE2)";
  benchmark::AddCustomContext("ours.kernels", path);
  benchmark::AddCustomContext("hardware_threads",
                              std::to_string(std::thread::hardware_concurrency()));
#if QLSBP_BENCH_HAVE_LIBYUV
  benchmark::AddCustomContext("libyuv.version", std::to_string(LIBYUV_VERSION));
#else
  benchmark::AddCustomContext("libyuv.version", "not built");
#endif
#if QLSBP_BENCH_HAVE_OPENCV
  benchmark::AddCustomContext("opencv.version", CV_VERSION);
  benchmark::AddCustomContext("opencv.threads", std::to_string(cv::getNumThreads()));
#else
  benchmark::AddCustomContext("opencv.version", "not built");
#endif
}

}  // namespace

int main(int argc, char** argv) {
  add_run_context();
  qlsbp_bench::register_convert_benchmarks();
  qlsbp_bench::register_resample_benchmarks();
  qlsbp_bench::register_blend_benchmarks();
  qlsbp_bench::register_gaussian_benchmarks();
  qlsbp_bench::register_frame_benchmarks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
