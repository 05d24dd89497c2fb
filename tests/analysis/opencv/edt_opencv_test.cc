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

TEST(DistanceTransformPeer, MatchesOpenCvPrecise) {
#if QLSBP_HAVE_OPENCV
  const int sizes[][2] = {{1, 1}, {3, 7}, {64, 48}, {127, 93}, {320, 240}};
  std::mt19937 rng(21);
  for (const auto& [w, h] : sizes) {
    for (int percent : {1, 10, 60}) {
      std::vector<uint8_t> img(size_t(w) * h);
      for (auto& p : img) p = int(rng() % 100) < percent ? 0 : 255;
      img[(h / 2) * w + w / 2] = 0;  // at least one site
      std::vector<double> ours(img.size());
      computeEDT(ours.data(), img.data(), w, h);
      cv::Mat dist;
      cv::distanceTransform(cv::Mat(h, w, CV_8UC1, img.data()), dist, cv::DIST_L2,
                            cv::DIST_MASK_PRECISE, CV_32F);
      for (int i = 0; i < w * h; ++i) {
        const double theirs = dist.at<float>(i / w, i % w);
        ASSERT_NEAR(ours[i], theirs, 1e-5 * (1.0 + theirs)) << w << "x" << h << " at " << i;
      }
    }
  }
#else
  GTEST_SKIP() << "OpenCV was not found at configure time; peer comparison skipped";
#endif
}
