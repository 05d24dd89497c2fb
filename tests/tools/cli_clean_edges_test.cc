// bokeh-preview --clean-edges: with the focus region cut by a side border,
// every luma pixel inside the inner ellipse keeps its value, which the
// default exact mask does not manage; padding still changes nothing, and
// --mask draws the clean mask.
#include "cli_harness.h"

namespace {

using cli::Args;
using cli::Bytes;

constexpr int kW = 128, kH = 96;

// Luma pixels strictly inside the ellipse of semi-axes 30 (rows) and 40
// (columns) around (cy, cx) whose value changed.
int lost_inside(const Bytes& in, const Bytes& out, int cy, int cx) {
  int lost = 0;
  for (int r = 0; r < kH; ++r)
    for (int x = 0; x < kW; ++x) {
      const double dy = cy - r, dx = cx - x;
      if (dy * dy / 900.0 + dx * dx / 1600.0 >= 1.0 - 1e-9) continue;
      lost += in[size_t(r) * kW + x] != out[size_t(r) * kW + x];
    }
  return lost;
}

}  // namespace

TEST(ToolCleanEdges, SharpRegionSurvivesTheSideBorders) {
  REQUIRE_TOOL();
  cli::Scratch s;
  const Bytes in = cli::random_bytes(cli::frame_size("nv21", kW, kH), 5);
  cli::write_file(s.work("in.raw"), in);
  for (int cx : {0, kW - 1}) {
    SCOPED_TRACE(cx);
    const std::string focus = "48," + std::to_string(cx);
    const Args base = {"--size", "128x96", "in.raw", "--level", "7", "--strength", "1",
                       "--axes", "30,40", "--focus", focus, "-q", "-o"};
    ASSERT_EQ(cli::run(s, cli::join(base, {"exact.yuv"})).code, 0);
    ASSERT_EQ(cli::run(s, cli::join(base, {"clean.yuv", "--clean-edges"})).code, 0);
    ASSERT_EQ(cli::run(s, cli::join(base, {"pad.yuv", "--clean-edges", "--pad", "3"})).code, 0);
    const Bytes clean = cli::read_file(s.work("clean.yuv"));
    EXPECT_EQ(0, lost_inside(in, clean, 48, cx));
    EXPECT_GT(lost_inside(in, cli::read_file(s.work("exact.yuv")), 48, cx), 0);
    EXPECT_EQ(clean, cli::read_file(s.work("pad.yuv")));
    EXPECT_NE(clean, in);  // the rest is blurred
  }
  // The mask pictures, focus on the left border with the default axes (170
  // pixels): on the centre row the exact mask's edge values run two columns
  // ahead and leave column 170 black; the clean mask keeps it white.
  for (const char* clean : {"exact", "clean"}) {
    Args args = {"--mask", "--focus", "256,0", "-o", std::string(clean) + ".png"};
    if (clean[0] == 'c') args.push_back("--clean-edges");
    ASSERT_EQ(cli::run(s, args).code, 0);
  }
  const cli::Rgb exact = cli::read_png(s.work("exact.png")), clean = cli::read_png(s.work("clean.png"));
  ASSERT_EQ(exact.width, 512);
  ASSERT_EQ(clean.width, 512);
  EXPECT_EQ(exact.pixels[(256 * 512 + 170) * 3], 0);
  EXPECT_EQ(clean.pixels[(256 * 512 + 170) * 3], 255);
}
