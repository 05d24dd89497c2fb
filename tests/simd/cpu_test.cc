// The CPU feature bits: what detection may claim, the test mask, and the
// scalar override.
#include "simd/cpu.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "common/cpu_paths.h"
#include "gaussian/gauss_rows.h"

namespace {

// On Linux the kernel lists the CPU's features; AVX2 must be among them
// whenever detection reports it (the kernel also hides it when it does not
// save the YMM registers).
TEST(CpuFlags, Avx2OnlyWhereTheKernelListsIt) {
  if (!(qlsbp_cpu_detected_flags() & kCpuHasAVX2)) GTEST_SKIP() << "no AVX2 twins in use here";
  std::ifstream cpuinfo("/proc/cpuinfo");
  if (!cpuinfo) GTEST_SKIP() << "no /proc/cpuinfo";
  std::stringstream text;
  text << cpuinfo.rdbuf();
  EXPECT_NE(text.str().find(" avx2"), std::string::npos);
}

TEST(CpuFlags, MaskSelectsAndRestoresAPath) {
  const int all = qlsbp_cpu_flags();
  {
    qlsbp_test::ScopedCpuMask none(0);
    EXPECT_EQ(qlsbp_cpu_flags(), 0);
    EXPECT_FALSE(qlsbp_simd_enabled());
    EXPECT_EQ(gauss_horizontal_row_pick(), &gauss_horizontal_row_c);
    qlsbp_test::ScopedCpuMask more(-1);  // nested scopes restore in order
    EXPECT_EQ(qlsbp_cpu_flags(), all);
  }
  EXPECT_EQ(qlsbp_cpu_flags(), all);
  // The mask only removes bits; it never adds one the CPU lacks.
  qlsbp_test::ScopedCpuMask every(kCpuHasSSE2 | kCpuHasAVX2 | kCpuHasNEON);
  EXPECT_EQ(qlsbp_cpu_flags(), all);
}

TEST(CpuFlags, ForceScalarClearsEveryBit) {
  const char* force = std::getenv("QLSBP_FORCE_SCALAR");
  const bool forced = force != nullptr && force[0] != '\0' && std::string(force) != "0";
  if (!forced) GTEST_SKIP() << "runs in the scalar-path pass";
  EXPECT_EQ(qlsbp_cpu_flags(), 0);
  EXPECT_EQ(qlsbp_test::cpu_paths().size(), 1u);
}

}  // namespace
