// SSE2 twins of the resampling row kernels, 16 output pixels per step (32 for
// the enlargement); the rest of each row goes to the scalar kernel.
//
// _mm_avg_epu8 computes (a + b + 1) >> 1 exactly, which is the two-pixel mean;
// four-pixel means are summed in 16-bit lanes so the single rounding of the
// reference is kept (two nested averages would round twice).
#include "simd/cpu.h"

#if QLSBP_HAVE_SSE2
#include <emmintrin.h>

#include "blur/blur_rows.h"

namespace {

inline __m128i load(const uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Sums of neighbouring byte pairs of v, as eight 16-bit lanes.
inline __m128i pair_sums(__m128i v) {
  return _mm_add_epi16(_mm_and_si128(v, _mm_set1_epi16(0x00ff)), _mm_srli_epi16(v, 8));
}

// (sum + 2) >> 2 per 16-bit lane; lanes stay below 256.
inline __m128i round_quarter(__m128i sum) {
  return _mm_srli_epi16(_mm_add_epi16(sum, _mm_set1_epi16(2)), 2);
}

}  // namespace

void downsample2x2_row_sse2(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int n) {
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m128i lo =
        _mm_add_epi16(pair_sums(load(upper + 2 * i)), pair_sums(load(lower + 2 * i)));
    const __m128i hi =
        _mm_add_epi16(pair_sums(load(upper + 2 * i + 16)), pair_sums(load(lower + 2 * i + 16)));
    store(dst + i, _mm_packus_epi16(round_quarter(lo), round_quarter(hi)));
  }
  downsample2x2_row_c(dst + i, upper + 2 * i, lower + 2 * i, n - i);
}

// Eight pairs of each plane per step. The vertical sums of 16 interleaved
// bytes (four pixel pairs of each plane) are added to themselves shifted by
// one pair, which puts the even and odd 2x2 sums of outputs 0 and 1 in the
// 32-bit lanes 0 and 2; the two planes are then the low and high halves of
// those lanes.
namespace {
inline __m128i uv_quads(const uint8_t* upper, const uint8_t* lower) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i a = load(upper), b = load(lower);
  const __m128i lo = _mm_add_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero));
  const __m128i hi = _mm_add_epi16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero));
  const __m128i l =
      _mm_shuffle_epi32(_mm_add_epi16(lo, _mm_srli_si128(lo, 4)), _MM_SHUFFLE(3, 1, 2, 0));
  const __m128i h =
      _mm_shuffle_epi32(_mm_add_epi16(hi, _mm_srli_si128(hi, 4)), _MM_SHUFFLE(3, 1, 2, 0));
  // Lanes: even0 odd0 even1 odd1 even2 odd2 even3 odd3, rounded.
  return round_quarter(_mm_unpacklo_epi64(l, h));
}
}  // namespace

void downsample2x2_uv_row_sse2(uint8_t* dst_even, uint8_t* dst_odd, const uint8_t* upper,
                               const uint8_t* lower, int n) {
  const __m128i low_half = _mm_set1_epi32(0xffff);
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m128i q0 = uv_quads(upper + 4 * i, lower + 4 * i);
    const __m128i q1 = uv_quads(upper + 4 * i + 16, lower + 4 * i + 16);
    const __m128i even = _mm_packs_epi32(_mm_and_si128(q0, low_half), _mm_and_si128(q1, low_half));
    const __m128i odd = _mm_packs_epi32(_mm_srli_epi32(q0, 16), _mm_srli_epi32(q1, 16));
    const __m128i bytes = _mm_packus_epi16(even, odd);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst_even + i), bytes);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst_odd + i), _mm_srli_si128(bytes, 8));
  }
  downsample2x2_uv_row_c(dst_even + i, dst_odd + i, upper + 4 * i, lower + 4 * i, n - i);
}

void upscale2x_row_sse2(uint8_t* d0, uint8_t* d1, const uint8_t* s0, const uint8_t* s1, int width) {
  const __m128i zero = _mm_setzero_si128();
  auto step = [&](int x) {
    const __m128i a = load(s0 + x), b = load(s0 + x + 1);
    const __m128i c = load(s1 + x), d = load(s1 + x + 1);
    const __m128i h = _mm_avg_epu8(a, b);
    const __m128i v = _mm_avg_epu8(a, c);
    const __m128i sum_lo =
        _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero)),
                      _mm_add_epi16(_mm_unpacklo_epi8(c, zero), _mm_unpacklo_epi8(d, zero)));
    const __m128i sum_hi =
        _mm_add_epi16(_mm_add_epi16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero)),
                      _mm_add_epi16(_mm_unpackhi_epi8(c, zero), _mm_unpackhi_epi8(d, zero)));
    const __m128i q = _mm_packus_epi16(round_quarter(sum_lo), round_quarter(sum_hi));
    store(d0 + 2 * x, _mm_unpacklo_epi8(a, h));
    store(d0 + 2 * x + 16, _mm_unpackhi_epi8(a, h));
    store(d1 + 2 * x, _mm_unpacklo_epi8(v, q));
    store(d1 + 2 * x + 16, _mm_unpackhi_epi8(v, q));
  };
  int x = 0;
  // Each step reads pixels x .. x + 16, so it needs a right neighbour for all
  // sixteen; the right column is left to the scalar kernel. A row that does
  // not end on a step gets one more step moved back to end at the right
  // column (rewriting some outputs with the same values).
  for (; x + 17 <= width; x += 16) step(x);
  if (x + 1 < width && width >= 17) {
    step(width - 17);
    x = width - 1;
  }
  upscale2x_row_c(d0 + 2 * x, d1 + 2 * x, s0 + x, s1 + x, width - x);
}

#endif  // QLSBP_HAVE_SSE2
