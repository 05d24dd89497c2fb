// The exported utilities within the sizes their headers allow, one per
// input (chosen by its first byte), every buffer exactly sized and against a
// protected page.
//
// Invariants besides the absence of faults:
// - the threaded Gaussian filters take exactly their documented arena bytes
//   and succeed in an arena of exactly that size, from any offset;
// - the resamplers accept any weight and refuse exactly the indexes outside
//   the source; refused calls write nothing;
// - the distance transform gives the canonical NaN when there is no site,
//   otherwise finite values, 0 exactly on the sites;
// - the blend gives the second image where the weight is exactly 1024 and
//   leaves the last count mod 8 pixels;
// - layout conversions round-trip (even sizes) and stay inside their buffers.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "fuzz_input.h"
#include "qlsbp/analysis.h"
#include "qlsbp/blur.h"
#include "qlsbp/convert.h"
#include "qlsbp/gaussian.h"
#include "qlsbp/mask.h"

namespace {

using qlsbp_test::Guarded;

void gaussian_filters(fuzz::Input& in, std::mt19937& rng) {
  const int h = in.range(1, 160), w = in.range(1, 160);
  const int ksize = in.range(-1, 65);
  const int variant = in.byte() % 3;
  const unsigned start = in.byte() % 8;
  std::vector<int> taps(ksize > 0 ? ksize : 1, 0);
  if (in.byte() % 3 == 0) {
    for (int& t : taps) t = in.any_int();  // any taps are defined (wrapping)
  } else if (ksize > 0) {
    init_gaussian_kernel(taps.data(), static_cast<float>(in.range(1, 900)) / 100.0f, ksize, 1, 0,
                         1024.0f);
  }
  const size_t n = static_cast<size_t>(h) * w;
  Guarded img(n, fuzz::guard_side());
  fuzz::fill(rng, img.data(), n);
  const unsigned long long handles = variant < 2 ? 14 : 5, records = variant < 2 ? 14 : 10;
  const unsigned long long due = ksize < 1 ? 0
                                           : n + 2ULL * ksize * sizeof(int) +
                                                 handles * sizeof(pthread_t) +
                                                 records * sizeof(GaussianThreadArg);
  Guarded block(start + due + 1, fuzz::guard_side());
  QLMemInfoT mem{block.data(), static_cast<unsigned>(start + due), start};
  using Fn = int (*)(unsigned char*, int, int, int, const int*, QLMemInfoT*);
  const Fn fns[] = {gaussian_filter_for_int_image_61x61, gaussian_filter_for_int_image_21x21,
                    gaussian_filter_for_int_image_common};
  const int rc = fns[variant](img.data(), h, w, ksize, taps.data(), &mem);
  if (ksize >= 1 && (ksize & 1) != 0) {
    FUZZ_CHECK(rc == 0, rc);
    FUZZ_CHECK(mem.used == start + due, mem.used, start + due);
    fuzz::Stats::count(0, "exact arena");
  } else {
    FUZZ_CHECK(rc == 1, rc);
  }
}

void resize(fuzz::Input& in, std::mt19937& rng) {
  const int sh = in.range(1, 40), sw = in.range(1, 40), dh = in.range(1, 40), dw = in.range(1, 40);
  std::vector<int> ri(dh + 1), rf(dh + 1), ci(dw + 1), cf(dw + 1);
  build_scaling_rate(ci.data(), cf.data(), ri.data(), rf.data(), dw, dh, sw, sh);
  bool fits = sh >= 2 && sw >= 2;
  for (int i = 0; i < dh; ++i) {
    if (in.byte() % 4 == 0) ri[i] = in.range(-2, sh), rf[i] = in.any_int();
    fits = fits && ri[i] >= 0 && ri[i] <= sh - 2;
  }
  for (int i = 0; i < dw; ++i) {
    if (in.byte() % 4 == 0) ci[i] = in.range(-2, sw), cf[i] = in.any_int();
    fits = fits && ci[i] >= 0 && ci[i] <= sw - 2;
  }
  const size_t sn = static_cast<size_t>(sh) * sw, dn = static_cast<size_t>(dh) * dw;
  Guarded src(sn, fuzz::guard_side()), dst(dn > 0 ? dn : 1, fuzz::guard_side(), 0xEE);
  fuzz::fill(rng, src.data(), sn);
  const int rc = image_u8_resize(dst.data(), dh, dw, ri.data(), rf.data(), ci.data(), cf.data(),
                                 src.data(), sh, sw);
  if (dn == 0) return;
  FUZZ_CHECK(rc == (fits ? 0 : 1), rc);
  if (!fits) {
    for (size_t i = 0; i < dn; ++i) FUZZ_CHECK(dst.data()[i] == 0xEE);
  }
  Guarded srcd(8 * sn, fuzz::guard_side()), dstd(8 * dn, fuzz::guard_side());
  double* sd = reinterpret_cast<double*>(srcd.data());
  for (size_t i = 0; i < sn; ++i) sd[i] = src.data()[i];
  const int rcd = double_resize(reinterpret_cast<double*>(dstd.data()), dh, dw, 255.0, ri.data(),
                                rf.data(), ci.data(), cf.data(), sd, sh, sw);
  FUZZ_CHECK(rcd == rc, rcd, rc);
  fuzz::Stats::count(1, "resize");
}

void distance(fuzz::Input& in, std::mt19937& rng) {
  const int h = in.range(1, 60), w = in.range(1, 60);
  const size_t n = static_cast<size_t>(h) * w;
  Guarded img(n, fuzz::guard_side()), out(8 * n, fuzz::guard_side());
  const int density = in.byte();
  bool any_site = false;
  for (size_t i = 0; i < n; ++i) {
    img.data()[i] = static_cast<int>(rng() % 256) < density / 8 ? 0 : 1;
    any_site = any_site || img.data()[i] == 0;
  }
  double* o = reinterpret_cast<double*>(out.data());
  computeEDT(o, img.data(), w, h);
  for (size_t i = 0; i < n; ++i) {
    uint64_t bits;
    memcpy(&bits, &o[i], sizeof bits);
    if (!any_site) {
      FUZZ_CHECK(bits == 0x7ff8000000000000ULL, static_cast<long long>(i));
    } else {
      FUZZ_CHECK(std::isfinite(o[i]) && o[i] >= 0.0, static_cast<long long>(i));
      FUZZ_CHECK((o[i] == 0.0) == (img.data()[i] == 0), static_cast<long long>(i));
    }
  }
  fuzz::Stats::count(2, "distance");
}

void blend_and_masks(fuzz::Input& in, std::mt19937& rng) {
  const int h = in.range(1, 120), w = in.range(1, 120);
  const size_t n = static_cast<size_t>(h) * w;
  Guarded mask(2 * n, fuzz::guard_side());
  unsigned short* m = reinterpret_cast<unsigned short*>(mask.data());
  gen_ellipse4(m, in.any_int(), in.any_int(), in.any_int(), in.any_int(), in.any_int() % 200, h, w);
  Guarded a(n, fuzz::guard_side()), b(n, fuzz::guard_side()), out(n, fuzz::guard_side(), 0x11);
  fuzz::fill(rng, a.data(), n);
  fuzz::fill(rng, b.data(), n);
  img_blend_neon(out.data(), a.data(), b.data(), m, static_cast<int>(n));
  const size_t whole = n - n % 8;
  for (size_t i = 0; i < n; ++i) {
    if (i >= whole) {
      FUZZ_CHECK(out.data()[i] == 0x11, static_cast<long long>(i));
    } else if (m[i] == 1024) {
      FUZZ_CHECK(out.data()[i] == b.data()[i], static_cast<long long>(i));
    } else if (m[i] == 0) {
      FUZZ_CHECK(out.data()[i] == a.data()[i], static_cast<long long>(i));
    }
  }
  Guarded range(4 * n, fuzz::guard_side());
  cal_blur_range(reinterpret_cast<unsigned*>(range.data()), h, w, in.any_int(), in.any_int());
  fuzz::Stats::count(3, "blend");
}

void conversions(fuzz::Input& in, std::mt19937& rng) {
  const int rows = in.range(1, 90), cols = in.range(1, 90);
  const size_t n = static_cast<size_t>(rows) * cols,
               c = static_cast<size_t>(rows >> 1) * (cols >> 1);
  const bool even = (rows & 1) == 0 && (cols & 1) == 0;
  // 4:2:2 packed <-> planes.
  {
    Guarded packed(2 * n, fuzz::guard_side()), planes(n + 2 * (n >> 1), fuzz::guard_side()),
        back(2 * n, fuzz::guard_side());
    fuzz::fill(rng, packed.data(), 2 * n);
    yuyv422_to_y4u2v2(planes.data(), packed.data(), rows, cols);
    y4u2v2_to_yuyv422(back.data(), planes.data(), rows, cols);
    if ((cols & 1) == 0) FUZZ_CHECK(memcmp(back.data(), packed.data(), 2 * n) == 0);
    Guarded full(3 * n, fuzz::guard_side());
    yuyv422_to_y4u4v4(full.data(), packed.data(), rows, cols);
  }
  // 4:2:0 interleaved <-> planes, and the chroma exchange.
  {
    Guarded semi(n + 2 * c, fuzz::guard_side()), planes(n + 2 * c, fuzz::guard_side()),
        back(n + 2 * c, fuzz::guard_side()), swapped(n + 2 * c, fuzz::guard_side());
    fuzz::fill(rng, semi.data(), n + 2 * c);
    y4uv20_to_y4u1v1(planes.data(), semi.data(), rows, cols);
    y4u1v1_to_y4uv20(back.data(), planes.data(), rows, cols);
    if (even) FUZZ_CHECK(memcmp(back.data(), semi.data(), n + 2 * c) == 0);
    y4v1u1_to_y4u1v1(swapped.data(), planes.data(), rows, cols);
    y4v1u1_to_y4u1v1(back.data(), swapped.data(), rows, cols);
    FUZZ_CHECK(memcmp(back.data(), planes.data(), n + 2 * c) == 0);
  }
  // Pyramid resampling with the documented buffer sizes (even sizes: the
  // halving reads exactly the plane).
  if (even) {
    Guarded plane(n, fuzz::guard_side()), half(n / 4, fuzz::guard_side()),
        big(n, fuzz::guard_side());
    fuzz::fill(rng, plane.data(), n);
    downsampleh2v2(half.data(), plane.data(), rows, cols);
    upscalingh2v2(big.data(), half.data(), rows / 2, cols / 2);
  }
  fuzz::Stats::count(4, "conversions");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input in(data, size);
  static void (*const kUtilities[])(fuzz::Input&, std::mt19937&) = {
      gaussian_filters, resize, distance, blend_and_masks, conversions};
  const uint8_t which = in.byte();
  std::mt19937 rng(in.u32());
  kUtilities[which % 5](in, rng);
  return 0;
}
