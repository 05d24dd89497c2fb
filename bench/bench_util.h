// Shared helpers of the benchmarks: frame sizes, random planes and the
// naming scheme that bench/ratios.py reads back from the JSON output.
//
// Every case is registered as "<kernel>:<impl>/<width>x<height>", where impl
// is "ours" for this library and the peer's name otherwise, so the ratio
// script can pair our time with each peer's on the same kernel and size.
// Cases run on wall-clock time (several of them start threads) and also
// record the process CPU time, which counts every thread's work.
#ifndef QLSBP_BENCH_BENCH_UTIL_H_
#define QLSBP_BENCH_BENCH_UTIL_H_

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qlsbp_bench {

struct PlaneSize {
  int width;
  int height;
};

// Preview frames, and the half-resolution planes that the frame's luma
// filter works on.
inline const std::vector<PlaneSize>& frame_sizes() {
  static const std::vector<PlaneSize> sizes = {{640, 480}, {1920, 1080}};
  return sizes;
}
inline const std::vector<PlaneSize>& half_plane_sizes() {
  static const std::vector<PlaneSize> sizes = {{320, 240}, {960, 540}};
  return sizes;
}

// Blur level 5 of the preview: its Gaussian standard deviation, in pixels of
// the half-resolution plane, and the kernel length.
constexpr float kLevel5Sigma = 1.8f;
constexpr int kTaps = 21;

inline std::vector<uint8_t> random_bytes(size_t n, uint32_t seed) {
  std::mt19937 gen(seed);
  std::vector<uint8_t> out(n);
  for (auto& b : out) b = static_cast<uint8_t>(gen() >> 24);
  return out;
}

// Blend weights in 0 .. 1024 (1024 = second source).
inline std::vector<uint16_t> random_weights(size_t n, uint32_t seed) {
  std::mt19937 gen(seed);
  std::uniform_int_distribution<int> dist(0, 1024);
  std::vector<uint16_t> out(n);
  for (auto& w : out) w = static_cast<uint16_t>(dist(gen));
  return out;
}

inline std::string case_name(const char* kernel, const char* impl, PlaneSize size) {
  return std::string(kernel) + ":" + impl + "/" + std::to_string(size.width) + "x" +
         std::to_string(size.height);
}

// Registers one case; fn(state, size) runs the timed loop.
inline void register_case(const char* kernel, const char* impl, PlaneSize size,
                          std::function<void(benchmark::State&, PlaneSize)> fn) {
  benchmark::RegisterBenchmark(case_name(kernel, impl, size).c_str(),
                               [fn, size](benchmark::State& state) { fn(state, size); })
      ->Unit(benchmark::kMicrosecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime();
}

// Throughput in bytes of the frame or plane that a case handles per iteration
// (the same figure for ours and the peers, so bytes/s compare directly).
inline void set_bytes(benchmark::State& state, size_t bytes_per_iteration) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(bytes_per_iteration));
}

// Records, in the run's context, whether our output and a peer's are
// byte-identical for the same input (a note for the report, not a test).
inline void note_same_bytes(const std::string& what, const std::vector<uint8_t>& ours,
                            const std::vector<uint8_t>& peer) {
  benchmark::AddCustomContext("bytes." + what, ours == peer ? "identical" : "different");
}

void register_convert_benchmarks();
void register_resample_benchmarks();
void register_blend_benchmarks();
void register_gaussian_benchmarks();
void register_frame_benchmarks();

}  // namespace qlsbp_bench

#endif  // QLSBP_BENCH_BENCH_UTIL_H_
