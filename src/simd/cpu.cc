#include "simd/cpu.h"

#include <atomic>
#include <cstdlib>

#if QLSBP_HAVE_AVX2
#include <cpuid.h>
#endif

namespace {

#if QLSBP_HAVE_AVX2
// AVX2 needs the CPU bit (leaf 7, EBX bit 5) and an OS that saves the YMM
// state: OSXSAVE and AVX in leaf 1 ECX, then XCR0 bits 1 (SSE) and 2 (AVX).
bool cpu_supports_avx2() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
  const unsigned kOsxsave = 1u << 27, kAvx = 1u << 28;
  if ((c & (kOsxsave | kAvx)) != (kOsxsave | kAvx)) return false;
  unsigned xcr0_lo = 0, xcr0_hi = 0;
  // xgetbv by its bytes, so that this file needs no -mxsave.
  __asm__ volatile(".byte 0x0f, 0x01, 0xd0" : "=a"(xcr0_lo), "=d"(xcr0_hi) : "c"(0));
  if ((xcr0_lo & 6u) != 6u) return false;
  if (!__get_cpuid_count(7, 0, &a, &b, &c, &d)) return false;
  return (b & (1u << 5)) != 0;
}
#endif

int detect() {
  int flags = 0;
  if (QLSBP_HAVE_SSE2) flags |= kCpuHasSSE2;
  if (QLSBP_HAVE_NEON) flags |= kCpuHasNEON;
#if QLSBP_HAVE_AVX2
  if (cpu_supports_avx2()) flags |= kCpuHasAVX2;
#endif
  return flags;
}

bool forced_scalar() {
  const char* force = std::getenv("QLSBP_FORCE_SCALAR");
  return !(force == nullptr || force[0] == '\0' || (force[0] == '0' && force[1] == '\0'));
}

std::atomic<int> g_mask{-1};

}  // namespace

int qlsbp_cpu_detected_flags() {
  static const int flags = detect();  // initialised once, thread-safe
  return flags;
}

int qlsbp_cpu_flags() {
  static const int usable = forced_scalar() ? 0 : qlsbp_cpu_detected_flags();
  return usable & g_mask.load(std::memory_order_relaxed);
}

int qlsbp_mask_cpu_flags(int mask) { return g_mask.exchange(mask, std::memory_order_relaxed); }
