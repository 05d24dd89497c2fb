// Every compiled vector twin of the split/join row kernels against the scalar
// reference, on every length up to several vector steps, so all tails run.
#include "convert/convert_rows.h"

#include <gtest/gtest.h>

#include <vector>

#include "common/test_util.h"
#include "common/cpu_paths.h"

namespace {

using Bytes = std::vector<uint8_t>;

// All four kernels on n pairs from one random source. Every output is longer
// than a kernel may write, so a write past n shows up as a difference.
std::vector<Bytes> run(int n, decltype(&split_yuyv_row_c) split_yuyv,
                       decltype(&split_uv_row_c) split_uv, decltype(&join_yuyv_row_c) join_yuyv,
                       decltype(&join_uv_row_c) join_uv) {
  const Bytes src = qlsbp_test::random_bytes(4 * static_cast<size_t>(n), n + 1);
  const uint8_t* s = src.data();
  std::vector<Bytes> out(7, Bytes(4 * static_cast<size_t>(n) + 1, 0xee));
  split_yuyv(out[0].data(), out[1].data(), out[2].data(), s, n);
  split_uv(out[3].data(), out[4].data(), s, n);
  join_yuyv(out[5].data(), s, s + 2 * n, s + 3 * n, n);
  join_uv(out[6].data(), s, s + n, n);
  return out;
}

// Each path this CPU can take, selected by masking feature bits.
TEST(ConvertRows, VectorTwinsMatchScalar) {
  for (const auto& path : qlsbp_test::cpu_paths()) {
    qlsbp_test::ScopedCpuMask mask(path.flags);
    for (int n = 0; n <= 99; ++n) {
      EXPECT_EQ(run(n, split_yuyv_row, split_uv_row, join_yuyv_row, join_uv_row),
                run(n, split_yuyv_row_c, split_uv_row_c, join_yuyv_row_c, join_uv_row_c))
          << path.name << " n=" << n;
    }
  }
}

}  // namespace
