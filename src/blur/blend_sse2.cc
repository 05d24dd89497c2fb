// SSE2 twins of the blend row kernels. The plain blend handles 16 pixels per
// step, then one block of 8; the strength variant 8 per step. Leftovers go
// to the scalar kernel (the exported drivers never leave any).
#include "simd/cpu.h"

#if QLSBP_HAVE_SSE2
#include <emmintrin.h>

#include "blur/blur_rows.h"

namespace {

inline __m128i load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
inline __m128i load8(const uint8_t* p) {
  return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}

// Eight pixels in 16-bit lanes: low byte of f + (((s - f) * w + 512) >> 10).
//
// With P = (s - f) * w, the product of (s - f) * 64 (at most 16320 in
// magnitude, so it fits 16 bits) and w is 64 P: its high half is
// floor(P / 1024) and bit 15 of its low half is bit 9 of P, the rounding bit.
// Their sum is (P + 512) >> 10 exactly, in 16 bits as the reference keeps it.
inline __m128i blend8(__m128i f, __m128i s, __m128i w) {
  const __m128i d64 = _mm_slli_epi16(_mm_sub_epi16(s, f), 6);
  const __m128i floor_part = _mm_mulhi_epi16(d64, w);
  const __m128i round_bit = _mm_srli_epi16(_mm_mullo_epi16(d64, w), 15);
  const __m128i r = _mm_add_epi16(_mm_add_epi16(floor_part, round_bit), f);
  return _mm_and_si128(r, _mm_set1_epi16(0x00ff));
}

// Low 32 bits of the lane-wise 32 x 32-bit products (SSE2 has no pmulld).
inline __m128i mullo_epi32(__m128i a, __m128i b) {
  const __m128i even = _mm_mul_epu32(a, b);
  const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
  return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                            _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0)));
}

// Four pixels in 32-bit lanes: bits 17..24 of (f - s) * k + (s << 17) + 65536,
// which equals f * k + s * (131072 - k) + 65536 in wrapping 32-bit arithmetic.
inline __m128i blend_alpha4(__m128i e, __m128i k, __m128i s) {
  const __m128i v =
      _mm_add_epi32(_mm_add_epi32(mullo_epi32(e, k), _mm_slli_epi32(s, 17)), _mm_set1_epi32(65536));
  return _mm_and_si128(_mm_srli_epi32(v, 17), _mm_set1_epi32(0xff));
}

}  // namespace

void blend_row_sse2(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                    const uint16_t* weight, int n) {
  const __m128i zero = _mm_setzero_si128();
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m128i f = load(first + i), s = load(second + i);
    const __m128i lo =
        blend8(_mm_unpacklo_epi8(f, zero), _mm_unpacklo_epi8(s, zero), load(weight + i));
    const __m128i hi =
        blend8(_mm_unpackhi_epi8(f, zero), _mm_unpackhi_epi8(s, zero), load(weight + i + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(lo, hi));
  }
  if (i + 8 <= n) {
    const __m128i r = blend8(_mm_unpacklo_epi8(load8(first + i), zero),
                             _mm_unpacklo_epi8(load8(second + i), zero), load(weight + i));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(r, zero));
    i += 8;
  }
  blend_row_c(dst + i, first + i, second + i, weight + i, n - i);
}

void blend_uv_row_sse2(uint8_t* dst, const uint8_t* first_even, const uint8_t* first_odd,
                       const uint8_t* second, const uint16_t* weight, int n) {
  const __m128i zero = _mm_setzero_si128();
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    // Interleave the two blurred rows as the caller's row is, and give each
    // weight to both bytes of its pair.
    const __m128i f = _mm_unpacklo_epi8(load8(first_even + i), load8(first_odd + i));
    const __m128i s = load(second + 2 * i);
    const __m128i w = load(weight + i);
    const __m128i lo =
        blend8(_mm_unpacklo_epi8(f, zero), _mm_unpacklo_epi8(s, zero), _mm_unpacklo_epi16(w, w));
    const __m128i hi =
        blend8(_mm_unpackhi_epi8(f, zero), _mm_unpackhi_epi8(s, zero), _mm_unpackhi_epi16(w, w));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 2 * i), _mm_packus_epi16(lo, hi));
  }
  blend_uv_row_c(dst + 2 * i, first_even + i, first_odd + i, second + 2 * i, weight + i, n - i);
}

void blend_yuyv_row_sse2(uint8_t* dst, const uint8_t* first_y, const uint8_t* first_u,
                         const uint8_t* first_v, const uint8_t* second, const uint16_t* weight_y,
                         const uint16_t* weight_c, int n) {
  const __m128i zero = _mm_setzero_si128();
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    // The blurred samples in the row's order Y0 U Y1 V, and each byte's
    // weight beside it: luma weights interleaved with the chroma weights
    // given twice.
    const __m128i uv = _mm_unpacklo_epi8(load8(first_u + i), load8(first_v + i));
    const __m128i y = load(first_y + 2 * i);
    const __m128i f0 = _mm_unpacklo_epi8(y, uv), f1 = _mm_unpackhi_epi8(y, uv);
    const __m128i s0 = load(second + 4 * i), s1 = load(second + 4 * i + 16);
    const __m128i wc = load(weight_c + i);
    const __m128i wc_lo = _mm_unpacklo_epi16(wc, wc), wc_hi = _mm_unpackhi_epi16(wc, wc);
    const __m128i wy0 = load(weight_y + 2 * i), wy1 = load(weight_y + 2 * i + 8);
    const __m128i r0 = blend8(_mm_unpacklo_epi8(f0, zero), _mm_unpacklo_epi8(s0, zero),
                              _mm_unpacklo_epi16(wy0, wc_lo));
    const __m128i r1 = blend8(_mm_unpackhi_epi8(f0, zero), _mm_unpackhi_epi8(s0, zero),
                              _mm_unpackhi_epi16(wy0, wc_lo));
    const __m128i r2 = blend8(_mm_unpacklo_epi8(f1, zero), _mm_unpacklo_epi8(s1, zero),
                              _mm_unpacklo_epi16(wy1, wc_hi));
    const __m128i r3 = blend8(_mm_unpackhi_epi8(f1, zero), _mm_unpackhi_epi8(s1, zero),
                              _mm_unpackhi_epi16(wy1, wc_hi));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4 * i), _mm_packus_epi16(r0, r1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 4 * i + 16), _mm_packus_epi16(r2, r3));
  }
  blend_yuyv_row_c(dst + 4 * i, first_y + 2 * i, first_u + i, first_v + i, second + 4 * i,
                   weight_y + 2 * i, weight_c + i, n - i);
}

void blend_alpha_row_sse2(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                          const uint16_t* weight, int n, int alpha) {
  const int a = static_cast<int>(static_cast<uint32_t>(alpha) & 0xffffu);
  const __m128i strength = _mm_set1_epi16(static_cast<short>(a >= 0x8000 ? a - 0x10000 : a));
  const __m128i zero = _mm_setzero_si128();
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m128i f = _mm_unpacklo_epi8(load8(first + i), zero);
    const __m128i s = _mm_unpacklo_epi8(load8(second + i), zero);
    // k = (int16)(1024 - w) * strength, a full 32-bit product.
    const __m128i share = _mm_sub_epi16(_mm_set1_epi16(1024), load(weight + i));
    const __m128i k_lo16 = _mm_mullo_epi16(share, strength);
    const __m128i k_hi16 = _mm_mulhi_epi16(share, strength);
    const __m128i k0 = _mm_unpacklo_epi16(k_lo16, k_hi16);
    const __m128i k1 = _mm_unpackhi_epi16(k_lo16, k_hi16);
    // f - s sign-extended to 32 bits.
    const __m128i e = _mm_sub_epi16(f, s);
    const __m128i e0 = _mm_srai_epi32(_mm_unpacklo_epi16(e, e), 16);
    const __m128i e1 = _mm_srai_epi32(_mm_unpackhi_epi16(e, e), 16);
    const __m128i r0 = blend_alpha4(e0, k0, _mm_unpacklo_epi16(s, zero));
    const __m128i r1 = blend_alpha4(e1, k1, _mm_unpackhi_epi16(s, zero));
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(r0, r1), zero);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + i), bytes);
  }
  blend_alpha_row_c(dst + i, first + i, second + i, weight + i, n - i, alpha);
}

#endif  // QLSBP_HAVE_SSE2
