// SSE2 twins of the weight-run kernels: sixteen weights per step compared at
// once; the block holding the first other weight, and the rest of the row,
// go to the scalar kernel.
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

}  // namespace

int weight_run_forward_sse2(const uint16_t* weight, int n, uint16_t v) {
  const __m128i value = _mm_set1_epi16(static_cast<short>(v));
  int i = 0;
  while (i + 16 <= n && block_equal(weight + i, value)) i += 16;
  return i + weight_run_forward_c(weight + i, n - i, v);
}

int weight_run_backward_sse2(const uint16_t* weight, int n, uint16_t v) {
  const __m128i value = _mm_set1_epi16(static_cast<short>(v));
  int i = n;  // weight[i .. n) is known to be v
  while (i >= 16 && block_equal(weight + i - 16, value)) i -= 16;
  return (n - i) + weight_run_backward_c(weight, i, v);
}

#endif  // QLSBP_HAVE_SSE2
