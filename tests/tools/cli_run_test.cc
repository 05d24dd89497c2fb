// bokeh-preview on good input: the built-in default with its comparison,
// levels sheet and mask; PNG and JPEG in every layout; multi-frame raw files;
// YUV4MPEG2 and pictures through standard input and output; padded rows.
#include "cli_harness.h"

namespace {

using cli::Args;
using cli::Bytes;
// A picture with both sides odd, so the tool's edge extension and crop are
// exercised; raw frames of an ordinary preview size.
constexpr int kW = 131, kH = 99;
constexpr int kFw = 128, kFh = 96;

void expect_picture_bokeh(const cli::Rgb& out, const cli::Rgb& ref, double tolerance = 0) {
  ASSERT_EQ(std::make_pair(out.width, out.height), std::make_pair(ref.width, ref.height));
  cli::expect_bokeh("rgb", ref.width, ref.height, out.pixels, ref.pixels, 1, tolerance);
}

std::pair<int, int> size_of(const cli::Rgb& picture) { return {picture.width, picture.height}; }

TEST(ToolPictures, BuiltInPhotoResultComparisonLevelsMaskAndVersion) {
  REQUIRE_TOOL();
  cli::Scratch s;
  ASSERT_EQ(cli::run(s, {}).code, 0);
  EXPECT_EQ(s.work_files(), (Args{"bokeh-compare.png", "bokeh.png"}));
  for (const Args& args : {Args{"--level", "0", "-o", "plain.png"}, {"--max-width", "128", "-o", "small.png"},
                           {"--levels", "-o", "sheet.png"}, {"--mask", "-o", "mask.png"}}) {
    ASSERT_EQ(cli::run(s, args).code, 0) << args.back();
  }
  const cli::Rgb result = cli::read_png(s.work("bokeh.png")), plain = cli::read_png(s.work("plain.png"));
  const cli::Rgb mask = cli::read_png(s.work("mask.png"));
  ASSERT_EQ(size_of(result), std::make_pair(512, 512));
  EXPECT_EQ(size_of(cli::read_png(s.work("bokeh-compare.png"))), std::make_pair(3 * 512 + 2 * 8, 512));  // 8-px gaps
  EXPECT_EQ(size_of(cli::read_png(s.work("sheet.png"))), std::make_pair(7 * 512 + 6 * 8, 512));  // levels 1..7
  EXPECT_EQ(size_of(cli::read_png(s.work("small.png"))), std::make_pair(128, 128));
  // The photo is smooth in places: judge its background as a whole.
  EXPECT_EQ(cli::diff("rgb", 512, 512, result.pixels, plain.pixels, 250, 262, 250, 262), 0.0);
  EXPECT_GT(cli::diff("rgb", 512, 512, result.pixels, plain.pixels, 0, 512, 0, 512), 0.5);
  ASSERT_EQ(size_of(mask), std::make_pair(512, 512));
  EXPECT_EQ(mask.pixels[(256 * 512 + 256) * 3], 255);  // inside the ellipse: sharp
  EXPECT_EQ(mask.pixels[0], 0);                         // far outside: blurred
  ASSERT_EQ(cli::run(s, {"--version"}, "", s.aside("version.txt")).code, 0);
  const Bytes version = cli::read_file(s.aside("version.txt"));
  EXPECT_NE(std::string(version.begin(), version.end()).find("QUILLON CBP VER 2.1.1"), std::string::npos);
}

TEST(ToolPictures, PngInEveryLayoutPaddedOrNotAndThroughPipes) {
  REQUIRE_TOOL();
  for (const char* layout : {"nv21", "nv12", "i420", "yv12", "yuyv"}) {
    SCOPED_TRACE(layout);
    cli::Scratch s;
    cli::write_png(s.work("in.png"), {kW, kH, cli::random_bytes(kW * kH * 3, 7)});
    const Args in = {"in.png", "--format", layout, "-o"};
    ASSERT_EQ(cli::run(s, cli::join(in, {"out.png"})).code, 0);
    ASSERT_EQ(cli::run(s, cli::join(in, {"ref.png", "--level", "0"})).code, 0);
    ASSERT_EQ(cli::run(s, cli::join(in, {"pad.png", "--pad", "13"})).code, 0);
    // PNG in on standard input gives PNG out on standard output.
    ASSERT_EQ(cli::run(s, {"-", "--format", layout, "-o", "-"}, s.work("in.png"), s.aside("p.png")).code, 0);
    expect_picture_bokeh(cli::read_png(s.work("out.png")), cli::read_png(s.work("ref.png")));
    EXPECT_EQ(cli::read_file(s.work("pad.png")), cli::read_file(s.work("out.png")));
    EXPECT_EQ(cli::read_file(s.aside("p.png")), cli::read_file(s.work("out.png")));
    EXPECT_EQ(s.work_files(), (Args{"in.png", "out.png", "pad.png", "ref.png"}));
  }
}

TEST(ToolPictures, JpegInAndOut) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_png(s.work("in.png"), {kW, kH, cli::random_bytes(kW * kH * 3, 8)});
  ASSERT_EQ(cli::run(s, {"in.png", "--level", "0", "-o", "in.jpg"}).code, 0);
  ASSERT_EQ(cli::run(s, {"in.jpg", "-o", "out.png"}).code, 0);
  ASSERT_EQ(cli::run(s, {"in.jpg", "--level", "0", "-o", "ref.png"}).code, 0);
  expect_picture_bokeh(cli::read_png(s.work("out.png")), cli::read_png(s.work("ref.png")));
  // JPEG out is lossy: decoded by a pass-through run, the centre stays close.
  ASSERT_EQ(cli::run(s, {"in.png", "-o", "out.jpeg"}).code, 0);
  EXPECT_EQ(cli::read_file(s.work("out.jpeg")).at(1), 0xD8) << "not a JPEG stream";
  ASSERT_EQ(cli::run(s, {"out.jpeg", "--level", "0", "-o", "jout.png"}).code, 0);
  expect_picture_bokeh(cli::read_png(s.work("jout.png")), cli::read_png(s.work("ref.png")), 3.0);
}

TEST(ToolStreams, RawFramesInEveryLayoutPaddedOrNot) {
  REQUIRE_TOOL();
  for (const char* layout : {"nv21", "nv12", "i420", "yv12", "yuyv"}) {
    SCOPED_TRACE(layout);
    cli::Scratch s;
    const Bytes in = cli::random_bytes(cli::frame_size(layout, kFw, kFh) * 3, 11);
    cli::write_file(s.work("in.raw"), in);
    const Args base = {"--size", "128x96", "--format", layout, "in.raw", "-o"};
    const cli::Result r = cli::run(s, cli::join(base, {"out.yuv"}));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(r.err.find("3 frames") != std::string::npos && r.err.find("median") != std::string::npos) << r.err;
    cli::expect_bokeh(layout, kFw, kFh, cli::read_file(s.work("out.yuv")), in, 3);
    // Level 0 hands the frames through untouched; padded rows change nothing.
    ASSERT_EQ(cli::run(s, cli::join(base, {"same.yuv", "--level", "0"})).code, 0);
    EXPECT_EQ(cli::read_file(s.work("same.yuv")), in);
    for (const char* pad : {"1", "64"}) {
      ASSERT_EQ(cli::run(s, cli::join(base, {"pad.yuv", "--pad", pad})).code, 0);
      EXPECT_EQ(cli::read_file(s.work("pad.yuv")), cli::read_file(s.work("out.yuv"))) << "pad " << pad;
    }
  }
}

TEST(ToolStreams, Y4mThroughStandardInputAndOutput) {
  REQUIRE_TOOL();
  for (const auto& [chroma, layout] : {std::pair<std::string, std::string>{"420jpeg", "i420"}, {"422", "i422"}}) {
    SCOPED_TRACE(chroma);
    cli::Scratch s;
    const size_t size = cli::frame_size(layout, kFw, kFh);
    const Bytes in = cli::random_bytes(size * 3, 100);
    const auto frame = [&](int f) { return Bytes(in.begin() + f * size, in.begin() + (f + 1) * size); };
    cli::write_file(s.aside("in.y4m"), cli::make_y4m(kFw, kFh, chroma, {frame(0), frame(1), frame(2)}));
    const cli::Result r = cli::run(s, {"-", "-o", "-"}, s.aside("in.y4m"), s.aside("out.y4m"));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(s.work_files().empty());
    const cli::Y4m out = cli::split_y4m(cli::read_file(s.aside("out.y4m")), size);
    EXPECT_EQ(out.header.rfind("YUV4MPEG2 W128 H96 ", 0), 0u) << out.header;
    EXPECT_NE(out.header.find(" C" + chroma + " "), std::string::npos) << out.header;
    cli::expect_bokeh(layout, kFw, kFh, out.frames, in, 3);
  }
}

TEST(ToolStreams, RawNv21ToY4mSplitsTheChromaPairs) {
  REQUIRE_TOOL();
  cli::Scratch s;
  const size_t n = kFw * kFh;
  const Bytes in = cli::random_bytes(n * 3 / 2, 12);
  cli::write_file(s.work("in.nv21"), in);
  ASSERT_EQ(cli::run(s, {"--size", "128x96", "in.nv21", "--level", "0", "-o", "out.y4m"}).code, 0);
  const Bytes out = cli::split_y4m(cli::read_file(s.work("out.y4m")), n * 3 / 2).frames;
  ASSERT_EQ(out.size(), in.size());
  EXPECT_TRUE(std::equal(in.begin(), in.begin() + n, out.begin())) << "luma changed";
  for (size_t j = 0; j < n / 4; ++j) {  // NV21 pairs are V, U; y4m holds all U, then all V
    ASSERT_EQ(out[n + j], in[n + 2 * j + 1]) << "U " << j;
    ASSERT_EQ(out[n + n / 4 + j], in[n + 2 * j]) << "V " << j;
  }
}

}  // namespace
