// NEON twins of the resampling row kernels, 16 output pixels per step (32 for
// the enlargement); the rest of each row goes to the scalar kernel.
//
// vrhadd computes (a + b + 1) >> 1 and vrshrn_n_u16(sum, 2) computes
// (sum + 2) >> 2, exactly the rounding of the reference.
#include "simd/cpu.h"

#if QLSBP_HAVE_NEON
#include <arm_neon.h>

#include "blur/blur_rows.h"

void downsample2x2_row_neon(uint8_t* dst, const uint8_t* upper, const uint8_t* lower, int n) {
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    // Pairwise widening adds: eight pair sums per 16 bytes, then the lower row.
    uint16x8_t lo = vpaddlq_u8(vld1q_u8(upper + 2 * i));
    uint16x8_t hi = vpaddlq_u8(vld1q_u8(upper + 2 * i + 16));
    lo = vpadalq_u8(lo, vld1q_u8(lower + 2 * i));
    hi = vpadalq_u8(hi, vld1q_u8(lower + 2 * i + 16));
    vst1q_u8(dst + i, vcombine_u8(vrshrn_n_u16(lo, 2), vrshrn_n_u16(hi, 2)));
  }
  downsample2x2_row_c(dst + i, upper + 2 * i, lower + 2 * i, n - i);
}

void downsample2x2_uv_row_neon(uint8_t* dst_even, uint8_t* dst_odd, const uint8_t* upper,
                               const uint8_t* lower, int n) {
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    // vld2 splits 16 pixel pairs into the two planes; then as above.
    const uint8x16x2_t a = vld2q_u8(upper + 4 * i);
    const uint8x16x2_t b = vld2q_u8(lower + 4 * i);
    const uint16x8_t even = vpadalq_u8(vpaddlq_u8(a.val[0]), b.val[0]);
    const uint16x8_t odd = vpadalq_u8(vpaddlq_u8(a.val[1]), b.val[1]);
    vst1_u8(dst_even + i, vrshrn_n_u16(even, 2));
    vst1_u8(dst_odd + i, vrshrn_n_u16(odd, 2));
  }
  downsample2x2_uv_row_c(dst_even + i, dst_odd + i, upper + 4 * i, lower + 4 * i, n - i);
}

void upscale2x_row_neon(uint8_t* d0, uint8_t* d1, const uint8_t* s0, const uint8_t* s1, int width) {
  auto step = [&](int x) {
    const uint8x16_t a = vld1q_u8(s0 + x), b = vld1q_u8(s0 + x + 1);
    const uint8x16_t c = vld1q_u8(s1 + x), d = vld1q_u8(s1 + x + 1);
    const uint16x8_t sum_lo = vaddq_u16(vaddl_u8(vget_low_u8(a), vget_low_u8(b)),
                                        vaddl_u8(vget_low_u8(c), vget_low_u8(d)));
    const uint16x8_t sum_hi = vaddq_u16(vaddl_u8(vget_high_u8(a), vget_high_u8(b)),
                                        vaddl_u8(vget_high_u8(c), vget_high_u8(d)));
    uint8x16x2_t top;
    top.val[0] = a;
    top.val[1] = vrhaddq_u8(a, b);
    uint8x16x2_t bottom;
    bottom.val[0] = vrhaddq_u8(a, c);
    bottom.val[1] = vcombine_u8(vrshrn_n_u16(sum_lo, 2), vrshrn_n_u16(sum_hi, 2));
    vst2q_u8(d0 + 2 * x, top);
    vst2q_u8(d1 + 2 * x, bottom);
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

#endif  // QLSBP_HAVE_NEON
