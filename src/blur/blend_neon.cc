// NEON twins of the blend row kernels, one block of 8 pixels per step in the
// widen / multiply-long / narrow form the arithmetic is defined by. Leftovers
// go to the scalar kernel (the exported drivers never leave any).
#include "simd/cpu.h"

#if QLSBP_HAVE_NEON
#include <arm_neon.h>

#include "blur/blur_rows.h"

void blend_row_neon(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                    const uint16_t* weight, int n) {
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const uint16x8_t f = vmovl_u8(vld1_u8(first + i));
    const uint16x8_t s = vmovl_u8(vld1_u8(second + i));
    const int16x8_t d = vreinterpretq_s16_u16(vsubq_u16(s, f));
    const int16x8_t w = vreinterpretq_s16_u16(vld1q_u16(weight + i));
    const int32x4_t p_lo = vmull_s16(vget_low_s16(d), vget_low_s16(w));
    const int32x4_t p_hi = vmull_s16(vget_high_s16(d), vget_high_s16(w));
    // vrshrn: (p + 512) >> 10, narrowed to 16 bits by truncation.
    const int16x8_t t = vcombine_s16(vrshrn_n_s32(p_lo, 10), vrshrn_n_s32(p_hi, 10));
    const uint16x8_t r = vaddq_u16(vreinterpretq_u16_s16(t), f);
    vst1_u8(dst + i, vmovn_u16(r));
  }
  blend_row_c(dst + i, first + i, second + i, weight + i, n - i);
}

namespace {
// Eight pixels: low byte of f + (((s - f) * w + 512) >> 10), 16-bit wrap.
inline uint8x8_t blend8(uint8x8_t first, uint8x8_t second, int16x8_t w) {
  const uint16x8_t f = vmovl_u8(first);
  const int16x8_t d = vreinterpretq_s16_u16(vsubq_u16(vmovl_u8(second), f));
  const int32x4_t p_lo = vmull_s16(vget_low_s16(d), vget_low_s16(w));
  const int32x4_t p_hi = vmull_s16(vget_high_s16(d), vget_high_s16(w));
  const int16x8_t t = vcombine_s16(vrshrn_n_s32(p_lo, 10), vrshrn_n_s32(p_hi, 10));
  return vmovn_u16(vaddq_u16(vreinterpretq_u16_s16(t), f));
}
}  // namespace

void blend_uv_row_neon(uint8_t* dst, const uint8_t* first_even, const uint8_t* first_odd,
                       const uint8_t* second, const uint16_t* weight, int n) {
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    // vld2 / vst2 split and join the caller's pairs; both planes share w.
    const uint8x8x2_t s = vld2_u8(second + 2 * i);
    const int16x8_t w = vreinterpretq_s16_u16(vld1q_u16(weight + i));
    uint8x8x2_t out;
    out.val[0] = blend8(vld1_u8(first_even + i), s.val[0], w);
    out.val[1] = blend8(vld1_u8(first_odd + i), s.val[1], w);
    vst2_u8(dst + 2 * i, out);
  }
  blend_uv_row_c(dst + 2 * i, first_even + i, first_odd + i, second + 2 * i, weight + i, n - i);
}

void blend_yuyv_row_neon(uint8_t* dst, const uint8_t* first_y, const uint8_t* first_u,
                         const uint8_t* first_v, const uint8_t* second, const uint16_t* weight_y,
                         const uint16_t* weight_c, int n) {
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    // vld4 / vst4 split and join Y0 U Y1 V; vld2 splits the luma into even
    // and odd samples and their weights the same way.
    const uint8x8x4_t s = vld4_u8(second + 4 * i);
    const uint8x8x2_t y = vld2_u8(first_y + 2 * i);
    const uint16x8x2_t wy = vld2q_u16(weight_y + 2 * i);
    const int16x8_t wc = vreinterpretq_s16_u16(vld1q_u16(weight_c + i));
    uint8x8x4_t out;
    out.val[0] = blend8(y.val[0], s.val[0], vreinterpretq_s16_u16(wy.val[0]));
    out.val[1] = blend8(vld1_u8(first_u + i), s.val[1], wc);
    out.val[2] = blend8(y.val[1], s.val[2], vreinterpretq_s16_u16(wy.val[1]));
    out.val[3] = blend8(vld1_u8(first_v + i), s.val[3], wc);
    vst4_u8(dst + 4 * i, out);
  }
  blend_yuyv_row_c(dst + 4 * i, first_y + 2 * i, first_u + i, first_v + i, second + 4 * i,
                   weight_y + 2 * i, weight_c + i, n - i);
}

void blend_alpha_row_neon(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                          const uint16_t* weight, int n, int alpha) {
  const int a = static_cast<int>(static_cast<uint32_t>(alpha) & 0xffffu);
  const int16x4_t strength = vdup_n_s16(static_cast<int16_t>(a >= 0x8000 ? a - 0x10000 : a));
  const uint32x4_t half = vdupq_n_u32(65536);
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const uint16x8_t f = vmovl_u8(vld1_u8(first + i));
    const uint16x8_t s = vmovl_u8(vld1_u8(second + i));
    // k = (int16)(1024 - w) * strength, a full 32-bit product.
    const int16x8_t share =
        vreinterpretq_s16_u16(vsubq_u16(vdupq_n_u16(1024), vld1q_u16(weight + i)));
    const int32x4_t k_lo = vmull_s16(vget_low_s16(share), strength);
    const int32x4_t k_hi = vmull_s16(vget_high_s16(share), strength);
    // (f - s) * k + (s << 17) + 65536 == f * k + s * (131072 - k) + 65536 mod 2^32.
    const int16x8_t e = vreinterpretq_s16_u16(vsubq_u16(f, s));
    uint32x4_t v_lo = vreinterpretq_u32_s32(vmulq_s32(vmovl_s16(vget_low_s16(e)), k_lo));
    uint32x4_t v_hi = vreinterpretq_u32_s32(vmulq_s32(vmovl_s16(vget_high_s16(e)), k_hi));
    v_lo = vaddq_u32(vaddq_u32(v_lo, vshlq_n_u32(vmovl_u16(vget_low_u16(s)), 17)), half);
    v_hi = vaddq_u32(vaddq_u32(v_hi, vshlq_n_u32(vmovl_u16(vget_high_u16(s)), 17)), half);
    // Bits 17..24: shift, then two truncating narrows.
    const uint16x8_t r =
        vcombine_u16(vmovn_u32(vshrq_n_u32(v_lo, 17)), vmovn_u32(vshrq_n_u32(v_hi, 17)));
    vst1_u8(dst + i, vmovn_u16(r));
  }
  blend_alpha_row_c(dst + i, first + i, second + i, weight + i, n - i, alpha);
}

#endif  // QLSBP_HAVE_NEON
