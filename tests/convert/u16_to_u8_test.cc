// Sixteen-bit to eight-bit conversion: hand-worked values and the divisor-0
// choice.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "qlsbp/convert.h"

namespace {

std::vector<uint8_t> convert(std::vector<unsigned short> src, unsigned short divisor) {
  std::vector<uint8_t> dst(src.size(), 0xee);
  u16_to_u8(dst.data(), src.data(), divisor, static_cast<int>(src.size()));
  return dst;
}

TEST(U16ToU8, HandWorkedValues) {
  EXPECT_EQ(convert({1000}, 1024), std::vector<uint8_t>{250});
  EXPECT_EQ(convert({65535}, 65535), std::vector<uint8_t>{255});  // 256 saturates
  EXPECT_EQ(convert({0, 1, 2, 65535}, 1), (std::vector<uint8_t>{0, 255, 255, 255}));
  EXPECT_EQ(convert({3, 2, 1}, 4), (std::vector<uint8_t>{192, 128, 64}));
  EXPECT_EQ(convert({1019}, 1024), std::vector<uint8_t>{254});  // 254.75 truncates
}

TEST(U16ToU8, Divisor256IsMinWith255) {
  std::vector<unsigned short> src;
  for (int v = 0; v < 65536; v += 7) src.push_back(static_cast<unsigned short>(v));
  const std::vector<uint8_t> dst = convert(src, 256);
  for (size_t i = 0; i < src.size(); ++i) EXPECT_EQ(dst[i], src[i] < 255 ? src[i] : 255);
}

TEST(U16ToU8, SeventeenValuesAreAllConverted) {
  std::vector<unsigned short> src(17);
  for (int i = 0; i < 17; ++i) src[i] = static_cast<unsigned short>(i * 100);
  const std::vector<uint8_t> dst = convert(src, 2000);
  for (int i = 0; i < 17; ++i) EXPECT_EQ(dst[i], i * 100 * 256 / 2000) << i;
}

TEST(U16ToU8, NonPositiveCountWritesNothing) {
  unsigned short src[4] = {1, 2, 3, 4};
  uint8_t dst[4] = {7, 7, 7, 7};
  u16_to_u8(dst, src, 1, 0);
  u16_to_u8(dst, src, 1, -5);
  for (uint8_t b : dst) EXPECT_EQ(b, 7);
}

TEST(U16ToU8, DivisorZeroSaturatesEverythingButZero) {
  EXPECT_EQ(convert({0, 1, 255, 65535, 0}, 0), (std::vector<uint8_t>{0, 255, 255, 255, 0}));
}

}  // namespace
