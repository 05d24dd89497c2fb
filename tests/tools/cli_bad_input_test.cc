// bokeh-preview on bad input and bad command lines: a clear message, the
// documented exit code, and no output (nor temporary file) left behind.
#include "cli_harness.h"

namespace {

using cli::Args;
constexpr int kFailure = 1, kUsage = 2, kPartial = 3;
constexpr size_t kNv21 = 128 * 96 * 3 / 2;  // one 128x96 NV21 frame

struct Refusal { Args args; int code; std::string message; };

// Each case: its exit code, its message, and work/ exactly as before.
void expect_refused(const cli::Scratch& s, const std::vector<Refusal>& cases) {
  for (const Refusal& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.args));
    const Args before = s.work_files();
    const cli::Result r = cli::run(s, c.args);
    EXPECT_EQ(r.code, c.code) << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << "stderr was: " << r.err;
    EXPECT_EQ(s.work_files(), before) << "output or temporary file left behind";
  }
}

TEST(ToolBadInput, MalformedCommandLines) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.nv21"), cli::random_bytes(kNv21, 5));
  auto raw = [](Args extra) { return cli::join({"in.nv21", "--size", "128x96", "-o", "out.yuv"}, extra); };
  expect_refused(s, {
      {raw({"--level", "8"}), kUsage, "invalid value '8' for --level"},
      {raw({"--level", "99999999999999999999"}), kUsage, "for --level"},
      {raw({"--strength", "0"}), kUsage, "for --strength"},
      {raw({"--pad", "-1"}), kUsage, "for --pad"},
      {raw({"--focus", "1,2,3"}), kUsage, "for --focus"},
      {raw({"--focus", "96,0"}), kUsage, "lies outside the 128x96 frame"},
      {raw({"--axes", "0,5"}), kUsage, "for --axes"},
      {raw({"--format", "rgb24"}), kUsage, "nv21, nv12, i420, yv12 or yuyv"},
      {raw({"--output-format", "gif"}), kUsage, "png, jpeg, y4m or raw"},
      {raw({"--frobnicate"}), kUsage, "unknown option --frobnicate"},
      {raw({"--level"}), kUsage, "--level needs a value"},
      {raw({"other.nv21"}), kUsage, "more than one input"},
      {raw({"--levels", "--mask"}), kUsage, "cannot be combined"},
      {raw({"--mask"}), kUsage, "--mask writes a PNG"},
      {{"in.nv21", "--size", "128x", "-o", "out.yuv"}, kUsage, "for --size"},
      {{"in.nv21", "--size", "128x96", "-o", "out.xyz"}, kUsage, "cannot tell the output format"},
  });
}

TEST(ToolBadInput, UnreadableDamagedOrUnsuitableInput) {
  REQUIRE_TOOL();
  cli::Scratch s;
  ASSERT_EQ(cli::run(s, {"--level", "0", "-o", "good.png"}).code, 0);
  ASSERT_EQ(cli::run(s, {"--level", "0", "-o", "good.jpg"}).code, 0);
  for (const std::string name : {"good.png", "good.jpg"}) {
    const cli::Bytes bytes = cli::read_file(s.work(name));
    cli::write_file(s.work("cut-" + name), cli::Bytes(bytes.begin(), bytes.begin() + bytes.size() / 2));
  }
  cli::write_png(s.work("line.png"), {64, 1, cli::random_bytes(64 * 3, 2)});  // even once its row is repeated
  const cli::Bytes frame = cli::random_bytes(kNv21, 4);
  const std::string no_size = "YUV4MPEG2 F25:1\n";
  cli::Bytes bad_frame = cli::make_y4m(128, 96, "420jpeg", {frame, frame});
  bad_frame[bad_frame.size() - kNv21 - 6] = 'X';  // "XRAME" before the second frame
  for (const auto& [name, bytes] : std::vector<std::pair<std::string, cli::Bytes>>{
           {"empty.png", {}}, {"notes.txt", cli::Bytes(200, 'a')}, {"in.raw", cli::random_bytes(2 * kNv21, 1)},
           {"short.nv21", cli::random_bytes(kNv21 / 2, 1)}, {"c444.y4m", cli::make_y4m(128, 96, "444", {frame})},
           {"odd.y4m", cli::make_y4m(63, 64, "420jpeg", {cli::random_bytes(63 * 64 * 3 / 2, 3)})},
           {"nosize.y4m", cli::Bytes(no_size.begin(), no_size.end())}, {"bad.y4m", bad_frame}}) {
    cli::write_file(s.work(name), bytes);
  }
  auto raw = [](const char* size, const char* format) { return Args{"in.raw", "--size", size, "--format", format, "-o", "o.yuv"}; };
  expect_refused(s, {
      {{"missing.png", "-o", "out.png"}, kFailure, "cannot open missing.png"},
      {{"-o", "no-such-dir/out.png"}, kFailure, "cannot write no-such-dir/out.png"},
      {{"empty.png", "-o", "out.png"}, kFailure, "empty.png is empty"},
      {{"notes.txt", "-o", "out.png"}, kFailure, "cannot tell what notes.txt holds"},
      {{"cut-good.png", "-o", "out.png"}, kFailure, "cannot read PNG"},
      {{"cut-good.jpg", "-o", "out.png"}, kFailure, "cannot read JPEG"},
      {{"line.png", "-o", "out.png"}, kFailure, "too small: the effect needs at least 2x2"},
      {raw("131x96", "nv21"), kUsage, "the width and height must be even"},
      {raw("128x97", "i420"), kUsage, "the width and height must be even"},
      {raw("131x96", "yuyv"), kUsage, "the width must be even"},
      {raw("128x1", "yuyv"), kUsage, "too small: the effect needs at least 2x2"},
      {{"short.nv21", "--size", "128x96", "-o", "o.nv21"}, kFailure, "holds no whole frame"},
      {{"in.raw", "--size", "128x96", "-o", "out.png"}, kUsage, "holds more than one frame"},
      {{"odd.y4m", "-o", "out.y4m"}, kFailure, "must be even"},
      {{"c444.y4m", "-o", "out.y4m"}, kFailure, "C444 is not supported"},
      {{"nosize.y4m", "-o", "out.y4m"}, kFailure, "no valid width and height"},
      {{"bad.y4m", "-o", "out.y4m"}, kFailure, "frame 2 does not start with a FRAME line"},
      {{"good.png", "-o", "good.png"}, kUsage, "refusing to write over the input"},
      {{"good.png", "-o", "./good.png"}, kUsage, "refusing to write over the input"},
      {{"good.png", "-o", "x.png", "--compare", "good.png"}, kUsage, "refusing to write over the input"},
  });
}

TEST(ToolBadInput, SmallestSizesAreAccepted) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.nv21"), cli::random_bytes(6, 1));  // one 2x2 NV21 frame
  EXPECT_EQ(cli::run(s, {"in.nv21", "--size", "2x2", "-o", "out.nv21"}).code, 0);
  EXPECT_EQ(cli::read_file(s.work("out.nv21")).size(), 6u);
  cli::write_file(s.work("in.yuyv"), cli::random_bytes(8 * 3 * 2, 1));  // 4:2:2 takes an odd height
  EXPECT_EQ(cli::run(s, {"in.yuyv", "--size", "8x3", "--format", "yuyv", "-o", "out.yuyv"}).code, 0);
  cli::write_png(s.work("in.png"), {3, 2, cli::random_bytes(3 * 2 * 3, 2)});
  ASSERT_EQ(cli::run(s, {"in.png", "-o", "out.png"}).code, 0);
  const cli::Rgb out = cli::read_png(s.work("out.png"));
  EXPECT_EQ(std::make_pair(out.width, out.height), std::make_pair(3, 2));
}

TEST(ToolBadInput, InputCutInsideAFrameKeepsTheWholeFrames) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.nv21"), cli::random_bytes(kNv21 * 5 / 2, 5));
  cli::Result r = cli::run(s, {"in.nv21", "--size", "128x96", "-o", "out.nv21"});
  EXPECT_TRUE(r.code == kPartial && r.err.find("frame 3 is cut short: 9216 of 18432 bytes") != std::string::npos) << r.err;
  EXPECT_EQ(cli::read_file(s.work("out.nv21")).size(), 2 * kNv21);
  const cli::Bytes frame = cli::random_bytes(kNv21, 4), y4m = cli::make_y4m(128, 96, "420jpeg", {frame, frame});
  cli::write_file(s.aside("cut.y4m"), cli::Bytes(y4m.begin(), y4m.end() - 100));
  r = cli::run(s, {"-", "-o", "out.y4m"}, s.aside("cut.y4m"));
  EXPECT_TRUE(r.code == kPartial && r.err.find("frame 2 is cut short") != std::string::npos) << r.err;
  EXPECT_EQ(cli::split_y4m(cli::read_file(s.work("out.y4m")), kNv21).frames.size(), kNv21);
  EXPECT_EQ(s.work_files(), (Args{"in.nv21", "out.nv21", "out.y4m"}));
}

}  // namespace
