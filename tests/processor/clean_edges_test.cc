// Frames whose focus region crosses a border, processed with the clean mask:
// every pixel inside the inner ellipse (decided from the ellipse inequality,
// not from the mask) must come out as its sharp input, in every plane of
// every layout. The exact mask, on the same frames, is shown to lose some of
// them at the side borders, which is why the clean one exists. Sessions with
// clean_edges = 1 take this path.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "common/test_util.h"
#include "engine/reference/reference_engine.h"
#include "pipeline_model.h"
#include "processor/frame_state.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/mask.h"
#include "qlsbp/sb_data.h"
#include "threads/executor.h"

namespace {

// Sizes whose planes all end in a partial block of eight (17700 luma, 4425
// or 8850 chroma pixels), which the blend leaves blurred on purpose.
const int kRows = 118, kCols = 150;
const int kBand = 9;

struct Focus {
  int cy, cx, a, b;
};

using model::dense_bytes;

// The frame through the processor; *mask (if given) receives its luma mask.
std::vector<uint8_t> process(const std::vector<uint8_t>& in, int format, const Focus& f,
                             MaskBuilder builder, std::vector<uint16_t>* mask = nullptr) {
  std::vector<uint8_t> frame = in;
  SBData d(kRows, kCols);
  SBFrameParam p{f.cy, f.cx, f.a, f.b, 7, kBand, 0, 1, 1, 21, 0};
  const FrameStep step = frame_state_update(&d, frame.data(), frame.data(), kRows, kCols, format,
                                            &p.focusRow, 3.2f, builder);
  EXPECT_EQ(kFrameRunEngine, step);
  qlsbp::SerialExecutor serial;
  reference_engine_run(&d, frame.data(), format, serial);
  if (mask != nullptr) mask->assign(d.maskFull, d.maskFull + kRows * kCols);
  return frame;
}

bool inside(const Focus& f, int r, int x) {
  const double dy = double(f.cy) - r, dx = double(f.cx) - x;
  return dy * dy / (double(f.a) * f.a) + dx * dx / (double(f.b) * f.b) < 1.0 - 1e-9;
}

// One sample of one plane: where it sits in the dense frame, its index in
// its plane, and the luma position whose mask weight it is blended with.
struct Sample {
  size_t offset;
  int index, plane_size, r, x;
};

std::vector<Sample> samples(int format) {
  std::vector<Sample> s;
  const int n = kRows * kCols, ch = format == 4 ? kRows : kRows / 2, cw = kCols / 2;
  const int step = format == 4 ? 1 : 2;
  for (int r = 0; r < kRows; ++r)
    for (int x = 0; x < kCols; ++x) {
      const int i = r * kCols + x;
      s.push_back({format == 4 ? size_t(2 * i) : size_t(i), i, n, r, x});
    }
  for (int i = 0; i < ch; ++i)
    for (int k = 0; k < cw; ++k) {
      const int j = i * cw + k;
      for (int c = 0; c < 2; ++c) {
        size_t at = 0;
        if (format == 2) at = n + size_t(i) * kCols + 2 * k + c;
        if (format == 3) at = n + size_t(c) * (ch * cw) + j;
        if (format == 4) at = size_t(4) * j + 1 + 2 * c;
        s.push_back({at, j, ch * cw, i * step, 2 * k});
      }
    }
  return s;
}

// Samples inside the inner ellipse (or, given a mask, of weight 1024) that
// did not keep their input, outside each plane's tail that the blend leaves
// alone.
int lost_inside(const std::vector<uint8_t>& in, const std::vector<uint8_t>& out, int format,
                const Focus& f, const std::vector<uint16_t>* mask = nullptr) {
  int lost = 0;
  for (const Sample& s : samples(format)) {
    if (s.index >= s.plane_size - s.plane_size % 8) continue;
    const bool sharp = mask != nullptr ? (*mask)[size_t(s.r) * kCols + s.x] == 1024
                                       : inside(f, s.r, s.x);
    if (!sharp) continue;
    lost += in[s.offset] != out[s.offset];
  }
  return lost;
}

const Focus kLeft{59, 0, 40, 50}, kRight{59, kCols - 1, 40, 50}, kTop{0, 75, 40, 50},
    kBottom{kRows - 1, 75, 40, 50}, kCorner{3, 2, 50, 60};

}  // namespace

TEST(CleanEdges, SharpRegionKeptAcrossEveryBorderInEveryLayout) {
  uint32_t seed = 3;
  for (int format : {2, 3, 4}) {
    const auto in = qlsbp_test::random_bytes(dense_bytes(format, kRows, kCols), seed++);
    for (const Focus& f : {kLeft, kRight, kTop, kBottom, kCorner}) {
      SCOPED_TRACE(testing::Message() << "format " << format << " focus " << f.cy << "," << f.cx);
      std::vector<uint16_t> mask;
      const auto out = process(in, format, f, gen_ellipse4_clean, &mask);
      EXPECT_EQ(0, lost_inside(in, out, format, f));
      EXPECT_EQ(0, lost_inside(in, out, format, f, &mask));
      EXPECT_NE(in, out);  // the rest was blurred
    }
  }
}

TEST(CleanEdges, ExactMaskLosesSharpPixelsAtTheSideBorders) {
  const auto in = qlsbp_test::random_bytes(dense_bytes(2, kRows, kCols), 9);
  // Left: the shifted edge values leave a curve of zero weights inside;
  // right: the last column gets weights far above 1024.
  EXPECT_GT(lost_inside(in, process(in, 2, kLeft, gen_ellipse4), 2, kLeft), 0);
  EXPECT_GT(lost_inside(in, process(in, 2, kRight, gen_ellipse4), 2, kRight), 0);
}

TEST(CleanEdges, SessionOptionSelectsTheMask) {
  const int width = kCols, height = kRows;
  const auto in = qlsbp_test::random_bytes(dense_bytes(2, height, width), 21);
  QL_BokehParam param{kLeft.cy, kLeft.cx, kLeft.a, kLeft.b, 7, 1};
  // strength 1 on a 118-row frame gives the band of 118 / 50 = 2 pixels.
  std::vector<uint8_t> results[2];
  for (int clean : {0, 1}) {
    SCOPED_TRACE(testing::Message() << "clean_edges " << clean);
    qlsbp_session_options options;
    qlsbp_session_options_init(&options);
    options.clean_edges = clean;
    std::vector<uint8_t> frame = in;
    QL_IMAGEINFO image{};
    image.format = 2;
    image.width = width;
    image.height = height;
    image.plane[0] = frame.data();
    image.plane[1] = frame.data() + size_t(width) * height;
    image.stride[0] = image.stride[1] = width;
    qlsbp_session* s = nullptr;
    ASSERT_EQ(QLSBP_OK, qlsbp_session_open(&s, &image, &options));
    ASSERT_EQ(QLSBP_OK, qlsbp_session_process(s, &image, &param));
    qlsbp_session_close(s);
    // The same frame through the processor with the mask the option names.
    std::vector<uint8_t> want = in;
    SBData d(height, width);
    SBFrameParam fp{kLeft.cy, kLeft.cx, kLeft.a, kLeft.b, 7, 2, 0, 1, 1, 21, 0};
    ASSERT_EQ(kFrameRunEngine,
              frame_state_update(&d, want.data(), want.data(), height, width, 2, &fp.focusRow,
                                 3.2f, clean ? gen_ellipse4_clean : gen_ellipse4));
    qlsbp::SerialExecutor serial;
    reference_engine_run(&d, want.data(), 2, serial);
    EXPECT_EQ(want, frame);
    results[clean] = frame;
  }
  EXPECT_NE(results[0], results[1]);
}
