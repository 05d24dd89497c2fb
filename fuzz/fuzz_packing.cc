// Stride packing: img_move_stride and img_add_stride on guarded planes and a
// guarded dense buffer of exactly the documented size.
//
// Invariants: a refused frame writes nothing on either side; padding bytes
// are never touched; the dense buffer is never written beyond its size;
// packing then unpacking gives the planes back unchanged (layout 3 with
// stride[0] == width and stride[1] != width / 2 writes the luma into the
// dense buffer instead, which leaves the planes unchanged as well); packed
// rows land at their documented dense offsets.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "fuzz_input.h"
#include "qlsbp/packing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input in(data, size);
  static const int kFormats[] = {2, 3, 4, 2, 3, 4, 5, -2};
  const int fmt = kFormats[in.byte() % 8];
  const int w = in.range(1, 300), h = in.range(1, 300);
  fuzz::Frame f;
  f.make(in, fmt, w, h, false, in.u32());
  const size_t dn = fuzz::dense_size(fmt, w, h);
  qlsbp_test::Guarded dense(dn > 0 ? dn : 1, fuzz::guard_side(), 0x3C);
  const auto before = f.snapshot();
  const std::vector<uint8_t> dense_before(dense.data(), dense.data() + dense.size());

  const int rc = img_move_stride(&f.info, dense.data());
  const bool refused =
      !(fmt >= 2 && fmt <= 4) || (fmt == 3 && f.info.stride[1] != f.info.stride[2]);
  FUZZ_CHECK(rc == (refused ? 1 : 0), rc);
  FUZZ_CHECK(f.snapshot() == before);
  if (refused) {
    FUZZ_CHECK(memcmp(dense.data(), dense_before.data(), dense.size()) == 0);
    FUZZ_CHECK(img_add_stride(&f.info, dense.data()) == 1);
    FUZZ_CHECK(f.snapshot() == before);
    return 0;
  }
  // Rows at their dense offsets (luma, or the packed plane, always at y * row).
  if (!f.overlapping()) {
    for (int y = 0; y < f.plane[0].rows; ++y) {
      FUZZ_CHECK(memcmp(dense.data() + static_cast<size_t>(y) * f.plane[0].row_bytes,
                        f.plane[0].row(y), static_cast<size_t>(f.plane[0].row_bytes)) == 0,
                 y);
    }
    fuzz::Stats::count(0, "dense rows");
  }
  // Unpack into planes scribbled over: their rows come back.
  const std::vector<uint8_t> rows_in = f.pixels();
  std::vector<uint8_t> scribble(rows_in.size(), 0);
  for (size_t i = 0; i < scribble.size(); ++i) scribble[i] = static_cast<uint8_t>(i * 7 + 1);
  const bool luma_kept = fmt == 3 && f.info.stride[0] == w && f.info.stride[1] != w / 2;
  if (!f.overlapping()) f.set_pixels(scribble);
  const auto scribbled = f.snapshot();
  FUZZ_CHECK(img_add_stride(&f.info, dense.data()) == 0);
  f.check_padding(scribbled);
  if (!f.overlapping()) {
    std::vector<uint8_t> want = rows_in;
    if (luma_kept) {  // luma went into the dense buffer; the planes kept the scribble
      std::copy(scribble.begin(), scribble.begin() + static_cast<long>(w) * h, want.begin());
    }
    if (fmt == 2 && f.info.stride[1] == w && (w & 1) != 0) {
      // The chroma block copy moves ((w >> 1) x (h >> 1)) x 2 bytes, one
      // byte per row short of h / 2 rows of w for an odd width (kept as it
      // is): the plane's last h / 2 bytes keep what they held.
      const size_t luma = static_cast<size_t>(w) * h;
      const size_t moved = static_cast<size_t>(w >> 1) * (h >> 1) * 2;
      std::copy(scribble.begin() + static_cast<long>(luma + moved), scribble.end(),
                want.begin() + static_cast<long>(luma + moved));
    }
    FUZZ_CHECK(f.pixels() == want, fmt, luma_kept);
    fuzz::Stats::count(1, "round trip");
  }
  return 0;
}
