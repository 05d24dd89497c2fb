// The zero-bordered integral image against OpenCV's cv::integral, which has
// the same layout. Built by tests/gaussian_opencv.cmake as its own program
// (the subfolder keeps it out of test_gaussian); skipped when OpenCV is
// absent.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/gaussian.h"

#if QLSBP_TEST_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace {

TEST(IntegralVersusOpenCV, ZeroBorderedIntegralMatchesCvIntegral) {
#if QLSBP_TEST_HAVE_OPENCV
  std::mt19937 rng(2024);
  const int fixed_sizes[][2] = {{1, 1}, {1, 9}, {9, 1}, {2, 3}, {480, 640}, {257, 129}};
  std::vector<std::pair<int, int>> sizes;
  for (const auto& hw : fixed_sizes) sizes.emplace_back(hw[0], hw[1]);
  for (int i = 0; i < 20; ++i)
    sizes.emplace_back(qlsbp_test::random_int(rng, 1, 70), qlsbp_test::random_int(rng, 1, 70));
  for (const auto& [h, w] : sizes) {
    auto src = qlsbp_test::random_bytes(size_t(h) * w, uint32_t(h * 1000 + w));
    std::vector<long long> ours(size_t(h + 1) * (w + 1), -1);
    pxIntegralOpenCV_int(src.data(), h, w, ours.data());
    // Double sums are exact here (below 2^53), so the comparison is exact.
    cv::Mat img(h, w, CV_8UC1, src.data());
    cv::Mat theirs;
    cv::integral(img, theirs, CV_64F);
    ASSERT_EQ(theirs.rows, h + 1);
    ASSERT_EQ(theirs.cols, w + 1);
    for (int y = 0; y <= h; ++y)
      for (int x = 0; x <= w; ++x)
        ASSERT_EQ(ours[size_t(y) * (w + 1) + x], static_cast<long long>(theirs.at<double>(y, x)))
            << h << "x" << w << " at " << y << "," << x;
  }
#else
  GTEST_SKIP() << "OpenCV (core, imgproc) not found at configure time; comparison skipped";
#endif
}

}  // namespace
