// Diagnostics: raw dumps (byte-exact files, round trips, unopenable paths)
// and the text stamp against a cell-by-cell model of the documented
// placement, plus a sample label rendered into the build directory (the
// README picture comes from it).
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "common/test_util.h"
#include "qlsbp/diagnostics.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes file_bytes(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

TEST(RawImage, FilesHoldExactlyTheBuffer) {
  std::string path = ::testing::TempDir() + "qlsbp_raw_test.raw";
  Bytes buf = qlsbp_test::random_bytes(777, 4), back(780, 0xCC);
  ASSERT_EQ(img_write(buf.data(), 777, &path[0]), 0);
  EXPECT_EQ(file_bytes(path), buf);  // no header, nothing after
  // Reading more than the file holds leaves the rest of the buffer.
  ASSERT_EQ(img_read(back.data(), 780, &path[0]), 0);
  EXPECT_EQ(Bytes(back.begin(), back.begin() + 777), buf);
  EXPECT_EQ(Bytes(back.begin() + 777, back.end()), Bytes(3, 0xCC));
  EXPECT_EQ(img_read(back.data(), -3, &path[0]), 0);  // count <= 0: nothing moves
  EXPECT_EQ(img_write(buf.data(), 0, &path[0]), 0);   // ... but the file is truncated
  EXPECT_TRUE(file_bytes(path).empty());
  // 16-bit elements in memory order (little-endian host: 0x0400 -> 00 04).
  std::vector<unsigned short> wide = {0x0400, 0xBEEF, 0x0001};
  ASSERT_EQ(img_write_uint16(wide.data(), 3, &path[0]), 0);
  EXPECT_EQ(file_bytes(path), (Bytes{0x00, 0x04, 0xEF, 0xBE, 0x01, 0x00}));
  remove(path.c_str());
  // Unopenable or null paths, or a null buffer with bytes to move: 1.
  std::string bad = ::testing::TempDir() + "qlsbp_no_such_dir/sub/x.raw";
  EXPECT_EQ(img_write(buf.data(), 3, &bad[0]) + img_write_uint16(wide.data(), 2, &bad[0]), 2);
  EXPECT_EQ(img_read(back.data(), 3, &bad[0]) + img_read(back.data(), 3, nullptr), 2);
  EXPECT_EQ(Bytes(back.begin(), back.begin() + 777), buf);
  EXPECT_EQ(img_write(buf.data(), 3, nullptr) + img_write(nullptr, 4, &path[0]), 2);
  EXPECT_FALSE(std::ifstream(path).good());  // opened no file
}

// Each ink cell (r, c) of a glyph is a block of B = bpp * scale bytes across
// and B rows down at byte bpp * x + c * B of row y + r * scale; the pen moves
// 10 * scale pixels per character. Bytes outside the plane are dropped.
Bytes model(const char* text, int h, int w, int x, int y, int scale, int bpp) {
  Bytes img(size_t(w) * h * bpp, 0);
  const int64_t B = int64_t{bpp} * scale, row = int64_t{w} * bpp;
  for (int64_t px = x; *text && scale > 0; ++text, px += 10 * scale) {
    const char ch = char(std::toupper(static_cast<unsigned char>(*text)));
    const size_t g = std::string("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ-").find(ch);
    for (int cell = 0; g != std::string::npos && cell < 72; ++cell) {
      for (int64_t dy = 0; water[72 * g + cell] && dy < B; ++dy) {
        for (int64_t dx = 0; dx < B; ++dx) {
          const int64_t off = (y + cell / 9 * int64_t{scale} + dy) * row + bpp * px + cell % 9 * B;
          if (off + dx >= 0 && off + dx < int64_t(img.size())) img[off + dx] = 255;
        }
      }
    }
  }
  return img;
}

TEST(TextStamp, FontHasDistinctNonEmptyGlyphs) {
  std::set<Bytes> seen;
  for (int g = 0; g < 37; ++g) {
    const Bytes bits(water + 72 * g, water + 72 * g + 72);
    EXPECT_TRUE(std::all_of(bits.begin(), bits.end(), [](int b) { return b <= 1; })) << g;
    EXPECT_NE(bits, Bytes(72, 0)) << g;
    EXPECT_TRUE(seen.insert(bits).second) << g;
  }
}

// Glyphs and scales, either case, space and unknown characters (advance
// only), bpp > 1 (blocks of neighbouring glyph rows overlap), text running
// off the plane (clipped to its bytes), and nothing for scale <= 0.
TEST(TextStamp, MatchesCellModel) {
  const struct {
    const char* text;
    int h, w, x, y, scale, bpp;
  } cases[] = {{"7", 30, 120, 3, 2, 1, 1},      {"Q-", 30, 120, 5, 1, 3, 1},
               {"hello", 30, 120, 1, 1, 2, 1},  {"1 2", 30, 120, 2, 4, 2, 1},
               {"1#2", 30, 120, 2, 4, 2, 1},    {"# ?", 30, 120, 2, 4, 2, 1},
               {"8", 12, 12, 1, 1, 1, 3},       {"A9", 20, 30, 0, 0, 2, 2},
               {"W", 6, 20, 15, 2, 1, 1},       {"W", 6, 20, 0, -100, 3, 1},
               {"W", 6, 20, 0, 1000000000, 3, 1}, {"AB12", 30, 120, 2, 2, 0, 1},
               {"AB12", 30, 120, 40, 2, -1, 1}, {"", 30, 120, 2, 2, 1, 1}};
  for (const auto& c : cases) {
    Bytes img(size_t(c.w) * c.h * c.bpp, 0);
    add_water_marking(img.data(), c.text, c.h, c.w, c.x, c.y, c.scale, c.bpp);
    EXPECT_EQ(img, model(c.text, c.h, c.w, c.x, c.y, c.scale, c.bpp)) << c.text << " " << c.scale;
  }
  Bytes img(120, 0);
  add_water_marking(img.data(), "W", 6, 20, 2000000000, 0, 65536, 1);  // far off: clipped
  add_water_marking(nullptr, "A", 6, 20, 0, 0, 1, 1);
  add_water_marking(img.data(), nullptr, 6, 20, 0, 0, 1, 1);
  add_water_marking_one(img.data(), 6, 20, nullptr, 0, 0, 1, 1);
  EXPECT_EQ(img, Bytes(120, 0));
}

// "B-1" at scale 1 from (1, 1) on a 32 x 10 grey plane, drawn out by hand
// from the font's B, '-' and 1 (9 x 8 cells, the pen advancing 10 pixels):
// '#' is ink (255), '.' the background (48).
TEST(TextStamp, RendersASampleLabel) {
  const char* want[] = {
      "................................",
      ".#######................##......",
      ".##....##..............###......",
      ".##....##.............####......",
      ".#######....######......##......",
      ".##....##...######......##......",
      ".##....##...............##......",
      ".##....##...............##......",
      ".#######..............######....",
      "................................",
  };
  Bytes img(32 * 10, 48);
  add_water_marking(img.data(), "b-1", 10, 32, 1, 1, 1, 1);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 32; ++x)
      ASSERT_EQ(img[y * 32 + x], want[y][x] == '#' ? 255 : 48) << "row " << y << ", column " << x;

  // At scale 3 every cell becomes a 3 x 3 block: the same picture, tripled.
  Bytes big(96 * 30, 48);
  add_water_marking(big.data(), "B-1", 30, 96, 3, 3, 3, 1);
  for (int y = 0; y < 30; ++y)
    for (int x = 0; x < 96; ++x)
      ASSERT_EQ(big[y * 96 + x], want[y / 3][x / 3] == '#' ? 255 : 48) << "row " << y << ", column " << x;

  // The sample for the documentation, written as PGM.
  const char* text = "BOKEH-2026";
  const int scale = 3, margin = 6, h = 8 * 3 + 12, w = 10 * 3 * 10 - 3 + 12;  // 10 characters
  Bytes label(size_t(w) * h, 48);
  add_water_marking(label.data(), text, h, w, margin, margin, scale, 1);
  std::ofstream f(std::string(QLSBP_TEST_OUTPUT_DIR) + "/text_stamp_sample.pgm", std::ios::binary);
  f << "P5\n" << w << " " << h << "\n255\n";
  f.write(reinterpret_cast<const char*>(label.data()), std::streamsize(label.size()));
  EXPECT_TRUE(f.good());
}

}  // namespace
