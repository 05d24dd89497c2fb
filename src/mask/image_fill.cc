// image_fill: fills an outline mask between its row edges, then clears each
// column outside its column edges.
//
// The edge rules are asymmetric on purpose and kept exactly: a row's left edge
// is the clear pixel in front of its first run, its right edge the last pixel
// of its last run; the "both border pixels set" shortcuts give 0 and cols - 2
// for rows but 1 and rows - 1 for columns. Edges are found on the input mask
// before anything is written.
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "qlsbp/mask.h"

static void find_row_edges(int* left, int* right, const unsigned char* img, int rows, int cols) {
  for (int i = 0; i < rows; ++i) {
    const unsigned char* p = img + static_cast<size_t>(i) * static_cast<size_t>(cols);
    int l = -1;
    if (p[0] && p[1]) {
      l = 0;
    } else {
      for (int j = 0; j + 1 < cols; ++j) {
        if (!p[j] && p[j + 1]) {
          l = j;
          break;
        }
      }
    }
    int rgt = -1;
    if (p[cols - 2] && p[cols - 1]) {
      rgt = cols - 2;
    } else {
      for (int j = cols - 2; j >= 0; --j) {
        if (p[j] && !p[j + 1]) {
          rgt = j;
          break;
        }
      }
    }
    left[i] = l;
    right[i] = rgt;
  }
}

// Column edges, scanned row by row so that every pass reads whole rows.
static void find_column_edges(int* top, int* bottom, const unsigned char* img, int rows, int cols) {
  const size_t stride = static_cast<size_t>(cols);
  const unsigned char* first = img;
  const unsigned char* second = img + stride;
  const unsigned char* last = img + static_cast<size_t>(rows - 1) * stride;
  const unsigned char* before_last = last - stride;
  for (int j = 0; j < cols; ++j) {
    top[j] = (first[j] && second[j]) ? 1 : -1;
    bottom[j] = (before_last[j] && last[j]) ? rows - 1 : -1;
  }
  // A found edge is >= 0, so -1 doubles as "still searching"; a shortcut edge
  // is never overwritten.
  for (int i = 0; i + 1 < rows; ++i) {
    const unsigned char* p = img + static_cast<size_t>(i) * stride;
    const unsigned char* q = p + stride;
    for (int j = 0; j < cols; ++j) {
      if (top[j] == -1 && !p[j] && q[j]) top[j] = i;
    }
  }
  for (int i = rows - 2; i >= 0; --i) {
    const unsigned char* p = img + static_cast<size_t>(i) * stride;
    const unsigned char* q = p + stride;
    for (int j = 0; j < cols; ++j) {
      if (bottom[j] == -1 && p[j] && !q[j]) bottom[j] = i;
    }
  }
}

static void fill_rows(unsigned char* img, const int* left, const int* right, int rows, int cols) {
  for (int i = 0; i < rows; ++i) {
    if (left[i] == -1 || left[i] > right[i]) continue;
    unsigned char* p = img + static_cast<size_t>(i) * static_cast<size_t>(cols);
    memset(p + left[i], 255, static_cast<size_t>(right[i] - left[i] + 1));
  }
}

static void clear_columns(unsigned char* img, const int* top, const int* bottom, int rows,
                          int cols) {
  const size_t stride = static_cast<size_t>(cols);
  for (int i = 0; i < rows; ++i) {
    unsigned char* p = img + static_cast<size_t>(i) * stride;
    for (int j = 0; j < cols; ++j) {
      if (top[j] == -1) continue;  // no top edge: the column is left alone
      if (i < top[j] || i > bottom[j]) p[j] = 0;
    }
  }
}

void image_fill(unsigned char* img, int rows, int cols) {
  if (rows < 2 || cols < 2) return;
  int* left = static_cast<int*>(calloc(static_cast<size_t>(rows), sizeof(int)));
  int* right = static_cast<int*>(calloc(static_cast<size_t>(rows), sizeof(int)));
  int* top = static_cast<int*>(calloc(static_cast<size_t>(cols), sizeof(int)));
  int* bottom = static_cast<int*>(calloc(static_cast<size_t>(cols), sizeof(int)));
  if (left && right && top && bottom) {
    find_row_edges(left, right, img, rows, cols);
    find_column_edges(top, bottom, img, rows, cols);
    fill_rows(img, left, right, rows, cols);
    clear_columns(img, top, bottom, rows, cols);
  }
  free(left);
  free(right);
  free(top);
  free(bottom);
}
