// SBData::DataProcessor with every field of the frame record over the whole
// int range (the box method with large levels included), dense frames of
// even sizes in exactly sized, guarded buffers, in place or into a separate
// destination, over a sequence of frames.
//
// Invariants besides the absence of faults: the result is 0 or -1; the focus
// fields come back clamped (row and column to at most size - 1, axes to at
// most half the size, smaller values unchanged); with a separate destination
// the source is only read, an unknown layout leaves the destination
// untouched, and a level below 1 gives a plain copy.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "fuzz_input.h"
#include "qlsbp/sb_data.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input in(data, size);
  const int rows = 2 * in.range(1, 80), cols = 2 * in.range(1, 100);
  SBData d(rows, cols);
  const auto side = fuzz::guard_side();
  for (int op = 0; op < 4 && !in.empty(); ++op) {
    static const int kFormats[] = {2, 3, 4, 4, 2, 3, 5, -1};
    const int format = kFormats[in.byte() % 8];
    const size_t bytes = fuzz::dense_size(format, cols, rows);
    qlsbp_test::Guarded src(bytes, side), dst(bytes, side, 0x77);
    std::mt19937 rng(in.u32());
    fuzz::fill(rng, src.data(), bytes);
    const std::vector<uint8_t> src_before(src.data(), src.data() + bytes);
    const std::vector<uint8_t> dst_before(dst.data(), dst.data() + bytes);
    int p[11];
    for (int& v : p) v = in.any_int();
    if (in.byte() % 2 == 0) p[4] = in.range(-1, 9);               // level
    if (in.byte() % 2 == 0) p[7] = in.range(0, 1);                // useGaussian
    if (in.byte() % 2 == 0) p[8] = in.range(0, 1);                // blurOption
    if (in.byte() % 2 == 0) p[9] = in.byte() % 2 == 0 ? 21 : 61;  // kernelSize
    if (p[9] > 127 || p[9] < -127) p[9] = in.range(-3, 127);      // keep the filters' work small
    const int q[4] = {p[0], p[1], p[2], p[3]};
    const float factor = static_cast<float>(in.range(0, 800)) / 100.0f;
    const bool separate = in.byte() % 2 == 0;
    unsigned char* out = separate ? dst.data() : src.data();
    const int rc = d.DataProcessor(out, src.data(), rows, cols, cols, format, p, factor);
    FUZZ_CHECK(rc == 0 || rc == -1, rc);
    FUZZ_CHECK(p[0] == (q[0] >= rows ? rows - 1 : q[0]), p[0], q[0]);
    FUZZ_CHECK(p[1] == (q[1] >= cols ? cols - 1 : q[1]), p[1], q[1]);
    FUZZ_CHECK(p[2] == std::min(q[2], rows >> 1), p[2], q[2]);
    FUZZ_CHECK(p[3] == std::min(q[3], cols >> 1), p[3], q[3]);
    if (separate) {
      FUZZ_CHECK(memcmp(src.data(), src_before.data(), bytes) == 0);
      if (format < 2 || format > 4) FUZZ_CHECK(memcmp(dst.data(), dst_before.data(), bytes) == 0);
      if (format >= 2 && format <= 4 && p[4] < 1)
        FUZZ_CHECK(memcmp(dst.data(), src.data(), bytes) == 0);
      fuzz::Stats::count(0, "separate destination");
    }
  }
  return 0;
}
