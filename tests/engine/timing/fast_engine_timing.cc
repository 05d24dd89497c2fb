// Rough timing of one preview frame through the reference path and through
// the fast engine: 1920 x 1080 unless told, luma + interleaved chroma, level 7. Not a
// test and not a benchmark suite; it prints wall and CPU milliseconds per
// frame so that a change to either engine can be judged quickly.
//
// Usage: fast_engine_timing [frames] [layout 2|3|4] [level] [ref|fast|serial|all] [width height]
// ("serial": the fast engine on the calling thread only, whose instruction
// count does not depend on how threads meet).
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "api/frame_param.h"
#include "engine/fast/fast_engine.h"
#include "engine/reference/reference_engine.h"
#include "processor/frame_state.h"
#include "qlsbp/mask.h"
#include "qlsbp/packing.h"
#include "threads/worker_pool.h"

namespace {


struct Clock {
  std::chrono::steady_clock::time_point wall = std::chrono::steady_clock::now();
  std::clock_t cpu = std::clock();
  void report(const char* what, int frames) const {
    const double wall_ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - wall).count();
    const double cpu_ms = 1000.0 * static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC;
    std::printf("%-34s %8.2f ms wall  %8.2f ms cpu  per frame\n", what, wall_ms / frames,
                cpu_ms / frames);
  }
};

}  // namespace

int main(int argc, char** argv) {
  const int frames = argc > 1 ? std::atoi(argv[1]) : 20;
  const int layout = argc > 2 ? std::atoi(argv[2]) : 2;
  const int level = argc > 3 ? std::atoi(argv[3]) : 7;
  const std::string which = argc > 4 ? argv[4] : "all";
  const bool run_ref = which == "ref" || which == "all";
  const bool run_serial = which != "ref";
  const bool run_fast = which == "fast" || which == "all";
  const int kCols = argc > 6 ? std::atoi(argv[5]) : 1920;
  const int kRows = argc > 6 ? std::atoi(argv[6]) : 1080;
  if (kCols < 4 || kRows < 4 || kCols % 4 != 0 || kRows % 4 != 0) return 1;
  if (frames < 1 || (layout != 2 && layout != 3 && layout != 4)) return 1;

  const size_t n = static_cast<size_t>(kRows) * kCols;
  std::vector<unsigned char> pixels(layout == 4 ? 2 * n : n + n / 2);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * 7 + i / 97);
  QL_IMAGEINFO frame{};
  frame.format = layout;
  frame.width = kCols;
  frame.height = kRows;
  frame.plane[0] = pixels.data();
  frame.stride[0] = layout == 4 ? 2 * kCols : kCols;
  frame.plane[1] = pixels.data() + n;
  frame.stride[1] = layout == 2 ? kCols : kCols / 2;
  frame.plane[2] = pixels.data() + n + n / 4;
  frame.stride[2] = kCols / 2;

  QL_BokehParam bp{kRows / 2, kCols / 2, kRows / 4, kCols / 4, level, 5};
  SBFrameParam p;
  float factor = 0;
  if (!pv_frame_param_fill(&p, &factor, &bp, kCols, kRows)) return 1;
  std::vector<unsigned char> dense(2 * n);

  qlsbp::SerialExecutor serial;
  qlsbp::PerCallExecutor threads;
  for (int pass = 0; pass < 2; ++pass) {
    SBData ref(kRows, kCols), fast(kRows, kCols), fast_mt(kRows, kCols);
    if (run_ref) {
      Clock c;
      for (int f = 0; f < frames; ++f) {
        SBFrameParam q = p;
        img_move_stride(&frame, dense.data());
        if (frame_state_update(&ref, dense.data(), dense.data(), kRows, kCols, layout, &q.focusRow,
                               factor, gen_ellipse4) == kFrameRunEngine) {
          reference_engine_run(&ref, dense.data(), layout, serial);
        }
        img_add_stride(&frame, dense.data());
      }
      if (pass == 1) c.report("reference (serial plane tasks)", frames);
    }
    if (run_serial) {
      Clock c;
      for (int f = 0; f < frames; ++f) {
        SBFrameParam q = p;
        if (frame_state_update(&fast, dense.data(), dense.data(), kRows, kCols, layout, &q.focusRow,
                               factor, gen_ellipse4) == kFrameRunEngine &&
            fast_engine_run(&fast, &frame, serial) != kFastEngineDone) {
          return 2;
        }
      }
      if (pass == 1) c.report("fast (serial executor)", frames);
    }
    if (run_fast) {
      Clock c;
      for (int f = 0; f < frames; ++f) {
        SBFrameParam q = p;
        if (frame_state_update(&fast_mt, dense.data(), dense.data(), kRows, kCols, layout,
                               &q.focusRow, factor, gen_ellipse4) == kFrameRunEngine &&
            fast_engine_run(&fast_mt, &frame, threads) != kFastEngineDone) {
          return 2;
        }
      }
      if (pass == 1) c.report("fast (threads per call)", frames);
    }
    if (run_fast) {
      // A session's way: persistent workers, the calling thread included.
      qlsbp::WorkerPool pool(qlsbp::online_processors() - 1);
      SBData fast_pool(kRows, kCols);
      Clock c;
      for (int f = 0; f < frames; ++f) {
        SBFrameParam q = p;
        if (frame_state_update(&fast_pool, dense.data(), dense.data(), kRows, kCols, layout,
                               &q.focusRow, factor, gen_ellipse4) == kFrameRunEngine &&
            fast_engine_run(&fast_pool, &frame, pool) != kFastEngineDone) {
          return 2;
        }
      }
      if (pass == 1) c.report("fast (persistent workers)", frames);
    }
  }
  return 0;
}
