// Mask blending: hand-worked pixels, the block-of-eight rule, an independent
// per-pixel model in 64-bit arithmetic, and every compiled vector twin against
// the scalar row kernels.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "blur/blur_rows.h"
#include "common/test_util.h"
#include "qlsbp/blur.h"
#include "simd/cpu.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Weights = std::vector<uint16_t>;
using qlsbp_test::random_bytes;

int64_t floor_div(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }
int64_t signed16(int64_t v) { return ((v % 65536) + 65536 + 32768) % 65536 - 32768; }
int low_byte(int64_t v) { return static_cast<int>(((v % 256) + 256) % 256); }

// F + ((S - F) * W + 512) / 1024 rounded down, in 16 then 8 bits.
int blend_model(int f, int s, int w) {
  const int64_t t = signed16(floor_div(static_cast<int64_t>(s - f) * signed16(w) + 512, 1024));
  return low_byte(t + f);
}

// Shares in units of 1/131072, wrapped to 32 bits, shifted by 17.
int blend_alpha_model(int f, int s, int w, int alpha) {
  const int64_t k = signed16(1024 - w) * signed16(alpha);
  const int64_t v = static_cast<int64_t>(f) * k + static_cast<int64_t>(s) * (131072 - k) + 65536;
  const int64_t wrapped = ((v % 4294967296LL) + 4294967296LL) % 4294967296LL;
  const int64_t as_signed = wrapped >= 2147483648LL ? wrapped - 4294967296LL : wrapped;
  return low_byte(floor_div(as_signed, 131072));
}

Weights random_weights(size_t n, uint32_t seed, int hi = 65535) {
  std::mt19937 rng(seed);
  Weights w(n);
  for (auto& x : w) x = static_cast<uint16_t>(qlsbp_test::random_int(rng, 0, hi));
  return w;
}

uint8_t blend_one(uint8_t f, uint8_t s, uint16_t w) {
  Bytes first(8, f), second(8, s), dst(8, 0);
  Weights weight(8, w);
  img_blend_neon(dst.data(), first.data(), second.data(), weight.data(), 8);
  return dst[3];
}

TEST(MaskBlend, HandWorkedPixels) {
  EXPECT_EQ(blend_one(200, 255, 1100), 3);  // 259 wraps, no clamping
  EXPECT_EQ(blend_one(0, 255, 512), 128);   // 127.5 rounds up
  EXPECT_EQ(blend_one(37, 201, 0), 37);
  EXPECT_EQ(blend_one(37, 201, 1024), 201);
  EXPECT_EQ(blend_one(255, 0, 1100), 255 - 274 + 256);  // below zero wraps too
  EXPECT_EQ(blend_one(100, 200, 65535), 100);           // -1 / 1024 rounds to 0
}

TEST(MaskBlend, OnlyWholeBlocksOfEightAreWritten) {
  Bytes first(16, 10), second(16, 250);
  Weights weight(16, 1024);
  Bytes dst(16, 0xee);
  img_blend_neon(dst.data(), first.data(), second.data(), weight.data(), 7);
  EXPECT_EQ(dst, Bytes(16, 0xee));
  img_blend_neon(dst.data(), first.data(), second.data(), weight.data(), -7);
  img_blend_neon(dst.data(), first.data(), second.data(), weight.data(), -100);
  EXPECT_EQ(dst, Bytes(16, 0xee));
  img_blend_neon(dst.data(), first.data(), second.data(), weight.data(), 13);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(dst[i], i < 8 ? 250 : 0xee) << i;
  Bytes dsta(16, 0xee);
  img_blend_neon_alpha(dsta.data(), first.data(), second.data(), weight.data(), 13, 128);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(dsta[i], i < 8 ? 250 : 0xee) << i;
}

TEST(MaskBlend, MatchesModelInPlaceOnFullFrame) {
  const int count = 640 * 480 + 5;
  const Bytes first = random_bytes(count, 1);
  const Bytes second = random_bytes(count, 2);
  Weights weight = random_weights(count, 3, 1100);
  for (int i = 0; i < count; i += 97) weight[i] = static_cast<uint16_t>(i * 31);  // full range too
  Bytes inplace = first;
  img_blend_neon(inplace.data(), inplace.data(), const_cast<uint8_t*>(second.data()), weight.data(),
                 count);
  const int whole = count / 8 * 8;
  for (int i = 0; i < count; ++i) {
    const int expect = i < whole ? blend_model(first[i], second[i], weight[i]) : first[i];
    ASSERT_EQ(inplace[i], expect) << i << " F=" << int(first[i]) << " S=" << int(second[i])
                                  << " W=" << weight[i];
  }
}

TEST(MaskBlendAlpha, MatchesModelForAnyStrength) {
  const int count = 4096;
  Bytes first = random_bytes(count, 11);
  Bytes second = random_bytes(count, 12);
  Weights weight = random_weights(count, 13);
  for (int alpha :
       {128, 0, 1, 64, 127, 129, 255, 1000, 32767, -1, -128, 65536 + 77, 0x12348000, INT32_MIN}) {
    Bytes dst(count, 0);
    img_blend_neon_alpha(dst.data(), first.data(), second.data(), weight.data(), count, alpha);
    for (int i = 0; i < count; ++i) {
      ASSERT_EQ(dst[i], blend_alpha_model(first[i], second[i], weight[i], alpha))
          << "alpha=" << alpha << " i=" << i << " W=" << weight[i];
    }
  }
}

TEST(MaskBlendAlpha, FullStrengthEqualsPlainBlendAndZeroCopiesSecond) {
  const int count = 8192;
  Bytes first = random_bytes(count, 21);
  Bytes second = random_bytes(count, 22);
  Weights weight = random_weights(count, 23);
  // Outside 0x8000 .. 0x8400 the share 1024 - W stays a 16-bit number and the
  // two formulations agree exactly.
  for (auto& w : weight)
    if (w >= 0x8000 && w <= 0x8400) w = static_cast<uint16_t>(w - 0x0800);
  Bytes plain(count), full(count), none(count);
  img_blend_neon(plain.data(), first.data(), second.data(), weight.data(), count);
  img_blend_neon_alpha(full.data(), first.data(), second.data(), weight.data(), count, 128);
  img_blend_neon_alpha(none.data(), first.data(), second.data(), weight.data(), count, 0);
  EXPECT_EQ(full, plain);
  EXPECT_EQ(none, second);
}

using BlendRow = void (*)(uint8_t*, const uint8_t*, const uint8_t*, const uint16_t*, int);
using BlendAlphaRow = void (*)(uint8_t*, const uint8_t*, const uint8_t*, const uint16_t*, int, int);

struct Twins {
  const char* name;
  BlendRow blend;
  BlendAlphaRow blend_alpha;
};

std::vector<Twins> compiled_twins() {
  std::vector<Twins> t;
#if QLSBP_HAVE_SSE2
  t.push_back({"sse2", blend_row_sse2, blend_alpha_row_sse2});
#endif
#if QLSBP_HAVE_NEON
  t.push_back({"neon", blend_row_neon, blend_alpha_row_neon});
#endif
  return t;
}

TEST(BlendRows, TwinsMatchScalarOnEveryLengthAndWeight) {
  std::vector<int> lengths;
  for (int i = 1; i <= 40; ++i) lengths.push_back(i);
  for (int i : {63, 64, 65, 333, 4099}) lengths.push_back(i);
  for (const Twins& t : compiled_twins()) {
    for (int n : lengths) {
      const Bytes first = random_bytes(n, n);
      const Bytes second = random_bytes(n, n + 1);
      const Weights weight = random_weights(n, n + 2);
      Bytes d0(n + 1, 0xee);
      Bytes d1 = d0;
      blend_row_c(d0.data(), first.data(), second.data(), weight.data(), n);
      t.blend(d1.data(), first.data(), second.data(), weight.data(), n);
      EXPECT_EQ(d1, d0) << t.name << " n=" << n;
      for (int alpha : {128, 0, -3, 300, 40000, 0x7fff8000}) {
        Bytes a0(n + 1, 0xee);
        Bytes a1 = a0;
        blend_alpha_row_c(a0.data(), first.data(), second.data(), weight.data(), n, alpha);
        t.blend_alpha(a1.data(), first.data(), second.data(), weight.data(), n, alpha);
        EXPECT_EQ(a1, a0) << t.name << " n=" << n << " alpha=" << alpha;
      }
    }
  }
}

TEST(BlendRows, ScalarKernelMatchesModelOnExtremes) {
  // Every weight against the four extreme pixel pairs.
  const uint8_t pairs[][2] = {{0, 255}, {255, 0}, {0, 0}, {255, 255}, {1, 254}};
  for (const auto& p : pairs) {
    for (int w = 0; w < 65536; w += 3) {
      uint8_t out = 0, out_a = 0;
      const uint16_t weight = static_cast<uint16_t>(w);
      blend_row_c(&out, &p[0], &p[1], &weight, 1);
      blend_alpha_row_c(&out_a, &p[0], &p[1], &weight, 1, -32768);
      ASSERT_EQ(out, blend_model(p[0], p[1], w)) << w;
      ASSERT_EQ(out_a, blend_alpha_model(p[0], p[1], w, -32768)) << w;
    }
  }
}

}  // namespace
