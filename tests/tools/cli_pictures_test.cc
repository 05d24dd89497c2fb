// bokeh-preview on pictures: the built-in default, PNG and JPEG in and out,
// every layout, padding, the levels sheet and the mask picture.
#include <gtest/gtest.h>

#include "cli_harness.h"

namespace {

#define REQUIRE_TOOL() \
  if (cli::tool_path().empty()) GTEST_SKIP() << "bokeh-preview is not built"

// A picture whose size is a multiple of neither 4 nor 2 in width, so that
// the tool's edge extension and crop are exercised.
constexpr int kW = 130;
constexpr int kH = 99;

cli::Rgb noise_picture() {
  cli::Rgb p;
  p.width = kW;
  p.height = kH;
  p.pixels = cli::noise(static_cast<size_t>(kW) * kH * 3, 7);
  return p;
}

// Mean absolute RGB difference over rows [r0, r1) and columns [c0, c1).
double rgb_diff(const cli::Rgb& a, const cli::Rgb& b, int r0, int r1, int c0, int c1) {
  double sum = 0;
  int n = 0;
  for (int r = r0; r < r1; ++r) {
    for (int c = c0; c < c1; ++c) {
      for (int k = 0; k < 3; ++k) {
        const size_t at = (static_cast<size_t>(r) * a.width + c) * 3 + k;
        sum += std::abs(int(a.pixels[at]) - int(b.pixels[at]));
        ++n;
      }
    }
  }
  return sum / n;
}

// The focus centre (default: the picture centre) must keep the pixels of a
// pass-through run; the corner, far outside the default ellipse, must not.
void expect_bokeh(const cli::Rgb& result, const cli::Rgb& reference) {
  ASSERT_EQ(result.width, reference.width);
  ASSERT_EQ(result.height, reference.height);
  const int cr = result.height / 2;
  const int cc = result.width / 2;
  EXPECT_EQ(rgb_diff(result, reference, cr - 6, cr + 6, cc - 6, cc + 6), 0.0)
      << "the focus centre changed";
  EXPECT_GT(rgb_diff(result, reference, 0, 12, 0, 12), 10.0) << "the background kept its pixels";
}

TEST(ToolPictures, DefaultRunWritesResultAndComparison) {
  REQUIRE_TOOL();
  cli::Scratch s;
  const cli::Result r = cli::run(s, {});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.err.find("bokeh.png"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("bokeh-compare.png"), std::string::npos) << r.err;
  EXPECT_EQ(s.work_files(), (std::vector<std::string>{"bokeh-compare.png", "bokeh.png"}));
  cli::Rgb result, compare, reference;
  ASSERT_TRUE(cli::read_png(s.work("bokeh.png"), &result));
  ASSERT_TRUE(cli::read_png(s.work("bokeh-compare.png"), &compare));
  EXPECT_EQ(result.width, 512);
  EXPECT_EQ(result.height, 512);
  EXPECT_EQ(compare.width, 3 * 512 + 2 * 8);  // original | mask | result, 8-pixel gaps
  EXPECT_EQ(compare.height, 512);
  ASSERT_EQ(cli::run(s, {"--level", "0", "-o", "plain.png"}).code, 0);
  ASSERT_TRUE(cli::read_png(s.work("plain.png"), &reference));
  EXPECT_EQ(rgb_diff(result, reference, 250, 262, 250, 262), 0.0);
  EXPECT_GT(rgb_diff(result, reference, 0, 512, 0, 512), 0.5);
}

TEST(ToolPictures, PngRoundTripKeepsSizeAndFocus) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_png(s.work("in.png"), noise_picture());
  ASSERT_EQ(cli::run(s, {"in.png", "-o", "out.png"}).code, 0);
  ASSERT_EQ(cli::run(s, {"in.png", "--level", "0", "-o", "ref.png"}).code, 0);
  cli::Rgb out, ref;
  ASSERT_TRUE(cli::read_png(s.work("out.png"), &out));
  ASSERT_TRUE(cli::read_png(s.work("ref.png"), &ref));
  EXPECT_EQ(out.width, kW);
  EXPECT_EQ(out.height, kH);
  expect_bokeh(out, ref);
}

TEST(ToolPictures, PictureThroughStandardInputAndOutput) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_png(s.aside("in.png"), noise_picture());
  const cli::Result r = cli::run(s, {"-", "-o", "-"}, s.aside("in.png"), s.aside("out.png"));
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_TRUE(s.work_files().empty());
  cli::Rgb out;
  ASSERT_TRUE(cli::read_png(s.aside("out.png"), &out));  // PNG in, PNG out by default
  EXPECT_EQ(out.width, kW);
  EXPECT_EQ(out.height, kH);
}

TEST(ToolPictures, EveryLayoutKeepsFocusAndBlursBackground) {
  REQUIRE_TOOL();
  for (const char* layout : {"nv21", "nv12", "i420", "yv12", "yuyv"}) {
    SCOPED_TRACE(layout);
    cli::Scratch s;
    cli::write_png(s.work("in.png"), noise_picture());
    ASSERT_EQ(cli::run(s, {"in.png", "--format", layout, "-o", "out.png"}).code, 0);
    ASSERT_EQ(cli::run(s, {"in.png", "--format", layout, "--level", "0", "-o", "ref.png"}).code, 0);
    cli::Rgb out, ref;
    ASSERT_TRUE(cli::read_png(s.work("out.png"), &out));
    ASSERT_TRUE(cli::read_png(s.work("ref.png"), &ref));
    expect_bokeh(out, ref);
  }
}

TEST(ToolPictures, JpegInAndOut) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_png(s.work("in.png"), noise_picture());
  // JPEG input, PNG output: exact comparison in the focus centre.
  ASSERT_EQ(cli::run(s, {"in.png", "--level", "0", "-o", "in.jpg"}).code, 0);
  ASSERT_EQ(cli::run(s, {"in.jpg", "-o", "out.png"}).code, 0);
  ASSERT_EQ(cli::run(s, {"in.jpg", "--level", "0", "-o", "ref.png"}).code, 0);
  cli::Rgb out, ref;
  ASSERT_TRUE(cli::read_png(s.work("out.png"), &out));
  ASSERT_TRUE(cli::read_png(s.work("ref.png"), &ref));
  expect_bokeh(out, ref);
  // JPEG output: lossy, so the centre only has to stay close.
  cli::Rgb jout, jref;
  ASSERT_EQ(cli::run(s, {"in.png", "-o", "out.jpeg"}).code, 0);
  ASSERT_TRUE(cli::read_jpeg(s.work("in.jpg"), &jref));
  ASSERT_TRUE(cli::read_jpeg(s.work("out.jpeg"), &jout));
  ASSERT_EQ(jout.width, kW);
  ASSERT_EQ(jout.height, kH);
  EXPECT_LT(rgb_diff(jout, jref, kH / 2 - 4, kH / 2 + 4, kW / 2 - 4, kW / 2 + 4), 3.0);
  EXPECT_GT(rgb_diff(jout, jref, 0, 12, 0, 12), 10.0);
}

TEST(ToolPictures, PaddedRowsGiveTheSamePicture) {
  REQUIRE_TOOL();
  for (const char* layout : {"nv21", "i420", "yuyv"}) {
    SCOPED_TRACE(layout);
    cli::Scratch s;
    cli::write_png(s.work("in.png"), noise_picture());
    ASSERT_EQ(cli::run(s, {"in.png", "--format", layout, "-o", "a.png"}).code, 0);
    ASSERT_EQ(cli::run(s, {"in.png", "--format", layout, "--pad", "13", "-o", "b.png"}).code, 0);
    EXPECT_EQ(cli::read_file(s.work("a.png")), cli::read_file(s.work("b.png")));
  }
}

TEST(ToolPictures, LevelsSheetAndMask) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_png(s.work("in.png"), noise_picture());
  ASSERT_EQ(cli::run(s, {"in.png", "--levels", "-o", "sheet.png"}).code, 0);
  cli::Rgb sheet;
  ASSERT_TRUE(cli::read_png(s.work("sheet.png"), &sheet));
  EXPECT_EQ(sheet.width, 7 * kW + 6 * 8);
  EXPECT_EQ(sheet.height, kH);
  // Level 1 and level 7 panels share the focus centre but not the corner.
  cli::Rgb first, last;
  for (cli::Rgb* panel : {&first, &last}) {
    panel->width = kW;
    panel->height = kH;
  }
  const int last_left = 6 * (kW + 8);
  for (int r = 0; r < kH; ++r) {
    const uint8_t* row = sheet.pixels.data() + static_cast<size_t>(r) * sheet.width * 3;
    first.pixels.insert(first.pixels.end(), row, row + kW * 3);
    last.pixels.insert(last.pixels.end(), row + last_left * 3, row + (last_left + kW) * 3);
  }
  EXPECT_EQ(rgb_diff(first, last, kH / 2 - 4, kH / 2 + 4, kW / 2 - 4, kW / 2 + 4), 0.0);
  EXPECT_GT(rgb_diff(first, last, 0, 12, 0, 12), 2.0);

  ASSERT_EQ(cli::run(s, {"in.png", "--mask", "-o", "mask.png"}).code, 0);
  cli::Rgb mask;
  ASSERT_TRUE(cli::read_png(s.work("mask.png"), &mask));
  ASSERT_EQ(mask.width, kW);
  ASSERT_EQ(mask.height, kH);
  auto grey = [&](int r, int c) { return mask.pixels[(static_cast<size_t>(r) * kW + c) * 3]; };
  EXPECT_EQ(grey(kH / 2, kW / 2), 255);  // inside the ellipse: keep sharp
  EXPECT_EQ(grey(0, 0), 0);              // far outside: fully blurred
}

TEST(ToolPictures, MaxWidthShrinksPictureOutputs) {
  REQUIRE_TOOL();
  cli::Scratch s;
  ASSERT_EQ(cli::run(s, {"--max-width", "128", "-o", "small.png"}).code, 0);
  cli::Rgb small;
  ASSERT_TRUE(cli::read_png(s.work("small.png"), &small));
  EXPECT_EQ(small.width, 128);
  EXPECT_EQ(small.height, 128);
}

TEST(ToolPictures, HelpAndVersion) {
  REQUIRE_TOOL();
  cli::Scratch s;
  const cli::Result help = cli::run(s, {"--help"}, "", s.aside("help.txt"));
  EXPECT_EQ(help.code, 0);
  const std::vector<uint8_t> text = cli::read_file(s.aside("help.txt"));
  const std::string help_text(text.begin(), text.end());
  EXPECT_NE(help_text.find("Exit status"), std::string::npos);
  EXPECT_NE(help_text.find("--pad"), std::string::npos);
  ASSERT_EQ(cli::run(s, {"--version"}, "", s.aside("version.txt")).code, 0);
  const std::vector<uint8_t> version = cli::read_file(s.aside("version.txt"));
  EXPECT_NE(std::string(version.begin(), version.end()).find("QUILLON CBP VER 2.1.1"),
            std::string::npos);
  EXPECT_TRUE(s.work_files().empty());
}

}  // namespace
