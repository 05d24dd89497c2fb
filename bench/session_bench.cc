// Whole NV21 frames through the session API: threads started per frame
// (workers = 0, the host API's way) against persistent workers (workers =
// online processors), level 5, strength 3, a centred focus. The two modes are
// registered alternately for each size, so that a drift of the machine
// during the run touches both alike. Registered by static initialisation so
// that the file stands on its own beside the driver.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "ql_single_bokeh_preview.h"

namespace {

void bm_session(benchmark::State& state, int width, int height, int workers) {
  const size_t n = static_cast<size_t>(width) * height;
  std::vector<uint8_t> frame(n + n / 2);
  std::mt19937 gen(7);
  for (uint8_t& b : frame) b = static_cast<uint8_t>(gen() >> 24);
  QL_IMAGEINFO img{};
  img.format = QL_FORMAT_YUV420_SEMIPLANAR;
  img.width = width;
  img.height = height;
  img.plane[0] = frame.data();
  img.plane[1] = frame.data() + n;
  img.stride[0] = width;
  img.stride[1] = width;
  QL_BokehParam param{height / 2, width / 2, height / 4, width / 4, 5, 3};

  qlsbp_session_options options;
  qlsbp_session_options_init(&options);
  const int persistent = options.workers;
  options.workers = workers < 0 ? persistent : workers;
  qlsbp_session* session = nullptr;
  if (qlsbp_session_open(&session, &img, &options) != QLSBP_OK) {
    state.SkipWithError("session could not be opened");
    return;
  }
  for (auto _ : state) {
    const int rc = qlsbp_session_process(session, &img, &param);
    benchmark::DoNotOptimize(rc);
    benchmark::ClobberMemory();
  }
  qlsbp_session_close(session);
  state.counters["workers"] = options.workers;
  state.SetItemsProcessed(state.iterations());
}

bool register_session_benchmarks() {
  const int sizes[][2] = {{1280, 720}, {1920, 1080}};
  for (const auto& s : sizes) {
    const std::string size = std::to_string(s[0]) + "x" + std::to_string(s[1]);
    for (int workers : {0, -1}) {
      const std::string name =
          std::string("session_nv21:") + (workers == 0 ? "per_call" : "persistent") + "/" + size;
      benchmark::RegisterBenchmark(name.c_str(), bm_session, s[0], s[1], workers)
          ->Unit(benchmark::kMillisecond)
          ->UseRealTime()
          ->MeasureProcessCPUTime();
    }
  }
  return true;
}

const bool registered = register_session_benchmarks();

}  // namespace
