// The session API: options over their whole range, frames with fuzzed
// strides and parameters, another layout or size now and then. A second
// session (reference engine, no persistent workers, dense strides) is fed
// the same rows.
//
// Invariants besides the absence of faults: results are one of the
// documented codes; a refused frame is unchanged in every byte; padding is
// never touched; accepted frames give the same bytes whatever the engine,
// the worker count and the strides (except the layout-3 write-back that
// leaves the luma when stride[0] == width and stride[1] != width / 2).
#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input in(data, size);
  qlsbp_session_options opt;
  qlsbp_session_options_init(&opt);
  if (in.byte() % 4 == 0) opt.size = in.any_int();
  opt.workers = in.range(-2, 4);
  opt.engine = in.range(-1, 2);
  opt.clean_edges = in.byte() % 5 == 0 ? in.any_int() : in.range(0, 1);
  static const int kFormats[] = {2, 3, 4, 2, 3, 4, 7};
  QL_IMAGEINFO set_up{};
  set_up.format = kFormats[in.byte() % 7];
  // Now and then a side from the edges of the int range (refused, or a
  // frame above the limit), never one that opens a huge session.
  static const int kEdgeSides[] = {INT_MIN, -1, 0, 1, 2, 3, 1 << 16, INT_MAX};
  set_up.width = in.byte() % 16 == 0 ? kEdgeSides[in.byte() % 8] : in.range(1, 240);
  set_up.height = in.byte() % 16 == 0 ? kEdgeSides[in.byte() % 8] : in.range(1, 180);
  if (static_cast<int64_t>(set_up.width) * set_up.height > 300 * 300 &&
      static_cast<int64_t>(set_up.width) * set_up.height <= QLSBP_MAX_FRAME_PIXELS) {
    set_up.height = 2;
  }

  qlsbp_session* s = reinterpret_cast<qlsbp_session*>(1);
  const bool defaults = in.byte() % 8 == 0;
  if (defaults) qlsbp_session_options_init(&opt);
  const int rc_open = qlsbp_session_open(&s, &set_up, defaults ? nullptr : &opt);
  FUZZ_CHECK(rc_open <= 0 && rc_open >= QLSBP_ERR_NO_MEMORY, rc_open);
  FUZZ_CHECK((rc_open == QLSBP_OK) == (s != nullptr), rc_open);
  FUZZ_CHECK(qlsbp_strerror(rc_open) != nullptr);
  if (s == nullptr) return 0;
  qlsbp_session_options ref_opt;
  qlsbp_session_options_init(&ref_opt);
  ref_opt.workers = 0;
  ref_opt.engine = QLSBP_ENGINE_REFERENCE;
  // A shorter options record leaves the fields it does not carry at their
  // defaults.
  const bool carried =
      opt.size >= static_cast<int>(offsetof(qlsbp_session_options, clean_edges) + sizeof(int));
  ref_opt.clean_edges = carried ? opt.clean_edges : 0;
  qlsbp_session* ref = nullptr;
  FUZZ_CHECK(qlsbp_session_open(&ref, &set_up, &ref_opt) == QLSBP_OK);
  bool synced = true;

  for (int op = 0; op < 6 && !in.empty(); ++op) {
    const uint8_t kind = in.byte();
    int fmt = set_up.format, w = set_up.width, h = set_up.height;
    if (kind % 8 == 7) fmt = kFormats[in.byte() % 7];
    if (kind % 8 == 6) w = in.range(1, 240), h = in.range(1, 180);
    fuzz::Frame f;
    f.make(in, fmt, w, h, false, in.u32());
    QL_BokehParam p = fuzz::fuzzed_param(in);
    const auto before = f.snapshot();
    const std::vector<uint8_t> rows_in = f.pixels();

    const int rc = qlsbp_session_process(s, in.byte() % 32 == 0 ? nullptr : &f.info, &p);
    FUZZ_CHECK(rc <= 0 && rc >= QLSBP_ERR_NO_MEMORY && rc != QLSBP_ERR_BUSY, rc);
    f.check_padding(before);
    if (rc != QLSBP_OK || p.level < 1) {
      FUZZ_CHECK(f.snapshot() == before, rc);
      fuzz::Stats::count(0, "refused or level < 1");
      if (rc != QLSBP_OK) continue;
    }

    fuzz::Frame d;
    fuzz::make_dense(d, f, rows_in);
    if (qlsbp_session_process(ref, &d.info, &p) != QLSBP_OK) {
      synced = false;
      continue;
    }
    if (!synced || f.overlapping()) continue;
    fuzz::Stats::count(1, "same bytes as reference");
    fuzz::check_same_as_dense(f, d, rows_in, p.level, "session differs from the reference session");
  }
  qlsbp_session_close(ref);
  qlsbp_session_close(s);
  return 0;
}
