// The vector/scalar switch must take effect: every test program that the
// build also runs with QLSBP_FORCE_SCALAR=1 includes this check once, so that
// a switch the library no longer reads (a renamed or misspelt variable)
// fails the scalar re-runs instead of silently testing the vector path twice.
#ifndef QLSBP_TESTS_COMMON_DISPATCH_CHECK_H_
#define QLSBP_TESTS_COMMON_DISPATCH_CHECK_H_

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "simd/cpu.h"

TEST(Dispatch, TheScalarSwitchTakesEffect) {
  const char* force = std::getenv("QLSBP_FORCE_SCALAR");
  const bool scalar_run = force != nullptr && std::strcmp(force, "0") != 0;
  if (scalar_run) {
    EXPECT_FALSE(qlsbp_simd_enabled()) << "QLSBP_FORCE_SCALAR=" << force << " left the vector path on";
  } else {
    EXPECT_EQ(qlsbp_simd_enabled(), QLSBP_HAVE_SSE2 || QLSBP_HAVE_NEON);
  }
}

#endif  // QLSBP_TESTS_COMMON_DISPATCH_CHECK_H_
