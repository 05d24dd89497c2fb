// The kernel paths one test process can run by masking CPU feature bits: the
// best vector twins, each narrower instruction set below them, and scalar.
#ifndef QLSBP_TESTS_COMMON_CPU_PATHS_H_
#define QLSBP_TESTS_COMMON_CPU_PATHS_H_

#include <vector>

#include "simd/cpu.h"

namespace qlsbp_test {

struct CpuPath {
  const char* name;
  int flags;  // the mask that selects this path
};

// Paths this build and CPU can take (none but scalar under
// QLSBP_FORCE_SCALAR), widest first, scalar last.
inline std::vector<CpuPath> cpu_paths() {
  const int have = qlsbp_cpu_flags();
  std::vector<CpuPath> paths;
  if (have & kCpuHasAVX2) paths.push_back({"avx2", kCpuHasAVX2 | kCpuHasSSE2});
  if (have & kCpuHasSSE2) paths.push_back({"sse2", kCpuHasSSE2});
  if (have & kCpuHasNEON) paths.push_back({"neon", kCpuHasNEON});
  paths.push_back({"scalar", 0});
  return paths;
}

// Restricts the feature bits for one scope.
class ScopedCpuMask {
 public:
  explicit ScopedCpuMask(int mask) : previous_(qlsbp_mask_cpu_flags(mask)) {}
  ~ScopedCpuMask() { qlsbp_mask_cpu_flags(previous_); }
  ScopedCpuMask(const ScopedCpuMask&) = delete;
  ScopedCpuMask& operator=(const ScopedCpuMask&) = delete;

 private:
  int previous_;
};

}  // namespace qlsbp_test

#endif  // QLSBP_TESTS_COMMON_CPU_PATHS_H_
