// Whole frames through the host API, as a camera would hand them (strided
// planes in their own heap blocks): every small size, and the preview size
// at every level.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "common/frames.h"
#include "pipeline_model.h"
#include "ql_single_bokeh_preview.h"

namespace {

using qlsbp_test::TestFrame;

void process_once(TestFrame& f, QL_BokehParam p) {
  ASSERT_EQ(0, sb_top_pv_initial(&f.info));
  ASSERT_EQ(0, sb_top_pv_processer(&f.info, &p));
  ASSERT_EQ(0, sb_top_pv_deinit());
}

TEST(EntrySweep, EverySmallFrameStaysInsideItsPlanes) {
  std::vector<std::pair<int, int>> sizes;
  for (int s = 1; s <= 64; ++s) sizes.push_back({s, s});
  for (int w = 1; w <= 9; ++w)
    for (int h = 1; h <= 9; ++h) sizes.push_back({w, h});
  for (auto wh : {std::pair<int, int>{63, 17}, {17, 63}, {101, 51}, {50, 49}, {3, 64}})
    sizes.push_back(wh);
  uint32_t seed = 100;
  for (int format : {2, 3, 4}) {
    for (auto [w, h] : sizes) {
      SCOPED_TRACE(testing::Message() << "format " << format << " " << w << "x" << h);
      TestFrame f(format, w, h, (w + h) % 3 == 0 ? 0 : 5, seed++);
      const TestFrame frame_before = f;
      const auto& before = frame_before.planes;
      process_once(f, QL_BokehParam{h / 2, w / 2, h / 4, w / 4, 1 + (w + h) % 7, 1 + w % 10});
      EXPECT_TRUE(f.padding_as(frame_before));
      // The odd last row and column are left as they came.
      if (format != 4 && (w & 1)) {
        for (int r = 0; r < h; ++r)
          ASSERT_EQ(before[0][static_cast<size_t>(r) * f.info.stride[0] + w - 1],
                    f.planes[0][static_cast<size_t>(r) * f.info.stride[0] + w - 1]);
      }
      if (h & 1) {
        const size_t last = static_cast<size_t>(h - 1) * f.info.stride[0];
        ASSERT_TRUE(std::equal(before[0].begin() + last, before[0].end(), f.planes[0].begin() + last));
      }
      if (w < 2 || h < 2) {
        EXPECT_EQ(before, f.planes);
      }
    }
  }
}

TEST(EntrySweep, PreviewFramesKeepTheFocusAndBlurTheRest) {
  const int w = 640, h = 480;
  const float factors[8] = {0.0f, 0.7f, 1.0f, 1.2f, 1.5f, 1.8f, 2.2f, 3.2f};
  for (int format : {2, 3, 4}) {
    for (int level = 1; level <= 7; ++level) {
      SCOPED_TRACE(testing::Message() << "format " << format << " level " << level);
      TestFrame f(format, w, h, 64, 7 * level + format);
      const TestFrame before = f;
      const auto in = f.dense();
      process_once(f, QL_BokehParam{240, 320, 120, 160, level, 3});
      EXPECT_TRUE(f.padding_as(before));
      const auto out = f.dense();
      // Band: strength 3 x (480 / 50) = 27 pixels.
      EXPECT_EQ(model::process_frame(in, format, h, w, 240, 320, 120, 160, 27, factors[level]), out);
      const size_t centre = format == 4 ? (240u * w + 320) * 2 : 240u * w + 320;
      EXPECT_EQ(in[centre], out[centre]);
      size_t changed = 0;
      for (int x = 0; x < 40; ++x) {
        const size_t corner = format == 4 ? (10u * w + x) * 2 : 10u * w + x;
        changed += in[corner] != out[corner];
      }
      EXPECT_GT(changed, 30u) << "the far background must be blurred";
    }
  }
}

TEST(EntrySweep, OneSessionReusesItsStateAcrossFrames) {
  // The same frame twice in one session gives the same pixels both times,
  // and the same as a fresh session: nothing of frame one leaks into two.
  const int w = 96, h = 64;
  TestFrame a(2, w, h, 8, 5), b(2, w, h, 8, 5), c(2, w, h, 8, 5);
  QL_BokehParam p{30, 50, 20, 30, 4, 2}, other{10, 10, 5, 5, 7, 10};
  ASSERT_EQ(0, sb_top_pv_initial(&a.info));
  ASSERT_EQ(0, sb_top_pv_processer(&a.info, &p));
  ASSERT_EQ(0, sb_top_pv_processer(&b.info, &p));
  ASSERT_EQ(0, sb_top_pv_processer(&c.info, &other));
  ASSERT_EQ(0, sb_top_pv_deinit());
  EXPECT_EQ(a.planes, b.planes);
  TestFrame fresh(2, w, h, 8, 5);
  process_once(fresh, p);
  EXPECT_EQ(a.planes, fresh.planes);
  EXPECT_NE(a.planes, c.planes);
}

}  // namespace
