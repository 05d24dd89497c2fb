// Raw dumps: byte-exact files, round trips, unopenable paths.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/diagnostics.h"

namespace {

std::string temp_path(const std::string& name) {
  return ::testing::TempDir() + "qlsbp_raw_" + name;
}

std::vector<unsigned char> file_bytes(const std::string& path) {
  std::vector<unsigned char> bytes;
  FILE* fp = fopen(path.c_str(), "rb");
  if (fp == nullptr) return bytes;
  int ch;
  while ((ch = fgetc(fp)) != EOF) bytes.push_back(static_cast<unsigned char>(ch));
  fclose(fp);
  return bytes;
}

TEST(RawImage, WriteThenReadRoundTrips) {
  std::string path = temp_path("round_trip.raw");
  std::vector<unsigned char> buf = qlsbp_test::random_bytes(777, 4);
  ASSERT_EQ(img_write(buf.data(), 777, &path[0]), 0);
  EXPECT_EQ(file_bytes(path), buf);  // no header, nothing after
  std::vector<unsigned char> back(777, 0);
  ASSERT_EQ(img_read(back.data(), 777, &path[0]), 0);
  EXPECT_EQ(back, buf);
  remove(path.c_str());
}

TEST(RawImage, Uint16IsWrittenInMemoryOrder) {
  std::string path = temp_path("u16.raw");
  std::vector<unsigned short> buf = {0x0400, 0xBEEF, 0x0001};
  ASSERT_EQ(img_write_uint16(buf.data(), 3, &path[0]), 0);
  // Little-endian host: 0x0400 -> 00 04.
  EXPECT_EQ(file_bytes(path), (std::vector<unsigned char>{0x00, 0x04, 0xEF, 0xBE, 0x01, 0x00}));
  remove(path.c_str());
}

TEST(RawImage, ShortFileLeavesTheRestOfTheBuffer) {
  std::string path = temp_path("short.raw");
  std::vector<unsigned char> data = {1, 2, 3};
  ASSERT_EQ(img_write(data.data(), 3, &path[0]), 0);
  std::vector<unsigned char> buf(6, 0xCC);
  EXPECT_EQ(img_read(buf.data(), 6, &path[0]), 0);
  EXPECT_EQ(buf, (std::vector<unsigned char>{1, 2, 3, 0xCC, 0xCC, 0xCC}));
  remove(path.c_str());
}

TEST(RawImage, NonPositiveCountTruncatesWithoutTransfer) {
  std::string path = temp_path("empty.raw");
  std::vector<unsigned char> data = {9, 9};
  ASSERT_EQ(img_write(data.data(), 2, &path[0]), 0);
  EXPECT_EQ(img_write(data.data(), 0, &path[0]), 0);
  EXPECT_TRUE(file_bytes(path).empty());
  std::vector<unsigned char> buf(2, 5);
  EXPECT_EQ(img_read(buf.data(), -3, &path[0]), 0);
  EXPECT_EQ(buf, (std::vector<unsigned char>{5, 5}));
  remove(path.c_str());
}

TEST(RawImage, UnopenableOrNullPathsReturnOne) {
  std::string missing = ::testing::TempDir() + "qlsbp_no_such_dir/sub/x.raw";
  std::vector<unsigned char> buf = {7, 8, 9};
  std::vector<unsigned short> wide = {7, 8};
  EXPECT_EQ(img_write(buf.data(), 3, &missing[0]), 1);
  EXPECT_EQ(img_write_uint16(wide.data(), 2, &missing[0]), 1);
  EXPECT_EQ(img_read(buf.data(), 3, &missing[0]), 1);
  EXPECT_EQ(buf, (std::vector<unsigned char>{7, 8, 9}));
  EXPECT_EQ(img_write(buf.data(), 3, nullptr), 1);
  EXPECT_EQ(img_read(buf.data(), 3, nullptr), 1);
  // A null buffer with something to transfer opens no file.
  std::string path = temp_path("null_buf.raw");
  remove(path.c_str());
  EXPECT_EQ(img_write(nullptr, 4, &path[0]), 1);
  EXPECT_EQ(fopen(path.c_str(), "rb"), nullptr);
}

}  // namespace
