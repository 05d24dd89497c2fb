// image_fill: hand-worked masks for each edge rule, and a column-by-column
// model on random outlines.
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/mask.h"

namespace {

using Plane = std::vector<unsigned char>;

Plane fill(Plane img, int rows, int cols) {
  image_fill(img.data(), rows, cols);
  return img;
}

// The rules read straight off, one row or one column at a time.
Plane model_fill(Plane img, int rows, int cols) {
  auto px = [&](int i, int j) { return img[i * cols + j] != 0; };
  std::vector<int> left(rows, -1), right(rows, -1), top(cols, -1), bottom(cols, -1);
  for (int i = 0; i < rows; ++i) {
    if (px(i, 0) && px(i, 1))
      left[i] = 0;
    else
      for (int j = 0; j <= cols - 2 && left[i] < 0; ++j)
        if (!px(i, j) && px(i, j + 1)) left[i] = j;
    if (px(i, cols - 2) && px(i, cols - 1))
      right[i] = cols - 2;
    else
      for (int j = cols - 2; j >= 0 && right[i] < 0; --j)
        if (px(i, j) && !px(i, j + 1)) right[i] = j;
  }
  for (int j = 0; j < cols; ++j) {
    if (px(0, j) && px(1, j))
      top[j] = 1;
    else
      for (int i = 0; i <= rows - 2 && top[j] < 0; ++i)
        if (!px(i, j) && px(i + 1, j)) top[j] = i;
    if (px(rows - 2, j) && px(rows - 1, j))
      bottom[j] = rows - 1;
    else
      for (int i = rows - 2; i >= 0 && bottom[j] < 0; --i)
        if (px(i, j) && !px(i + 1, j)) bottom[j] = i;
  }
  for (int i = 0; i < rows; ++i)
    if (left[i] != -1 && left[i] <= right[i])
      for (int j = left[i]; j <= right[i]; ++j) img[i * cols + j] = 255;
  for (int j = 0; j < cols; ++j) {
    if (top[j] == -1) continue;
    for (int i = 0; i < top[j]; ++i) img[i * cols + j] = 0;
    if (bottom[j] < rows - 1)
      for (int i = bottom[j] + 1; i < rows; ++i) img[i * cols + j] = 0;
  }
  return img;
}

}  // namespace

TEST(ImageFill, AllZeroStaysZero) { EXPECT_EQ(fill(Plane(9 * 13, 0), 9, 13), Plane(9 * 13, 0)); }

// A square outline is filled from the clear column in front of it (column 0)
// to its right outline (column 4).
TEST(ImageFill, RingIsFilled) {
  const Plane ring = {0, 0, 0, 0, 0, 0,  //
                      0, 1, 1, 1, 1, 0,  //
                      0, 1, 0, 0, 1, 0,  //
                      0, 1, 0, 0, 1, 0,  //
                      0, 1, 1, 1, 1, 0,  //
                      0, 0, 0, 0, 0, 0};
  const Plane want = {0,   0,   0,   0,   0,   0,  //
                      255, 255, 255, 255, 255, 0,  //
                      255, 255, 255, 255, 255, 0,  //
                      255, 255, 255, 255, 255, 0,  //
                      255, 255, 255, 255, 255, 0,  //
                      0,   0,   0,   0,   0,   0};
  EXPECT_EQ(fill(ring, 6, 6), want);
}

// Single rows between empty rows: the column step then only clears zeros, so
// the row rules show alone. Untouched set pixels keep their value (1).
TEST(ImageFill, RowEdgeRules) {
  auto middle_row = [](const Plane& row) {
    const int cols = static_cast<int>(row.size());
    Plane img(3 * row.size(), 0);
    std::copy(row.begin(), row.end(), img.begin() + cols);
    img = fill(img, 3, cols);
    return Plane(img.begin() + cols, img.begin() + 2 * cols);
  };
  // Left = clear pixel before the run (2); both last pixels set: right = 3.
  EXPECT_EQ(middle_row({1, 0, 0, 1, 1}), (Plane{1, 0, 255, 255, 1}));
  EXPECT_EQ(middle_row({0, 1, 1, 1}), (Plane{255, 255, 255, 1}));
  // First two set: left = 0; the last run has no falling edge, right = 1.
  EXPECT_EQ(middle_row({1, 1, 0, 0, 1}), (Plane{255, 255, 0, 0, 1}));
  // No falling edge at all: right = -1 < left, nothing filled.
  EXPECT_EQ(middle_row({0, 0, 0, 1}), (Plane{0, 0, 0, 1}));
}

TEST(ImageFill, ColumnEdgeRules) {
  // Column 1: rows 0 and 1 set -> top = 1, row 0 cleared after the row fill.
  // Column 2: only the last row set -> top = 2, bottom = -1: whole column cleared.
  const Plane in = {0, 1, 0,  //
                    0, 1, 0,  //
                    0, 0, 0,  //
                    0, 0, 1};
  const Plane want = {255, 0,   0,  //
                      255, 255, 0,  //
                      0,   0,   0,  //
                      0,   0,   0};
  EXPECT_EQ(fill(in, 4, 3), want);
  // Column 0, rows 1-3 set: the last two rows set give bottom = rows - 1, so
  // nothing is cleared below; the rows have no rising edge (left = -1) and
  // stay as they are.
  const Plane in2 = {0, 0, 0,  //
                     1, 0, 0,  //
                     1, 0, 0,  //
                     1, 0, 0};
  EXPECT_EQ(fill(in2, 4, 3), in2);
}

TEST(ImageFill, RandomOutlinesMatchModel) {
  std::mt19937 rng(99);
  for (int iter = 0; iter < 400; ++iter) {
    const int rows = qlsbp_test::random_int(rng, 2, 24), cols = qlsbp_test::random_int(rng, 2, 24);
    const int density = qlsbp_test::random_int(rng, 1, 9);
    Plane img(static_cast<size_t>(rows) * cols);
    for (auto& p : img) p = qlsbp_test::random_int(rng, 0, 9) < density ? (rng() & 0xff) | 1 : 0;
    ASSERT_EQ(fill(img, rows, cols), model_fill(img, rows, cols)) << rows << "x" << cols;
  }
}

// Fewer than two rows or columns: no pixel pairs, the mask is left as is.
TEST(ImageFill, TooSmallIsLeftAlone) {
  const Plane img = {0, 1, 1, 0, 1};
  EXPECT_EQ(fill(img, 1, 5), img);
  EXPECT_EQ(fill(img, 5, 1), img);
  EXPECT_EQ(fill(img, 0, 5), img);
  EXPECT_EQ(fill(img, INT_MIN, 1), img);
}
