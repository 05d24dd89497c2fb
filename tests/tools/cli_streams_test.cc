// bokeh-preview on YUV streams: raw frames in every layout, YUV4MPEG2 through
// standard input and output, and padded rows.
#include <gtest/gtest.h>

#include "cli_harness.h"

namespace {

#define REQUIRE_TOOL() \
  if (cli::tool_path().empty()) GTEST_SKIP() << "bokeh-preview is not built"

constexpr int kW = 128;
constexpr int kH = 96;
constexpr int kFrames = 3;
const char* const kLayouts[] = {"nv21", "nv12", "i420", "yv12", "yuyv"};

std::vector<uint8_t> noise_frames(const std::string& layout, int count) {
  return cli::noise(cli::frame_size(layout, kW, kH) * count, 11);
}

// Frame by frame: every sample of the pixels around the focus centre (the
// frame centre by default) is kept; the top-left corner, far outside the
// default ellipse, is blurred.
void expect_bokeh_frames(const std::string& layout, const std::vector<uint8_t>& in,
                         const std::vector<uint8_t>& out, int frames) {
  const size_t size = cli::frame_size(layout, kW, kH);
  ASSERT_EQ(out.size(), size * frames);
  const auto centre =
      cli::box_bytes(layout, kW, kH, kH / 2 - 8, kH / 2 + 8, kW / 2 - 8, kW / 2 + 8);
  const auto corner = cli::box_bytes(layout, kW, kH, 0, 12, 0, 12);
  for (int f = 0; f < frames; ++f) {
    SCOPED_TRACE("frame " + std::to_string(f));
    EXPECT_EQ(cli::mean_diff(in, f * size, out, f * size, centre), 0.0) << "focus centre changed";
    EXPECT_GT(cli::mean_diff(in, f * size, out, f * size, corner), 20.0) << "background kept";
  }
}

TEST(ToolStreams, RawFramesInEveryLayout) {
  REQUIRE_TOOL();
  for (const char* layout : kLayouts) {
    SCOPED_TRACE(layout);
    cli::Scratch s;
    const std::vector<uint8_t> in = noise_frames(layout, kFrames);
    const std::string name = std::string("in.") + layout;
    cli::write_file(s.work(name), in);
    const cli::Result r =
        cli::run(s, {"--size", "128x96", "--format", layout, name, "-o", "out.yuv"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.err.find("3 frames"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("median"), std::string::npos) << r.err;
    expect_bokeh_frames(layout, in, cli::read_file(s.work("out.yuv")), kFrames);
    // Level 0 hands the frames through the library untouched.
    ASSERT_EQ(cli::run(s, {"--size", "128x96", "--format", layout, "--level", "0", name, "-o",
                           "same.yuv"})
                  .code,
              0);
    EXPECT_EQ(cli::read_file(s.work("same.yuv")), in);
  }
}

TEST(ToolStreams, PaddedRowsGiveTheSameFrames) {
  REQUIRE_TOOL();
  for (const char* layout : kLayouts) {
    SCOPED_TRACE(layout);
    cli::Scratch s;
    const std::string name = std::string("in.") + layout;
    cli::write_file(s.work(name), noise_frames(layout, 2));
    const std::vector<std::string> base = {"--size", "128x96", "--format", layout, name};
    std::vector<std::vector<uint8_t>> outputs;
    for (const char* pad : {"0", "1", "7", "64"}) {
      std::vector<std::string> args = base;
      args.insert(args.end(), {"--pad", pad, "-o", std::string("pad") + pad + ".yuv"});
      ASSERT_EQ(cli::run(s, args).code, 0) << "pad " << pad;
      outputs.push_back(cli::read_file(s.work(std::string("pad") + pad + ".yuv")));
    }
    for (size_t i = 1; i < outputs.size(); ++i) EXPECT_EQ(outputs[i], outputs[0]) << "pad #" << i;
  }
}

void y4m_through_pipes(const std::string& chroma, const std::string& box_layout) {
  cli::Scratch s;
  const size_t payload = cli::frame_size(box_layout, kW, kH);
  std::vector<std::vector<uint8_t>> frames;
  for (int f = 0; f < kFrames; ++f) frames.push_back(cli::noise(payload, 100 + f));
  cli::write_file(s.aside("in.y4m"), cli::make_y4m(kW, kH, chroma, frames));
  const cli::Result r = cli::run(s, {"-", "-o", "-"}, s.aside("in.y4m"), s.aside("out.y4m"));
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_TRUE(s.work_files().empty());
  cli::Y4m out;
  std::string why;
  ASSERT_TRUE(cli::parse_y4m(cli::read_file(s.aside("out.y4m")), &out, &why)) << why;
  EXPECT_EQ(out.width, kW);
  EXPECT_EQ(out.height, kH);
  EXPECT_EQ(out.chroma, chroma);
  ASSERT_EQ(out.frames.size(), static_cast<size_t>(kFrames));
  std::vector<uint8_t> in_all, out_all;
  for (int f = 0; f < kFrames; ++f) {
    in_all.insert(in_all.end(), frames[f].begin(), frames[f].end());
    out_all.insert(out_all.end(), out.frames[f].begin(), out.frames[f].end());
  }
  expect_bokeh_frames(box_layout, in_all, out_all, kFrames);
}

TEST(ToolStreams, Y4m420ThroughStandardInputAndOutput) {
  REQUIRE_TOOL();
  y4m_through_pipes("420jpeg", "i420");
}

TEST(ToolStreams, Y4m422ThroughStandardInputAndOutput) {
  REQUIRE_TOOL();
  y4m_through_pipes("422", "i422");
}

TEST(ToolStreams, RawNv21ToY4mKeepsEverySample) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.nv21"), noise_frames("nv21", 2));
  const std::vector<std::string> base = {"--size", "128x96", "in.nv21", "--level", "0"};
  std::vector<std::string> to_y4m = base, to_raw = base;
  to_y4m.insert(to_y4m.end(), {"-o", "out.y4m"});
  to_raw.insert(to_raw.end(), {"-o", "out.nv21"});
  ASSERT_EQ(cli::run(s, to_y4m).code, 0);
  ASSERT_EQ(cli::run(s, to_raw).code, 0);
  cli::Y4m y4m;
  std::string why;
  ASSERT_TRUE(cli::parse_y4m(cli::read_file(s.work("out.y4m")), &y4m, &why)) << why;
  ASSERT_EQ(y4m.frames.size(), 2u);
  const std::vector<uint8_t> raw = cli::read_file(s.work("out.nv21"));
  const size_t n = static_cast<size_t>(kW) * kH;
  for (size_t f = 0; f < 2; ++f) {
    const uint8_t* nv21 = raw.data() + f * n * 3 / 2;
    const std::vector<uint8_t>& planar = y4m.frames[f];
    EXPECT_TRUE(std::equal(nv21, nv21 + n, planar.begin()));
    for (size_t j = 0; j < n / 4; ++j) {  // NV21 pairs are V, U
      ASSERT_EQ(planar[n + j], nv21[n + 2 * j + 1]) << "U " << j;
      ASSERT_EQ(planar[n + n / 4 + j], nv21[n + 2 * j]) << "V " << j;
    }
  }
}

TEST(ToolStreams, FocusAndAxesMoveTheSharpRegion) {
  REQUIRE_TOOL();
  cli::Scratch s;
  const std::vector<uint8_t> in = noise_frames("i420", 1);
  cli::write_file(s.work("in.i420"), in);
  // A small ellipse around (20, 24): sharp there, blurred at the frame centre.
  ASSERT_EQ(cli::run(s, {"--size", "128x96", "--format", "i420", "--focus", "20,24", "--axes",
                         "12,16", "in.i420", "-o", "out.i420"})
                .code,
            0);
  const std::vector<uint8_t> out = cli::read_file(s.work("out.i420"));
  EXPECT_EQ(cli::mean_diff(in, 0, out, 0, cli::box_bytes("i420", kW, kH, 16, 24, 20, 28)), 0.0);
  EXPECT_GT(cli::mean_diff(in, 0, out, 0, cli::box_bytes("i420", kW, kH, 44, 52, 60, 68)), 20.0);
}

}  // namespace
