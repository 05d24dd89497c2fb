// The host API (sb_top_pv_*) over sequences of frames: layout codes, sizes
// from 1 to a few hundred (odd ones included), strides equal to, larger or
// smaller than the row or negative, every parameter field over the whole int
// range, parameters changing from frame to frame, and set-up again with
// another size. Caller planes end (or start) at a protected page.
//
// Invariants besides the absence of faults:
// - bytes outside the rows (padding, unused planes) never change;
// - a frame that is not processed (level below 1, unknown layout, layout 3
//   with unequal chroma strides, no session, another size) is unchanged;
// - the result does not depend on the strides: a session fed the same rows
//   with dense strides gives the same bytes (except that layout 3 with
//   stride[0] == width and stride[1] != width / 2 leaves the luma as it
//   came);
// - luma pixels whose focus-mask weight is exactly 1024 keep their value,
//   except the last (N mod 8) pixels of the plane, which the blend leaves.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "qlsbp/mask.h"

namespace {

struct Geometry {
  int format, width, height;
};

bool session_size_ok(const Geometry& g) { return g.width >= 2 && g.height >= 2; }

// Luma pixels that must keep their value: weight exactly 1024 in the focus
// mask of the even part, the last N mod 8 left out.
void check_sharp_focus(const fuzz::Frame& f, const std::vector<uint8_t>& luma_in,
                       const QL_BokehParam& p) {
  const int rows = f.height & ~1, cols = f.width & ~1;
  const int64_t n = static_cast<int64_t>(rows) * cols;
  if (n < 8) return;
  int cy = std::min(p.focusRow, rows - 1), cx = std::min(p.focusCol, cols - 1);
  int a = std::min(p.axisRows, rows >> 1), b = std::min(p.axisCols, cols >> 1);
  const int strength = std::max(1, std::min(p.strength, 10));
  const int band = strength * (std::min(f.width, f.height) / 50);
  std::vector<unsigned short> mask(static_cast<size_t>(n), 0);
  gen_ellipse4(mask.data(), cy, cx, a, b, band, rows, cols);
  const int64_t whole = n - n % 8;
  const int step = f.format == 4 ? 2 : 1;
  const int row_bytes = f.plane[0].row_bytes;
  for (int64_t i = 0; i < whole; ++i) {
    if (mask[static_cast<size_t>(i)] != 1024) continue;
    const int y = static_cast<int>(i / cols), x = static_cast<int>(i % cols);
    const uint8_t got = f.plane[0].row(y)[x * step];
    const uint8_t want = luma_in[static_cast<size_t>(y) * row_bytes + x * step];
    if (got != want) fuzz::fail("sharp focus pixel changed", y, x);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input in(data, size);
  static const int kFormats[] = {2, 3, 4, 2, 3, 4, 5, 0, -1, 1};
  Geometry g{kFormats[in.byte() % 10], in.range(1, 260), in.range(1, 200)};
  QL_IMAGEINFO set_up{};
  set_up.format = g.format, set_up.width = g.width, set_up.height = g.height;
  sb_top_pv_initial(&set_up);
  qlsbp_session_options opt;
  qlsbp_session_options_init(&opt);
  opt.workers = 0;
  qlsbp_session* ref = nullptr;
  qlsbp_session_open(&ref, &set_up, &opt);
  bool open =
      session_size_ok(g) && static_cast<int64_t>(g.width) * g.height <= QLSBP_MAX_FRAME_PIXELS;
  bool synced = ref != nullptr;

  for (int op = 0; op < 6 && !in.empty(); ++op) {
    const uint8_t kind = in.byte();
    if (kind % 8 == 7) {  // close, and set up again with another size
      sb_top_pv_deinit();
      qlsbp_session_close(ref);
      ref = nullptr;
      g = Geometry{kFormats[in.byte() % 10], in.range(1, 260), in.range(1, 200)};
      set_up.format = g.format, set_up.width = g.width, set_up.height = g.height;
      sb_top_pv_initial(&set_up);
      if (in.byte() % 4 == 0) sb_top_pv_initial(&set_up);  // a second set-up changes nothing
      qlsbp_session_open(&ref, &set_up, &opt);
      open = session_size_ok(g);
      synced = ref != nullptr;
      continue;
    }
    // Mostly the session's own geometry; sometimes another layout or size.
    Geometry fg = g;
    if (kind % 8 == 6) fg = Geometry{kFormats[in.byte() % 10], in.range(1, 260), in.range(1, 200)};
    fuzz::Frame f;
    f.make(in, fg.format, fg.width, fg.height, false, in.u32());
    QL_BokehParam p = fuzz::fuzzed_param(in);
    QL_BokehParam p_copy = p;

    const auto before = f.snapshot();
    const std::vector<uint8_t> rows_in = f.pixels();
    std::vector<uint8_t> luma_in;
    for (int y = 0; y < f.plane[0].rows; ++y)
      luma_in.insert(luma_in.end(), f.plane[0].row(y), f.plane[0].row(y) + f.plane[0].row_bytes);

    FUZZ_CHECK(sb_top_pv_processer(&f.info, &p) == 0);
    FUZZ_CHECK(memcmp(&p, &p_copy, sizeof p) == 0);  // the caller's record is not written
    f.check_padding(before);

    const bool same_geometry = fg.width == g.width && fg.height == g.height;
    const bool known = fg.format >= 2 && fg.format <= 4;
    const bool stride_refused = fg.format == 3 && f.info.stride[1] != f.info.stride[2];
    const bool bigger_layout = fg.format == 4 && g.format != 4;
    const bool processed = open && p.level >= 1 && same_geometry && known && !stride_refused &&
                           !bigger_layout && fg.width >= 2 && fg.height >= 2;
    if (!processed && (p.level < 1 || !known || stride_refused || !open || !same_geometry)) {
      FUZZ_CHECK(f.snapshot() == before);
      fuzz::Stats::count(0, "unchanged frame");
    }

    // The same rows, dense, through the session.
    if (synced && fg.format == g.format && same_geometry && known && !stride_refused) {
      fuzz::Frame d;
      fuzz::make_dense(d, f, rows_in);
      if (qlsbp_session_process(ref, &d.info, &p) != QLSBP_OK) {
        synced = false;  // the two no longer saw the same frames
      } else if (!f.overlapping()) {
        fuzz::Stats::count(p.level >= 1 ? 1 : 2,
                           p.level >= 1 ? "strides, processed" : "strides, level < 1");
        fuzz::check_same_as_dense(f, d, rows_in, p.level,
                                  "strided result differs from the dense one");
      }
    } else if (processed) {
      synced = false;
    }
    if (processed && !f.overlapping()) {
      const bool luma_kept =
          fg.format == 3 && f.info.stride[0] == fg.width && f.info.stride[1] != fg.width / 2;
      if (!luma_kept) {
        check_sharp_focus(f, luma_in, p);
        fuzz::Stats::count(3, "sharp focus");
      }
    }
  }
  sb_top_pv_deinit();
  qlsbp_session_close(ref);
  return 0;
}
