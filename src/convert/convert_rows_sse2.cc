// SSE2 twins of the split/join row kernels: 16 pairs per step, the rest of
// the row by the scalar kernel. Even bytes are isolated by masking each 16-bit
// lane with 0x00ff and odd bytes by shifting it right by 8; packus then only
// packs values below 256, so it never saturates.
#include "simd/cpu.h"

#if QLSBP_HAVE_SSE2
#include <emmintrin.h>

#include "convert/convert_rows.h"

namespace {

inline __m128i load(const uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Bytes 0, 2, 4, ... of a then of b.
inline __m128i even_bytes(__m128i a, __m128i b) {
  const __m128i low = _mm_set1_epi16(0x00ff);
  return _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
}

// Bytes 1, 3, 5, ... of a then of b.
inline __m128i odd_bytes(__m128i a, __m128i b) {
  return _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
}

}  // namespace

void split_yuyv_row_sse2(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int pairs) {
  int k = 0;
  for (; k + 16 <= pairs; k += 16) {
    const uint8_t* s = yuyv + 4 * k;
    const __m128i a0 = load(s), a1 = load(s + 16), a2 = load(s + 32), a3 = load(s + 48);
    store(y + 2 * k, even_bytes(a0, a1));
    store(y + 2 * k + 16, even_bytes(a2, a3));
    const __m128i uv0 = odd_bytes(a0, a1);  // U0 V0 .. U7 V7
    const __m128i uv1 = odd_bytes(a2, a3);  // U8 V8 .. U15 V15
    store(u + k, even_bytes(uv0, uv1));
    store(v + k, odd_bytes(uv0, uv1));
  }
  split_yuyv_row_c(y + 2 * k, u + k, v + k, yuyv + 4 * k, pairs - k);
}

void join_yuyv_row_sse2(uint8_t* yuyv, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                        int pairs) {
  int k = 0;
  for (; k + 16 <= pairs; k += 16) {
    const __m128i y0 = load(y + 2 * k), y1 = load(y + 2 * k + 16);
    const __m128i uu = load(u + k), vv = load(v + k);
    const __m128i uv0 = _mm_unpacklo_epi8(uu, vv);  // U0 V0 .. U7 V7
    const __m128i uv1 = _mm_unpackhi_epi8(uu, vv);  // U8 V8 .. U15 V15
    uint8_t* d = yuyv + 4 * k;
    store(d, _mm_unpacklo_epi8(y0, uv0));  // Y0 U0 Y1 V0 ..
    store(d + 16, _mm_unpackhi_epi8(y0, uv0));
    store(d + 32, _mm_unpacklo_epi8(y1, uv1));
    store(d + 48, _mm_unpackhi_epi8(y1, uv1));
  }
  join_yuyv_row_c(yuyv + 4 * k, y + 2 * k, u + k, v + k, pairs - k);
}

void split_uv_row_sse2(uint8_t* u, uint8_t* v, const uint8_t* uv, int n) {
  int j = 0;
  for (; j + 16 <= n; j += 16) {
    const __m128i a0 = load(uv + 2 * j), a1 = load(uv + 2 * j + 16);
    store(u + j, even_bytes(a0, a1));
    store(v + j, odd_bytes(a0, a1));
  }
  split_uv_row_c(u + j, v + j, uv + 2 * j, n - j);
}

void join_uv_row_sse2(uint8_t* uv, const uint8_t* u, const uint8_t* v, int n) {
  int j = 0;
  for (; j + 16 <= n; j += 16) {
    const __m128i uu = load(u + j), vv = load(v + j);
    store(uv + 2 * j, _mm_unpacklo_epi8(uu, vv));
    store(uv + 2 * j + 16, _mm_unpackhi_epi8(uu, vv));
  }
  join_uv_row_c(uv + 2 * j, u + j, v + j, n - j);
}

#endif  // QLSBP_HAVE_SSE2
