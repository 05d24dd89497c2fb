// bokeh-preview on bad input and bad command lines: a clear message, the
// documented exit code, and no output (nor temporary file) left behind.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "cli_harness.h"

namespace {

#define REQUIRE_TOOL() \
  if (cli::tool_path().empty()) GTEST_SKIP() << "bokeh-preview is not built"

constexpr int kFailure = 1;
constexpr int kUsage = 2;
constexpr int kPartial = 3;

// Runs the tool and checks code, message and that work/ is as before.
void expect_refused(const cli::Scratch& s, const std::vector<std::string>& args, int code,
                    const std::string& message, const std::string& stdin_path = "") {
  const std::vector<std::string> before = s.work_files();
  const cli::Result r = cli::run(s, args, stdin_path);
  EXPECT_EQ(r.code, code) << r.err;
  EXPECT_NE(r.err.find(message), std::string::npos) << "stderr was: " << r.err;
  EXPECT_EQ(s.work_files(), before) << "output or temporary file left behind";
}

std::vector<uint8_t> frames_nv21(int w, int h, double count) {
  return cli::noise(static_cast<size_t>(w * h * 3 / 2 * count), 5);
}

TEST(ToolBadInput, MalformedCommandLines) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.nv21"), frames_nv21(128, 96, 1));
  const std::vector<std::string> raw = {"in.nv21", "--size", "128x96", "-o", "out.yuv"};
  auto with = [&](std::vector<std::string> extra) {
    std::vector<std::string> args = raw;
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
  };
  expect_refused(s, with({"--level", "8"}), kUsage, "invalid value '8' for --level");
  expect_refused(s, with({"--level", "5x"}), kUsage, "invalid value '5x' for --level");
  expect_refused(s, with({"--strength", "0"}), kUsage, "for --strength");
  expect_refused(s, with({"--strength", ""}), kUsage, "for --strength");
  expect_refused(s, with({"--pad", "-1"}), kUsage, "for --pad");
  expect_refused(s, with({"--focus", "1,2,3"}), kUsage, "for --focus");
  expect_refused(s, with({"--focus", "10"}), kUsage, "for --focus");
  expect_refused(s, with({"--axes", "0,5"}), kUsage, "for --axes");
  expect_refused(s, with({"--level", "99999999999999999999"}), kUsage, "for --level");
  expect_refused(s, with({"--format", "rgb24"}), kUsage, "nv21, nv12, i420, yv12 or yuyv");
  expect_refused(s, with({"--output-format", "gif"}), kUsage, "png, jpeg, y4m or raw");
  expect_refused(s, with({"--frobnicate"}), kUsage, "unknown option --frobnicate");
  expect_refused(s, with({"--level"}), kUsage, "--level needs a value");
  expect_refused(s, with({"other.nv21"}), kUsage, "more than one input");
  expect_refused(s, with({"--levels", "--mask"}), kUsage, "cannot be combined");
  expect_refused(s, {"in.nv21", "--size", "128x", "-o", "out.yuv"}, kUsage, "for --size");
  expect_refused(s, {"in.nv21", "--size", "128x96", "-o", "out.xyz"}, kUsage,
                 "cannot tell the output format");
  expect_refused(s, with({"--focus", "96,0"}), kUsage, "lies outside the 128x96 frame");
  expect_refused(s, with({"--mask"}), kUsage, "--mask writes a PNG");
}

TEST(ToolBadInput, UnreadableAndDamagedFiles) {
  REQUIRE_TOOL();
  cli::Scratch s;
  expect_refused(s, {"missing.png", "-o", "out.png"}, kFailure, "cannot open missing.png");
  expect_refused(s, {"-o", "no-such-dir/out.png"}, kFailure, "cannot write no-such-dir/out.png");
  cli::write_file(s.work("empty.png"), {});
  expect_refused(s, {"empty.png", "-o", "out.png"}, kFailure, "empty.png is empty");
  cli::write_file(s.work("notes.txt"), std::vector<uint8_t>(200, 'a'));
  expect_refused(s, {"notes.txt", "-o", "out.png"}, kFailure, "cannot tell what notes.txt holds");

  // Truncated pictures, cut from complete ones the tool wrote.
  ASSERT_EQ(cli::run(s, {"--level", "0", "-o", "good.png"}).code, 0);
  ASSERT_EQ(cli::run(s, {"--level", "0", "-o", "good.jpg"}).code, 0);
  for (const char* name : {"good.png", "good.jpg"}) {
    std::vector<uint8_t> bytes = cli::read_file(s.work(name));
    bytes.resize(bytes.size() / 2);
    cli::write_file(s.work(std::string("cut-") + name), bytes);
  }
  expect_refused(s, {"cut-good.png", "-o", "out.png"}, kFailure, "cannot read PNG");
  expect_refused(s, {"cut-good.jpg", "-o", "out.png"}, kFailure, "cannot read JPEG");
}

TEST(ToolBadInput, FrameSizesThePipelineCannotTake) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.raw"), cli::noise(40000, 1));
  expect_refused(s, {"in.raw", "--size", "1x2", "-o", "o.yuv"}, kUsage, "must be even");
  expect_refused(s, {"in.raw", "--size", "131x96", "-o", "o.yuv"}, kUsage, "must be even");
  expect_refused(s, {"in.raw", "--size", "128x97", "-o", "o.yuv"}, kUsage, "must be even");
  // Packed 4:2:2 keeps full-height chroma: an odd height is fine, one row is not.
  expect_refused(s, {"in.raw", "--size", "128x1", "--format", "yuyv", "-o", "o.yuv"}, kUsage,
                 "too small: the effect needs at least 2x2");
  cli::Rgb tiny;
  tiny.width = 1;
  tiny.height = 1;
  tiny.pixels = cli::noise(3, 2);
  cli::write_png(s.work("tiny.png"), tiny);
  expect_refused(s, {"tiny.png", "-o", "out.png"}, kFailure, "too small");
  cli::write_file(s.work("odd.y4m"), cli::make_y4m(63, 64, "420jpeg", {cli::noise(6144, 3)}));
  expect_refused(s, {"odd.y4m", "-o", "out.y4m"}, kFailure, "must be even");
}

TEST(ToolBadInput, RawTailIsReportedAfterTheWholeFrames) {
  REQUIRE_TOOL();
  cli::Scratch s;
  const std::vector<uint8_t> in = frames_nv21(128, 96, 2.5);
  cli::write_file(s.work("in.nv21"), in);
  const cli::Result r = cli::run(s, {"in.nv21", "--size", "128x96", "-o", "out.nv21"});
  EXPECT_EQ(r.code, kPartial);
  EXPECT_NE(r.err.find("frame 3 is cut short: 9216 of 18432 bytes"), std::string::npos) << r.err;
  EXPECT_EQ(cli::read_file(s.work("out.nv21")).size(), 2u * 18432);
  EXPECT_EQ(s.work_files(), (std::vector<std::string>{"in.nv21", "out.nv21"}));

  cli::write_file(s.work("short.nv21"), frames_nv21(128, 96, 0.5));
  expect_refused(s, {"short.nv21", "--size", "128x96", "-o", "o.nv21"}, kFailure,
                 "holds no whole frame");
}

TEST(ToolBadInput, DamagedY4mStreams) {
  REQUIRE_TOOL();
  cli::Scratch s;
  const std::vector<uint8_t> frame = cli::noise(128 * 96 * 3 / 2, 4);
  std::vector<uint8_t> stream = cli::make_y4m(128, 96, "420jpeg", {frame, frame});
  cli::write_file(s.aside("c444.y4m"), cli::make_y4m(128, 96, "444", {frame}));
  expect_refused(s, {"-", "-o", "out.y4m"}, kFailure, "C444 is not supported", s.aside("c444.y4m"));
  cli::write_file(s.aside("nosize.y4m"), {'Y', 'U', 'V', '4', 'M', 'P', 'E', 'G', '2', ' ', 'F',
                                          '2', '5', ':', '1', '\n'});
  expect_refused(s, {"-", "-o", "out.y4m"}, kFailure, "no valid width and height",
                 s.aside("nosize.y4m"));
  std::vector<uint8_t> bad_frame = stream;
  const size_t second = bad_frame.size() - frame.size() - 6;
  bad_frame[second] = 'X';  // "XRAME"
  cli::write_file(s.aside("bad.y4m"), bad_frame);
  expect_refused(s, {"-", "-o", "out.y4m"}, kFailure, "frame 2 does not start with a FRAME line",
                 s.aside("bad.y4m"));

  // Cut inside the second frame: the first is written, the tail reported.
  stream.resize(stream.size() - 100);
  cli::write_file(s.aside("cut.y4m"), stream);
  const cli::Result r = cli::run(s, {"-", "-o", "out.y4m"}, s.aside("cut.y4m"));
  EXPECT_EQ(r.code, kPartial) << r.err;
  EXPECT_NE(r.err.find("frame 2 is cut short"), std::string::npos) << r.err;
  cli::Y4m out;
  std::string why;
  ASSERT_TRUE(cli::parse_y4m(cli::read_file(s.work("out.y4m")), &out, &why)) << why;
  EXPECT_EQ(out.frames.size(), 1u);
}

TEST(ToolBadInput, NeverWritesOverItsInput) {
  REQUIRE_TOOL();
  cli::Scratch s;
  ASSERT_EQ(cli::run(s, {"--level", "0", "-o", "photo.png"}).code, 0);
  const std::vector<uint8_t> before = cli::read_file(s.work("photo.png"));
  expect_refused(s, {"photo.png", "-o", "photo.png"}, kUsage, "refusing to write over the input");
  expect_refused(s, {"photo.png", "-o", "./photo.png"}, kUsage, "refusing to write over the input");
  expect_refused(s, {"photo.png", "-o", "x.png", "--compare", "photo.png"}, kUsage,
                 "refusing to write over the input");
  EXPECT_EQ(cli::read_file(s.work("photo.png")), before);
}

TEST(ToolBadInput, OnePictureOutputForOneFrame) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.nv21"), frames_nv21(128, 96, 2));
  expect_refused(s, {"in.nv21", "--size", "128x96", "-o", "out.png"}, kUsage,
                 "holds more than one frame");
}

TEST(ToolBadInput, InterruptRemovesThePartialOutput) {
  REQUIRE_TOOL();
  cli::Scratch s;
  // Feed one frame through a pipe that stays open, so the tool waits for
  // more while its temporary output exists; then stop it.
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(fds[0], 0);
    close(fds[1]);
    const int devnull = open("/dev/null", O_WRONLY);
    dup2(devnull, 2);
    if (chdir(s.work().c_str()) != 0) _exit(125);
    execl(cli::tool_path().c_str(), cli::tool_path().c_str(), "-", "-q", "--size", "128x96", "-o",
          "out.nv21", static_cast<char*>(nullptr));
    _exit(126);
  }
  close(fds[0]);
  const std::vector<uint8_t> frame = frames_nv21(128, 96, 1);
  ASSERT_EQ(write(fds[1], frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
  bool temp_seen = false;
  for (int i = 0; i < 200 && !temp_seen; ++i) {
    temp_seen = !s.work_files().empty();
    if (!temp_seen) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  EXPECT_TRUE(temp_seen);
  kill(pid, SIGTERM);
  int status = 0;
  waitpid(pid, &status, 0);
  close(fds[1]);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
  EXPECT_TRUE(s.work_files().empty()) << "left: " << s.work_files().front();
}

}  // namespace
