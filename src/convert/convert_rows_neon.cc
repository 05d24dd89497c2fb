// NEON twins of the split/join row kernels: the structured loads and stores
// (vld2/vld4, vst2/vst4) de-interleave and interleave 16 pairs per step; the
// rest of the row goes to the scalar kernel.
#include "simd/cpu.h"

#if QLSBP_HAVE_NEON
#include <arm_neon.h>

#include "convert/convert_rows.h"

void split_yuyv_row_neon(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int pairs) {
  int k = 0;
  for (; k + 16 <= pairs; k += 16) {
    const uint8x16x4_t q = vld4q_u8(yuyv + 4 * k);  // Y0s, Us, Y1s, Vs
    uint8x16x2_t luma;
    luma.val[0] = q.val[0];
    luma.val[1] = q.val[2];
    vst2q_u8(y + 2 * k, luma);
    vst1q_u8(u + k, q.val[1]);
    vst1q_u8(v + k, q.val[3]);
  }
  split_yuyv_row_c(y + 2 * k, u + k, v + k, yuyv + 4 * k, pairs - k);
}

void join_yuyv_row_neon(uint8_t* yuyv, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                        int pairs) {
  int k = 0;
  for (; k + 16 <= pairs; k += 16) {
    const uint8x16x2_t luma = vld2q_u8(y + 2 * k);
    uint8x16x4_t q;
    q.val[0] = luma.val[0];
    q.val[1] = vld1q_u8(u + k);
    q.val[2] = luma.val[1];
    q.val[3] = vld1q_u8(v + k);
    vst4q_u8(yuyv + 4 * k, q);
  }
  join_yuyv_row_c(yuyv + 4 * k, y + 2 * k, u + k, v + k, pairs - k);
}

void split_uv_row_neon(uint8_t* u, uint8_t* v, const uint8_t* uv, int n) {
  int j = 0;
  for (; j + 16 <= n; j += 16) {
    const uint8x16x2_t q = vld2q_u8(uv + 2 * j);
    vst1q_u8(u + j, q.val[0]);
    vst1q_u8(v + j, q.val[1]);
  }
  split_uv_row_c(u + j, v + j, uv + 2 * j, n - j);
}

void join_uv_row_neon(uint8_t* uv, const uint8_t* u, const uint8_t* v, int n) {
  int j = 0;
  for (; j + 16 <= n; j += 16) {
    uint8x16x2_t q;
    q.val[0] = vld1q_u8(u + j);
    q.val[1] = vld1q_u8(v + j);
    vst2q_u8(uv + 2 * j, q);
  }
  join_uv_row_c(uv + 2 * j, u + j, v + j, n - j);
}

#endif  // QLSBP_HAVE_NEON
