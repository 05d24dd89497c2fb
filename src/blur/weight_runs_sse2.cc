// SSE2 twins of the weight-run kernels: 64 weights per step while they all
// match (runs of zeros and of 1024 are rows long), then sixteen at once; the
// block holding the first other weight, and the rest of the row, go to the
// scalar kernel.
#include "simd/cpu.h"

#if QLSBP_HAVE_SSE2
#include <emmintrin.h>

#include "blur/blur_rows.h"

namespace {

// True when all sixteen weights at w equal the broadcast value.
inline bool block_equal(const uint16_t* w, __m128i value) {
  const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(w));
  const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(w + 8));
  const __m128i eq = _mm_and_si128(_mm_cmpeq_epi16(a, value), _mm_cmpeq_epi16(b, value));
  return _mm_movemask_epi8(eq) == 0xffff;
}

// True when all 64 weights at w equal the broadcast value: the differences
// ORed together are zero.
inline bool block64_equal(const uint16_t* w, __m128i value) {
  const __m128i* p = reinterpret_cast<const __m128i*>(w);
  __m128i d0 = _mm_xor_si128(_mm_loadu_si128(p), value);
  __m128i d1 = _mm_xor_si128(_mm_loadu_si128(p + 1), value);
  __m128i d2 = _mm_xor_si128(_mm_loadu_si128(p + 2), value);
  __m128i d3 = _mm_xor_si128(_mm_loadu_si128(p + 3), value);
  d0 = _mm_or_si128(d0, _mm_xor_si128(_mm_loadu_si128(p + 4), value));
  d1 = _mm_or_si128(d1, _mm_xor_si128(_mm_loadu_si128(p + 5), value));
  d2 = _mm_or_si128(d2, _mm_xor_si128(_mm_loadu_si128(p + 6), value));
  d3 = _mm_or_si128(d3, _mm_xor_si128(_mm_loadu_si128(p + 7), value));
  const __m128i d = _mm_or_si128(_mm_or_si128(d0, d1), _mm_or_si128(d2, d3));
  return _mm_movemask_epi8(_mm_cmpeq_epi8(d, _mm_setzero_si128())) == 0xffff;
}

}  // namespace

int weight_run_forward_sse2(const uint16_t* weight, int n, uint16_t v) {
  const __m128i value = _mm_set1_epi16(static_cast<short>(v));
  int i = 0;
  while (i + 64 <= n && block64_equal(weight + i, value)) i += 64;
  while (i + 16 <= n && block_equal(weight + i, value)) i += 16;
  return i + weight_run_forward_c(weight + i, n - i, v);
}

int weight_run_backward_sse2(const uint16_t* weight, int n, uint16_t v) {
  const __m128i value = _mm_set1_epi16(static_cast<short>(v));
  int i = n;  // weight[i .. n) is known to be v
  while (i >= 64 && block64_equal(weight + i - 64, value)) i -= 64;
  while (i >= 16 && block_equal(weight + i - 16, value)) i -= 16;
  return (n - i) + weight_run_backward_c(weight, i, v);
}

#endif  // QLSBP_HAVE_SSE2
