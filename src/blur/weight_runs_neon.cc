// NEON twins of the weight-run kernels: sixteen weights per step compared at
// once (the comparison narrowed to one 64-bit word that is all ones when they
// all match); the block holding the first other weight, and the rest of the
// row, go to the scalar kernel.
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

}  // namespace

int weight_run_forward_neon(const uint16_t* weight, int n, uint16_t v) {
  const uint16x8_t value = vdupq_n_u16(v);
  int i = 0;
  while (i + 16 <= n && block_equal(weight + i, value)) i += 16;
  return i + weight_run_forward_c(weight + i, n - i, v);
}

int weight_run_backward_neon(const uint16_t* weight, int n, uint16_t v) {
  const uint16x8_t value = vdupq_n_u16(v);
  int i = n;  // weight[i .. n) is known to be v
  while (i >= 16 && block_equal(weight + i - 16, value)) i -= 16;
  return (n - i) + weight_run_backward_c(weight, i, v);
}

#endif  // QLSBP_HAVE_NEON
