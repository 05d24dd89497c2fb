#include "simd/cpu.h"

#include <cstdlib>

bool qlsbp_simd_enabled() {
  static const bool enabled = [] {
    if (!QLSBP_HAVE_SSE2 && !QLSBP_HAVE_NEON) return false;
    const char* force = std::getenv("QLSBP_FORCE_SCALAR");
    return force == nullptr || force[0] == '\0' || (force[0] == '0' && force[1] == '\0');
  }();
  return enabled;
}
