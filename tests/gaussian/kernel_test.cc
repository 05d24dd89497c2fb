// Gaussian kernel construction: hand-worked taps, sums, symmetry and the
// documented results for degenerate sigma, sizes and modes.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "qlsbp/gaussian.h"

namespace {

std::vector<int> int_kernel_1d(float sigma, int ksize, float scale = 1024.0f) {
  std::vector<int> k(ksize, -7);
  init_gaussian_kernel(k.data(), sigma, ksize, 1, 0, scale);
  return k;
}

long long sum_of(const std::vector<int>& k) {
  long long s = 0;
  for (int v : k) s += v;
  return s;
}

// sigma 1, 3 taps: densities e^-0.5, 1, e^-0.5 normalise to 0.27407,
// 0.45186, 0.27407; times 1024 that is 280.65, 462.71, 280.65, truncated
// 280, 462, 280 (sum 1022), so the centre receives the missing 2.
TEST(GaussianKernelTest, HandWorkedOneDimensionalTaps) {
  EXPECT_EQ(int_kernel_1d(1.0f, 3), (std::vector<int>{280, 464, 280}));
  // 5 taps: 55.80, 250.06, 412.28 -> 55, 250, 412 (sum 1022) -> centre 414.
  EXPECT_EQ(int_kernel_1d(1.0f, 5), (std::vector<int>{55, 250, 414, 250, 55}));
}

TEST(GaussianKernelTest, PreviewKernelIsSymmetricPeakedAndSumsTo1024) {
  for (float sigma : {0.8f, 1.5f, 2.0f, 3.3f, 5.0f, 9.0f}) {
    const std::vector<int> k = int_kernel_1d(sigma, 21);
    EXPECT_EQ(sum_of(k), 1024) << sigma;
    for (int i = 0; i < 21; ++i) {
      EXPECT_GE(k[i], 0) << sigma;
      EXPECT_EQ(k[i], k[20 - i]) << sigma;
      if (i < 10) {
        EXPECT_LE(k[i], k[i + 1]) << sigma;
      }
    }
    EXPECT_GT(k[10], k[9]) << sigma;
  }
  EXPECT_EQ(sum_of(int_kernel_1d(12.0f, 61)), 1024);
}

TEST(GaussianKernelTest, TinySigmaPutsAllWeightOnTheCentre) {
  std::vector<int> impulse(21, 0);
  impulse[10] = 1024;
  EXPECT_EQ(int_kernel_1d(0.01f, 21), impulse);
  // So small that 1/(2 sigma^2) overflows single precision: still the impulse.
  EXPECT_EQ(int_kernel_1d(1e-30f, 21), impulse);
  // Not a standard deviation at all: documented as the impulse as well.
  EXPECT_EQ(int_kernel_1d(0.0f, 21), impulse);
  EXPECT_EQ(int_kernel_1d(-2.0f, 21), impulse);
  EXPECT_EQ(int_kernel_1d(std::numeric_limits<float>::quiet_NaN(), 21), impulse);
}

TEST(GaussianKernelTest, HugeSigmaGivesTheTruncationRemainderToTheCentre) {
  // Nearly equal taps of 1024 / 21 = 48.76 truncate to 48; the remaining
  // 1024 - 21 * 48 = 16 land on the centre.
  std::vector<int> flat(21, 48);
  flat[10] = 64;
  EXPECT_EQ(int_kernel_1d(1e4f, 21), flat);
  // Beyond what the densities can represent the flat limit is kept.
  EXPECT_EQ(int_kernel_1d(1e30f, 21), flat);
  EXPECT_EQ(int_kernel_1d(std::numeric_limits<float>::infinity(), 21), flat);
}

TEST(GaussianKernelTest, FloatTapsSumToTheScaleWithoutCorrection) {
  std::vector<float> k(21);
  init_gaussian_kernel(k.data(), 3.0f, 21, 1, 1, 1024.0f);
  double s = 0;
  for (float v : k) s += v;
  EXPECT_NEAR(s, 1024.0, 1e-3);
  for (int i = 0; i < 21; ++i) EXPECT_EQ(k[i], k[20 - i]);
  // The centre of the continuous density, slightly raised because the tails
  // beyond +-10 are cut off before normalising.
  EXPECT_NEAR(k[10], 1024.0 / (3.0 * std::sqrt(2.0 * 3.141592653589793)), 0.1);

  std::vector<float> k2(9);
  init_gaussian_kernel(k2.data(), 1.0f, 3, 2, 1, 1.0f);
  double s2 = 0;
  for (float v : k2) s2 += v;
  EXPECT_NEAR(s2, 1.0, 1e-6);
}

// 3 x 3, sigma 1: corners e^-1, edges e^-0.5, centre 1, sum 4.89764; times
// 1024 / sum: 76.92, 126.81, 209.08, truncated with no correction (sum 1017).
TEST(GaussianKernelTest, TwoDimensionalIntegerKernelIsNotCorrected) {
  std::vector<int> k(9, -1);
  init_gaussian_kernel(k.data(), 1.0f, 3, 2, 0, 1024.0f);
  EXPECT_EQ(k, (std::vector<int>{76, 126, 76, 126, 209, 126, 76, 126, 76}));
  EXPECT_EQ(sum_of(k), 1017);

  std::vector<int> big(21 * 21);
  init_gaussian_kernel(big.data(), 3.0f, 21, 2, 0, 1024.0f);
  EXPECT_LE(sum_of(big), 1024);
  EXPECT_GT(sum_of(big), 1024 - 21 * 21);
}

TEST(GaussianKernelTest, EvenSizeNormalisesOverTheExtraWeight) {
  // ksize 4 computes the 5 weights of sigma 1 (offsets -2 .. 2, sum 2.48373),
  // writes the first 4 (55.80, 250.06, 412.28, 250.06 -> sum 967) and gives
  // the missing 57 to index 2.
  EXPECT_EQ(int_kernel_1d(1.0f, 4), (std::vector<int>{55, 250, 469, 250}));

  // 2-D, ksize 2: a 3 x 3 grid is laid out with row pitch 2, each row's last
  // weight overwritten by the next row's first; the sum covers all nine, and
  // slots 0..3 hold e^-1, e^-0.5, e^-0.5, 1 of it.
  std::vector<int> k(4, -1);
  init_gaussian_kernel(k.data(), 1.0f, 2, 2, 0, 1024.0f);
  EXPECT_EQ(k, (std::vector<int>{76, 126, 126, 209}));
}

TEST(GaussianKernelTest, NonIntegerScaleSumsToItsIntegerPart) {
  EXPECT_EQ(sum_of(int_kernel_1d(2.0f, 11, 1000.7f)), 1000);
  EXPECT_EQ(sum_of(int_kernel_1d(2.0f, 11, 1.0f)), 1);  // all but the centre truncate to 0
}

TEST(GaussianKernelTest, NanScaleGivesZeroTaps) {
  EXPECT_EQ(int_kernel_1d(2.0f, 5, std::numeric_limits<float>::quiet_NaN()),
            (std::vector<int>(5, 0)));
}

TEST(GaussianKernelTest, UnknownModesAndSizesWriteNothing) {
  std::vector<int> k(25, -7);
  init_gaussian_kernel(k.data(), 2.0f, 5, 3, 0, 1024.0f);
  init_gaussian_kernel(k.data(), 2.0f, 5, 0, 0, 1024.0f);
  init_gaussian_kernel(k.data(), 2.0f, 5, 1, 2, 1024.0f);
  init_gaussian_kernel(k.data(), 2.0f, 5, 2, -1, 1024.0f);
  init_gaussian_kernel(k.data(), 2.0f, 0, 1, 0, 1024.0f);
  init_gaussian_kernel(k.data(), 2.0f, -3, 2, 1, 1024.0f);
  EXPECT_EQ(k, std::vector<int>(25, -7));
  init_gaussian_kernel(nullptr, 2.0f, 5, 1, 0, 1024.0f);  // nothing to write to

  // One tap is the whole scale.
  EXPECT_EQ(int_kernel_1d(2.0f, 1), (std::vector<int>{1024}));
}

}  // namespace
