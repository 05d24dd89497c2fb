// Distance transform beside OpenCV's exact L2 transform (DIST_MASK_PRECISE),
// which returns float distances.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "qlsbp/analysis.h"

#if QLSBP_HAVE_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

TEST(DistanceTransformPeer, MatchesOpenCvPrecise) {
#if QLSBP_HAVE_OPENCV
  const int sizes[][2] = {{1, 1}, {3, 7}, {64, 48}, {127, 93}, {320, 240}};
  std::mt19937 rng(21);
  for (const auto& s : sizes) {
    for (int percent : {1, 10, 60}) {
      const int w = s[0];
      const int h = s[1];
      std::vector<uint8_t> img(static_cast<size_t>(w) * h);
      for (auto& p : img) p = static_cast<int>(rng() % 100) < percent ? 0 : 255;
      img[(h / 2) * w + w / 2] = 0;  // at least one site
      std::vector<double> ours(img.size());
      computeEDT(ours.data(), img.data(), w, h);

      cv::Mat src(h, w, CV_8UC1, img.data());
      cv::Mat dist;
      cv::distanceTransform(src, dist, cv::DIST_L2, cv::DIST_MASK_PRECISE, CV_32F);
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
          const double theirs = dist.at<float>(y, x);
          ASSERT_NEAR(ours[static_cast<size_t>(y) * w + x], theirs, 1e-5 * (1.0 + theirs))
              << w << "x" << h << " at " << x << "," << y;
        }
      }
    }
  }
#else
  GTEST_SKIP() << "OpenCV was not found at configure time; peer comparison skipped";
#endif
}

}  // namespace
