// Pyramid resampling: hand-worked planes, a per-pixel model of each function
// written from its definition, the odd-size addressing, and every compiled
// vector twin against the scalar row kernels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "blur/blur_rows.h"
#include "common/test_util.h"
#include "qlsbp/blur.h"
#include "simd/cpu.h"

namespace {

using Bytes = std::vector<uint8_t>;
using qlsbp_test::random_bytes;

int mean4(int a, int b, int c, int d) { return (a + b + c + d + 2) / 4; }

// Output (j, i) of the 2:1 decimation: the 2x2 block at row pitch `advance`,
// second row `gap` bytes below the first.
Bytes decimate_model(const Bytes& src, int out_rows, int out_cols, size_t advance, size_t gap) {
  Bytes out;
  for (int j = 0; j < out_rows; ++j) {
    for (int i = 0; i < out_cols; ++i) {
      const size_t p = advance * j + 2 * i;
      out.push_back(
          static_cast<uint8_t>(mean4(src[p], src[p + 1], src[p + gap], src[p + gap + 1])));
    }
  }
  return out;
}

TEST(Downsample2x2, EvenPlaneAveragesEachBlock) {
  for (const auto& [h, w] :
       {std::pair{480, 640}, std::pair{2, 2}, std::pair{6, 34}, std::pair{4, 70}}) {
    Bytes src = random_bytes(static_cast<size_t>(h) * w, w);
    Bytes dst(static_cast<size_t>(h / 2) * (w / 2) + 1, 0xee);
    downsampleh2v2(dst.data(), src.data(), h, w);
    const Bytes model = decimate_model(src, h / 2, w / 2, 2 * static_cast<size_t>(w), w);
    EXPECT_TRUE(std::equal(model.begin(), model.end(), dst.begin())) << h << "x" << w;
    EXPECT_EQ(dst.back(), 0xee);
  }
}

TEST(Downsample2x2, HandWorkedRounding) {
  Bytes src = {0, 1, 10, 10, 1, 0, 10, 11};  // 2 x 4
  Bytes dst(2);
  downsampleh2v2(dst.data(), src.data(), 2, 4);
  EXPECT_EQ(dst, (Bytes{1, 10}));  // 2/4 rounds up to 1, 41/4 rounds down to 10
}

TEST(Downsample2x2, OddWidthReadsNextRowsFirstByte) {
  // 2 x 3: one output row of two; the second output takes src[2], src[3]
  // (the next row's first byte) and src[5], src[6] (one past the image).
  Bytes src = {10, 20, 30, 40, 50, 60, 70};  // readable for 1 x (3 + 4) bytes
  Bytes dst(2, 0);
  downsampleh2v2(dst.data(), src.data(), 2, 3);
  EXPECT_EQ(dst[0], mean4(10, 20, 40, 50));
  EXPECT_EQ(dst[1], mean4(30, 40, 60, 70));
  // 4 x 5: rows advance by 2 x 5 + 1 = 11 bytes; src sized 2 x 11 as documented.
  Bytes big = random_bytes(22, 9);
  Bytes out(6, 0);
  downsampleh2v2(out.data(), big.data(), 4, 5);
  EXPECT_EQ(out, decimate_model(big, 2, 3, 11, 5));
}

TEST(Downsample2x2, OddHeightReadsTheRowBelow) {
  Bytes src = {1, 3, 5, 7, 9, 11, 100, 200};  // 3 x 2 image plus row 3
  Bytes dst(2, 0);
  downsampleh2v2(dst.data(), src.data(), 3, 2);
  EXPECT_EQ(dst, (Bytes{static_cast<uint8_t>(mean4(1, 3, 5, 7)),
                        static_cast<uint8_t>(mean4(9, 11, 100, 200))}));
}

TEST(Downsample4x4, KeepsItsHistoricalAddressing) {
  // 16 x 16: W4 = H4 = 4, rows advance by 16 + 8 = 24, row pairs 48 apart,
  // pairs at a step of two pixels.
  const Bytes src = random_bytes(256, 44);
  Bytes dst(16, 0);
  Bytes in = src;
  downsampleh4v4(dst.data(), in.data(), 16, 16);
  EXPECT_EQ(dst, decimate_model(src, 4, 4, 24, 48));
  EXPECT_EQ(dst[5], mean4(src[24 + 2], src[24 + 3], src[72 + 2], src[72 + 3]));
  // 8 x 10: W4 = 3, H4 = 2, advance 16, gap 30; readable 2 x 16 + 20 bytes.
  const Bytes odd = random_bytes(80, 45);
  Bytes in2 = odd;
  Bytes dst2(6, 0);
  downsampleh4v4(dst2.data(), in2.data(), 8, 10);
  EXPECT_EQ(dst2, decimate_model(odd, 2, 3, 16, 30));
}

TEST(Downsample, FlatPlaneStaysFlatAndBadSizesWriteNothing) {
  Bytes flat(64, 77);
  Bytes dst(16, 0);
  downsampleh2v2(dst.data(), flat.data(), 8, 8);
  EXPECT_EQ(dst, Bytes(16, 77));
  Bytes dst4(4, 0);
  downsampleh4v4(dst4.data(), flat.data(), 8, 8);
  EXPECT_EQ(dst4, Bytes(4, 77));
  for (const auto& [h, w] :
       {std::pair{0, 8}, std::pair{-3, 8}, std::pair{8, 0}, std::pair{8, -1}}) {
    Bytes untouched(16, 0xee);
    downsampleh2v2(untouched.data(), flat.data(), h, w);
    downsampleh4v4(untouched.data(), flat.data(), h, w);
    EXPECT_EQ(untouched, Bytes(16, 0xee)) << h << "x" << w;
  }
}

// 2x enlargement by definition: even output coordinates are source pixels,
// odd ones the rounded mean of their two or four neighbours, with the
// neighbour beyond the right column or bottom row replaced by the edge.
Bytes upscale_model(const Bytes& s, int h, int w) {
  const int H = std::max(h, 1);
  Bytes d(4 * static_cast<size_t>(H) * w);
  for (int Y = 0; Y < 2 * H; ++Y) {
    for (int X = 0; X < 2 * w; ++X) {
      const int y0 = Y / 2, x0 = X / 2;
      const int y1 = std::min(y0 + 1, H - 1), x1 = std::min(x0 + 1, w - 1);
      auto at = [&](int y, int x) { return static_cast<int>(s[static_cast<size_t>(y) * w + x]); };
      int v;
      if (Y % 2 == 0 && X % 2 == 0)
        v = at(y0, x0);
      else if (Y % 2 == 0)
        v = (at(y0, x0) + at(y0, x1) + 1) / 2;
      else if (X % 2 == 0)
        v = (at(y0, x0) + at(y1, x0) + 1) / 2;
      else
        v = mean4(at(y0, x0), at(y0, x1), at(y1, x0), at(y1, x1));
      d[static_cast<size_t>(Y) * 2 * w + X] = static_cast<uint8_t>(v);
    }
  }
  return d;
}

TEST(Upscale2x, AlternatingColumnsInterpolateHalfUp) {
  Bytes src;
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 8; ++x) src.push_back(x % 2 ? 255 : 0);
  Bytes dst(6 * 16);
  upscalingh2v2(dst.data(), src.data(), 3, 8);
  const Bytes row = {0, 128, 255, 128, 0, 128, 255, 128, 0, 128, 255, 128, 0, 128, 255, 255};
  for (int Y = 0; Y < 6; ++Y)
    EXPECT_EQ(Bytes(dst.begin() + 16 * Y, dst.begin() + 16 * Y + 16), row) << Y;
}

TEST(Upscale2x, MatchesModelOnRandomPlanes) {
  std::mt19937 rng(5);
  for (const auto& [h, w] :
       {std::pair{480, 640}, std::pair{240, 320}, std::pair{1, 1}, std::pair{2, 1},
        std::pair{1, 40}, std::pair{3, 17}, std::pair{5, 18}, std::pair{7, 33}}) {
    Bytes src = random_bytes(static_cast<size_t>(h) * w, rng());
    Bytes dst(4 * static_cast<size_t>(h) * w, 0);
    upscalingh2v2(dst.data(), src.data(), h, w);
    EXPECT_EQ(dst, upscale_model(src, h, w)) << h << "x" << w;
  }
}

TEST(Upscale2x, SingleRowAndColumnEdges) {
  // Height 1: output row 1 copies the horizontally interpolated row 0.
  Bytes row = {10, 21, 40};
  Bytes dst(12, 0);
  upscalingh2v2(dst.data(), row.data(), 1, 3);
  EXPECT_EQ(dst, (Bytes{10, 16, 21, 31, 40, 40, 10, 16, 21, 31, 40, 40}));
  // Height 0 is treated like height 1.
  Bytes dst0(12, 0);
  upscalingh2v2(dst0.data(), row.data(), 0, 3);
  EXPECT_EQ(dst0, dst);
  // Width 1: every output row pair holds two equal bytes.
  Bytes col = {10, 21};
  Bytes dst1(8, 0);
  upscalingh2v2(dst1.data(), col.data(), 2, 1);
  EXPECT_EQ(dst1, (Bytes{10, 10, 16, 16, 21, 21, 21, 21}));
  // Width below 1 writes nothing.
  Bytes untouched(8, 0xee);
  upscalingh2v2(untouched.data(), col.data(), 2, 0);
  upscalingh2v2(untouched.data(), col.data(), 2, -4);
  EXPECT_EQ(untouched, Bytes(8, 0xee));
}

using DownRow = void (*)(uint8_t*, const uint8_t*, const uint8_t*, int);
using UpRow = void (*)(uint8_t*, uint8_t*, const uint8_t*, const uint8_t*, int);

struct Twins {
  const char* name;
  DownRow down;
  UpRow up;
};

std::vector<Twins> compiled_twins() {
  std::vector<Twins> t;
#if QLSBP_HAVE_SSE2
  t.push_back({"sse2", downsample2x2_row_sse2, upscale2x_row_sse2});
#endif
#if QLSBP_HAVE_NEON
  t.push_back({"neon", downsample2x2_row_neon, upscale2x_row_neon});
#endif
  return t;
}

std::vector<int> lengths() {
  std::vector<int> n;
  for (int i = 1; i <= 40; ++i) n.push_back(i);
  for (int i : {47, 63, 64, 65, 99, 320, 333}) n.push_back(i);
  return n;
}

TEST(ResampleRows, DownsampleTwinsMatchScalar) {
  for (const Twins& t : compiled_twins()) {
    for (int n : lengths()) {
      const Bytes upper = random_bytes(2 * static_cast<size_t>(n), n);
      const Bytes lower = random_bytes(2 * static_cast<size_t>(n), n + 100);
      Bytes d0(n + 1, 0xee);
      Bytes d1 = d0;
      downsample2x2_row_c(d0.data(), upper.data(), lower.data(), n);
      t.down(d1.data(), upper.data(), lower.data(), n);
      EXPECT_EQ(d1, d0) << t.name << " n=" << n;
    }
  }
}

TEST(ResampleRows, UpscaleTwinsMatchScalar) {
  for (const Twins& t : compiled_twins()) {
    for (int w : lengths()) {
      const Bytes s0 = random_bytes(w, w + 200);
      const Bytes s1 = random_bytes(w, w + 300);
      for (const Bytes* below : {&s1, &s0}) {
        Bytes a0(2 * w + 1, 0xee), a1(2 * w + 1, 0xee);
        Bytes b0 = a0, b1 = a1;
        upscale2x_row_c(a0.data(), a1.data(), s0.data(), below->data(), w);
        t.up(b0.data(), b1.data(), s0.data(), below->data(), w);
        EXPECT_EQ(b0, a0) << t.name << " w=" << w;
        EXPECT_EQ(b1, a1) << t.name << " w=" << w;
      }
    }
  }
}

}  // namespace
