// image_board_process and copy_image.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/mask.h"

namespace {

using Plane = std::vector<unsigned char>;

// The four steps as listed, on a plane with one spare byte after it so that
// the last row's right-border spill really happens.
Plane model_border(const Plane& in, int rows, int cols, int n) {
  Plane p(in);
  p.push_back(0);
  for (int k = 0; k < n; ++k)
    for (int j = 0; j < cols; ++j) p[k * cols + j] = p[(2 * n - k) * cols + j];
  for (int m = 0; m < n; ++m)
    for (int j = 0; j < cols; ++j)
      p[(rows - 1 - m) * cols + j] = p[(rows - 1 - 2 * n + m) * cols + j];
  for (int i = 0; i < rows; ++i)
    for (int m = 0; m < n; ++m) p[i * cols + cols - m] = p[i * cols + cols - 1 - 2 * n + m];
  for (int i = 0; i < rows; ++i)
    for (int k = 0; k < n; ++k) p[i * cols + k] = p[i * cols + 2 * n - k];
  p.pop_back();
  return p;
}

}  // namespace

TEST(BorderProcess, FourByFourN1) {
  Plane buf(17);
  for (int i = 0; i < 16; ++i) buf[i] = static_cast<unsigned char>(16 * (i / 4) + i % 4 + 1);
  buf[16] = 0xEE;  // the byte just past the plane
  image_board_process(buf.data(), 4, 4, 1);
  // Row 2 -> row 0, row 1 -> row 3; column 1 -> next row's column 0 (then
  // overwritten), column 2 -> column 0; column 3 is not written.
  const Plane want = {35,  34, 35, 36,  //
                      19,  18, 19, 20,  //
                      35,  34, 35, 36,  //
                      19,  18, 19, 20,  //
                      0xEE};
  EXPECT_EQ(buf, want);
}

// cols = 2n + 1: each row's right border reads column 0, which the row above
// has just spilled into. The result must match the unguarded steps.
TEST(BorderProcess, SpillIsReadByNextRowWhenColsIs2nPlus1) {
  Plane in(5 * 5);
  for (size_t i = 0; i < in.size(); ++i) in[i] = static_cast<unsigned char>(i + 1);
  Plane got(in);
  got.push_back(0xEE);
  image_board_process(got.data(), 5, 5, 2);
  EXPECT_EQ(got.back(), 0xEE);
  got.pop_back();
  EXPECT_EQ(got, model_border(in, 5, 5, 2));
}

TEST(BorderProcess, RandomPlanesMatchModel) {
  std::mt19937 rng(21);
  for (int iter = 0; iter < 500; ++iter) {
    const int n = qlsbp_test::random_int(rng, 1, 20);
    const int rows = qlsbp_test::random_int(rng, 2 * n + 1, 2 * n + 12);
    const int cols = qlsbp_test::random_int(rng, 2 * n + 1, 2 * n + 40);
    const Plane in = qlsbp_test::random_bytes(static_cast<size_t>(rows) * cols, rng());
    Plane got(in);  // exact size: ASan catches a write past the plane
    image_board_process(got.data(), rows, cols, n);
    ASSERT_EQ(got, model_border(in, rows, cols, n)) << rows << "x" << cols << " n=" << n;
  }
}

TEST(BorderProcess, UnsupportedWidthsDoNothing) {
  const Plane in = qlsbp_test::random_bytes(6 * 9, 1);
  for (int n : {0, -1, INT_MIN, 3, 4, INT_MAX}) {  // 2n + 1 > 6 rows from n = 3
    Plane p(in);
    image_board_process(p.data(), 6, 9, n);
    EXPECT_EQ(p, in) << n;
  }
  Plane p(in);
  image_board_process(p.data(), 9, 4, 2);  // 2n + 1 > 4 columns
  EXPECT_EQ(p, in);
}

// ---- copy_image --------------------------------------------------------------

namespace {

struct CopyCase {
  Plane dst = Plane(8 * 10, 0);
  Plane src;
  CopyCase() {
    src.resize(6 * 7);
    for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<unsigned char>(i + 1);
  }
  // Destination bytes expected after copying rows x bytes from src offset
  // (sy, sx) to dst offset (dy, dx).
  Plane expect(int rows, int bytes, int dy, int dx, int sy, int sx) const {
    Plane d(8 * 10, 0);
    for (int r = 0; r < rows; ++r)
      for (int c = 0; c < bytes; ++c) d[(dy + r) * 10 + dx + c] = src[(sy + r) * 7 + sx + c];
    return d;
  }
};

}  // namespace

// dst plane 8 x 10, src plane 6 x 7.
TEST(CopyImage, SizeTable) {
  {
    CopyCase c;  // no rects: min(8, 6) rows of min(10, 7) bytes
    copy_image(c.dst.data(), c.src.data(), 8, 10, 6, 7, nullptr, nullptr);
    EXPECT_EQ(c.dst, c.expect(6, 7, 0, 0, 0, 0));
  }
  {
    CopyCase c;  // dst rect only: its size, source from offset 0
    const PXrect d = {2, 1, 3, 4};
    copy_image(c.dst.data(), c.src.data(), 8, 10, 6, 7, &d, nullptr);
    EXPECT_EQ(c.dst, c.expect(3, 4, 1, 2, 0, 0));
  }
  {
    CopyCase c;  // src rect only: its size, destination from offset 0
    const PXrect s = {1, 2, 4, 5};
    copy_image(c.dst.data(), c.src.data(), 8, 10, 6, 7, nullptr, &s);
    EXPECT_EQ(c.dst, c.expect(4, 5, 0, 0, 2, 1));
  }
  {
    CopyCase c;  // both: min(src_rows, dst.rows) rows, min(src.cols, dst.cols) bytes
    const PXrect d = {3, 0, 7, 6};
    const PXrect s = {0, 0, 9, 5};  // src.rows beyond the source height is not used
    copy_image(c.dst.data(), c.src.data(), 8, 10, 6, 7, &d, &s);
    EXPECT_EQ(c.dst, c.expect(6, 5, 0, 3, 0, 0));
  }
  {
    CopyCase c;  // both, dst rect shorter than the source
    const PXrect d = {0, 4, 2, 3};
    const PXrect s = {2, 1, 1, 4};  // src.rows = 1 is ignored: 2 rows copied
    copy_image(c.dst.data(), c.src.data(), 8, 10, 6, 7, &d, &s);
    EXPECT_EQ(c.dst, c.expect(2, 3, 4, 0, 1, 2));
  }
}

TEST(CopyImage, EmptySizesCopyNothing) {
  CopyCase c;
  const PXrect zero_rows = {0, 0, 0, 5}, neg_cols = {0, 0, 3, -2};
  copy_image(c.dst.data(), c.src.data(), 8, 10, 6, 7, &zero_rows, nullptr);
  copy_image(c.dst.data(), c.src.data(), 8, 10, 6, 7, nullptr, &neg_cols);
  copy_image(c.dst.data(), c.src.data(), 0, 10, 6, 7, nullptr, nullptr);
  copy_image(c.dst.data(), c.src.data(), 8, 10, -6, 7, nullptr, nullptr);
  EXPECT_EQ(c.dst, Plane(80, 0));
}

// Within one plane: a block moved down by one row over itself.
TEST(CopyImage, OverlappingRowsInOnePlane) {
  Plane p(5 * 4);
  for (size_t i = 0; i < p.size(); ++i) p[i] = static_cast<unsigned char>(i);
  const PXrect d = {0, 1, 4, 4}, s = {0, 0, 4, 4};
  copy_image(p.data(), p.data(), 5, 4, 5, 4, &d, &s);
  // Rows are copied top to bottom: each destination row is the source row
  // above it as already updated, so row 0 propagates down.
  for (int r = 0; r < 5; ++r)
    for (int c = 0; c < 4; ++c) EXPECT_EQ(p[r * 4 + c], c) << r << "," << c;
}
