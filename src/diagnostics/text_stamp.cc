// Text stamp: burns digits, letters and '-' from the `water` font into an
// 8-bit plane in pure white.
#include <cstdint>
#include <cstring>

#include "qlsbp/diagnostics.h"

namespace {

constexpr int kGlyphRows = 8;
constexpr int kGlyphCols = 9;
constexpr int kGlyphBytes = kGlyphRows * kGlyphCols;
// Stamp limits (see the header): beyond them nothing is drawn. They keep
// every byte offset of a glyph exactly representable in 64 bits.
constexpr int kMaxStampBpp = 64;
constexpr int kMaxStampScale = 1 << 16;
constexpr int64_t kMaxStampPlaneBytes = int64_t{1} << 48;
constexpr int64_t kMaxStampReach = int64_t{1} << 61;
// Glyph advance in font columns: 9 columns of glyph plus one of spacing.
constexpr int kAdvanceCols = kGlyphCols + 1;

// Font index of a character, or -1 for characters that only advance.
int glyph_index(char ch) {
  if (ch == '-') return 36;
  if (ch >= '0' && ch <= '9') return ch - '0';
  if (ch >= 'A' && ch <= 'Z') return ch - 'A' + 10;
  if (ch >= 'a' && ch <= 'z') return ch - 'a' + 10;
  return -1;
}

// memset of `len` bytes at byte offset `at`, clipped to the plane's
// [0, plane_bytes) so that text running off the plane is cut, never written
// past the caller's buffer.
void fill_clipped(unsigned char* img, int64_t plane_bytes, int64_t at, int64_t len) {
  int64_t begin = at < 0 ? 0 : at;
  int64_t end = at + len > plane_bytes ? plane_bytes : at + len;
  if (begin < end) memset(img + begin, 255, static_cast<size_t>(end - begin));
}

}  // namespace

extern "C" void add_water_marking_one(unsigned char* img, int height, int width,
                                      const unsigned char* glyph, int x, int y, int scale,
                                      int bpp) {
  if (img == nullptr || glyph == nullptr) return;
  if (bpp < 1 || bpp > kMaxStampBpp || scale < 1 || scale > kMaxStampScale) return;
  if (width < 1 || height < 1) return;
  const int64_t row_bytes = static_cast<int64_t>(bpp) * width;
  if (row_bytes > kMaxStampPlaneBytes / height) return;
  const int64_t plane_bytes = row_bytes * height;
  // Linear pixel offset of the glyph's top-left corner. Everything the glyph
  // touches lies at or after it and less than kMaxStampReach bytes beyond it,
  // so far-off positions are skipped before any product can overflow.
  const int64_t pixel = x + static_cast<int64_t>(y) * width;
  if (pixel >= static_cast<int64_t>(width) * height || pixel < -kMaxStampReach / bpp) return;
  const int64_t block = static_cast<int64_t>(bpp) * scale;  // B: bytes across, rows down
  const int64_t start = bpp * pixel;
  for (int r = 0; r < kGlyphRows; ++r) {
    for (int c = 0; c < kGlyphCols; ++c) {
      if (glyph[r * kGlyphCols + c] == 0) continue;
      // Glyph rows are block * width bytes apart, i.e. `scale` plane rows,
      // while each block is `block` plane rows high: with bpp > 1 the blocks
      // of neighbouring glyph rows overlap. Kept on purpose.
      const int64_t corner = start + c * block + r * block * width;
      for (int64_t k = 0; k < block; ++k) {
        fill_clipped(img, plane_bytes, corner + k * row_bytes, block);
      }
    }
  }
}

extern "C" void add_water_marking(unsigned char* img, const char* text, int height, int width,
                                  int x, int y, int scale, int bpp) {
  if (img == nullptr || text == nullptr || text[0] == '\0') return;
  // A non-positive scale draws nothing anywhere, so there is nothing to walk.
  if (scale <= 0) return;
  const int64_t advance = static_cast<int64_t>(kAdvanceCols) * scale;
  int64_t pen = x;
  for (const char* p = text; *p != '\0'; ++p, pen += advance) {
    // Past int range the glyph would land outside any plane: stop.
    if (pen > INT32_MAX) return;
    const int index = glyph_index(*p);
    if (index < 0) continue;  // spaces and unknown characters only advance
    add_water_marking_one(img, height, width, water + kGlyphBytes * index, static_cast<int>(pen), y,
                          scale, bpp);
  }
}
