// SSE2 twin of the float-tap row kernel.
//
// Each lane keeps its own single-precision sum and adds the products in tap
// order, exactly as the scalar loop does (separate mulps and addps, no fused
// multiply-add), so the sums are bit-identical. Only the conversion needs
// care, see sums_to_bytes: negative and NaN sums give 0, sums from 2^32 up
// byte 255, as in the scalar code.
#include "gaussian/fixed_filters.h"

#if QLSBP_HAVE_SSE2
#include <emmintrin.h>

#include <cstddef>
#include <cstring>

namespace {

inline __m128 bytes_to_float_lo(__m128i v16) {
  return _mm_cvtepi32_ps(_mm_unpacklo_epi16(v16, _mm_setzero_si128()));
}
inline __m128 bytes_to_float_hi(__m128i v16) {
  return _mm_cvtepi32_ps(_mm_unpackhi_epi16(v16, _mm_setzero_si128()));
}

// Four sums to four low bytes in 32-bit lanes. cvttps2dq is signed: from
// 2^31 up it gives 0x80000000, whose low byte 0 is right for [2^31, 2^32)
// (multiples of 256 there); from 2^32 up the saturation mask forces 255.
inline __m128i sums_to_bytes(__m128 sum) {
  const __m128 pos = _mm_cmpgt_ps(sum, _mm_setzero_ps());  // false for NaN
  const __m128 sat = _mm_cmpge_ps(sum, _mm_set1_ps(4294967296.0f));
  const __m128i t = _mm_and_si128(_mm_cvttps_epi32(sum), _mm_castps_si128(pos));
  const __m128i v = _mm_or_si128(t, _mm_castps_si128(sat));
  return _mm_and_si128(v, _mm_set1_epi32(0xff));
}

}  // namespace

void float_taps_row_sse2(uint8_t* dst, const uint8_t* src, int step, const float* kernel, int ksize,
                         int n) {
  int x = 0;
  for (; x + 8 <= n; x += 8) {
    __m128 lo = _mm_setzero_ps(), hi = _mm_setzero_ps();
    const uint8_t* p = src + x;
    for (int k = 0; k < ksize; ++k) {
      const __m128i v8 =
          _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + static_cast<size_t>(k) * step));
      const __m128i v16 = _mm_unpacklo_epi8(v8, _mm_setzero_si128());
      const __m128 tap = _mm_set1_ps(kernel[k]);
      lo = _mm_add_ps(lo, _mm_mul_ps(bytes_to_float_lo(v16), tap));
      hi = _mm_add_ps(hi, _mm_mul_ps(bytes_to_float_hi(v16), tap));
    }
    const __m128i w16 = _mm_packs_epi32(sums_to_bytes(lo), sums_to_bytes(hi));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + x), _mm_packus_epi16(w16, w16));
  }
  for (; x + 4 <= n; x += 4) {
    __m128 sum = _mm_setzero_ps();
    const uint8_t* p = src + x;
    for (int k = 0; k < ksize; ++k) {
      int32_t four;
      memcpy(&four, p + static_cast<size_t>(k) * step, 4);
      const __m128i v16 = _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), _mm_setzero_si128());
      sum = _mm_add_ps(sum, _mm_mul_ps(bytes_to_float_lo(v16), _mm_set1_ps(kernel[k])));
    }
    const __m128i w16 = _mm_packs_epi32(sums_to_bytes(sum), _mm_setzero_si128());
    const int32_t out = _mm_cvtsi128_si32(_mm_packus_epi16(w16, w16));
    memcpy(dst + x, &out, 4);
  }
  if (x < n) float_taps_row_c(dst + x, src + x, step, kernel, ksize, n - x);
}

#endif  // QLSBP_HAVE_SSE2
