// SSE2 twins of the Gaussian row kernels.
//
// Sixteen outputs per step. Each term of the pair sum (p[d] + p[ksize-1-d],
// or the centre p[r]) is widened to 16 bits (at most 510), two terms are
// interleaved and multiplied by their two taps with pmaddwd, which gives exact
// 32-bit products while the taps fit in int16; the 32-bit lanes then wrap
// exactly like the scalar unsigned sum. Both passes use the same core: the
// vertical pass reads term k at row_offsets[k], the horizontal one at k.
#include "gaussian/gauss_rows.h"
#include "simd/cpu.h"

#if QLSBP_HAVE_SSE2
#include <emmintrin.h>

namespace {

constexpr int kMaxGroups = ((kGaussVectorMaxTaps >> 1) + 2) >> 1;

struct RowOffsets {
  const int* off;
  int operator()(int k) const { return off[k]; }
};
struct ColumnOffsets {
  int operator()(int k) const { return k; }
};

inline __m128i load16(const uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline __m128i load8(const uint8_t* p) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}

// Two taps as the int16 pairs pmaddwd expects: a for the first term of a
// group (even lane), b for the second (odd lane).
inline __m128i tap_pair(int a, int b) {
  const short sa = static_cast<short>(a), sb = static_cast<short>(b);
  return _mm_set_epi16(sb, sa, sb, sa, sb, sa, sb, sa);
}

// Groups of two terms: pairs (0,1), (2,3), ... then either (last pair,
// centre) or (centre, nothing). Returns the number of groups.
int prepare_taps(__m128i* taps, const int* kernel, int r) {
  int g = 0, t = 0;
  for (; t + 1 < r; t += 2) taps[g++] = tap_pair(kernel[t], kernel[t + 1]);
  taps[g++] = t < r ? tap_pair(kernel[t], kernel[r]) : tap_pair(kernel[r], 0);
  return g;
}

// Pair sum of term t (t < r) for 16 outputs, as low and high 8-lane halves.
template <typename Offsets>
inline void pair16(const uint8_t* src, Offsets off, int t, int ksize, __m128i* lo, __m128i* hi) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i a = load16(src + off(t));
  const __m128i b = load16(src + off(ksize - 1 - t));
  *lo = _mm_add_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero));
  *hi = _mm_add_epi16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero));
}

inline void madd16(__m128i acc[4], __m128i lo0, __m128i hi0, __m128i lo1, __m128i hi1,
                   __m128i taps) {
  acc[0] = _mm_add_epi32(acc[0], _mm_madd_epi16(_mm_unpacklo_epi16(lo0, lo1), taps));
  acc[1] = _mm_add_epi32(acc[1], _mm_madd_epi16(_mm_unpackhi_epi16(lo0, lo1), taps));
  acc[2] = _mm_add_epi32(acc[2], _mm_madd_epi16(_mm_unpacklo_epi16(hi0, hi1), taps));
  acc[3] = _mm_add_epi32(acc[3], _mm_madd_epi16(_mm_unpackhi_epi16(hi0, hi1), taps));
}

// Low 8 bits of (sum >> 10) for four lanes, ready for the saturating packs
// (which then never saturate).
inline __m128i shift_low8(__m128i v) {
  return _mm_and_si128(_mm_srli_epi32(v, 10), _mm_set1_epi32(0xff));
}

template <typename Offsets>
inline void block16(uint8_t* dst, const uint8_t* src, Offsets off, const __m128i* taps, int ksize) {
  const int r = ksize >> 1;
  const __m128i zero = _mm_setzero_si128();
  __m128i acc[4] = {zero, zero, zero, zero};
  __m128i lo0, hi0, lo1, hi1;
  int t = 0, g = 0;
  for (; t + 1 < r; t += 2, ++g) {
    pair16(src, off, t, ksize, &lo0, &hi0);
    pair16(src, off, t + 1, ksize, &lo1, &hi1);
    madd16(acc, lo0, hi0, lo1, hi1, taps[g]);
  }
  const __m128i c = load16(src + off(r));
  const __m128i clo = _mm_unpacklo_epi8(c, zero), chi = _mm_unpackhi_epi8(c, zero);
  if (t < r) {
    pair16(src, off, t, ksize, &lo0, &hi0);
    madd16(acc, lo0, hi0, clo, chi, taps[g]);
  } else {
    madd16(acc, clo, chi, zero, zero, taps[g]);
  }
  const __m128i w0 = _mm_packs_epi32(shift_low8(acc[0]), shift_low8(acc[1]));
  const __m128i w1 = _mm_packs_epi32(shift_low8(acc[2]), shift_low8(acc[3]));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(w0, w1));
}

// Pair sum of term t for 8 outputs.
template <typename Offsets>
inline __m128i pair8(const uint8_t* src, Offsets off, int t, int ksize) {
  const __m128i zero = _mm_setzero_si128();
  return _mm_add_epi16(_mm_unpacklo_epi8(load8(src + off(t)), zero),
                       _mm_unpacklo_epi8(load8(src + off(ksize - 1 - t)), zero));
}

inline void madd8(__m128i acc[2], __m128i lo0, __m128i lo1, __m128i taps) {
  acc[0] = _mm_add_epi32(acc[0], _mm_madd_epi16(_mm_unpacklo_epi16(lo0, lo1), taps));
  acc[1] = _mm_add_epi32(acc[1], _mm_madd_epi16(_mm_unpackhi_epi16(lo0, lo1), taps));
}

template <typename Offsets>
inline void block8(uint8_t* dst, const uint8_t* src, Offsets off, const __m128i* taps, int ksize) {
  const int r = ksize >> 1;
  const __m128i zero = _mm_setzero_si128();
  __m128i acc[2] = {zero, zero};
  int t = 0, g = 0;
  for (; t + 1 < r; t += 2, ++g) {
    madd8(acc, pair8(src, off, t, ksize), pair8(src, off, t + 1, ksize), taps[g]);
  }
  const __m128i c = _mm_unpacklo_epi8(load8(src + off(r)), zero);
  if (t < r) {
    madd8(acc, pair8(src, off, t, ksize), c, taps[g]);
  } else {
    madd8(acc, c, zero, taps[g]);
  }
  const __m128i w = _mm_packs_epi32(shift_low8(acc[0]), shift_low8(acc[1]));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm_packus_epi16(w, w));
}

// n >= 8. The last step is moved back to end exactly at n, recomputing a few
// outputs with the same values, instead of a scalar tail. kTaps != 0 fixes
// the tap count at compile time so that the term loops unroll.
template <int kTaps, typename Offsets>
void pair_rows(uint8_t* dst, const uint8_t* src, Offsets off, const int* kernel, int ksize_rt,
               int n) {
  const int ksize = kTaps != 0 ? kTaps : ksize_rt;
  __m128i taps[kTaps != 0 ? ((kTaps >> 1) + 2) >> 1 : kMaxGroups];
  prepare_taps(taps, kernel, ksize >> 1);
  if (n < 16) {
    block8(dst, src, off, taps, ksize);
    if (n > 8) block8(dst + n - 8, src + n - 8, off, taps, ksize);
    return;
  }
  int x = 0;
  for (; x + 16 <= n; x += 16) block16(dst + x, src + x, off, taps, ksize);
  if (x == n) return;
  if (n - x <= 8) {
    block8(dst + n - 8, src + n - 8, off, taps, ksize);
  } else {
    block16(dst + n - 16, src + n - 16, off, taps, ksize);
  }
}

template <typename Offsets>
void pair_rows_any(uint8_t* dst, const uint8_t* src, Offsets off, const int* kernel, int ksize,
                   int n) {
  // Engines that drop zero taps pass every odd count up to 21 (the level
  // sets how many of the 21 taps are non-zero); each gets unrolled loops.
  switch (ksize) {
    case 3:
      return pair_rows<3>(dst, src, off, kernel, ksize, n);
    case 5:
      return pair_rows<5>(dst, src, off, kernel, ksize, n);
    case 7:
      return pair_rows<7>(dst, src, off, kernel, ksize, n);
    case 9:
      return pair_rows<9>(dst, src, off, kernel, ksize, n);
    case 11:
      return pair_rows<11>(dst, src, off, kernel, ksize, n);
    case 13:
      return pair_rows<13>(dst, src, off, kernel, ksize, n);
    case 15:
      return pair_rows<15>(dst, src, off, kernel, ksize, n);
    case 17:
      return pair_rows<17>(dst, src, off, kernel, ksize, n);
    case 19:
      return pair_rows<19>(dst, src, off, kernel, ksize, n);
    case 21:
      return pair_rows<21>(dst, src, off, kernel, ksize, n);
    case 61:
      return pair_rows<61>(dst, src, off, kernel, ksize, n);
    default:
      return pair_rows<0>(dst, src, off, kernel, ksize, n);
  }
}

}  // namespace

void gauss_vertical_row_sse2(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                             const int* kernel, int ksize, int n) {
  if (n < 8 || !gauss_taps_fit_vector(kernel, ksize)) {
    return gauss_vertical_row_c(dst, src, row_offsets, kernel, ksize, n);
  }
  pair_rows_any(dst, src, RowOffsets{row_offsets}, kernel, ksize, n);
}

void gauss_horizontal_row_sse2(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize,
                               int n) {
  if (n < 8 || !gauss_taps_fit_vector(kernel, ksize)) {
    return gauss_horizontal_row_c(dst, src, kernel, ksize, n);
  }
  pair_rows_any(dst, src, ColumnOffsets{}, kernel, ksize, n);
}

#endif  // QLSBP_HAVE_SSE2
