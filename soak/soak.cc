// Bounded soak: many 640 x 480 frames of every layout with parameters that
// change from frame to frame, through the host API and through a session
// with persistent workers; then many set-up / tear-down cycles. Resident
// memory, open descriptors and threads are measured after a warm-up and at
// the end; any growth beyond a small allocator slack fails the run.
//
//   qlsbp_soak [frames per layout and API] [set-up cycles]
#include <dirent.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "ql_single_bokeh_preview.h"

namespace {

struct Usage {
  long rss_kib = 0;
  int fds = 0;
  int threads = 0;
};

Usage measure() {
  Usage u;
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) u.rss_kib = std::atol(line.c_str() + 6);
    if (line.rfind("Threads:", 0) == 0) u.threads = std::atoi(line.c_str() + 8);
  }
  if (DIR* d = opendir("/proc/self/fd")) {
    while (readdir(d) != nullptr) ++u.fds;
    closedir(d);
  }
  return u;
}

void print(const char* when, const Usage& u) {
  printf("  %-28s resident %7ld KiB, %3d descriptors, %2d threads\n", when, u.rss_kib, u.fds,
         u.threads);
}

// A frame of one layout with padded strides (as camera buffers come).
struct Frame {
  int format, width, height;
  std::vector<unsigned char> planes[3];
  QL_IMAGEINFO info{};
  Frame(int f, int w, int h, std::mt19937& rng) : format(f), width(w), height(h) {
    info.format = f, info.width = w, info.height = h;
    const int rows[3] = {h, h / 2, h / 2};
    const int bytes[3] = {f == 4 ? 2 * w : w, f == 3 ? w / 2 : w, w / 2};
    const int used = f == 4 ? 1 : f == 2 ? 2 : 3;
    for (int k = 0; k < used; ++k) {
      const int stride = bytes[k] + 32;
      planes[k].resize(static_cast<size_t>(stride) * rows[k]);
      for (auto& b : planes[k]) b = static_cast<unsigned char>(rng());
      info.plane[k] = planes[k].data();
      info.stride[k] = stride;
    }
  }
};

QL_BokehParam random_param(std::mt19937& rng, int w, int h) {
  QL_BokehParam p;
  p.focusRow = static_cast<int>(rng() % (h + 40)) - 20;
  p.focusCol = static_cast<int>(rng() % (w + 40)) - 20;
  p.axisRows = static_cast<int>(rng() % h);
  p.axisCols = static_cast<int>(rng() % w);
  p.level = static_cast<int>(rng() % 9);
  p.strength = static_cast<int>(rng() % 12);
  return p;
}

bool grew(const Usage& a, const Usage& b, long slack_kib) {
  return b.rss_kib > a.rss_kib + slack_kib || b.fds > a.fds || b.threads > a.threads;
}

// Every layout through the host API and then through a session; within each
// run the usage after 50 frames and before the tear-down are compared.
bool run_all(int frames, long slack_kib, long long* processed, bool verbose) {
  const int kW = 640, kH = 480;
  std::mt19937 rng(2024u + static_cast<unsigned>(frames));
  bool ok = true;
  for (int format : {2, 3, 4}) {
    Frame f(format, kW, kH, rng);
    for (int api = 0; api < 2; ++api) {
      qlsbp_session* s = nullptr;
      if (api == 0) {
        sb_top_pv_initial(&f.info);
      } else {
        qlsbp_session_options opt;
        qlsbp_session_options_init(&opt);
        opt.workers = 2;
        if (qlsbp_session_open(&s, &f.info, &opt) != QLSBP_OK) {
          printf("  session for layout %d did not open\n", format);
          return false;
        }
      }
      Usage mid{};
      for (int i = 0; i < frames; ++i) {
        QL_BokehParam p = random_param(rng, kW, kH);
        if (api == 0) {
          sb_top_pv_processer(&f.info, &p);
        } else if (const int rc = qlsbp_session_process(s, &f.info, &p); rc != QLSBP_OK) {
          printf("  session frame %d of layout %d: %s\n", i, format, qlsbp_strerror(rc));
          ok = false;
          break;
        }
        ++*processed;
        if (i == 49) mid = measure();
      }
      const Usage last = measure();
      if (api == 0) {
        sb_top_pv_deinit();
      } else {
        qlsbp_session_close(s);
      }
      if (verbose) {
        char what[64];
        snprintf(what, sizeof what, "layout %d, %s: frame 50", format,
                 api == 0 ? "host API" : "session");
        print(what, mid);
        print("                  last frame", last);
      }
      if (frames > 50 && grew(mid, last, slack_kib)) {
        printf("  FAILED: layout %d, %s grew over its frames\n", format,
               api == 0 ? "host API" : "session");
        ok = false;
      }
    }
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  const int frames = argc > 1 ? std::atoi(argv[1]) : 2000;
  const int cycles = argc > 2 ? std::atoi(argv[2]) : 1000;
  const long kSlackKiB = 1024;  // allocator and page-cache noise
  const auto t0 = std::chrono::steady_clock::now();
  long long processed = 0;
  printf("soak: %d frames per layout and API at 640x480, %d set-up cycles\n", frames, cycles);
  print("start", measure());
  // A short pass first, so that the allocator and the library reach their
  // steady state before the baseline is taken.
  bool ok = run_all(60, kSlackKiB, &processed, false);
  const Usage base = measure();
  print("baseline after warm-up", base);
  ok = run_all(frames, kSlackKiB, &processed, true) && ok;
  const Usage after_frames = measure();
  print("after all frames", after_frames);
  if (grew(base, after_frames, kSlackKiB)) {
    printf("  FAILED: growth over the frames\n");
    ok = false;
  }
  // Set-up / tear-down cycles, the sizes changing.
  for (int i = 0; i < cycles; ++i) {
    QL_IMAGEINFO set_up{};
    set_up.format = 2 + i % 3;
    set_up.width = 64 + 2 * (i % 50);
    set_up.height = 48 + 2 * (i % 30);
    sb_top_pv_initial(&set_up);
    sb_top_pv_deinit();
    qlsbp_session* s = nullptr;
    qlsbp_session_options opt;
    qlsbp_session_options_init(&opt);
    opt.workers = i % 3;
    if (qlsbp_session_open(&s, &set_up, &opt) == QLSBP_OK) qlsbp_session_close(s);
  }
  const Usage end = measure();
  print("after set-up cycles", end);
  if (grew(base, end, kSlackKiB) || end.fds != base.fds || end.threads != base.threads) {
    printf("  FAILED: growth over the set-up cycles, or descriptors / threads left over\n");
    ok = false;
  }
  const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  printf("soak: %lld frames processed, %d set-up cycles, %.1f s: %s\n", processed, cycles, secs,
         ok ? "passed" : "FAILED");
  return ok ? 0 : 1;
}
