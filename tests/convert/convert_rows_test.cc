// Every compiled vector twin of the split/join row kernels against the scalar
// reference, on lengths that exercise the tails.
#include "convert/convert_rows.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "common/test_util.h"
#include "simd/cpu.h"

namespace {

using Bytes = std::vector<uint8_t>;
using qlsbp_test::random_bytes;

using SplitYuyv = void (*)(uint8_t*, uint8_t*, uint8_t*, const uint8_t*, int);
using JoinYuyv = void (*)(uint8_t*, const uint8_t*, const uint8_t*, const uint8_t*, int);
using SplitUv = void (*)(uint8_t*, uint8_t*, const uint8_t*, int);
using JoinUv = void (*)(uint8_t*, const uint8_t*, const uint8_t*, int);

struct Twins {
  const char* name;
  SplitYuyv split_yuyv;
  JoinYuyv join_yuyv;
  SplitUv split_uv;
  JoinUv join_uv;
};

std::vector<Twins> compiled_twins() {
  std::vector<Twins> t;
#if QLSBP_HAVE_SSE2
  t.push_back(
      {"sse2", split_yuyv_row_sse2, join_yuyv_row_sse2, split_uv_row_sse2, join_uv_row_sse2});
#endif
#if QLSBP_HAVE_NEON
  t.push_back(
      {"neon", split_yuyv_row_neon, join_yuyv_row_neon, split_uv_row_neon, join_uv_row_neon});
#endif
  return t;
}

std::vector<int> lengths() {
  std::vector<int> n;
  for (int i = 0; i <= 40; ++i) n.push_back(i);
  for (int i : {47, 63, 64, 65, 99, 320, 333}) n.push_back(i);
  return n;
}

// One guard byte after every output shows that nothing is written past n.
constexpr size_t kGuard = 1;

TEST(ConvertRows, SplitYuyvTwinsMatchScalar) {
  for (const Twins& t : compiled_twins()) {
    for (int n : lengths()) {
      const Bytes src = random_bytes(4 * static_cast<size_t>(n), n + 1);
      Bytes y0(2 * n + kGuard, 0xee), u0(n + kGuard, 0xee), v0(n + kGuard, 0xee);
      Bytes y1 = y0, u1 = u0, v1 = v0;
      split_yuyv_row_c(y0.data(), u0.data(), v0.data(), src.data(), n);
      t.split_yuyv(y1.data(), u1.data(), v1.data(), src.data(), n);
      EXPECT_EQ(y1, y0) << t.name << " n=" << n;
      EXPECT_EQ(u1, u0) << t.name << " n=" << n;
      EXPECT_EQ(v1, v0) << t.name << " n=" << n;
      if (n > 0) {
        EXPECT_EQ(u0[n - 1], src[4 * n - 3]);
        EXPECT_EQ(y0[2 * n - 1], src[4 * n - 2]);
      }
    }
  }
}

TEST(ConvertRows, JoinYuyvTwinsMatchScalar) {
  for (const Twins& t : compiled_twins()) {
    for (int n : lengths()) {
      const Bytes y = random_bytes(2 * static_cast<size_t>(n), n + 2);
      const Bytes u = random_bytes(n, n + 3), v = random_bytes(n, n + 4);
      Bytes d0(4 * n + kGuard, 0xee);
      Bytes d1 = d0;
      join_yuyv_row_c(d0.data(), y.data(), u.data(), v.data(), n);
      t.join_yuyv(d1.data(), y.data(), u.data(), v.data(), n);
      EXPECT_EQ(d1, d0) << t.name << " n=" << n;
      if (n > 0) {
        EXPECT_EQ(d0[4 * n - 1], v[n - 1]);
      }
    }
  }
}

TEST(ConvertRows, SplitUvTwinsMatchScalar) {
  for (const Twins& t : compiled_twins()) {
    for (int n : lengths()) {
      const Bytes src = random_bytes(2 * static_cast<size_t>(n), n + 5);
      Bytes u0(n + kGuard, 0xee), v0(n + kGuard, 0xee);
      Bytes u1 = u0, v1 = v0;
      split_uv_row_c(u0.data(), v0.data(), src.data(), n);
      t.split_uv(u1.data(), v1.data(), src.data(), n);
      EXPECT_EQ(u1, u0) << t.name << " n=" << n;
      EXPECT_EQ(v1, v0) << t.name << " n=" << n;
    }
  }
}

TEST(ConvertRows, JoinUvTwinsMatchScalar) {
  for (const Twins& t : compiled_twins()) {
    for (int n : lengths()) {
      const Bytes u = random_bytes(n, n + 6), v = random_bytes(n, n + 7);
      Bytes d0(2 * n + kGuard, 0xee);
      Bytes d1 = d0;
      join_uv_row_c(d0.data(), u.data(), v.data(), n);
      t.join_uv(d1.data(), u.data(), v.data(), n);
      EXPECT_EQ(d1, d0) << t.name << " n=" << n;
    }
  }
}

}  // namespace
