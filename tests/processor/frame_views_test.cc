// The per-frame arena views of the three plane tasks, and the focus clamp at
// its boundary.
#include <gtest/gtest.h>

#include <pthread.h>

#include <climits>
#include <tuple>
#include <vector>

#include "common/test_util.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/gaussian.h"
#include "qlsbp/sb_data.h"

namespace {

int* params(SBFrameParam* p) { return reinterpret_cast<int*>(p); }
using Fields = std::tuple<int, int, int, int>;

SBFrameParam preview_param(int focus_row, int focus_col) {
  SBFrameParam p{};
  p.focusRow = focus_row, p.focusCol = focus_col, p.axisRows = 100, p.axisCols = 140;
  p.level = 5, p.bandWidth = 27, p.useGaussian = 1, p.blurOption = 1, p.kernelSize = 21;
  return p;
}

// Each frame the luma task's view starts where the carved blocks end (U), the
// first chroma task's at trunc(U + 1.5 N), the second's N / 2 further; each
// task's 21-tap filter on its half plane then takes exactly h x w + 2 x 21
// ints + 14 handles + 14 records from its own view. The three spans are
// disjoint and inside the arena.
TEST(FrameViews, PreviewSizesStartAtTheDocumentedOffsets) {
  const unsigned per_filter = 2 * 21 * sizeof(int) + 14 * sizeof(pthread_t) + 14 * sizeof(GaussianThreadArg);
  struct Case {
    int format, rows, cols, chroma_rows, chroma_cols;
  };
  for (const Case& c : {Case{2, 480, 640, 240, 320}, Case{3, 480, 640, 240, 320}, Case{4, 480, 640, 480, 320},
                        Case{2, 720, 1280, 360, 640}, Case{4, 240, 320, 240, 160}}) {
    SBData d(c.rows, c.cols);
    ASSERT_NE(nullptr, d.memInfo);
    const unsigned n = static_cast<unsigned>(c.rows * c.cols);
    const size_t bytes = c.format == 4 ? 2 * size_t(n) : 3 * size_t(n) / 2;
    std::vector<uint8_t> frame = qlsbp_test::random_bytes(bytes, n);
    for (int round = 0; round < 2; ++round) {  // the views restart every frame
      SBFrameParam p = preview_param(c.rows / 2, c.cols / 2 + round);
      ASSERT_EQ(0, d.DataProcessor(frame.data(), frame.data(), c.rows, c.cols, c.cols, c.format, params(&p), 1.5f));
      const unsigned u = d.memInfo->used;
      const unsigned start[3] = {u, u + n + n / 2, u + n + n / 2 + n / 2};
      const unsigned half_luma = (c.rows / 2) * (c.cols / 2);
      const unsigned half_chroma = (c.chroma_rows / 2) * (c.chroma_cols / 2);
      const unsigned taken[3] = {half_luma + per_filter, half_chroma + per_filter, half_chroma + per_filter};
      for (int k = 0; k < 3; ++k) {
        const QLMemInfoT* v = d.task[k].mem;
        EXPECT_EQ(d.memInfo->base, v->base) << k;
        EXPECT_EQ(d.memInfo->capacity, v->capacity) << k;
        EXPECT_EQ(start[k] + taken[k], v->used) << "task " << k << ", " << c.cols << "x" << c.rows << " code "
                                                << c.format;
        if (k < 2) {
          EXPECT_LE(v->used, start[k + 1]) << k;
        }
        EXPECT_LE(v->used, v->capacity) << k;
      }
    }
  }
}

// The clamp works on the caller's record in place. focusRow equal to the
// height and focusCol equal to the width are the first values it catches:
// they become height - 1 and width - 1, and one below stays; axes become at
// most half the size; negative values pass unchanged. A flat frame stays
// flat whatever the mask does.
TEST(FocusClamp, TheFrameSizeItselfIsClampedToTheLastRowAndColumn) {
  const Fields cases[][2] = {
      {{48, 64, 24, 32}, {47, 63, 24, 32}},     {{47, 63, 25, 33}, {47, 63, 24, 32}},
      {{5000, 9000, 400, 700}, {47, 63, 24, 32}}, {{-3, -4, -5, -6}, {-3, -4, -5, -6}},
  };
  SBData d(48, 64);
  std::vector<uint8_t> frame(48 * 64 * 3 / 2, 77);
  for (const auto& c : cases) {
    SBFrameParam p = preview_param(std::get<0>(c[0]), std::get<1>(c[0]));
    std::tie(std::ignore, std::ignore, p.axisRows, p.axisCols) = c[0];
    ASSERT_EQ(0, d.DataProcessor(frame.data(), frame.data(), 48, 64, 64, 2, params(&p), 1.5f));
    EXPECT_EQ(c[1], Fields(p.focusRow, p.focusCol, p.axisRows, p.axisCols)) << std::get<0>(c[0]);
  }
  EXPECT_EQ(std::vector<uint8_t>(frame.size(), 77), frame);
}

// Through the host API: a focus at (height, width) gives the same bytes as
// one at (height - 1, width - 1).
TEST(FocusClamp, HostFramesAtTheBoundaryMatchTheLastRowAndColumn) {
  const int w = 96, h = 64;
  const std::vector<uint8_t> input = qlsbp_test::random_bytes(w * h * 3 / 2, 8);
  std::vector<uint8_t> out[2];
  const QL_BokehParam params_at[2] = {{h, w, 20, 30, 4, 3}, {h - 1, w - 1, 20, 30, 4, 3}};
  for (int i = 0; i < 2; ++i) {
    out[i] = input;
    QL_IMAGEINFO img{};
    img.format = 2, img.width = w, img.height = h;
    img.plane[0] = out[i].data(), img.plane[1] = out[i].data() + w * h;
    img.stride[0] = img.stride[1] = w;
    sb_top_pv_initial(&img);
    QL_BokehParam p = params_at[i];
    sb_top_pv_processer(&img, &p);
    sb_top_pv_deinit();
  }
  EXPECT_NE(input, out[0]);
  EXPECT_EQ(out[1], out[0]);
}

// The box method with levels near INT_MAX: every window covers the whole
// plane, so each pixel of a plane outside the focus becomes the plane's mean
// over the count table; before the radii were bounded, y + radius wrapped
// and the box read far outside the integral image.
TEST(BoxMethod, LevelsNearIntMaxStayInsideThePlanes) {
  for (int format : {2, 3, 4}) {
    SBData d(32, 48);
    const size_t bytes = format == 4 ? 2 * 32 * 48 : 32 * 48 * 3 / 2;
    std::vector<uint8_t> frame(bytes, 77), out(bytes, 0);
    for (int level : {INT_MAX, INT_MAX - 1, INT_MAX / 2 + 1}) {
      SBFrameParam p = preview_param(0, 0);
      p.axisRows = p.axisCols = 0, p.bandWidth = 0;
      p.level = level, p.useGaussian = 0, p.blurOption = 0;
      ASSERT_EQ(0, d.DataProcessor(out.data(), frame.data(), 32, 48, 48, format, params(&p), 1.5f));
    }
  }
}

}  // namespace
