// cal_blur_range: worked examples, a brute-force pixel count where the table
// is exact, and the far-border rule and wrap-around where it is not.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/mask.h"

namespace {

std::vector<unsigned int> table(int rows, int cols, int ry, int rx) {
  std::vector<unsigned int> out(static_cast<size_t>(rows) * cols, 0xDEADu);
  cal_blur_range(out.data(), rows, cols, ry, rx);
  return out;
}

}  // namespace

TEST(BlurRange, FiveByFiveRadiusOne) {
  const std::vector<unsigned int> want = {4, 6, 6, 6, 4, 6, 9, 9, 9, 6, 6, 9, 9,
                                          9, 6, 6, 9, 9, 9, 6, 4, 6, 6, 6, 4};
  EXPECT_EQ(table(5, 5, 1, 1), want);
}

// Rows 2 and 3 count 6 and 7 although their boxes cover only 5 rows: the far
// border is ignored while i <= ry.
TEST(BlurRange, FarBorderIgnoredNearTheTop) {
  EXPECT_EQ(table(5, 1, 3, 0), (std::vector<unsigned int>{4, 5, 6, 7, 4}));
  EXPECT_EQ(table(1, 5, 0, 3), (std::vector<unsigned int>{4, 5, 6, 7, 4}));
}

// With 2r + 1 <= n on both axes the table is the true number of covered pixels.
TEST(BlurRange, MatchesCoveredPixelCount) {
  std::mt19937 rng(11);
  for (int iter = 0; iter < 200; ++iter) {
    const int ry = qlsbp_test::random_int(rng, 0, 6);
    const int rx = qlsbp_test::random_int(rng, 0, 6);
    const int rows = qlsbp_test::random_int(rng, 2 * ry + 1, 2 * ry + 12);
    const int cols = qlsbp_test::random_int(rng, 2 * rx + 1, 2 * rx + 12);
    const std::vector<unsigned int> got = table(rows, cols, ry, rx);
    for (int i = 0; i < rows; ++i) {
      for (int j = 0; j < cols; ++j) {
        const unsigned covered_rows = std::min(i + ry, rows - 1) - std::max(i - ry, 0) + 1;
        const unsigned covered_cols = std::min(j + rx, cols - 1) - std::max(j - rx, 0) + 1;
        ASSERT_EQ(got[i * cols + j], covered_rows * covered_cols)
            << rows << "x" << cols << " r=" << ry << "," << rx << " at " << i << "," << j;
      }
    }
  }
}

TEST(BlurRange, EmptySizesWriteNothing) {
  std::vector<unsigned int> out(8, 0xDEADu);
  for (int bad : {0, -1, INT_MIN}) {
    cal_blur_range(out.data(), bad, 4, 1, 1);
    cal_blur_range(out.data(), 2, bad, 1, 1);
  }
  EXPECT_EQ(out, std::vector<unsigned int>(8, 0xDEADu));
}

// Counts and products are unsigned 32-bit and wrap, without undefined
// behaviour (the sanitizer build checks).
TEST(BlurRange, NegativeAndHugeRadiiWrap) {
  // r = -1: every position takes the middle branch, 2r + 1 = -1 = 0xFFFFFFFF;
  // 0xFFFFFFFF^2 wraps to 1.
  EXPECT_EQ(table(3, 3, -1, -1), std::vector<unsigned int>(9, 1u));
  // r = INT_MAX: every position is "near the top": INT_MAX + 1 + i.
  EXPECT_EQ(table(3, 1, INT_MAX, 0),
            (std::vector<unsigned int>{2147483648u, 2147483649u, 2147483650u}));
  // r = INT_MIN: middle branch, 2 * INT_MIN + 1 wraps to 1.
  EXPECT_EQ(table(1, 3, 0, INT_MIN), std::vector<unsigned int>(3, 1u));
  // Products beyond 32 bits wrap: 65536 * 65536 = 2^32 -> 0 at (0, 0).
  EXPECT_EQ(table(1, 1, 65535, 65535)[0], 0u);
}
