// NEON twin of the float-tap row kernel (AArch64; see fixed_filters.h for
// why 32-bit ARM keeps the scalar kernel).
//
// Each lane keeps its own single-precision sum and adds the products in tap
// order with separate multiply and add (never vmla/vfma), as the scalar loop
// does. FCVTZU truncates with unsigned saturation: negative and NaN give 0,
// 2^32 and above give 0xffffffff, which is the scalar rule; narrowing then
// keeps the low byte.
#include "gaussian/fixed_filters.h"

#if QLSBP_HAVE_FLOAT_TAPS_NEON
#include <arm_neon.h>

#include <cstddef>

void float_taps_row_neon(uint8_t* dst, const uint8_t* src, int step, const float* kernel, int ksize,
                         int n) {
  int x = 0;
  for (; x + 8 <= n; x += 8) {
    float32x4_t lo = vdupq_n_f32(0.0f), hi = vdupq_n_f32(0.0f);
    const uint8_t* p = src + x;
    for (int k = 0; k < ksize; ++k) {
      const uint16x8_t v16 = vmovl_u8(vld1_u8(p + static_cast<size_t>(k) * step));
      const float32x4_t tap = vdupq_n_f32(kernel[k]);
      lo = vaddq_f32(lo, vmulq_f32(vcvtq_f32_u32(vmovl_u16(vget_low_u16(v16))), tap));
      hi = vaddq_f32(hi, vmulq_f32(vcvtq_f32_u32(vmovl_u16(vget_high_u16(v16))), tap));
    }
    const uint16x8_t w16 = vcombine_u16(vmovn_u32(vcvtq_u32_f32(lo)), vmovn_u32(vcvtq_u32_f32(hi)));
    vst1_u8(dst + x, vmovn_u16(w16));
  }
  if (x < n) float_taps_row_c(dst + x, src + x, step, kernel, ksize, n - x);
}

#endif  // QLSBP_HAVE_FLOAT_TAPS_NEON
