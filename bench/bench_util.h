// Shared helpers of the benchmarks: frame and plane sizes, random planes, and
// the interleaved runner whose counters bench/ratios.py reads back.
//
// Every comparison is one Google Benchmark case whose iterations run all of
// its sides in turn (ours, the peer, ...), rotating which side goes first.
// So a burst of load from other processes on a shared machine lands on every
// side alike instead of on whichever case happened to be running. Each side
// is timed on its own; its per-iteration median, in microseconds, becomes
// the counter "<side>_us". Cases are named "<stage>/<width>x<height>".
#ifndef QLSBP_BENCH_BENCH_UTIL_H_
#define QLSBP_BENCH_BENCH_UTIL_H_

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
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

inline std::string size_name(PlaneSize s) {
  return std::to_string(s.width) + "x" + std::to_string(s.height);
}

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

// Standard deviation of the Gaussian per blur level, in pixels of the half
// plane (the preview's table), and its kernel length.
constexpr float kLevelSigma[8] = {0.0f, 0.7f, 1.0f, 1.2f, 1.5f, 1.8f, 2.2f, 3.2f};
constexpr int kTaps = 21;

struct Side {
  std::string name;           // counter "<name>_us"
  std::function<void()> run;  // one repetition of this side's work
};

// The timed loop: all sides per iteration, first side rotating.
inline void run_interleaved(benchmark::State& state, const std::vector<Side>& sides) {
  using Clock = std::chrono::steady_clock;
  const size_t n = sides.size();
  std::vector<std::vector<double>> times(n);
  size_t first = 0;
  for (auto _ : state) {
    for (size_t k = 0; k < n; ++k) {
      const size_t i = (first + k) % n;
      const auto t0 = Clock::now();
      sides[i].run();
      benchmark::ClobberMemory();
      times[i].push_back(std::chrono::duration<double, std::micro>(Clock::now() - t0).count());
    }
    first = (first + 1) % n;
  }
  for (size_t i = 0; i < n; ++i) {
    std::vector<double>& t = times[i];
    if (t.empty()) continue;
    std::nth_element(t.begin(), t.begin() + t.size() / 2, t.end());
    state.counters[sides[i].name + "_us"] = t[t.size() / 2];
  }
}

// Registers one comparison; make(state) builds the sides (untimed set-up)
// and returns them, or an empty list after state.SkipWithError.
inline void register_interleaved(const std::string& name,
                                 std::function<std::vector<Side>(benchmark::State&)> make) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [make](benchmark::State& state) {
                                 const std::vector<Side> sides = make(state);
                                 if (!sides.empty()) run_interleaved(state, sides);
                               })
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
}

// Threads the peers may use: the machine's online processors, which is what
// our filter strips spread over too.
int online_processors();

void register_frame_benchmarks();
void register_stage_benchmarks();
void register_path_benchmarks();

}  // namespace qlsbp_bench

#endif  // QLSBP_BENCH_BENCH_UTIL_H_
