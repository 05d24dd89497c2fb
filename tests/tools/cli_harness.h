// Runs bokeh-preview as a separate process in a scratch directory, and gives
// the tests small readers and makers of the files it handles, written here
// independently of the tool (libpng's simple API, a plain y4m splitter).
#ifndef TESTS_TOOLS_CLI_HARNESS_H_
#define TESTS_TOOLS_CLI_HARNESS_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "common/test_util.h"

#ifndef BOKEH_PREVIEW_EXE
#define BOKEH_PREVIEW_EXE ""  // this build has no tool: the tests skip
#endif
#define REQUIRE_TOOL() \
  if (std::string(BOKEH_PREVIEW_EXE).empty()) GTEST_SKIP() << "bokeh-preview is not built"

namespace cli {

using Bytes = std::vector<uint8_t>;
using Args = std::vector<std::string>;
using qlsbp_test::random_bytes;

inline Args join(Args a, const Args& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

inline std::string make_scratch_root() {
  std::string root = std::filesystem::temp_directory_path().string() + "/bokeh-cli-XXXXXX";
  if (!mkdtemp(&root[0]) || !std::filesystem::create_directory(root + "/files")) std::abort();
  return root;
}

// A fresh directory per test. The tool runs in files/, which holds nothing but
// the test's inputs, so any leftover is easy to see; aside() is outside it.
struct Scratch {
  const std::string root = make_scratch_root();
  ~Scratch() { std::error_code ignored; std::filesystem::remove_all(root, ignored); }
  std::string work(const std::string& name = "") const { return root + "/files/" + name; }
  std::string aside(const std::string& name) const { return root + "/" + name; }
  std::vector<std::string> work_files() const {  // sorted names
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(work())) names.push_back(e.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
};

inline Bytes read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void write_file(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

struct Result { int code = -1; std::string err; };  // code: exit status, or 128 + signal

// Runs the tool in s.work(); stdin_path / stdout_path redirect its standard
// streams (empty: /dev/null). Its standard error is returned.
inline Result run(const Scratch& s, Args args, const std::string& stdin_path = "",
                  const std::string& stdout_path = "") {
  const std::string err_path = s.aside("stderr.txt");
  args.insert(args.begin(), BOKEH_PREVIEW_EXE);
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(&a[0]);
  argv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    const int in = open(stdin_path.empty() ? "/dev/null" : stdin_path.c_str(), O_RDONLY);
    const int out = open(stdout_path.empty() ? "/dev/null" : stdout_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0 || chdir(s.work().c_str()) != 0) _exit(125);
    dup2(in, 0), dup2(out, 1), dup2(err, 2);
    execv(argv[0], argv.data());
    _exit(126);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  const Bytes err = read_file(err_path);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), std::string(err.begin(), err.end())};
}

struct Rgb { int width = 0, height = 0; Bytes pixels; };  // pixels: R G B

inline Rgb read_png(const std::string& path) {  // empty on failure
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return Rgb();
  image.format = PNG_FORMAT_RGB;
  Rgb out{static_cast<int>(image.width), static_cast<int>(image.height), Bytes(PNG_IMAGE_SIZE(image))};
  return png_image_finish_read(&image, nullptr, out.pixels.data(), 0, nullptr) ? out : Rgb();
}

inline void write_png(const std::string& path, const Rgb& picture) {
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION, image.format = PNG_FORMAT_RGB;
  image.width = static_cast<png_uint_32>(picture.width), image.height = static_cast<png_uint_32>(picture.height);
  png_image_write_to_file(&image, path.c_str(), 0, picture.pixels.data(), 0, nullptr);
}

// Byte offsets of every sample of pixel (r, c), in memory order, in a dense
// frame of the named layout: "rgb" pictures, "i422" planar 4:2:2 as y4m C422
// stores it, or one of the tool's --format names.
inline std::vector<size_t> pixel_bytes(const std::string& layout, size_t w, size_t h, size_t r, size_t c) {
  const size_t n = w * h, nv = n + (r / 2) * w + c / 2 * 2, yuv420 = n + (r / 2) * (w / 2) + c / 2;
  if (layout == "rgb") return {(r * w + c) * 3, (r * w + c) * 3 + 1, (r * w + c) * 3 + 2};
  if (layout == "yuyv") return {r * 2 * w + 2 * c, r * 2 * w + c / 2 * 4 + 1, r * 2 * w + c / 2 * 4 + 3};
  if (layout == "i422") return {r * w + c, n + r * (w / 2) + c / 2, n + n / 2 + r * (w / 2) + c / 2};
  if (layout == "nv21" || layout == "nv12") return {r * w + c, nv, nv + 1};
  return {r * w + c, yuv420, yuv420 + n / 4};
}

inline size_t frame_size(const std::string& layout, size_t w, size_t h) {
  return layout == "rgb" ? 3 * w * h : layout == "yuyv" || layout == "i422" ? 2 * w * h : w * h * 3 / 2;
}

// Mean absolute difference of all samples of the pixels in rows [r0, r1),
// columns [c0, c1) of frame f in two streams of dense frames.
inline double diff(const std::string& layout, int w, int h, const Bytes& a, const Bytes& b, int r0, int r1, int c0,
                   int c1, int f = 0) {
  const size_t base = frame_size(layout, w, h) * f;
  double sum = 0;
  for (int r = r0; r < r1; ++r)
    for (int c = c0; c < c1; ++c)
      for (size_t o : pixel_bytes(layout, w, h, r, c)) sum += std::abs(a.at(base + o) - b.at(base + o));
  return sum / ((r1 - r0) * (c1 - c0) * 3);
}

// Frame by frame: all samples of the pixels around the focus centre (by
// default the frame centre) equal the reference's (within a tolerance for
// lossy files); the top-left corner, far outside the default ellipse, differs.
inline void expect_bokeh(const std::string& layout, int w, int h, const Bytes& out, const Bytes& ref,
                         int frames = 1, double tolerance = 0) {
  ASSERT_EQ(out.size(), frame_size(layout, w, h) * frames);
  for (int f = 0; f < frames; ++f) {
    EXPECT_LE(diff(layout, w, h, out, ref, h / 2 - 6, h / 2 + 6, w / 2 - 6, w / 2 + 6, f), tolerance) << "frame " << f;
    EXPECT_GT(diff(layout, w, h, out, ref, 0, 12, 0, 12, f), 10.0) << "background kept in frame " << f;
  }
}

inline Bytes make_y4m(int w, int h, const std::string& chroma, const std::vector<Bytes>& frames) {
  const std::string header = "YUV4MPEG2 W" + std::to_string(w) + " H" + std::to_string(h) + " F30000:1001 C" + chroma + "\n";
  Bytes out(header.begin(), header.end());
  for (const Bytes& frame : frames) {
    out.insert(out.end(), {'F', 'R', 'A', 'M', 'E', '\n'});
    out.insert(out.end(), frame.begin(), frame.end());
  }
  return out;
}

// header: the header line and a space, so that " C420jpeg " can be found;
// frames: the frame payloads back to back.
struct Y4m { std::string header; Bytes frames; };

// Splits a y4m stream into its header line and frames of `payload` bytes; a
// missing FRAME line or a short frame fails the test.
inline Y4m split_y4m(const Bytes& b, size_t payload) {
  const auto eol = std::find(b.begin(), b.end(), '\n');
  Y4m out{std::string(b.begin(), eol) + " ", {}};
  for (size_t at = eol - b.begin() + 1; at < b.size(); at += 6 + payload) {
    const bool whole = b.size() - at >= 6 + payload && std::memcmp(&b[at], "FRAME\n", 6) == 0;
    EXPECT_TRUE(whole) << "bad or short frame at byte " << at;
    if (!whole) break;
    out.frames.insert(out.frames.end(), b.begin() + at + 6, b.begin() + at + 6 + payload);
  }
  return out;
}

}  // namespace cli

#endif  // TESTS_TOOLS_CLI_HARNESS_H_
