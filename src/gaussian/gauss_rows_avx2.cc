// AVX2 twins of the Gaussian row kernels.
//
// The SSE2 scheme at twice the width: 32 outputs per step. Each term of the
// pair sum is widened to 16 bits (at most 510), two terms are interleaved
// and multiplied by their two int16 taps with vpmaddwd into exact 32-bit
// products, and the 32-bit lanes wrap like the scalar unsigned sum. The
// unpacks and packs both work within 128-bit lanes, so the bytes come out in
// order without a cross-lane shuffle. Rows shorter than one step, and taps
// outside the int16 range, go to the SSE2 twin, which hands on to the scalar
// reference in turn.
#include "gaussian/gauss_rows.h"

#if defined(__AVX2__)
#include <immintrin.h>

namespace {

constexpr int kMaxGroups = ((kGaussVectorMaxTaps >> 1) + 2) >> 1;

struct RowOffsets {
  const int* off;
  int operator()(int k) const { return off[k]; }
};
struct ColumnOffsets {
  int operator()(int k) const { return k; }
};

inline __m256i load32(const uint8_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// Two taps as the int16 pairs vpmaddwd expects: a in the even lanes (first
// term of a group), b in the odd ones (second term).
inline __m256i tap_pair(int a, int b) {
  const uint32_t lo = static_cast<uint16_t>(a), hi = static_cast<uint16_t>(b);
  return _mm256_set1_epi32(static_cast<int>(lo | (hi << 16)));
}

// Groups of two terms: pairs (0,1), (2,3), ... then either (last pair,
// centre) or (centre, nothing), as in the SSE2 twin.
void prepare_taps(__m256i* taps, const int* kernel, int r) {
  int g = 0, t = 0;
  for (; t + 1 < r; t += 2) taps[g++] = tap_pair(kernel[t], kernel[t + 1]);
  taps[g] = t < r ? tap_pair(kernel[t], kernel[r]) : tap_pair(kernel[r], 0);
}

// Pair sum of term t (t < r) for 32 outputs, as the low and high 8-lane
// halves of each 128-bit lane.
template <typename Offsets>
inline void pair32(const uint8_t* src, Offsets off, int t, int ksize, __m256i* lo, __m256i* hi) {
  const __m256i zero = _mm256_setzero_si256();
  const __m256i a = load32(src + off(t));
  const __m256i b = load32(src + off(ksize - 1 - t));
  *lo = _mm256_add_epi16(_mm256_unpacklo_epi8(a, zero), _mm256_unpacklo_epi8(b, zero));
  *hi = _mm256_add_epi16(_mm256_unpackhi_epi8(a, zero), _mm256_unpackhi_epi8(b, zero));
}

inline void madd32(__m256i acc[4], __m256i lo0, __m256i hi0, __m256i lo1, __m256i hi1,
                   __m256i taps) {
  acc[0] = _mm256_add_epi32(acc[0], _mm256_madd_epi16(_mm256_unpacklo_epi16(lo0, lo1), taps));
  acc[1] = _mm256_add_epi32(acc[1], _mm256_madd_epi16(_mm256_unpackhi_epi16(lo0, lo1), taps));
  acc[2] = _mm256_add_epi32(acc[2], _mm256_madd_epi16(_mm256_unpacklo_epi16(hi0, hi1), taps));
  acc[3] = _mm256_add_epi32(acc[3], _mm256_madd_epi16(_mm256_unpackhi_epi16(hi0, hi1), taps));
}

// Low 8 bits of (sum >> 10), so that the saturating packs never saturate.
inline __m256i shift_low8(__m256i v) {
  return _mm256_and_si256(_mm256_srli_epi32(v, 10), _mm256_set1_epi32(0xff));
}

template <int kTaps, typename Offsets>
inline void block32(uint8_t* dst, const uint8_t* src, Offsets off, const __m256i* taps) {
  constexpr int r = kTaps >> 1;
  const __m256i zero = _mm256_setzero_si256();
  __m256i acc[4] = {zero, zero, zero, zero};
  __m256i lo0, hi0, lo1, hi1;
  int t = 0, g = 0;
  for (; t + 1 < r; t += 2, ++g) {
    pair32(src, off, t, kTaps, &lo0, &hi0);
    pair32(src, off, t + 1, kTaps, &lo1, &hi1);
    madd32(acc, lo0, hi0, lo1, hi1, taps[g]);
  }
  const __m256i c = load32(src + off(r));
  const __m256i clo = _mm256_unpacklo_epi8(c, zero), chi = _mm256_unpackhi_epi8(c, zero);
  if (t < r) {
    pair32(src, off, t, kTaps, &lo0, &hi0);
    madd32(acc, lo0, hi0, clo, chi, taps[g]);
  } else {
    madd32(acc, clo, chi, zero, zero, taps[g]);
  }
  const __m256i w0 = _mm256_packs_epi32(shift_low8(acc[0]), shift_low8(acc[1]));
  const __m256i w1 = _mm256_packs_epi32(shift_low8(acc[2]), shift_low8(acc[3]));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), _mm256_packus_epi16(w0, w1));
}

// n >= 32. The last step is moved back to end exactly at n, recomputing a few
// outputs with the same values. The tap count is a template argument so that
// the term loops unroll for the filters' fixed sizes.
template <int kTaps, typename Offsets>
void pair_rows(uint8_t* dst, const uint8_t* src, Offsets off, const int* kernel, int n) {
  __m256i taps[((kTaps >> 1) + 2) >> 1];
  prepare_taps(taps, kernel, kTaps >> 1);
  int x = 0;
  for (; x + 32 <= n; x += 32) block32<kTaps>(dst + x, src + x, off, taps);
  if (x < n) block32<kTaps>(dst + n - 32, src + n - 32, off, taps);
}

// Any other tap count, read at run time.
template <typename Offsets>
void pair_rows_rt(uint8_t* dst, const uint8_t* src, Offsets off, const int* kernel, int ksize,
                  int n) {
  const int r = ksize >> 1;
  __m256i taps[kMaxGroups];
  prepare_taps(taps, kernel, r);
  const __m256i zero = _mm256_setzero_si256();
  for (int x = 0;; x += 32) {
    if (x + 32 > n) x = n - 32;
    const uint8_t* s = src + x;
    __m256i acc[4] = {zero, zero, zero, zero};
    __m256i lo0, hi0, lo1, hi1;
    int t = 0, g = 0;
    for (; t + 1 < r; t += 2, ++g) {
      pair32(s, off, t, ksize, &lo0, &hi0);
      pair32(s, off, t + 1, ksize, &lo1, &hi1);
      madd32(acc, lo0, hi0, lo1, hi1, taps[g]);
    }
    const __m256i c = load32(s + off(r));
    const __m256i clo = _mm256_unpacklo_epi8(c, zero), chi = _mm256_unpackhi_epi8(c, zero);
    if (t < r) {
      pair32(s, off, t, ksize, &lo0, &hi0);
      madd32(acc, lo0, hi0, clo, chi, taps[g]);
    } else {
      madd32(acc, clo, chi, zero, zero, taps[g]);
    }
    const __m256i w0 = _mm256_packs_epi32(shift_low8(acc[0]), shift_low8(acc[1]));
    const __m256i w1 = _mm256_packs_epi32(shift_low8(acc[2]), shift_low8(acc[3]));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + x), _mm256_packus_epi16(w0, w1));
    if (x + 32 >= n) return;
  }
}

template <typename Offsets>
void pair_rows_any(uint8_t* dst, const uint8_t* src, Offsets off, const int* kernel, int ksize,
                   int n) {
  // Engines that drop zero taps pass every odd count up to 21 (the level
  // sets how many of the 21 taps are non-zero); each gets unrolled loops.
  switch (ksize) {
    case 3:
      return pair_rows<3>(dst, src, off, kernel, n);
    case 5:
      return pair_rows<5>(dst, src, off, kernel, n);
    case 7:
      return pair_rows<7>(dst, src, off, kernel, n);
    case 9:
      return pair_rows<9>(dst, src, off, kernel, n);
    case 11:
      return pair_rows<11>(dst, src, off, kernel, n);
    case 13:
      return pair_rows<13>(dst, src, off, kernel, n);
    case 15:
      return pair_rows<15>(dst, src, off, kernel, n);
    case 17:
      return pair_rows<17>(dst, src, off, kernel, n);
    case 19:
      return pair_rows<19>(dst, src, off, kernel, n);
    case 21:
      return pair_rows<21>(dst, src, off, kernel, n);
    case 61:
      return pair_rows<61>(dst, src, off, kernel, n);
    default:
      return pair_rows_rt(dst, src, off, kernel, ksize, n);
  }
}

}  // namespace

void gauss_vertical_row_avx2(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                             const int* kernel, int ksize, int n) {
  if (n < 32 || !gauss_taps_fit_vector(kernel, ksize)) {
    return gauss_vertical_row_sse2(dst, src, row_offsets, kernel, ksize, n);
  }
  pair_rows_any(dst, src, RowOffsets{row_offsets}, kernel, ksize, n);
}

void gauss_horizontal_row_avx2(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize,
                               int n) {
  if (n < 32 || !gauss_taps_fit_vector(kernel, ksize)) {
    return gauss_horizontal_row_sse2(dst, src, kernel, ksize, n);
  }
  pair_rows_any(dst, src, ColumnOffsets{}, kernel, ksize, n);
}

#endif  // __AVX2__
