// The zero-bordered integral image against OpenCV's cv::integral, which has
// the same layout. Built by tests/gaussian_opencv.cmake as its own program
// (the subfolder keeps it out of test_gaussian); skipped without OpenCV.
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

TEST(IntegralVersusOpenCV, ZeroBorderedIntegralMatchesCvIntegral) {
#if QLSBP_TEST_HAVE_OPENCV
  std::mt19937 rng(2024);
  const int fixed[][2] = {{1, 1}, {1, 9}, {9, 1}, {2, 3}, {480, 640}, {257, 129}};
  for (int i = 0; i < 26; ++i) {  // the fixed sizes, then random ones
    const int h = i < 6 ? fixed[i][0] : qlsbp_test::random_int(rng, 1, 70);
    const int w = i < 6 ? fixed[i][1] : qlsbp_test::random_int(rng, 1, 70);
    auto src = qlsbp_test::random_bytes(size_t(h) * w, uint32_t(h * 1000 + w));
    std::vector<long long> ours(size_t(h + 1) * (w + 1), -1);
    pxIntegralOpenCV_int(src.data(), h, w, ours.data());
    cv::Mat theirs;  // double sums are exact here (below 2^53)
    cv::integral(cv::Mat(h, w, CV_8UC1, src.data()), theirs, CV_64F);
    ASSERT_TRUE(theirs.rows == h + 1 && theirs.cols == w + 1);
    for (int y = 0; y <= h; ++y)
      for (int x = 0; x <= w; ++x)
        ASSERT_EQ(ours[size_t(y) * (w + 1) + x], static_cast<long long>(theirs.at<double>(y, x)))
            << h << "x" << w << " at " << y << "," << x;
  }
#else
  GTEST_SKIP() << "OpenCV (core, imgproc) not found at configure time; comparison skipped";
#endif
}
