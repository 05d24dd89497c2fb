// Mask blending: hand-worked pixels, the block-of-eight rule, an independent
// per-pixel model in 64-bit arithmetic, and every compiled vector twin against
// the scalar row kernels.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "blur/blur_rows.h"
#include "common/test_util.h"
#include "qlsbp/blur.h"
#include "common/cpu_paths.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Weights = std::vector<uint16_t>;
using qlsbp_test::random_bytes;

int64_t floor_div(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }
// v modulo 2^bits, read as a signed number of that width.
int64_t wrap(int64_t v, int bits) {
  const int64_t m = int64_t{1} << bits;
  v = (v % m + m) % m;
  return v >= m / 2 ? v - m : v;
}
// F + ((S - F) * W + 512) / 1024 rounded down, in 16 then 8 bits.
uint8_t blend_model(int f, int s, int w) {
  return static_cast<uint8_t>(f + wrap(floor_div((s - f) * wrap(w, 16) + 512, 1024), 16));
}
// Shares in units of 1/131072, the sum wrapped to 32 bits, shifted by 17.
uint8_t alpha_model(int f, int s, int w, int alpha) {
  const int64_t k = wrap(1024 - w, 16) * wrap(alpha, 16);
  return static_cast<uint8_t>(floor_div(wrap(f * k + s * (131072 - k) + 65536, 32), 131072));
}

TEST(MaskBlend, HandWorkedPixelsInWholeBlocksOnly) {
  // Each block holds the same eight hand-worked pixels; only whole blocks are
  // written. Full strength gives the plain blend for all of these weights.
  const uint8_t F[8] = {200, 255, 0, 37, 37, 100, 10, 10};
  const uint8_t S[8] = {255, 0, 255, 201, 201, 200, 9, 9};
  const uint16_t W[8] = {1100, 1100, 512, 0, 1024, 65535, 2048, 1023};
  // 259 and -19 wrap (no clamping), 127.5 rounds up, weight -1 adds
  // (512 - 100) >> 10 = 0, and the steps -1.5 and -0.5 round down.
  const uint8_t want[8] = {3, 237, 128, 37, 201, 100, 8, 9};
  Bytes first(24), second(24);
  Weights weight(24);
  for (int i = 0; i < 24; ++i) first[i] = F[i % 8], second[i] = S[i % 8], weight[i] = W[i % 8];
  const int cases[][2] = {{7, 0}, {0, 0}, {-7, 0}, {-100, 0}, {13, 8}, {23, 16}};
  for (const auto& c : cases) {
    Bytes plain(24, 0xee), alpha(24, 0xee);
    img_blend_neon(plain.data(), first.data(), second.data(), weight.data(), c[0]);
    img_blend_neon_alpha(alpha.data(), first.data(), second.data(), weight.data(), c[0], 128);
    for (int i = 0; i < 24; ++i) {
      EXPECT_EQ(plain[i], i < c[1] ? want[i % 8] : 0xee) << "count " << c[0] << " at " << i;
      EXPECT_EQ(alpha[i], i < c[1] ? want[i % 8] : 0xee) << "count " << c[0] << " at " << i;
    }
  }
}

// Every weight once, then weights in the working range 0 .. 1100, on random
// pixels with an extreme pair at every fourth; the tail is not a whole block.
struct Frame {
  static constexpr int kCount = 2 * 65536 + 13, kWhole = kCount / 8 * 8;
  Bytes first = random_bytes(kCount, 1), second = random_bytes(kCount, 2);
  Weights weight = Weights(kCount);
  Frame() {
    for (int i = 0; i < kCount; ++i) weight[i] = static_cast<uint16_t>(i < 65536 ? i : i % 1101);
    for (int i = 0; i < kCount; i += 4) {
      first[i] = i % 8 ? 0 : 255;
      second[i] = 255 - first[i];
    }
  }
};

TEST(MaskBlend, MatchesModelInPlace) {
  Frame f;
  Bytes into_first = f.first, into_second = f.second;
  img_blend_neon(into_first.data(), into_first.data(), f.second.data(), f.weight.data(), f.kCount);
  img_blend_neon(into_second.data(), f.first.data(), into_second.data(), f.weight.data(), f.kCount);
  for (int i = 0; i < f.kCount; ++i) {
    const int want = blend_model(f.first[i], f.second[i], f.weight[i]);
    ASSERT_EQ(into_first[i], i < f.kWhole ? want : f.first[i]) << i << " W=" << f.weight[i];
    ASSERT_EQ(into_second[i], i < f.kWhole ? want : f.second[i]) << i << " W=" << f.weight[i];
  }
}

TEST(MaskBlendAlpha, MatchesModelForAnyStrength) {
  Frame f;
  for (int alpha : {128, 0, 1, 64, 127, 129, 255, 1000, 32767, -1, -128, -32768, 65536 + 77,
                    0x12348000, INT32_MIN}) {
    Bytes dst(f.kCount, 0);
    img_blend_neon_alpha(dst.data(), f.first.data(), f.second.data(), f.weight.data(), f.kCount,
                         alpha);
    for (int i = 0; i < f.kWhole; ++i) {
      const int F = f.first[i], S = f.second[i], W = f.weight[i];
      ASSERT_EQ(dst[i], alpha_model(F, S, W, alpha)) << "alpha=" << alpha << " i=" << i;
      // Full strength is the plain blend except where 1024 - W leaves 16 bits;
      // no strength copies the second plane.
      ASSERT_TRUE(alpha != 128 || (W >= 0x8000 && W <= 0x8400) || dst[i] == blend_model(F, S, W));
      ASSERT_TRUE(alpha != 0 || dst[i] == S) << i;
    }
  }
}

// Both row kernels on n random pixels and full-range weights; outputs carry a
// guard byte, so a write past n shows up as a difference.
std::vector<Bytes> run(int n, decltype(&blend_row_c) blend, decltype(&blend_alpha_row_c) alpha) {
  const Bytes first = random_bytes(n, n), second = random_bytes(n, n + 1);
  Weights weight(n);
  std::generate(weight.begin(), weight.end(), std::mt19937(n));  // keeps the low 16 bits
  std::vector<Bytes> out(7, Bytes(n + 1, 0xee));
  blend(out[0].data(), first.data(), second.data(), weight.data(), n);
  int k = 0;
  for (int a : {128, 0, -3, 300, 40000, 0x7fff8000})
    alpha(out[++k].data(), first.data(), second.data(), weight.data(), n, a);
  return out;
}

// Each path this CPU can take, selected by masking feature bits.
TEST(BlendRows, VectorTwinsMatchScalar) {
  for (const auto& path : qlsbp_test::cpu_paths()) {
    qlsbp_test::ScopedCpuMask mask(path.flags);
    for (int n = 0; n <= 99; ++n) {
      EXPECT_EQ(run(n, blend_row, blend_alpha_row), run(n, blend_row_c, blend_alpha_row_c))
          << path.name << " n=" << n;
    }
  }
}

// Interleaved chroma blended in one step, in place and out of place, equals
// blending each split plane with the plain kernel and interleaving them;
// full-range weights include the wrapping ones, and a guard byte catches a
// write past the n pairs.
TEST(BlendRows, InterleavedBlendMatchesSplitPlanes) {
  for (const auto& path : qlsbp_test::cpu_paths()) {
    qlsbp_test::ScopedCpuMask mask(path.flags);
    for (int n = 0; n <= 70; ++n) {
      const Bytes even = random_bytes(n, 3 * n), odd = random_bytes(n, 3 * n + 1);
      const Bytes pairs = random_bytes(2 * static_cast<size_t>(n), 3 * n + 2);
      Weights weight(n);
      std::generate(weight.begin(), weight.end(), std::mt19937(n + 5));
      Bytes want(2 * static_cast<size_t>(n) + 1, 0xee);
      for (int i = 0; i < n; ++i) {
        blend_row_c(&want[2 * i], &even[i], &pairs[2 * i], &weight[i], 1);
        blend_row_c(&want[2 * i + 1], &odd[i], &pairs[2 * i + 1], &weight[i], 1);
      }
      Bytes apart(want.size(), 0xee);
      blend_uv_row(apart.data(), even.data(), odd.data(), pairs.data(), weight.data(), n);
      EXPECT_EQ(want, apart) << path.name << " n=" << n;
      Bytes in_place = pairs;
      in_place.push_back(0xee);
      blend_uv_row(in_place.data(), even.data(), odd.data(), in_place.data(), weight.data(), n);
      EXPECT_EQ(want, in_place) << path.name << " n=" << n << " in place";
    }
  }
}

// Runs of equal weights: a row of value v with one other weight placed at
// every position (and none), counted from either end, on every path against
// the obvious count; the rows sit at odd element offsets so that the vector
// blocks straddle the other weight in every way.
TEST(WeightRuns, CountEqualWeightsFromEitherEnd) {
  for (const auto& path : qlsbp_test::cpu_paths()) {
    qlsbp_test::ScopedCpuMask mask(path.flags);
    const WeightRunFn forward = weight_run_forward_pick();
    const WeightRunFn backward = weight_run_backward_pick();
    for (uint16_t v : {uint16_t{0}, uint16_t{1024}}) {
      for (int n : {0, 1, 7, 15, 16, 17, 31, 33, 63, 64, 65, 70, 129, 200}) {
        for (int other = -1; other < n; ++other) {
          Weights w(n + 3, v);
          if (other >= 0) w[1 + other] = static_cast<uint16_t>(v ^ (other % 3 == 0 ? 1 : 0x8400));
          const int lead = other < 0 ? n : other;
          const int trail = other < 0 ? n : n - 1 - other;
          EXPECT_EQ(forward(w.data() + 1, n, v), lead) << path.name << " n=" << n << " at " << other;
          EXPECT_EQ(backward(w.data() + 1, n, v), trail)
              << path.name << " n=" << n << " at " << other;
        }
      }
      EXPECT_EQ(forward(nullptr, -4, v), 0);
      EXPECT_EQ(backward(nullptr, -4, v), 0);
    }
  }
}

// Packed 4:2:2 blended in one step, in place and out of place, equals
// blending the split luma and chroma planes with the plain kernel (chroma
// weights shared by the U and V of a pair) and joining them.
TEST(BlendRows, PackedBlendMatchesSplitPlanes) {
  for (const auto& path : qlsbp_test::cpu_paths()) {
    qlsbp_test::ScopedCpuMask mask(path.flags);
    for (int n = 0; n <= 40; ++n) {
      const size_t pairs = static_cast<size_t>(n);
      const Bytes luma = random_bytes(2 * pairs, 5 * n), u = random_bytes(pairs, 5 * n + 1),
                  v = random_bytes(pairs, 5 * n + 2), row = random_bytes(4 * pairs, 5 * n + 3);
      Weights wy(2 * pairs), wc(pairs);
      std::generate(wy.begin(), wy.end(), std::mt19937(n + 11));
      std::generate(wc.begin(), wc.end(), std::mt19937(n + 12));
      Bytes want(4 * pairs + 1, 0xee);
      for (size_t i = 0; i < pairs; ++i) {
        blend_row_c(&want[4 * i], &luma[2 * i], &row[4 * i], &wy[2 * i], 1);
        blend_row_c(&want[4 * i + 1], &u[i], &row[4 * i + 1], &wc[i], 1);
        blend_row_c(&want[4 * i + 2], &luma[2 * i + 1], &row[4 * i + 2], &wy[2 * i + 1], 1);
        blend_row_c(&want[4 * i + 3], &v[i], &row[4 * i + 3], &wc[i], 1);
      }
      Bytes apart(want.size(), 0xee);
      blend_yuyv_row(apart.data(), luma.data(), u.data(), v.data(), row.data(), wy.data(),
                     wc.data(), n);
      EXPECT_EQ(want, apart) << path.name << " n=" << n;
      Bytes in_place = row;
      in_place.push_back(0xee);
      blend_yuyv_row(in_place.data(), luma.data(), u.data(), v.data(), in_place.data(), wy.data(),
                     wc.data(), n);
      EXPECT_EQ(want, in_place) << path.name << " n=" << n << " in place";
    }
  }
}

}  // namespace

