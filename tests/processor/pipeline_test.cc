// The frame pipeline against the plain model, and the state it keeps between
// frames: mask cache, task refresh rule, frame counter, refusals.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>
#include <vector>

#include "common/test_util.h"
#include "pipeline_model.h"
#include "qlsbp/sb_data.h"

namespace {

using model::dense_bytes;
using Fields = std::tuple<int, int, int, int>;

SBFrameParam params(int cy, int cx, int a, int b, int level, int band) {
  return SBFrameParam{cy, cx, a, b, level, band, 0, 1, 1, 21, 0};
}

int* fields(SBFrameParam* p) { return &p->focusRow; }

TEST(Pipeline, MatchesModelForEveryLayout) {
  struct Case {
    int format, rows, cols, cy, cx, a, b, level, band;
    float sigma;
  };
  const Case cases[] = {
      {2, 480, 640, 240, 320, 120, 160, 5, 27, 1.8f}, {3, 480, 640, 100, 500, 80, 60, 7, 9, 3.2f},
      {4, 480, 640, 300, 200, 200, 100, 1, 90, 0.7f}, {2, 64, 96, 10, 90, 20, 30, 3, 3, 1.2f},
      {3, 46, 58, 40, 2, 10, 12, 2, 0, 1.0f},          {4, 50, 34, -5, 17, 25, 17, 6, 5, 2.2f},
      {2, 2, 2, 0, 0, 1, 1, 4, 0, 1.5f},               {4, 6, 6, 3, 3, 3, 3, 7, 0, 3.2f},
  };
  uint32_t seed = 1;
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "format " << c.format << " " << c.cols << "x" << c.rows);
    const auto in = qlsbp_test::random_bytes(dense_bytes(c.format, c.rows, c.cols), seed++);
    std::vector<uint8_t> frame = in;
    SBData d(c.rows, c.cols);
    SBFrameParam p = params(c.cy, c.cx, c.a, c.b, c.level, c.band);
    ASSERT_EQ(0, d.DataProcessor(frame.data(), frame.data(), c.rows, c.cols, c.cols, c.format,
                                 fields(&p), c.sigma));
    const auto want =
        model::process_frame(in, c.format, c.rows, c.cols, c.cy, c.cx, c.a, c.b, c.band, c.sigma);
    EXPECT_TRUE(want == frame);
  }
}

TEST(Pipeline, TaskRecordsFollowTheLayout) {
  SBData d(480, 640);
  std::vector<uint8_t> f(dense_bytes(4, 480, 640));
  SBFrameParam p = params(240, 320, 100, 100, 5, 27);
  ASSERT_EQ(0, d.DataProcessor(f.data(), f.data(), 480, 640, 1280, 4, fields(&p), 1.8f));
  const SBPlaneTask& t = d.task[1];
  EXPECT_EQ(Fields(480, 320, 5, 2), Fields(t.planeRows, t.planeCols, t.radiusRows, t.radiusCols));
  EXPECT_EQ(std::make_pair(460800L, 460800L),
            std::make_pair(long(d.task[2].src - d.planarIn), long(d.task[2].dst - d.planarOut)));

  SBData e(480, 640);
  SBFrameParam q = params(240, 320, 100, 100, 1, 27);
  ASSERT_EQ(0, e.DataProcessor(f.data(), f.data(), 480, 640, 640, 2, fields(&q), 0.7f));
  // Level 1 gives chroma radius 0.
  EXPECT_EQ(Fields(240, 320, 0, 384000), Fields(e.task[2].planeRows, e.task[2].planeCols,
                                                e.task[2].radiusRows, int(e.task[2].src - e.planarIn)));
  EXPECT_EQ(1, e.task[0].radiusRows);
  EXPECT_FLOAT_EQ(0.7f, e.task[0].factor);
}

// The mask is rebuilt only when its geometry, its band or forceRebuild say so:
// a planted all-sharp mask survives a frame with the same parameters.
TEST(Pipeline, MaskIsCachedUntilItsParametersChange) {
  const int rows = 48, cols = 64;
  SBData d(rows, cols);
  const auto in = qlsbp_test::random_bytes(dense_bytes(2, rows, cols), 9);
  auto run = [&](SBFrameParam p) {
    std::vector<uint8_t> f = in;
    EXPECT_EQ(0, d.DataProcessor(f.data(), f.data(), rows, cols, cols, 2, fields(&p), 2.2f));
    return f;
  };
  const SBFrameParam base = params(24, 32, 10, 12, 6, 4);
  const auto first = run(base);
  auto plant_sharp = [&] {
    for (int i = 0; i < rows * cols; ++i) d.maskFull[i] = d.maskChroma[i] = 1024;
  };

  plant_sharp();
  EXPECT_EQ(in, run(base)) << "same parameters must reuse the cached mask";

  SBFrameParam band = base;
  band.bandWidth = 5;
  plant_sharp();
  EXPECT_NE(in, run(band)) << "a new band width rebuilds the mask";

  plant_sharp();
  SBFrameParam forced = band;
  forced.forceRebuild = 1;
  EXPECT_NE(in, run(forced));

  plant_sharp();
  SBFrameParam moved = band;
  moved.focusRow = 23;
  EXPECT_NE(in, run(moved));

  // Back to the first parameters: same pixels as the first frame.
  EXPECT_EQ(first, run(base));
}

// Records refresh when the cached level differs from the focus column: with
// focus column 3 after a level-3 frame they keep the old level's factor.
TEST(Pipeline, TaskRefreshComparesCachedLevelWithFocusColumn) {
  const int rows = 64, cols = 64;
  const auto in = qlsbp_test::random_bytes(dense_bytes(2, rows, cols), 21);
  SBData d(rows, cols);
  std::vector<uint8_t> f = in;
  SBFrameParam p1 = params(32, 40, 16, 16, 3, 2);
  ASSERT_EQ(0, d.DataProcessor(f.data(), f.data(), rows, cols, cols, 2, fields(&p1), 1.2f));
  EXPECT_EQ(3, d.cachedLevel);

  f = in;
  SBFrameParam p2 = params(32, 3, 16, 16, 7, 2);
  ASSERT_EQ(0, d.DataProcessor(f.data(), f.data(), rows, cols, cols, 2, fields(&p2), 3.2f));
  EXPECT_EQ(3, d.cachedLevel);
  EXPECT_FLOAT_EQ(1.2f, d.task[0].factor);
  EXPECT_EQ(3, d.task[0].level);
  EXPECT_EQ(model::process_frame(in, 2, rows, cols, 32, 3, 16, 16, 2, 1.2f), f);

  // Any other column refreshes again.
  f = in;
  SBFrameParam p3 = params(32, 4, 16, 16, 7, 2);
  ASSERT_EQ(0, d.DataProcessor(f.data(), f.data(), rows, cols, cols, 2, fields(&p3), 3.2f));
  EXPECT_EQ(7, d.cachedLevel);
  EXPECT_FLOAT_EQ(3.2f, d.task[2].factor);
}

TEST(Pipeline, FrameCounterWrapsAfter256Frames) {
  SBData d(8, 8);
  std::vector<uint8_t> f(dense_bytes(2, 8, 8), 5);
  for (int i = 0; i < 256; ++i) {
    SBFrameParam p = params(4, 4, 2, 2, 2, 0);
    d.DataProcessor(f.data(), f.data(), 8, 8, 8, 2, fields(&p), 1.0f);
    if (i == 0) {
      EXPECT_EQ(1, d.frameCount);
    }
  }
  EXPECT_EQ(0, d.frameCount);
}

TEST(Pipeline, RefusesWhatItCannotProcess) {
  const int rows = 16, cols = 16;
  const auto in = qlsbp_test::random_bytes(dense_bytes(4, rows, cols), 3);
  std::vector<uint8_t> dst(in.size(), 0xAB);
  std::vector<uint8_t> src = in;

  SBData d(rows, cols);
  SBFrameParam p = params(8, 8, 4, 4, 3, 0);
  // Unknown layout: nothing copied, nothing written.
  EXPECT_EQ(-1, d.DataProcessor(dst.data(), src.data(), rows, cols, cols, 5, fields(&p), 1.2f));
  EXPECT_EQ(std::vector<uint8_t>(in.size(), 0xAB), dst);
  EXPECT_EQ(-1, d.DataProcessor(dst.data(), src.data(), rows, cols, cols, 2, nullptr, 1.2f));

  // Level below 1 with separate buffers: copied, not processed.
  SBFrameParam idle = params(8, 8, 4, 4, 0, 0);
  EXPECT_EQ(0, d.DataProcessor(dst.data(), src.data(), rows, cols, cols, 4, fields(&idle), 1.2f));
  EXPECT_EQ(in, dst);

  // A frame of another size releases the processor; later frames are refused.
  EXPECT_EQ(-1, d.DataProcessor(dst.data(), src.data(), rows, cols + 2, cols, 4, fields(&p), 1.2f));
  EXPECT_EQ(nullptr, d.memBase);
  EXPECT_EQ(nullptr, d.memInfo);
  EXPECT_EQ(-1, d.DataProcessor(dst.data(), src.data(), rows, cols, cols, 4, fields(&p), 1.2f));
  d.DataFree();  // twice is harmless
  EXPECT_EQ(in, src);

  // Odd sizes are the entry point's business.
  SBData odd(15, 16);
  std::vector<uint8_t> o(dense_bytes(2, 15, 16), 1);
  EXPECT_EQ(-1, odd.DataProcessor(o.data(), o.data(), 15, 16, 16, 2, fields(&p), 1.2f));
}

TEST(Pipeline, BoxMethodGivesTheClippedWindowMean) {
  // Full resolution box blur with everything outside the focus: every pixel
  // is the mean over its window as counted by the range table.
  const int rows = 24, cols = 32, level = 2;
  const auto in = qlsbp_test::random_bytes(dense_bytes(4, rows, cols), 17);
  std::vector<uint8_t> f = in;
  SBData d(rows, cols);
  SBFrameParam p{-100, -100, 1, 1, level, 1, 0, 0, 0, 21, 0};
  ASSERT_EQ(0, d.DataProcessor(f.data(), f.data(), rows, cols, 2 * cols, 4, &p.focusRow, 1.0f));
  // Luma sits at the even bytes of packed 4:2:2. The window covers level rows
  // and columns each way, clipped; the divisor ignores the far border only
  // near the top and left edges, which a 24 x 32 plane does not reach.
  const size_t blocks = static_cast<size_t>(rows) * cols / 8 * 8;
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < cols; ++x) {
      if (static_cast<size_t>(y) * cols + x >= blocks) continue;
      unsigned sum = 0, count = 0;
      for (int yy = std::max(0, y - level); yy <= std::min(rows - 1, y + level); ++yy)
        for (int xx = std::max(0, x - level); xx <= std::min(cols - 1, x + level); ++xx) {
          sum += in[static_cast<size_t>(yy) * cols * 2 + 2 * xx];
          ++count;
        }
      ASSERT_EQ(sum / count, f[static_cast<size_t>(y) * cols * 2 + 2 * x]) << y << "," << x;
    }
}

}  // namespace
