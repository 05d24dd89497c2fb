// Each stage of the frame beside its peer, interleaved: the 21-tap Gaussian
// on the 960x540 half plane of a 1080p frame against cv::GaussianBlur, the
// 2:1 downscale and the 2x upscale against libyuv's box and bilinear
// ScalePlane, the blend against the composed peer's plain loop, and the
// layout conversions against libyuv. A memcpy of one 1080p NV21 frame is the
// bandwidth reference. Then, per kernel family, our own vector paths side
// by side (AVX2, SSE2 or NEON, scalar), selected by masking CPU flags: the
// evidence for which twins pay.
#include <cstring>
#include <memory>
#include <thread>

#include "bench_util.h"
#include "gaussian/gauss_rows.h"
#include "gaussian/threaded_filter.h"
#include "peer.h"
#include "qlsbp/blur.h"
#include "qlsbp/convert.h"
#include "qlsbp/gaussian.h"
#include "simd/cpu.h"
#include "threads/worker_pool.h"

#if QLSBP_BENCH_HAVE_LIBYUV
#include "libyuv/convert_from.h"
#include "libyuv/planar_functions.h"
#endif

namespace qlsbp_bench {
namespace {

constexpr PlaneSize kFrame = {1920, 1080};
constexpr PlaneSize kHalf = {960, 540};

// Buffers shared by the sides of one case; kept until the next case starts.
struct Buffers {
  std::vector<uint8_t> a, b, c, d;
  std::vector<uint16_t> w;
  std::vector<int> taps;
  std::vector<uint8_t> arena;
  QLMemInfoT mem{};
};

Buffers* fresh_buffers() {
  static std::unique_ptr<Buffers> keep;
  keep = std::make_unique<Buffers>();
  return keep.get();
}

std::vector<int> level_taps(int level) {
  std::vector<int> taps(kTaps, 0);
  init_gaussian_kernel(taps.data(), kLevelSigma[level], kTaps, 1, 0, 1024.0f);
  return taps;
}

void our_gaussian(Buffers* b, PlaneSize s) {
  b->mem.used = 0;  // the preview restores its arena view every frame
  gaussian_filter_for_int_image_21x21(b->a.data(), s.height, s.width, kTaps, b->taps.data(),
                                      &b->mem);
}

Buffers* gaussian_buffers(PlaneSize s, int level) {
  Buffers* b = fresh_buffers();
  const size_t n = static_cast<size_t>(s.width) * s.height;
  b->a = random_bytes(n, 3);
  b->b = random_bytes(n, 4);
  b->c.assign(n, 0);
  b->taps = level_taps(level);
  b->arena.assign(gaussian_filter_arena_bytes(s.height, s.width, kTaps), 0);
  b->mem = QLMemInfoT{b->arena.data(), static_cast<unsigned>(b->arena.size()), 0};
  return b;
}

// A persistent pool as wide as OpenCV's thread team (the calling thread
// included), for the filters that take an executor.
qlsbp::WorkerPool& bench_pool() {
  static qlsbp::WorkerPool pool(online_processors() - 1);
  return pool;
}

// The internal filter behind the exported one, its strips on the pool:
// same arena, same full-plane temporary, no thread start per call.
void our_gaussian_pool(Buffers* b, PlaneSize s) {
  b->mem.used = 0;
  gaussian_filter_int_image(b->a.data(), s.height, s.width, kTaps, b->taps.data(), &b->mem,
                            GaussianFilterKind::k21x21, bench_pool());
}

// The fast engine's band pass: per output row the vertical pass over the
// non-zero taps into a line with reflected ends, then the horizontal pass
// (as the engine does it for a half plane, without its sharp-run skip),
// rows cut into a few bands per worker of the pool.
struct BandGaussian {
  const uint8_t* src;
  uint8_t* dst;
  PlaneSize s;
  int ksize;
  int kernel[kTaps];
  int bands;
  std::vector<uint8_t> lines;  // one line per band
  size_t line_bytes;
};

void band_gaussian_piece(void* ctx, int index) {
  BandGaussian* g = static_cast<BandGaussian*>(ctx);
  const int w = g->s.width, h = g->s.height, reach = g->ksize >> 1;
  const int first = h * index / g->bands, end = h * (index + 1) / g->bands;
  uint8_t* line = g->lines.data() + g->line_bytes * static_cast<size_t>(index);
  uint8_t* v = line + reach;
  const GaussVerticalRowFn vertical = gauss_vertical_row_pick();
  const GaussHorizontalRowFn horizontal = gauss_horizontal_row_pick();
  int offsets[kTaps];
  for (int j = first; j < end; ++j) {
    for (int k = 0; k < g->ksize; ++k) offsets[k] = gauss_mirror(j - reach + k, h) * w;
    vertical(v, g->src, offsets, g->kernel, g->ksize, w);
    for (int i = 0; i < reach; ++i) {
      line[i] = v[gauss_mirror(i - reach, w)];
      v[w + i] = v[gauss_mirror(w + i, w)];
    }
    horizontal(g->dst + static_cast<size_t>(j) * w, line, g->kernel, g->ksize, w);
  }
}

BandGaussian* band_gaussian_setup(Buffers* b, PlaneSize s) {
  static std::unique_ptr<BandGaussian> keep;
  keep = std::make_unique<BandGaussian>();
  BandGaussian* g = keep.get();
  g->src = b->a.data();
  g->dst = b->d.data();
  g->s = s;
  const int z = gauss_zero_outer_taps(b->taps.data(), kTaps);
  g->ksize = kTaps - 2 * z;
  for (int k = 0; k < g->ksize; ++k) g->kernel[k] = b->taps[z + k];
  g->bands = 3 * bench_pool().concurrency();
  g->line_bytes = (static_cast<size_t>(s.width) + kTaps + 63) & ~static_cast<size_t>(63);
  g->lines.assign(g->line_bytes * g->bands, 0);
  return g;
}

std::vector<Side> gaussian_sides(benchmark::State&, int level) {
  Buffers* b = gaussian_buffers(kHalf, level);
  b->d.assign(static_cast<size_t>(kHalf.width) * kHalf.height, 0);
  BandGaussian* g = band_gaussian_setup(b, kHalf);
  // "exported": the exported filter, which starts its strip threads in every
  // call; "pool": the same filter on a persistent pool of OpenCV's width;
  // "bands": the fast engine's pass on that pool.
  std::vector<Side> sides = {
      {"exported", [b] { our_gaussian(b, kHalf); }},
      {"pool", [b] { our_gaussian_pool(b, kHalf); }},
      {"bands", [g] { bench_pool().run(g->bands, band_gaussian_piece, g); }}};
#if QLSBP_BENCH_HAVE_PEER
  sides.push_back({"peer", [b, level] {
                     peer_gaussian(b->b.data(), b->c.data(), kHalf.width, kHalf.height,
                                   kLevelSigma[level]);
                   }});
#endif
  return sides;
}

Buffers* frame_buffers() {
  Buffers* b = fresh_buffers();
  const size_t n = static_cast<size_t>(kFrame.width) * kFrame.height;
  b->a = random_bytes(2 * n, 5);
  b->b.assign(2 * n, 0);
  b->c = random_bytes(2 * n, 6);
  b->d.assign(2 * n, 0);
  b->w = random_weights(n, 7);
  return b;
}

std::vector<Side> downscale_sides(benchmark::State&) {
  Buffers* b = frame_buffers();
  std::vector<Side> sides = {
      {"ours", [b] { downsampleh2v2(b->b.data(), b->a.data(), kFrame.height, kFrame.width); }}};
#if QLSBP_BENCH_HAVE_PEER
  sides.push_back({"peer", [b] {
                     peer_downscale(b->c.data(), kFrame.width, kFrame.width, kFrame.height,
                                    b->d.data());
                   }});
#endif
  return sides;
}

std::vector<Side> upscale_sides(benchmark::State&) {
  Buffers* b = frame_buffers();
  std::vector<Side> sides = {
      {"ours", [b] { upscalingh2v2(b->b.data(), b->a.data(), kHalf.height, kHalf.width); }}};
#if QLSBP_BENCH_HAVE_PEER
  sides.push_back({"peer", [b] {
                     peer_upscale(b->c.data(), kHalf.width, kHalf.height, b->d.data(), kFrame.width,
                                  kFrame.height);
                   }});
#endif
  return sides;
}

std::vector<Side> blend_sides(benchmark::State&) {
  Buffers* b = frame_buffers();
  const int n = kFrame.width * kFrame.height;
  return {
      {"ours", [b] { img_blend_neon(b->b.data(), b->b.data(), b->a.data(), b->w.data(), n); }},
      {"peer", [b] {
         peer_blend(b->d.data(), kFrame.width, b->d.data(), kFrame.width, b->c.data(), kFrame.width,
                    b->w.data(), kFrame.width, kFrame.height);
       }}};
}

// Conversions on a 1080p frame; ours works on dense buffers, libyuv on the
// same dense planes.
enum class Conversion { kYuyvToPlanes, kPlanesToYuyv, kNv21ToPlanes, kPlanesToNv21 };

std::vector<Side> convert_sides(benchmark::State&, Conversion which) {
  Buffers* b = frame_buffers();
  const int w = kFrame.width, h = kFrame.height, n = w * h, cw = w / 2;
  std::vector<Side> sides;
  switch (which) {
    case Conversion::kYuyvToPlanes:
      sides.push_back({"ours", [=] { yuyv422_to_y4u2v2(b->b.data(), b->a.data(), h, w); }});
#if QLSBP_BENCH_HAVE_LIBYUV
      sides.push_back({"peer", [=] {
                         uint8_t* d = b->d.data();
                         libyuv::YUY2ToI422(b->c.data(), 2 * w, d, w, d + n, cw, d + n + n / 2, cw,
                                            w, h);
                       }});
#endif
      break;
    case Conversion::kPlanesToYuyv:
      sides.push_back({"ours", [=] { y4u2v2_to_yuyv422(b->b.data(), b->a.data(), h, w); }});
#if QLSBP_BENCH_HAVE_LIBYUV
      sides.push_back({"peer", [=] {
                         const uint8_t* s = b->c.data();
                         libyuv::I422ToYUY2(s, w, s + n, cw, s + n + n / 2, cw, b->d.data(), 2 * w,
                                            w, h);
                       }});
#endif
      break;
    case Conversion::kNv21ToPlanes:
      sides.push_back({"ours", [=] { y4uv20_to_y4u1v1(b->b.data(), b->a.data(), h, w); }});
#if QLSBP_BENCH_HAVE_LIBYUV
      sides.push_back({"peer", [=] {
                         const uint8_t* s = b->c.data();
                         uint8_t* d = b->d.data();
                         libyuv::CopyPlane(s, w, d, w, w, h);
                         libyuv::SplitUVPlane(s + n, w, d + n, cw, d + n + n / 4, cw, cw, h / 2);
                       }});
#endif
      break;
    case Conversion::kPlanesToNv21:
      sides.push_back({"ours", [=] { y4u1v1_to_y4uv20(b->b.data(), b->a.data(), h, w); }});
#if QLSBP_BENCH_HAVE_LIBYUV
      sides.push_back({"peer", [=] {
                         const uint8_t* s = b->c.data();
                         uint8_t* d = b->d.data();
                         libyuv::CopyPlane(s, w, d, w, w, h);
                         libyuv::MergeUVPlane(s + n, cw, s + n + n / 4, cw, d + n, w, cw, h / 2);
                       }});
#endif
      break;
  }
  return sides;
}

std::vector<Side> memcpy_sides(benchmark::State&) {
  Buffers* b = frame_buffers();
  const size_t bytes = static_cast<size_t>(kFrame.width) * kFrame.height * 3 / 2;
  return {{"memcpy", [b] { std::memcpy(b->b.data(), b->a.data(), bytes); }}};
}

// Our kernel paths: the same work once per path this CPU has, with the
// flags masked for that side only.
std::vector<Side> path_sides(std::function<void()> work) {
  struct Path {
    const char* name;
    int flags;
  };
  const int have = qlsbp_cpu_flags();
  std::vector<Path> paths;
  if (have & kCpuHasAVX2) paths.push_back({"avx2", kCpuHasAVX2 | kCpuHasSSE2});
  if (have & kCpuHasSSE2) paths.push_back({"sse2", kCpuHasSSE2});
  if (have & kCpuHasNEON) paths.push_back({"neon", kCpuHasNEON});
  paths.push_back({"scalar", 0});
  std::vector<Side> sides;
  for (const Path& p : paths) {
    sides.push_back({p.name, [work, p] {
                       const int previous = qlsbp_mask_cpu_flags(p.flags);
                       work();
                       qlsbp_mask_cpu_flags(previous);
                     }});
  }
  return sides;
}

}  // namespace

int online_processors() {
  const unsigned n = std::thread::hardware_concurrency();
  return n == 0 ? 1 : static_cast<int>(n);
}

void register_stage_benchmarks() {
  const std::string half = "/" + size_name(kHalf), frame = "/" + size_name(kFrame);
  for (int level : {1, 7}) {
    register_interleaved("gauss21_level" + std::to_string(level) + half,
                         [level](benchmark::State& s) { return gaussian_sides(s, level); });
  }
  register_interleaved("downscale2x2" + frame, downscale_sides);
  register_interleaved("upscale2x" + half, upscale_sides);
  register_interleaved("blend" + frame, blend_sides);
  const std::pair<const char*, Conversion> conversions[] = {
      {"yuyv_to_planes", Conversion::kYuyvToPlanes},
      {"planes_to_yuyv", Conversion::kPlanesToYuyv},
      {"nv21_to_planes", Conversion::kNv21ToPlanes},
      {"planes_to_nv21", Conversion::kPlanesToNv21}};
  for (const auto& c : conversions) {
    const Conversion which = c.second;
    register_interleaved(c.first + frame,
                         [which](benchmark::State& s) { return convert_sides(s, which); });
  }
  register_interleaved("memcpy_nv21" + frame, memcpy_sides);
}

void register_path_benchmarks() {
  const std::string half = "/" + size_name(kHalf), frame = "/" + size_name(kFrame);
  register_interleaved("paths_gauss21_level7" + half, [](benchmark::State&) {
    Buffers* b = gaussian_buffers(kHalf, 7);
    return path_sides([b] { our_gaussian(b, kHalf); });
  });
  register_interleaved("paths_downscale2x2" + frame, [](benchmark::State&) {
    Buffers* b = frame_buffers();
    return path_sides(
        [b] { downsampleh2v2(b->b.data(), b->a.data(), kFrame.height, kFrame.width); });
  });
  register_interleaved("paths_upscale2x" + half, [](benchmark::State&) {
    Buffers* b = frame_buffers();
    return path_sides([b] { upscalingh2v2(b->b.data(), b->a.data(), kHalf.height, kHalf.width); });
  });
  register_interleaved("paths_blend" + frame, [](benchmark::State&) {
    Buffers* b = frame_buffers();
    const int n = kFrame.width * kFrame.height;
    return path_sides(
        [b] { img_blend_neon(b->b.data(), b->b.data(), b->a.data(), b->w.data(), n); });
  });
  register_interleaved("paths_yuyv_to_planes" + frame, [](benchmark::State&) {
    Buffers* b = frame_buffers();
    return path_sides(
        [b] { yuyv422_to_y4u2v2(b->b.data(), b->a.data(), kFrame.height, kFrame.width); });
  });
  register_interleaved("paths_nv21_to_planes" + frame, [](benchmark::State&) {
    Buffers* b = frame_buffers();
    return path_sides(
        [b] { y4uv20_to_y4u1v1(b->b.data(), b->a.data(), kFrame.height, kFrame.width); });
  });
}

}  // namespace qlsbp_bench
