// NEON twins of the weight-run kernels: 64 weights per step while they all
// match (runs of zeros and of 1024 are rows long), then sixteen at once (the
// comparison narrowed to one 64-bit word that is all ones when they all
// match); the block holding the first other weight, and the rest of the row,
// go to the scalar kernel.
#include "simd/cpu.h"

#if QLSBP_HAVE_NEON
#include <arm_neon.h>

#include "blur/blur_rows.h"

namespace {

inline bool block_equal(const uint16_t* w, uint16x8_t value) {
  const uint16x8_t eq =
      vandq_u16(vceqq_u16(vld1q_u16(w), value), vceqq_u16(vld1q_u16(w + 8), value));
  // Each 16-bit lane is 0 or 0xffff; keeping its middle byte gives 8 bytes.
  const uint8x8_t bytes = vshrn_n_u16(eq, 4);
  return vget_lane_u64(vreinterpret_u64_u8(bytes), 0) == ~0ull;
}

// True when all 64 weights at w equal the broadcast value: the differences
// ORed together are zero.
inline bool block64_equal(const uint16_t* w, uint16x8_t value) {
  uint16x8_t d0 = veorq_u16(vld1q_u16(w), value);
  uint16x8_t d1 = veorq_u16(vld1q_u16(w + 8), value);
  uint16x8_t d2 = veorq_u16(vld1q_u16(w + 16), value);
  uint16x8_t d3 = veorq_u16(vld1q_u16(w + 24), value);
  d0 = vorrq_u16(d0, veorq_u16(vld1q_u16(w + 32), value));
  d1 = vorrq_u16(d1, veorq_u16(vld1q_u16(w + 40), value));
  d2 = vorrq_u16(d2, veorq_u16(vld1q_u16(w + 48), value));
  d3 = vorrq_u16(d3, veorq_u16(vld1q_u16(w + 56), value));
  const uint16x8_t d = vorrq_u16(vorrq_u16(d0, d1), vorrq_u16(d2, d3));
  // Any non-zero lane leaves a non-zero byte in the narrowed word.
  const uint8x8_t bytes = vqmovn_u16(d);
  return vget_lane_u64(vreinterpret_u64_u8(bytes), 0) == 0;
}

}  // namespace

int weight_run_forward_neon(const uint16_t* weight, int n, uint16_t v) {
  const uint16x8_t value = vdupq_n_u16(v);
  int i = 0;
  while (i + 64 <= n && block64_equal(weight + i, value)) i += 64;
  while (i + 16 <= n && block_equal(weight + i, value)) i += 16;
  return i + weight_run_forward_c(weight + i, n - i, v);
}

int weight_run_backward_neon(const uint16_t* weight, int n, uint16_t v) {
  const uint16x8_t value = vdupq_n_u16(v);
  int i = n;  // weight[i .. n) is known to be v
  while (i >= 64 && block64_equal(weight + i - 64, value)) i -= 64;
  while (i >= 16 && block_equal(weight + i - 16, value)) i -= 16;
  return (n - i) + weight_run_backward_c(weight, i, v);
}

#endif  // QLSBP_HAVE_NEON
