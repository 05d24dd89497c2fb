// The plane worker build_blur_image2 on its own, every buffer exactly as
// large as its header asks and against a protected page: both blur methods,
// both resolutions, sizes from 1 to a few hundred, radii over the whole int
// range, kernel sizes from 1 to 63 and factors of every kind. The arena is
// exactly what the filter accounting promises.
//
// Invariants besides the absence of faults: src and the mask are only read;
// pixels whose weight is exactly 1024 take the sharp value (except the last
// N mod 8, which the blend leaves).
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "fuzz_input.h"
#include "qlsbp/blur.h"
#include "qlsbp/gaussian.h"
#include "qlsbp/mask.h"
#include "qlsbp/sb_data.h"

namespace {

using qlsbp_test::Guarded;

float pick_factor(fuzz::Input& in) {
  switch (in.byte() % 6) {
    case 0:
      return 0.0f;
    case 1:
      return -1.5f;
    case 2:
      return std::numeric_limits<float>::infinity();
    case 3:
      return std::numeric_limits<float>::quiet_NaN();
    default:
      return static_cast<float>(in.range(1, 4000)) / 100.0f;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input in(data, size);
  const int H = in.range(1, 220), W = in.range(1, 220);
  SBPlaneTask t{};
  t.useGaussian = in.byte() % 3 == 0 ? 0 : 1;
  t.blurOption = in.byte() % 4 == 0 ? 0 : 1;
  t.kernelSize = in.byte() % 3 == 0 ? in.range(-2, 63) : 21;
  t.factor = pick_factor(in);
  t.radiusRows = in.any_int();
  t.radiusCols = in.any_int();
  t.level = in.any_int();
  t.planeRows = H, t.planeCols = W;
  const bool half = t.blurOption != 0;
  const int h = half ? H >> 1 : H, w = half ? W >> 1 : W;
  const size_t n = static_cast<size_t>(H) * W;
  const size_t wn = static_cast<size_t>(h) * w;
  const auto side = fuzz::guard_side();

  std::mt19937 rng(in.u32());
  Guarded src(n, side), dst(n, side, 0x5A), mask(2 * n, side);
  Guarded small(half ? static_cast<size_t>(H >> 1) * (((W - 1) >> 1) + 1) + (H < 2 ? 1 : 0) : 1,
                side);
  Guarded wide(wn > 0 ? 8 * wn : 8, side), range(wn > 0 ? 4 * wn : 4, side);
  fuzz::fill(rng, src.data(), n);
  unsigned short* m = reinterpret_cast<unsigned short*>(mask.data());
  const int style = in.byte() % 3;
  for (size_t i = 0; i < n; ++i) {
    const uint32_t r = rng();
    m[i] = style == 0   ? 1024
           : style == 1 ? ((r & 1) != 0 ? 1024 : 0)
                        : static_cast<unsigned short>(r % 1100);
  }
  if (t.useGaussian == 0 && wn > 0) {
    cal_blur_range(reinterpret_cast<unsigned*>(range.data()), h, w, t.radiusRows, t.radiusCols);
  }
  const int k = t.kernelSize;
  const unsigned long long need =
      half || t.useGaussian != 0 ? gaussian_filter_arena_bytes(h, w, k) : 0;
  Guarded arena_block(need > 0 ? need : 1, side);
  QLMemInfoT arena{arena_block.data(), static_cast<unsigned>(need), 0};

  t.src = src.data(), t.dst = dst.data(), t.small = small.data();
  t.wide = reinterpret_cast<unsigned long long*>(wide.data());
  t.range = reinterpret_cast<unsigned*>(range.data());
  t.mask = m;
  t.mem = &arena;
  const std::vector<uint8_t> src_before(src.data(), src.data() + n);
  const std::vector<uint8_t> mask_before(mask.data(), mask.data() + 2 * n);

  FUZZ_CHECK(build_blur_image2(&t) == nullptr);
  FUZZ_CHECK(memcmp(src.data(), src_before.data(), n) == 0);
  FUZZ_CHECK(memcmp(mask.data(), mask_before.data(), 2 * n) == 0);
  FUZZ_CHECK(arena.used <= arena.capacity, arena.used, arena.capacity);
  const size_t whole = n - n % 8;
  for (size_t i = 0; i < whole; ++i) {
    if (m[i] == 1024 && dst.data()[i] != src.data()[i])
      fuzz::fail("sharp pixel changed", static_cast<long long>(i));
  }
  fuzz::Stats::count(0, "sharp pixels");
  return 0;
}
