// Pyramid resampling: hand-worked planes (rounding, edges, the odd-size
// addressing, sizes below 1), a per-pixel model of each function written from
// its definition, and every compiled vector twin against the scalar kernels.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "blur/blur_rows.h"
#include "common/test_util.h"
#include "qlsbp/blur.h"
#include "common/cpu_paths.h"

namespace {

using Bytes = std::vector<uint8_t>;
using qlsbp_test::random_bytes;

int mean4(int a, int b, int c, int d) { return (a + b + c + d + 2) / 4; }

TEST(Resample, HandWorkedPlanes) {
  struct Case {
    void (*fn)(unsigned char*, unsigned char*, int, int);
    int h, w;
    Bytes src, want;  // dst starts as 0xee, as many bytes as want
  } const cases[] = {
      {downsampleh2v2, 2, 4, {0, 1, 10, 10, 1, 0, 10, 11}, {1, 10}},  // 0.5 up, 10.25 down
      // Odd width: the second output pairs 30 with the next row's first byte
      // (40), and 60 with the byte after the image (70).
      {downsampleh2v2, 2, 3, {10, 20, 30, 40, 50, 60, 70}, {30, 50}},
      {downsampleh2v2, 3, 2, {1, 3, 5, 7, 9, 11, 100, 200}, {4, 80}},  // reads the row below
      // Quarter size: bytes 0 and 1 with 12 and 13, three rows on; 4 + 2 + 8
      // bytes readable.
      {downsampleh4v4, 4, 4, {0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130}, {65}},
      // One row: the lower output row repeats the interpolated upper one;
      // height 0 acts as 1. One column: each output row pair is equal.
      {upscalingh2v2, 1, 3, {10, 21, 40}, {10, 16, 21, 31, 40, 40, 10, 16, 21, 31, 40, 40}},
      {upscalingh2v2, 0, 3, {10, 21, 40}, {10, 16, 21, 31, 40, 40, 10, 16, 21, 31, 40, 40}},
      {upscalingh2v2, 2, 1, {10, 21}, {10, 10, 16, 16, 21, 21, 21, 21}},
      // Sizes below 1 write nothing (for enlarging, widths only).
      {downsampleh2v2, 0, 4, {1, 2}, Bytes(8, 0xee)},
      {downsampleh2v2, 4, -1, {1, 2}, Bytes(8, 0xee)},
      {downsampleh4v4, -3, 4, {1, 2}, Bytes(8, 0xee)},
      {downsampleh4v4, 4, 0, {1, 2}, Bytes(8, 0xee)},
      {upscalingh2v2, 2, 0, {1, 2}, Bytes(8, 0xee)},
      {upscalingh2v2, 2, -4, {1, 2}, Bytes(8, 0xee)},
  };
  for (const Case& c : cases) {
    Bytes src = c.src, dst(c.want.size(), 0xee);  // exact sizes for the sanitizer
    c.fn(dst.data(), src.data(), c.h, c.w);
    EXPECT_EQ(dst, c.want) << &c - cases << ": " << c.h << "x" << c.w;
  }
}

TEST(Downsample, MatchesBlockModelOnEverySmallSize) {
  for (int h = 1; h <= 6; ++h) {
    for (int w = 1; w <= 70; ++w) {  // up to 18 outputs a row at quarter size
      for (const int step : {2, 4}) {
        SCOPED_TRACE(testing::Message() << h << "x" << w << " step " << step);
        // Output (j, i) is the rounded mean of bytes 2i, 2i + 1 of the row at
        // j x advance and of the row `gap` bytes on, over the documented
        // readable source size (exact, for the sanitizer).
        const int rows = (h - 1) / step + 1, cols = (w - 1) / step + 1;
        const size_t advance = w + 2 * cols, gap = step == 2 ? w : 3 * w;
        Bytes src = random_bytes(rows * advance + (step == 2 ? 0 : 2 * w), h * 100 + w);
        Bytes want, dst(rows * static_cast<size_t>(cols) + 1, 0xee);
        for (int j = 0; j < rows; ++j)
          for (size_t p = advance * j; p < advance * j + 2 * cols; p += 2)
            want.push_back(mean4(src[p], src[p + 1], src[p + gap], src[p + gap + 1]));
        want.push_back(0xee);
        (step == 2 ? downsampleh2v2 : downsampleh4v4)(dst.data(), src.data(), h, w);
        EXPECT_EQ(dst, want);
      }
    }
  }
}

TEST(Upscale2x, MatchesModelOnRandomPlanes) {
  const int sizes[][2] = {{480, 640}, {1, 1}, {2, 1}, {1, 40}, {3, 17}, {5, 18}, {7, 33}};
  for (const auto& s : sizes) {
    const int h = s[0], w = s[1];
    Bytes src = random_bytes(static_cast<size_t>(h) * w, h + w), dst(4 * src.size());
    upscalingh2v2(dst.data(), src.data(), h, w);
    // Output (Y, X) by definition: source pixel (Y/2, X/2), averaged (round
    // half up) with its right and/or lower neighbour on odd coordinates, a
    // neighbour beyond the last column or row replaced by the edge.
    for (int Y = 0; Y < 2 * h; ++Y) {
      for (int X = 0; X < 2 * w; ++X) {
        const int y0 = Y / 2, x0 = X / 2;
        const int y1 = Y % 2 ? std::min(y0 + 1, h - 1) : y0;
        const int x1 = X % 2 ? std::min(x0 + 1, w - 1) : x0;
        auto at = [&](int y, int x) { return src[static_cast<size_t>(y) * w + x]; };
        ASSERT_EQ(dst[2 * w * Y + X], mean4(at(y0, x0), at(y0, x1), at(y1, x0), at(y1, x1)))
            << h << "x" << w << " at " << Y << "," << X;
      }
    }
  }
}

// Both row kernels on n outputs from one random source; every output is
// longer than a kernel may write, so a write past n shows up as a difference.
std::vector<Bytes> run(int n, decltype(&downsample2x2_row_c) down,
                       decltype(&upscale2x_row_c) up) {
  const Bytes src = random_bytes(4 * static_cast<size_t>(n), n);
  std::vector<Bytes> out(5, Bytes(2 * static_cast<size_t>(n) + 1, 0xee));
  down(out[0].data(), src.data(), src.data() + 2 * n, n);
  up(out[1].data(), out[2].data(), src.data(), src.data() + n, n);
  up(out[3].data(), out[4].data(), src.data(), src.data(), n);  // bottom row: itself below
  return out;
}

// Each path this CPU can take, selected by masking feature bits.
TEST(ResampleRows, VectorTwinsMatchScalar) {
  for (const auto& path : qlsbp_test::cpu_paths()) {
    qlsbp_test::ScopedCpuMask mask(path.flags);
    for (int n = 0; n <= 99; ++n) {
      EXPECT_EQ(run(n, downsample2x2_row, upscale2x_row), run(n, downsample2x2_row_c, upscale2x_row_c))
          << path.name << " n=" << n;
    }
  }
}

// Interleaved chroma halved in one step equals splitting both rows into
// their planes and halving each plane; the model is the plain row kernel.
// Outputs carry guard bytes and the rows start at odd addresses.
TEST(ResampleRows, InterleavedHalvingMatchesSplitThenHalve) {
  for (const auto& path : qlsbp_test::cpu_paths()) {
    qlsbp_test::ScopedCpuMask mask(path.flags);
    for (int n = 0; n <= 70; ++n) {
      const size_t bytes = 4 * static_cast<size_t>(n);
      const Bytes src = random_bytes(2 * bytes + 1, 7 * n + 1);
      const uint8_t* upper = src.data() + 1;
      const uint8_t* lower = upper + bytes;
      Bytes split[2][2];  // [row][plane]
      for (int r = 0; r < 2; ++r) {
        for (int p = 0; p < 2; ++p) {
          for (size_t i = p; i < bytes; i += 2) split[r][p].push_back((r ? lower : upper)[i]);
          split[r][p].resize(2 * static_cast<size_t>(n) + 1);
        }
      }
      Bytes want[2], got[2];
      for (int p = 0; p < 2; ++p) {
        want[p].assign(n + 1, 0xee);
        got[p].assign(n + 2, 0xee);
        downsample2x2_row_c(want[p].data(), split[0][p].data(), split[1][p].data(), n);
      }
      downsample2x2_uv_row(got[0].data() + 1, got[1].data() + 1, upper, lower, n);
      for (int p = 0; p < 2; ++p) {
        EXPECT_EQ(want[p], Bytes(got[p].begin() + 1, got[p].end()))
            << path.name << " n=" << n << " plane " << p;
        EXPECT_EQ(got[p][0], 0xee);
      }
    }
  }
}

}  // namespace
