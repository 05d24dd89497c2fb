// Runs of equal mask weights: scalar row kernels and the variant choice.
//
// A blend under weight 0 or 1024 has a known result, so the engines look for
// such runs before blending; these kernels measure them.
#include "blur/blur_rows.h"
#include "simd/cpu.h"

int weight_run_forward_c(const uint16_t* weight, int n, uint16_t v) {
  int i = 0;
  while (i < n && weight[i] == v) ++i;
  return i;
}

int weight_run_backward_c(const uint16_t* weight, int n, uint16_t v) {
  int i = n;
  while (i > 0 && weight[i - 1] == v) --i;
  return n > 0 ? n - i : 0;
}

WeightRunFn weight_run_forward_pick() {
#if QLSBP_HAVE_SSE2
  if (qlsbp_cpu_has(kCpuHasSSE2)) return weight_run_forward_sse2;
#endif
#if QLSBP_HAVE_NEON
  if (qlsbp_cpu_has(kCpuHasNEON)) return weight_run_forward_neon;
#endif
  return weight_run_forward_c;
}

WeightRunFn weight_run_backward_pick() {
#if QLSBP_HAVE_SSE2
  if (qlsbp_cpu_has(kCpuHasSSE2)) return weight_run_backward_sse2;
#endif
#if QLSBP_HAVE_NEON
  if (qlsbp_cpu_has(kCpuHasNEON)) return weight_run_backward_neon;
#endif
  return weight_run_backward_c;
}
