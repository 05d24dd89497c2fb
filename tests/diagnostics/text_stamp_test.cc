// Text stamp: glyph placement, advance, scale, bpp > 1 overlap, and the
// font itself. Also renders a sample label into the build directory.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "qlsbp/diagnostics.h"

#ifndef QLSBP_TEST_OUTPUT_DIR
#define QLSBP_TEST_OUTPUT_DIR "."
#endif

namespace {

constexpr int kW = 120;
constexpr int kH = 30;

std::vector<unsigned char> stamp(const char* text, int x, int y, int scale, int bpp = 1, int w = kW,
                                 int h = kH) {
  std::vector<unsigned char> img(static_cast<size_t>(w) * h * bpp, 0);
  add_water_marking(img.data(), text, h, w, x, y, scale, bpp);
  return img;
}

const unsigned char* glyph(int index) { return water + 72 * index; }

// Independent model for bpp = 1: cell (r, c) of glyph g covers the
// scale x scale square at (x + c * scale, y + r * scale).
std::vector<unsigned char> model_one(int g, int x, int y, int scale, int w = kW, int h = kH) {
  std::vector<unsigned char> img(static_cast<size_t>(w) * h, 0);
  for (int r = 0; r < 8; ++r) {
    for (int c = 0; c < 9; ++c) {
      if (!glyph(g)[r * 9 + c]) continue;
      for (int dy = 0; dy < scale; ++dy) {
        for (int dx = 0; dx < scale; ++dx) img[(y + r * scale + dy) * w + x + c * scale + dx] = 255;
      }
    }
  }
  return img;
}

TEST(TextStamp, FontHasDistinctNonEmptyGlyphs) {
  std::set<std::vector<unsigned char>> seen;
  for (int g = 0; g < 37; ++g) {
    std::vector<unsigned char> bits(glyph(g), glyph(g) + 72);
    int ink = 0;
    for (unsigned char b : bits) {
      EXPECT_TRUE(b == 0 || b == 1);
      ink += b;
    }
    EXPECT_GT(ink, 0) << g;
    seen.insert(bits);
  }
  EXPECT_EQ(seen.size(), 37u);
}

TEST(TextStamp, SingleGlyphMatchesTheCellModel) {
  for (int scale = 1; scale <= 3; ++scale) {
    EXPECT_EQ(stamp("7", 3, 2, scale), model_one(7, 3, 2, scale)) << scale;
    EXPECT_EQ(stamp("Q", 5, 1, scale), model_one(10 + 'Q' - 'A', 5, 1, scale)) << scale;
    EXPECT_EQ(stamp("-", 0, 0, scale), model_one(36, 0, 0, scale)) << scale;
  }
}

TEST(TextStamp, LowerCaseSharesTheUpperCaseGlyphs) {
  EXPECT_EQ(stamp("A", 4, 3, 2), stamp("a", 4, 3, 2));
  EXPECT_EQ(stamp("HELLO", 1, 1, 2), stamp("hello", 1, 1, 2));
}

TEST(TextStamp, SpaceAndUnknownCharactersAdvanceOneCell) {
  // "1 2": the '2' sits two full advances (2 * 10 * scale) right of the '1'.
  const int scale = 2;
  std::vector<unsigned char> got = stamp("1 2", 2, 4, scale);
  std::vector<unsigned char> expect = model_one(1, 2, 4, scale);
  std::vector<unsigned char> two = model_one(2, 2 + 20 * scale, 4, scale);
  for (size_t i = 0; i < expect.size(); ++i) expect[i] |= two[i];
  EXPECT_EQ(got, expect);
  EXPECT_EQ(stamp("1#2", 2, 4, scale), expect);  // '#' draws nothing
  std::vector<unsigned char> blank(static_cast<size_t>(kW) * kH, 0);
  EXPECT_EQ(stamp("# ?", 2, 4, scale), blank);
}

TEST(TextStamp, NonPositiveScaleAndEmptyInputDrawNothing) {
  std::vector<unsigned char> blank(static_cast<size_t>(kW) * kH, 0);
  EXPECT_EQ(stamp("AB12", 2, 2, 0), blank);
  EXPECT_EQ(stamp("AB12", 40, 2, -1), blank);
  EXPECT_EQ(stamp("", 2, 2, 1), blank);
  add_water_marking(nullptr, "A", kH, kW, 0, 0, 1, 1);
  std::vector<unsigned char> img = blank;
  add_water_marking(img.data(), nullptr, kH, kW, 0, 0, 1, 1);
  add_water_marking_one(img.data(), kH, kW, nullptr, 0, 0, 1, 1);
  EXPECT_EQ(img, blank);
}

TEST(TextStamp, MultiByteBlocksOverlapNeighbouringRows) {
  // bpp 3, scale 1: B = 3. Cell (r, c) fills 3 bytes in each of plane rows
  // r .. r + 2, starting at byte 3 * (x + c); glyph rows are one plane row
  // apart, so the blocks of neighbouring glyph rows overlap.
  const int w = 12;
  const int h = 12;
  const int bpp = 3;
  const int x = 1;
  const int y = 1;
  std::vector<unsigned char> got(static_cast<size_t>(w) * h * bpp, 0);
  add_water_marking_one(got.data(), h, w, glyph(8), x, y, 1, bpp);
  std::vector<unsigned char> expect(got.size(), 0);
  for (int r = 0; r < 8; ++r) {
    for (int c = 0; c < 9; ++c) {
      if (!glyph(8)[r * 9 + c]) continue;
      for (int k = 0; k < bpp; ++k) {
        const int row = y + r + k;
        for (int b = 0; b < bpp; ++b) expect[row * w * bpp + bpp * (x + c) + b] = 255;
      }
    }
  }
  EXPECT_EQ(got, expect);
}

TEST(TextStamp, TextRunningOffThePlaneIsClippedToTheBuffer) {
  // Only the bytes inside the plane are written; they are the ones an
  // unclipped stamp would write there.
  const int w = 20;
  const int h = 6;
  std::vector<unsigned char> big(static_cast<size_t>(w) * 40, 0);
  add_water_marking(big.data(), "W", 40, w, 15, 2, 1, 1);
  std::vector<unsigned char> small(static_cast<size_t>(w) * h, 0);
  add_water_marking(small.data(), "W", h, w, 15, 2, 1, 1);
  EXPECT_TRUE(std::equal(small.begin(), small.end(), big.begin()));
  std::vector<unsigned char> none(small.size(), 0);
  add_water_marking(none.data(), "W", h, w, 0, -100, 3, 1);
  add_water_marking(none.data(), "W", h, w, 0, 1000000000, 3, 1);
  add_water_marking(none.data(), "W", h, w, 2000000000, 0, 65536, 1);
  EXPECT_EQ(none, std::vector<unsigned char>(small.size(), 0));
}

TEST(TextStamp, RendersASampleLabel) {
  // A grey plane with a label, written as PGM for the documentation.
  const char* text = "BOKEH-2026";
  const int scale = 3;
  const int margin = 2 * scale;
  const int w = 10 * scale * static_cast<int>(strlen(text)) - scale + 2 * margin;
  const int h = 8 * scale + 2 * margin;
  std::vector<unsigned char> img(static_cast<size_t>(w) * h, 48);
  add_water_marking(img.data(), text, h, w, margin, margin, scale, 1);
  int ink = 0;
  for (unsigned char v : img) ink += v == 255;
  EXPECT_GT(ink, 0);
  const std::string path = std::string(QLSBP_TEST_OUTPUT_DIR) + "/text_stamp_sample.pgm";
  FILE* fp = fopen(path.c_str(), "wb");
  ASSERT_NE(fp, nullptr) << path;
  fprintf(fp, "P5\n%d %d\n255\n", w, h);
  fwrite(img.data(), 1, img.size(), fp);
  fclose(fp);
  printf("text stamp sample written to %s\n", path.c_str());
}

}  // namespace
