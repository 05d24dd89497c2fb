// bokeh-preview's outputs beyond plain files: FIFOs, symbolic links and
// character devices (never replaced); raw outputs in the layout their name
// gives; the session's worker count; frames the library refuses; options
// that would have no effect.
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <thread>

#include "cli_harness.h"

namespace {

using cli::Args;
using cli::Bytes;
constexpr int kFailure = 1, kUsage = 2;
constexpr int kW = 128, kH = 96;

// Runs the tool while a thread drains the FIFO it writes to.
cli::Result run_into_fifo(const cli::Scratch& s, const Args& args, const std::string& fifo, Bytes* got) {
  std::thread reader([&] { *got = cli::read_file(fifo); });
  const cli::Result r = cli::run(s, args);
  reader.join();
  return r;
}

// A fresh character device node in the scratch directory (never the
// system's own); false when this process may not make one.
bool make_char_device(const std::string& path, unsigned major_id, unsigned minor_id) {
  return geteuid() == 0 && mknod(path.c_str(), S_IFCHR | 0666, makedev(major_id, minor_id)) == 0;
}

// Offsets of the Y, U and V samples of pixel (r, c): the harness lists them
// in memory order, which for NV21 and YV12 puts V before U.
std::vector<size_t> yuv_bytes(const std::string& layout, int r, int c) {
  std::vector<size_t> at = cli::pixel_bytes(layout, kW, kH, r, c);
  if (layout == "nv21" || layout == "yv12") std::swap(at[1], at[2]);
  return at;
}

bool is_kind(const std::string& path, mode_t kind) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0 && (st.st_mode & S_IFMT) == kind;
}

TEST(ToolOutputs, FifoIsWrittenInPlace) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.nv21"), cli::random_bytes(kW * kH * 3 / 2 * 2, 21));
  ASSERT_EQ(cli::run(s, {"in.nv21", "--size", "128x96", "-o", "plain.nv21"}).code, 0);
  ASSERT_EQ(mkfifo(s.work("pipe.nv21").c_str(), 0644), 0);
  Bytes got;
  const cli::Result r = run_into_fifo(s, {"in.nv21", "--size", "128x96", "-o", "pipe.nv21"}, s.work("pipe.nv21"), &got);
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(got, cli::read_file(s.work("plain.nv21")));
  EXPECT_TRUE(is_kind(s.work("pipe.nv21"), S_IFIFO)) << "the FIFO was replaced";
  EXPECT_EQ(s.work_files(), (Args{"in.nv21", "pipe.nv21", "plain.nv21"}));
}

TEST(ToolOutputs, SymbolicLinkIsWrittenThroughToItsTarget) {
  REQUIRE_TOOL();
  cli::Scratch s;
  ASSERT_EQ(cli::run(s, {"--max-width", "64", "-o", "plain.png"}).code, 0);
  const Bytes expected = cli::read_file(s.work("plain.png"));
  // An existing target in another directory, through a relative link, and a
  // link to a target that does not exist yet.
  cli::write_file(s.aside("old.png"), Bytes(10, 'x'));
  ASSERT_EQ(symlink("../old.png", s.work("link.png").c_str()), 0);
  ASSERT_EQ(symlink("new.png", s.work("dangling.png").c_str()), 0);
  for (const char* link : {"link.png", "dangling.png"}) {
    const cli::Result r = cli::run(s, {"--max-width", "64", "-o", link, "--compare", std::string("c-") + link});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_TRUE(is_kind(s.work(link), S_IFLNK)) << link << " was replaced";
  }
  EXPECT_EQ(cli::read_file(s.aside("old.png")), expected);
  EXPECT_EQ(cli::read_file(s.work("new.png")), expected);
  EXPECT_EQ(s.work_files(), (Args{"c-dangling.png", "c-link.png", "dangling.png", "link.png", "new.png", "plain.png"}));
}

TEST(ToolOutputs, CharacterDevicesAreWrittenInPlace) {
  REQUIRE_TOOL();
  cli::Scratch s;
  // Our own nodes of the null (1,3) and full (1,7) devices.
  if (!make_char_device(s.work("null"), 1, 3) || !make_char_device(s.work("full"), 1, 7)) {
    GTEST_SKIP() << "cannot make device nodes here (needs root)";
  }
  cli::Result r = cli::run(s, {"-o", "null", "--output-format", "png"});
  EXPECT_EQ(r.code, 0) << r.err;
  EXPECT_TRUE(is_kind(s.work("null"), S_IFCHR)) << "the device node was replaced";
  // A failed write says why.
  r = cli::run(s, {"-o", "full", "--output-format", "png"});
  EXPECT_EQ(r.code, kFailure);
  EXPECT_NE(r.err.find("cannot write full: No space left on device"), std::string::npos) << r.err;
  EXPECT_TRUE(is_kind(s.work("full"), S_IFCHR));
  EXPECT_EQ(s.work_files(), (Args{"full", "null"}));
}

TEST(ToolOutputs, WorkerCountDoesNotChangeTheOutput) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.i420"), cli::random_bytes(kW * kH * 3 / 2 * 3, 22));
  ASSERT_EQ(cli::run(s, {"in.i420", "--size", "128x96", "-o", "default.i420"}).code, 0);
  for (const char* workers : {"0", "1", "3"}) {
    const cli::Result r = cli::run(s, {"in.i420", "--size", "128x96", "--workers", workers, "-o", "w.i420"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(cli::read_file(s.work("w.i420")), cli::read_file(s.work("default.i420"))) << "--workers " << workers;
  }
}

TEST(ToolOutputs, RawOutputTakesTheLayoutOfItsName) {
  REQUIRE_TOOL();
  cli::Scratch s;
  const Bytes in = cli::random_bytes(kW * kH * 3 / 2 * 2, 23);
  cli::write_file(s.work("in.nv21"), in);
  // The input's layout comes from its name; processed as NV21, the result
  // is then only reordered, sample for sample.
  ASSERT_EQ(cli::run(s, {"in.nv21", "--size", "128x96", "-o", "out.yuv"}).code, 0);
  const Bytes nv21 = cli::read_file(s.work("out.yuv"));
  ASSERT_EQ(nv21.size(), in.size());
  for (const std::string layout : {"nv12", "i420", "yv12", "nv21"}) {
    SCOPED_TRACE(layout);
    const cli::Result r = cli::run(s, {"in.nv21", "--size", "128x96", "-o", "out." + layout});
    ASSERT_EQ(r.code, 0) << r.err;
    const Bytes out = cli::read_file(s.work("out." + layout));
    ASSERT_EQ(out.size(), nv21.size());
    const size_t frame = cli::frame_size("nv21", kW, kH);
    for (int f = 0; f < 2; ++f)
      for (int row = 0; row < kH; row += 7)
        for (int col = 0; col < kW; col += 3) {
          const auto a = yuv_bytes("nv21", row, col), b = yuv_bytes(layout, row, col);
          for (int k = 0; k < 3; ++k) ASSERT_EQ(out[f * frame + b[k]], nv21[f * frame + a[k]]) << row << "," << col;
        }
  }
  // --format overrides the name: the same bytes read as I420 give another result.
  ASSERT_EQ(cli::run(s, {"in.nv21", "--size", "128x96", "--format", "i420", "-o", "as-i420.yuv"}).code, 0);
  EXPECT_NE(cli::read_file(s.work("as-i420.yuv")), nv21);
}

TEST(ToolOutputs, RefusedLayoutsSizesAndIdleOptions) {
  REQUIRE_TOOL();
  cli::Scratch s;
  cli::write_file(s.work("in.nv21"), cli::random_bytes(kW * kH * 3 / 2, 24));
  cli::write_file(s.work("in.yuyv"), cli::random_bytes(kW * kH * 2, 24));
  cli::write_file(s.work("in.y4m"), cli::make_y4m(kW, kH, "420jpeg", {cli::random_bytes(kW * kH * 3 / 2, 25)}));
  cli::write_png(s.work("in.png"), {64, 48, cli::random_bytes(64 * 48 * 3, 26)});
  // One frame above the library's limit (QLSBP_MAX_FRAME_PIXELS = 2^27
  // luma pixels): 16384 x 8194.
  cli::write_file(s.work("big.y4m"), cli::make_y4m(16384, 8194, "420jpeg", {}));
  const Args raw = {"in.nv21", "--size", "128x96"};
  for (const auto& [args, code, message] : std::vector<std::tuple<Args, int, std::string>>{
           {cli::join(raw, {"-o", "out.yuyv"}), kUsage, "cannot write nv21 (4:2:0) frames as yuyv (4:2:2)"},
           {{"in.yuyv", "--size", "128x96", "-o", "out.nv12"}, kUsage, "cannot write yuyv (4:2:2) frames as nv12"},
           {{"in.png", "--size", "64x48", "-o", "out.png"}, kUsage, "--size applies to raw YUV input only"},
           {{"--size", "64x48", "-o", "out.png"}, kUsage, "--size applies to raw YUV input only"},
           {{"in.y4m", "--format", "nv12", "-o", "out.y4m"}, kUsage, "--format does not apply to in.y4m"},
           {cli::join(raw, {"--max-width", "64", "-o", "out.yuv"}), kUsage, "--max-width applies to PNG and JPEG"},
           {{"in.y4m", "--max-width", "64", "-o", "-"}, kUsage, "not to standard output"},
           {{"in.png", "--levels", "--level", "3"}, kUsage, "--level does not apply to --levels"},
           {{"in.png", "--mask", "--level", "3"}, kUsage, "--level does not apply to --mask"},
           {{"in.png", "--mask", "--workers", "2"}, kUsage, "--workers does not apply to --mask"},
           {cli::join(raw, {"--workers", "257", "-o", "out.yuv"}), kUsage, "for --workers"},
           {{"in.nv21", "--size", "16384x8194", "-o", "out.nv21"}, kFailure,
            "the library does not take 16384x8194 nv21 frames"},
           {{"big.y4m", "-o", "out.y4m"}, kFailure, "the library does not take 16384x8194 i420 frames"},
       }) {
    SCOPED_TRACE(::testing::PrintToString(args));
    const Args before = s.work_files();
    const cli::Result r = cli::run(s, args, "", s.aside("stdout"));
    EXPECT_EQ(r.code, code) << r.err;
    EXPECT_NE(r.err.find(message), std::string::npos) << r.err;
    EXPECT_EQ(s.work_files(), before) << "output left behind";
    EXPECT_TRUE(cli::read_file(s.aside("stdout")).empty()) << "wrote to standard output";
  }
}

}  // namespace
