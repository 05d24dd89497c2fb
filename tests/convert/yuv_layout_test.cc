// YUV layout conversions: round trips, hand-worked frames, and a per-sample
// model of the pair loops written from the layout rules.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/convert.h"

namespace {

using Bytes = std::vector<uint8_t>;
using qlsbp_test::random_bytes;

size_t y4u2v2_size(int rows, int cols) {
  const size_t n = static_cast<size_t>(rows) * cols;
  return n + 2 * (n >> 1);
}

size_t y4u1v1_size(int rows, int cols) {
  return static_cast<size_t>(rows) * cols + 2 * static_cast<size_t>(rows >> 1) * (cols >> 1);
}

struct Size {
  int rows, cols;
};

const Size kEvenSizes[] = {{480, 640}, {2, 2}, {1, 2}, {2, 4}, {3, 34}, {6, 64}, {5, 66}, {4, 98}};

TEST(Yuv422Layout, RoundTripRestoresTheFrame) {
  for (const Size s : kEvenSizes) {
    const Bytes packed = random_bytes(2 * static_cast<size_t>(s.rows) * s.cols, s.cols);
    Bytes planes(y4u2v2_size(s.rows, s.cols));
    Bytes back(packed.size());
    Bytes in = packed;
    EXPECT_EQ(yuyv422_to_y4u2v2(planes.data(), in.data(), s.rows, s.cols), 0);
    EXPECT_EQ(y4u2v2_to_yuyv422(back.data(), planes.data(), s.rows, s.cols), 0);
    EXPECT_EQ(back, packed) << s.rows << "x" << s.cols;
  }
}

TEST(Yuv420Layout, RoundTripRestoresTheFrame) {
  for (const Size s : kEvenSizes) {
    const size_t size = y4u1v1_size(s.rows, s.cols);
    Bytes in = random_bytes(size, s.rows * 7 + s.cols);
    const Bytes original = in;
    Bytes planes(size), back(size);
    EXPECT_EQ(y4uv20_to_y4u1v1(planes.data(), in.data(), s.rows, s.cols), 0);
    EXPECT_EQ(y4u1v1_to_y4uv20(back.data(), planes.data(), s.rows, s.cols), 0);
    EXPECT_EQ(back, original) << s.rows << "x" << s.cols;
  }
}

TEST(Yuv420Layout, SplitsPairsIntoFirstAndSecondPlane) {
  // 4 x 2 frame: N = 8, C = 2, chroma pairs (100, 200) and (101, 201).
  Bytes src = {0, 1, 2, 3, 4, 5, 6, 7, 100, 200, 101, 201};
  Bytes dst(12, 0xee);
  y4uv20_to_y4u1v1(dst.data(), src.data(), 2, 4);
  EXPECT_EQ(dst, (Bytes{0, 1, 2, 3, 4, 5, 6, 7, 100, 101, 200, 201}));
  Bytes back(12, 0xee);
  y4u1v1_to_y4uv20(back.data(), dst.data(), 2, 4);
  EXPECT_EQ(back, src);
}

TEST(Yuv420Layout, ChromaSwapOnFourByTwoFrame) {
  // N = 8, C = 2: dst = luma[0..7], src[10], src[11], src[8], src[9].
  Bytes src = {10, 11, 12, 13, 14, 15, 16, 17, 80, 81, 90, 91};
  Bytes dst(12, 0);
  EXPECT_EQ(y4v1u1_to_y4u1v1(dst.data(), src.data(), 2, 4), 0);
  EXPECT_EQ(dst, (Bytes{10, 11, 12, 13, 14, 15, 16, 17, 90, 91, 80, 81}));
  Bytes twice(12, 0);
  y4v1u1_to_y4u1v1(twice.data(), dst.data(), 2, 4);
  EXPECT_EQ(twice, src);
}

TEST(Yuv420Layout, OddSizesKeepWholeChromaSamplesOnly) {
  // 3 x 5: N = 15, C = 1 x 2; the odd row and column have no chroma.
  const int rows = 3, cols = 5;
  const size_t n = 15, c = 2;
  Bytes src = random_bytes(n + 2 * c, 3);
  Bytes dst(n + 2 * c + 4, 0xee);
  y4uv20_to_y4u1v1(dst.data(), src.data(), rows, cols);
  for (size_t i = 0; i < n; ++i) EXPECT_EQ(dst[i], src[i]);
  for (size_t j = 0; j < c; ++j) {
    EXPECT_EQ(dst[n + j], src[n + 2 * j]);
    EXPECT_EQ(dst[n + c + j], src[n + 2 * j + 1]);
  }
  for (size_t i = n + 2 * c; i < dst.size(); ++i) EXPECT_EQ(dst[i], 0xee) << "wrote past the frame";
}

// The plain pair loop: ((cols - 1) >> 1) + 1 pairs per row, rows
// in order, each plane in its own generously padded buffer so the overrun of
// an odd width lands in padding or on the next row.
struct Planes422 {
  Bytes y, u, v;
};

Planes422 split_pairs_model(const Bytes& packed, int rows, int cols) {
  const int pairs = ((cols - 1) >> 1) + 1;
  const int chroma_cols = cols >> 1;
  Planes422 p{Bytes(static_cast<size_t>(rows) * cols + 8),
              Bytes(static_cast<size_t>(rows) * chroma_cols + 8),
              Bytes(static_cast<size_t>(rows) * chroma_cols + 8)};
  for (int r = 0; r < rows; ++r) {
    for (int k = 0; k < pairs; ++k) {
      const uint8_t* s = &packed[2 * static_cast<size_t>(cols) * r + 4 * k];
      p.y[static_cast<size_t>(cols) * r + 2 * k] = s[0];
      p.y[static_cast<size_t>(cols) * r + 2 * k + 1] = s[2];
      p.u[static_cast<size_t>(chroma_cols) * r + k] = s[1];
      p.v[static_cast<size_t>(chroma_cols) * r + k] = s[3];
    }
  }
  return p;
}

TEST(Yuv422Layout, SplitMatchesPairModelForEvenAndOddWidths) {
  for (int rows = 1; rows <= 4; ++rows) {
    for (int cols = 2; cols <= 41; ++cols) {
      const size_t n = static_cast<size_t>(rows) * cols;
      Bytes packed = random_bytes(2 * n + 8, static_cast<uint32_t>(rows * 100 + cols));
      const Planes422 model = split_pairs_model(packed, rows, cols);
      packed.resize(2 * n);  // the converter sees exactly the frame
      Bytes dst(y4u2v2_size(rows, cols), 0xee);
      yuyv422_to_y4u2v2(dst.data(), packed.data(), rows, cols);
      const size_t c = static_cast<size_t>(rows) * (cols >> 1);
      for (size_t i = 0; i < n; ++i)
        ASSERT_EQ(dst[i], model.y[i]) << rows << "x" << cols << " luma " << i;
      for (size_t i = 0; i < c; ++i) {
        ASSERT_EQ(dst[n + i], model.u[i]) << rows << "x" << cols << " U " << i;
        ASSERT_EQ(dst[n + (n >> 1) + i], model.v[i]) << rows << "x" << cols << " V " << i;
      }
      // Odd widths leave the slack between the U rows and the V plane alone.
      for (size_t i = n + c; i < n + (n >> 1); ++i) ASSERT_EQ(dst[i], 0xee);
    }
  }
}

TEST(Yuv422Layout, JoinMatchesPairModelForEvenAndOddWidths) {
  for (int rows = 1; rows <= 4; ++rows) {
    for (int cols = 2; cols <= 41; ++cols) {
      const size_t n = static_cast<size_t>(rows) * cols;
      const size_t size = y4u2v2_size(rows, cols);
      const Bytes planes = random_bytes(size, static_cast<uint32_t>(rows * 1000 + cols));
      // Model: the pair loop over a padded copy of the source and destination.
      const int pairs = ((cols - 1) >> 1) + 1;
      const int chroma_cols = cols >> 1;
      Bytes padded = planes;
      padded.resize(size + 8);
      Bytes model(2 * n + 8);
      for (int r = 0; r < rows; ++r) {
        for (int k = 0; k < pairs; ++k) {
          uint8_t* d = &model[2 * static_cast<size_t>(cols) * r + 4 * k];
          const size_t c = static_cast<size_t>(chroma_cols) * r + k;
          d[0] = padded[static_cast<size_t>(cols) * r + 2 * k];
          d[1] = padded[n + c];
          d[2] = padded[static_cast<size_t>(cols) * r + 2 * k + 1];
          d[3] = padded[n + (n >> 1) + c];
        }
      }
      Bytes src = planes;
      Bytes dst(2 * n);
      y4u2v2_to_yuyv422(dst.data(), src.data(), rows, cols);
      for (size_t i = 0; i < 2 * n; ++i)
        ASSERT_EQ(dst[i], model[i]) << rows << "x" << cols << " at " << i;
    }
  }
}

TEST(Yuv422Layout, WidthOneHasLumaAndNeutralChroma) {
  Bytes src = {7, 8, 9};  // three rows of one pixel, no chroma planes
  Bytes dst(6, 0);
  y4u2v2_to_yuyv422(dst.data(), src.data(), 3, 1);
  EXPECT_EQ(dst, (Bytes{7, 128, 8, 128, 9, 128}));
  Bytes planes(3, 0);
  Bytes packed = {7, 1, 8, 2, 9, 3};
  yuyv422_to_y4u2v2(planes.data(), packed.data(), 3, 1);
  EXPECT_EQ(planes, (Bytes{7, 8, 9}));
}

TEST(Yuv444Upsample, SitesUOnEvenAndVOnOddPixels) {
  // One row of three pairs, Y0 U Y1 V.
  Bytes src = {10, 20, 11, 30, 12, 40, 13, 50, 14, 61, 15, 71};
  Bytes dst(18, 0);
  EXPECT_EQ(yuyv422_to_y4u4v4(dst.data(), src.data(), 1, 6), 0);
  EXPECT_EQ(Bytes(dst.begin(), dst.begin() + 6), (Bytes{10, 11, 12, 13, 14, 15}));
  // U: own sample on even pixels, mean with the next pair on odd, last repeated.
  EXPECT_EQ(Bytes(dst.begin() + 6, dst.begin() + 12), (Bytes{20, 30, 40, 51, 61, 61}));
  // V: own sample on odd pixels, mean with the previous pair on even, first repeated.
  EXPECT_EQ(Bytes(dst.begin() + 12, dst.end()), (Bytes{30, 30, 40, 50, 61, 71}));
}

TEST(Yuv444Upsample, ShortRowsStayInsideTheRow) {
  // One pair: U and V are repeated. Exact-size buffers let ASan catch any
  // access outside the row.
  Bytes one = {1, 2, 3, 4, 5, 6, 7, 8};  // two rows of one pair
  Bytes dst(12, 0);
  yuyv422_to_y4u4v4(dst.data(), one.data(), 2, 2);
  EXPECT_EQ(dst, (Bytes{1, 3, 5, 7, 2, 2, 6, 6, 4, 4, 8, 8}));
  // Three pixels: a pair and a half pair (own luma and U, the row's last V).
  Bytes three = {1, 2, 3, 4, 5, 6};
  Bytes dst3(9, 0);
  yuyv422_to_y4u4v4(dst3.data(), three.data(), 1, 3);
  EXPECT_EQ(dst3, (Bytes{1, 3, 5, 2, 2, 6, 4, 4, 4}));
  // One pixel: luma, U, and neutral V.
  Bytes single = {9, 99};
  Bytes dst1(3, 0);
  yuyv422_to_y4u4v4(dst1.data(), single.data(), 1, 1);
  EXPECT_EQ(dst1, (Bytes{9, 99, 128}));
}

TEST(Yuv444Upsample, FlatChromaStaysFlatOnFullFrame) {
  const int rows = 48, cols = 64;
  Bytes src(2 * rows * cols);
  for (size_t i = 0; i < src.size(); i += 4) {
    src[i] = static_cast<uint8_t>(i);
    src[i + 1] = 90;
    src[i + 2] = static_cast<uint8_t>(i + 2);
    src[i + 3] = 170;
  }
  Bytes dst(3 * rows * cols);
  yuyv422_to_y4u4v4(dst.data(), src.data(), rows, cols);
  const size_t n = static_cast<size_t>(rows) * cols;
  for (size_t i = 0; i < n; ++i) {
    ASSERT_EQ(dst[i], src[2 * i]);
    ASSERT_EQ(dst[n + i], 90);
    ASSERT_EQ(dst[2 * n + i], 170);
  }
}

TEST(YuvLayoutSizes, NonPositiveSizesWriteNothing) {
  Bytes src = random_bytes(64, 1);
  const Size bad[] = {{0, 4}, {4, 0}, {-2, 4}, {4, -2}, {-2, -2}};
  for (const Size s : bad) {
    Bytes dst(64, 0xee);
    yuyv422_to_y4u2v2(dst.data(), src.data(), s.rows, s.cols);
    y4u2v2_to_yuyv422(dst.data(), src.data(), s.rows, s.cols);
    y4uv20_to_y4u1v1(dst.data(), src.data(), s.rows, s.cols);
    y4u1v1_to_y4uv20(dst.data(), src.data(), s.rows, s.cols);
    yuyv422_to_y4u4v4(dst.data(), src.data(), s.rows, s.cols);
    y4v1u1_to_y4u1v1(dst.data(), src.data(), s.rows, s.cols);
    EXPECT_EQ(dst, Bytes(64, 0xee)) << s.rows << "x" << s.cols;
  }
}

}  // namespace
