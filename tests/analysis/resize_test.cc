// General resize: hand-worked tables and pixels, and table properties
// against a double-precision position model.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/analysis.h"

namespace {

struct Tables {
  std::vector<int> col_index, col_frac, row_index, row_frac;
  Tables(int dst_w, int dst_h)
      : col_index(dst_w), col_frac(dst_w), row_index(dst_h), row_frac(dst_h) {}
};

Tables build(int dst_w, int dst_h, int src_w, int src_h) {
  Tables t(dst_w, dst_h);
  EXPECT_EQ(build_scaling_rate(t.col_index.data(), t.col_frac.data(), t.row_index.data(),
                               t.row_frac.data(), dst_w, dst_h, src_w, src_h),
            0);
  return t;
}

std::vector<uint8_t> resize_u8(const std::vector<uint8_t>& src_in, int src_w, int src_h, int dst_w,
                               int dst_h) {
  Tables t = build(dst_w, dst_h, src_w, src_h);
  std::vector<uint8_t> src = src_in;
  std::vector<uint8_t> dst(static_cast<size_t>(dst_w) * dst_h, 0xA5);
  EXPECT_EQ(image_u8_resize(dst.data(), dst_h, dst_w, t.row_index.data(), t.row_frac.data(),
                            t.col_index.data(), t.col_frac.data(), src.data(), src_h, src_w),
            0);
  return dst;
}

TEST(ResizeTables, HandWorkedDownscale) {
  // 4 -> 2: scale 4 / 1.5. Column 0 at 1.3333334 -> index 1, weight 85.
  // Column 1 lands exactly on 4.0: index clamps to 2, the weight stays 0.
  Tables t = build(2, 2, 4, 4);
  EXPECT_EQ(t.col_index, (std::vector<int>{1, 2}));
  EXPECT_EQ(t.col_frac, (std::vector<int>{85, 0}));
  EXPECT_EQ(t.row_index, t.col_index);
  EXPECT_EQ(t.row_frac, t.col_frac);
}

TEST(ResizeTables, HandWorkedUpscaleKeepsTheUnclampedWeight) {
  // 2 -> 3: scale 0.8. Positions 0.4, 1.2, 2.0: the last two clamp to index 0
  // but keep the weights of 1.2 and 2.0 (51 and 0), not 256.
  Tables t = build(3, 1, 2, 2);
  EXPECT_EQ(t.col_index, (std::vector<int>{0, 0, 0}));
  EXPECT_EQ(t.col_frac, (std::vector<int>{102, 51, 0}));
  EXPECT_EQ(t.row_index, (std::vector<int>{0}));
  // One row: scale 2 / 0.5, position 2.0, clamped to index 0 with weight 0.
  EXPECT_EQ(t.row_frac, (std::vector<int>{0}));
}

TEST(ResizeTables, FollowTheStretchedPosition) {
  std::mt19937 rng(3);
  for (int iter = 0; iter < 300; ++iter) {
    const int src = qlsbp_test::random_int(rng, 2, 700);
    const int dst = qlsbp_test::random_int(rng, 1, 700);
    Tables t = build(dst, 1, src, 2);
    const double scale = src / (dst - 0.5);
    for (int i = 0; i < dst; ++i) {
      const double pos = (i + 0.5) * scale;
      ASSERT_GE(t.col_index[i], 0);
      ASSERT_LE(t.col_index[i], src - 2);
      ASSERT_GE(t.col_frac[i], 0);
      ASSERT_LE(t.col_frac[i], 256);
      // The float position may differ from the double one by a few ulps;
      // index + weight / 256 (unclamped) must agree within one weight step.
      const int k = t.col_index[i] < src - 2 ? t.col_index[i] : static_cast<int>(pos);
      if (t.col_index[i] == src - 2 && std::fabs(pos - std::round(pos)) < 1e-3) continue;
      EXPECT_NEAR(k + t.col_frac[i] / 256.0, pos, 1.0 / 256 + 1e-4)
          << "src " << src << " dst " << dst << " i " << i;
    }
    // The last column always uses the last pair of source columns.
    EXPECT_EQ(t.col_index[dst - 1], src - 2) << src << " " << dst;
  }
}

TEST(ResizeTables, AbsurdSourceSizesAreRefused) {
  std::vector<int> ci(2, -9), cf(2, -9), ri(2, -9), rf(2, -9);
  EXPECT_EQ(build_scaling_rate(ci.data(), cf.data(), ri.data(), rf.data(), 2, 2, INT32_MAX, 4), 1);
  EXPECT_EQ(build_scaling_rate(ci.data(), cf.data(), ri.data(), rf.data(), 2, 2, 4, INT32_MIN), 1);
  EXPECT_EQ(build_scaling_rate(nullptr, cf.data(), ri.data(), rf.data(), 2, 2, 4, 4), 1);
  for (int v : ci) EXPECT_EQ(v, -9);
  for (int v : ri) EXPECT_EQ(v, -9);
  // An empty destination axis needs no table and no valid source side.
  EXPECT_EQ(build_scaling_rate(nullptr, nullptr, ri.data(), rf.data(), 0, 2, INT32_MAX, 4), 0);
  EXPECT_EQ(ri, (std::vector<int>{1, 2}));
}

TEST(ResizeU8, HandWorkedTruncatesTowardZero) {
  // 2 -> 3 columns with weights 102, 51, 0 at index 0 (see above).
  // Rising row 0 -> 200: 102 * 200 / 256 = 79.6 -> 79, 51 * 200 / 256 -> 39.
  // Falling row 200 -> 0: 200 + (-20400 / 256 = -79) = 121, 200 - 39 = 161.
  const std::vector<uint8_t> src = {0, 200, 200, 0};
  Tables t = build(3, 2, 2, 2);
  // Rows: 2 -> 2 gives positions 0.6667 (weight 171) and 2.0 (clamped, 0).
  EXPECT_EQ(t.row_index, (std::vector<int>{0, 0}));
  EXPECT_EQ(t.row_frac, (std::vector<int>{171, 0}));
  const std::vector<uint8_t> got = resize_u8(src, 2, 2, 3, 2);
  // Row 0: top = {79, 39, 0}, bottom = {121, 161, 200};
  // top + 171 * (bottom - top) / 256 = 79 + 28 = 107, 39 + 81 = 120, 0 + 133.
  EXPECT_EQ(got, (std::vector<uint8_t>{107, 120, 133, 79, 39, 0}));
}

TEST(ResizeU8, SameSizeIsAShiftedInterpolation) {
  // 4 -> 4: scale 4 / 3.5, positions 0.571, 1.714, 2.857, 4.0 -> weights
  // 146, 183, 219 and the clamped last column with weight 0.
  Tables t = build(4, 1, 4, 2);
  EXPECT_EQ(t.col_index, (std::vector<int>{0, 1, 2, 2}));
  EXPECT_EQ(t.col_frac, (std::vector<int>{146, 183, 219, 0}));
  const std::vector<uint8_t> ramp = {0, 64, 128, 192, 0, 64, 128, 192};
  const std::vector<uint8_t> got = resize_u8(ramp, 4, 2, 4, 2);
  EXPECT_EQ(got, (std::vector<uint8_t>{36, 109, 182, 128, 36, 109, 182, 128}));
}

TEST(ResizeU8, ConstantStaysConstant) {
  std::mt19937 rng(5);
  for (int iter = 0; iter < 40; ++iter) {
    const int sw = qlsbp_test::random_int(rng, 2, 40);
    const int sh = qlsbp_test::random_int(rng, 2, 40);
    const int dw = qlsbp_test::random_int(rng, 1, 60);
    const int dh = qlsbp_test::random_int(rng, 1, 60);
    const uint8_t value = static_cast<uint8_t>(qlsbp_test::random_int(rng, 0, 255));
    const std::vector<uint8_t> src(static_cast<size_t>(sw) * sh, value);
    for (uint8_t v : resize_u8(src, sw, sh, dw, dh)) ASSERT_EQ(v, value);
  }
}

TEST(ResizeU8, BadInputIsRefusedWithoutWriting) {
  Tables t = build(3, 3, 2, 2);
  std::vector<uint8_t> src(4, 50);
  std::vector<uint8_t> dst(9, 7);
  auto run = [&](int sh, int sw) {
    return image_u8_resize(dst.data(), 3, 3, t.row_index.data(), t.row_frac.data(),
                           t.col_index.data(), t.col_frac.data(), src.data(), sh, sw);
  };
  EXPECT_EQ(run(1, 2), 1);  // no lower neighbour
  EXPECT_EQ(run(2, 1), 1);  // no right neighbour
  t.col_index[2] = 1;       // would read past the row
  EXPECT_EQ(run(2, 2), 1);
  t.col_index[2] = 0;
  t.row_frac[1] = 257;  // not a 1/256 weight
  EXPECT_EQ(run(2, 2), 1);
  for (uint8_t v : dst) EXPECT_EQ(v, 7);
  // Empty destinations are not an error.
  EXPECT_EQ(image_u8_resize(dst.data(), 0, 3, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
            0);
  EXPECT_EQ(image_u8_resize(dst.data(), 3, 0, nullptr, nullptr, nullptr, nullptr, nullptr, 0, 0),
            0);
  for (uint8_t v : dst) EXPECT_EQ(v, 7);
}

TEST(ResizeDouble, HandWorkedAndClamped) {
  Tables t = build(3, 1, 2, 2);  // one row at weight 0: the upper source row
  std::vector<double> src = {-80.0, 400.0, 1000.0, 1000.0};
  std::vector<double> dst(3, -1.0);
  ASSERT_EQ(double_resize(dst.data(), 1, 3, 300.0, t.row_index.data(), t.row_frac.data(),
                          t.col_index.data(), t.col_frac.data(), src.data(), 2, 2),
            0);
  // top = -80 + 480 * {102, 51, 0} / 256 = {111.25, 15.625, -80}; the row
  // weight 0 keeps it; -80 clamps to 0.
  EXPECT_DOUBLE_EQ(dst[0], 111.25);
  EXPECT_DOUBLE_EQ(dst[1], 15.625);
  EXPECT_EQ(dst[2], 0.0);
  // Above max_value clamps to it.
  ASSERT_EQ(double_resize(dst.data(), 1, 3, 100.0, t.row_index.data(), t.row_frac.data(),
                          t.col_index.data(), t.col_frac.data(), src.data(), 2, 2),
            0);
  EXPECT_EQ(dst[0], 100.0);
  EXPECT_DOUBLE_EQ(dst[1], 15.625);
  EXPECT_EQ(double_resize(dst.data(), 1, 3, 100.0, t.row_index.data(), t.row_frac.data(),
                          t.col_index.data(), t.col_frac.data(), src.data(), 1, 2),
            1);
}

TEST(ResizeDouble, AgreesWithTheByteResamplerOnByteData) {
  // Integer truncation loses at most one step per interpolation.
  std::mt19937 rng(9);
  for (int iter = 0; iter < 20; ++iter) {
    const int sw = qlsbp_test::random_int(rng, 2, 30);
    const int sh = qlsbp_test::random_int(rng, 2, 30);
    const int dw = qlsbp_test::random_int(rng, 1, 45);
    const int dh = qlsbp_test::random_int(rng, 1, 45);
    const std::vector<uint8_t> src8 = qlsbp_test::random_bytes(static_cast<size_t>(sw) * sh, iter);
    std::vector<double> srcd(src8.begin(), src8.end());
    Tables t = build(dw, dh, sw, sh);
    std::vector<double> dstd(static_cast<size_t>(dw) * dh);
    ASSERT_EQ(double_resize(dstd.data(), dh, dw, 255.0, t.row_index.data(), t.row_frac.data(),
                            t.col_index.data(), t.col_frac.data(), srcd.data(), sh, sw),
              0);
    const std::vector<uint8_t> dst8 = resize_u8(src8, sw, sh, dw, dh);
    for (size_t i = 0; i < dst8.size(); ++i) ASSERT_NEAR(dst8[i], dstd[i], 3.0) << i;
  }
}

}  // namespace
