// YUV layout conversions (round trips, hand-worked frames, the odd-width
// 4:2:2 handling against the plain pair loop the layouts are defined by) and
// the 16-bit to 8-bit conversion.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/convert.h"

namespace {

using Bytes = std::vector<uint8_t>;
using qlsbp_test::random_bytes;

// Output buffers are exact sizes, so the sanitizer build catches overruns.
TEST(YuvLayout, RoundTripsRestoreTheFrame) {
  const int sizes[][2] = {{480, 640}, {1, 2}, {3, 34}, {5, 66}, {3, 5}, {7, 33}, {2, 1}};
  for (const auto& s : sizes) {
    const int rows = s[0], cols = s[1];
    SCOPED_TRACE(testing::Message() << rows << "x" << cols);
    const size_t n = static_cast<size_t>(rows) * cols;
    // The 4:2:0 conversions and the chroma swap are exact for any size.
    const Bytes frame = random_bytes(n + 2 * static_cast<size_t>(rows >> 1) * (cols >> 1), cols);
    Bytes in = frame, mid(frame.size()), back(frame.size());
    EXPECT_EQ(y4uv20_to_y4u1v1(mid.data(), in.data(), rows, cols), 0);
    EXPECT_EQ(y4u1v1_to_y4uv20(back.data(), mid.data(), rows, cols), 0);
    EXPECT_EQ(back, frame);
    EXPECT_EQ(y4v1u1_to_y4u1v1(mid.data(), in.data(), rows, cols), 0);
    EXPECT_EQ(y4v1u1_to_y4u1v1(back.data(), mid.data(), rows, cols), 0);
    EXPECT_EQ(back, frame);
    if (cols & 1) continue;  // 4:2:2 round-trips whole pairs only
    const Bytes packed = random_bytes(2 * n, rows);
    Bytes packed_in = packed, planes(n + 2 * (n >> 1)), packed_back(2 * n);
    EXPECT_EQ(yuyv422_to_y4u2v2(planes.data(), packed_in.data(), rows, cols), 0);
    EXPECT_EQ(y4u2v2_to_yuyv422(packed_back.data(), planes.data(), rows, cols), 0);
    EXPECT_EQ(packed_back, packed);
  }
}

TEST(YuvLayout, HandWorked420OddFrame) {
  // 3 x 5: N = 15, C = 1 x 2, chroma pairs (100, 200) and (101, 201); the odd
  // row and column have no chroma, and the guard byte after the frame stays.
  Bytes src(15), dst(20, 0xee);
  std::iota(src.begin(), src.end(), 0);
  Bytes split = src, swapped = src;
  src.insert(src.end(), {100, 200, 101, 201});
  split.insert(split.end(), {100, 101, 200, 201, 0xee});
  swapped.insert(swapped.end(), {101, 201, 100, 200, 0xee});
  y4uv20_to_y4u1v1(dst.data(), src.data(), 3, 5);
  EXPECT_EQ(dst, split);
  y4v1u1_to_y4u1v1(dst.data(), src.data(), 3, 5);
  EXPECT_EQ(dst, swapped);
}

// The plain 4:2:2 pair loop, packed <-> planes: ((cols - 1) >> 1) + 1 pairs a
// row, rows in order, so an odd width runs half a pair past each row (onto
// the next row, which rewrites it, or into padding after the last).
void pair_loop(uint8_t* packed, uint8_t* y, uint8_t* u, uint8_t* v, int rows, int cols,
               bool split) {
  const int pairs = ((cols - 1) >> 1) + 1, chroma_cols = cols >> 1;
  for (int r = 0; r < rows; ++r) {
    for (int k = 0; k < pairs; ++k) {
      uint8_t* p = packed + 2 * cols * r + 4 * k;
      uint8_t* q[4] = {y + cols * r + 2 * k, u + chroma_cols * r + k, y + cols * r + 2 * k + 1,
                       v + chroma_cols * r + k};
      for (int b = 0; b < 4; ++b) (split ? *q[b] : p[b]) = (split ? p[b] : *q[b]);  // one way
    }
  }
}

TEST(YuvLayout, Every422WidthMatchesThePairLoopWithoutOverrun) {
  for (int rows = 1; rows <= 4; ++rows) {
    for (int cols = 2; cols <= 41; ++cols) {
      SCOPED_TRACE(testing::Message() << rows << "x" << cols);
      const size_t n = static_cast<size_t>(rows) * cols, c = rows * static_cast<size_t>(cols >> 1);
      const size_t size = n + 2 * (n >> 1), v_at = n + (n >> 1);
      // Split: the loop fills separate padded planes; the converter gets an
      // exact-size frame and leaves the slack after the U rows alone.
      Bytes packed = random_bytes(2 * n + 8, rows * 100 + cols);
      Bytes y(n + 8), u(c + 8), v(c + 8), want(size, 0xee), planes(size, 0xee);
      pair_loop(packed.data(), y.data(), u.data(), v.data(), rows, cols, true);
      std::copy(y.begin(), y.begin() + n, want.begin());
      std::copy(u.begin(), u.begin() + c, want.begin() + n);
      std::copy(v.begin(), v.begin() + c, want.begin() + v_at);
      packed.resize(2 * n);
      yuyv422_to_y4u2v2(planes.data(), packed.data(), rows, cols);
      EXPECT_EQ(planes, want);
      // Join: the loop reads the planes in place (the half pair's U is the
      // next U sample in the buffer) and writes a padded packed frame.
      Bytes src = random_bytes(size + 8, rows * 1000 + cols), model(2 * n + 8), dst(2 * n);
      pair_loop(model.data(), src.data(), src.data() + n, src.data() + v_at, rows, cols, false);
      src.resize(size);
      y4u2v2_to_yuyv422(dst.data(), src.data(), rows, cols);
      EXPECT_EQ(dst, Bytes(model.begin(), model.begin() + 2 * n));
    }
  }
}

TEST(YuvLayout, HandWorked444Rows) {
  struct Case {
    int rows, cols;
    Bytes src, want;  // want: Y, U and V planes
  } const cases[] = {
      // U on even pixels, mean with the next pair on odd, last repeated; V on
      // odd pixels, mean with the previous pair on even, first repeated.
      {1, 6, {10, 20, 11, 30, 12, 40, 13, 50, 14, 61, 15, 71},
       {10, 11, 12, 13, 14, 15, 20, 30, 40, 51, 61, 61, 30, 30, 40, 50, 61, 71}},
      {2, 2, {1, 2, 3, 4, 5, 6, 7, 8}, {1, 3, 5, 7, 2, 2, 6, 6, 4, 4, 8, 8}},  // one pair
      // The half pair takes its own luma and U, and the row's last V.
      {2, 3, {1, 2, 3, 4, 5, 6, 11, 12, 13, 14, 15, 16},
       {1, 3, 5, 11, 13, 15, 2, 2, 6, 12, 12, 16, 4, 4, 4, 14, 14, 14}},
      {1, 1, {9, 99}, {9, 99, 128}},  // no V at all: neutral
  };
  for (const Case& c : cases) {
    Bytes src = c.src, dst(c.want.size(), 0);
    EXPECT_EQ(yuyv422_to_y4u4v4(dst.data(), src.data(), c.rows, c.cols), 0);
    EXPECT_EQ(dst, c.want) << c.rows << "x" << c.cols;
  }
}

TEST(YuvLayout, DegenerateSizes) {
  // Width 1 has no chroma planes: packing gives neutral chroma, unpacking
  // drops the half pair's U.
  Bytes planes = {7, 8, 9}, packed(6, 0);
  y4u2v2_to_yuyv422(packed.data(), planes.data(), 3, 1);
  EXPECT_EQ(packed, (Bytes{7, 128, 8, 128, 9, 128}));
  packed = {7, 1, 8, 2, 9, 3};
  yuyv422_to_y4u2v2(planes.data(), packed.data(), 3, 1);
  EXPECT_EQ(planes, (Bytes{7, 8, 9}));
  // Non-positive sizes write nothing at all.
  Bytes src = random_bytes(64, 1);
  const int bad[][2] = {{0, 4}, {4, 0}, {-2, 4}, {4, -2}, {-2, -2}};
  for (auto convert : {yuyv422_to_y4u2v2, y4u2v2_to_yuyv422, y4uv20_to_y4u1v1, y4u1v1_to_y4uv20,
                       yuyv422_to_y4u4v4, y4v1u1_to_y4u1v1}) {
    for (const auto& s : bad) {
      Bytes dst(64, 0xee);
      EXPECT_EQ(convert(dst.data(), src.data(), s[0], s[1]), 0);
      EXPECT_EQ(dst, Bytes(64, 0xee)) << s[0] << "x" << s[1];
    }
  }
}

using Shorts = std::vector<unsigned short>;

// Converts `count` values of src into a buffer with one guard byte more.
Bytes to_u8(Shorts src, unsigned short divisor, int count) {
  Bytes dst(src.size() + 1, 0xee);
  u16_to_u8(dst.data(), src.data(), divisor, count);
  return dst;
}

TEST(U16ToU8, HandWorkedValuesAndBadInput) {
  EXPECT_EQ(to_u8({1000, 1019}, 1024, 2), (Bytes{250, 254, 0xee}));  // 254.75 truncates
  EXPECT_EQ(to_u8({3, 2, 1}, 4, 3), (Bytes{192, 128, 64, 0xee}));
  EXPECT_EQ(to_u8({65535, 65534}, 65535, 2), (Bytes{255, 255, 0xee}));  // 256 saturates
  EXPECT_EQ(to_u8({0, 1, 2, 65535}, 1, 4), (Bytes{0, 255, 255, 255, 0xee}));
  // Divisor 0 acts as an infinitesimal one; a count below 1 writes nothing.
  EXPECT_EQ(to_u8({0, 1, 255, 65535, 0}, 0, 5), (Bytes{0, 255, 255, 255, 0, 0xee}));
  EXPECT_EQ(to_u8({1, 2}, 1, 0), Bytes(3, 0xee));
  EXPECT_EQ(to_u8({1, 2}, 1, -5), Bytes(3, 0xee));
}

TEST(U16ToU8, Divisor256IsMinWith255) {
  Shorts src;
  for (int v = 0; v < 65536; v += 7) src.push_back(static_cast<unsigned short>(v));
  const Bytes dst = to_u8(src, 256, static_cast<int>(src.size()));
  for (size_t i = 0; i < src.size(); ++i) ASSERT_EQ(dst[i], src[i] < 255 ? src[i] : 255) << i;
}

}  // namespace
