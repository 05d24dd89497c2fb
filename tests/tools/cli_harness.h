// Runs bokeh-preview as a separate process in a scratch directory and gives
// the tests small, independent readers and makers of the files it handles.
#ifndef TESTS_TOOLS_CLI_HARNESS_H_
#define TESTS_TOOLS_CLI_HARNESS_H_

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

// Path of the tool under test, or empty when this build has no tool.
std::string tool_path();

// A fresh directory per test: work/ is where the tool runs and writes,
// nothing else is put there, so leftovers are easy to see.
class Scratch {
 public:
  Scratch();
  ~Scratch();
  std::string work(const std::string& name = "") const;
  std::string aside(const std::string& name) const;  // outside work/
  std::vector<std::string> work_files() const;       // names in work/, sorted

 private:
  std::string root_;
};

struct Result {
  int code = -1;  // exit status, or 128 + signal
  std::string err;
};

// Runs the tool in scratch.work() with the given arguments. stdin_path and
// stdout_path (absolute, or empty for /dev/null) redirect its standard
// streams; its standard error is returned.
Result run(const Scratch& scratch, const std::vector<std::string>& args,
           const std::string& stdin_path = "", const std::string& stdout_path = "");

std::vector<uint8_t> read_file(const std::string& path);
void write_file(const std::string& path, const std::vector<uint8_t>& bytes);
bool exists(const std::string& path);

// Deterministic noise: every byte independent, so any blur changes it a lot.
std::vector<uint8_t> noise(size_t bytes, uint32_t seed);

struct Rgb {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> pixels;  // R G B
};
bool read_png(const std::string& path, Rgb* out);
void write_png(const std::string& path, const Rgb& picture);
bool read_jpeg(const std::string& path, Rgb* out);

// Byte offsets, inside a dense frame of the named layout ("nv21", "nv12",
// "i420", "yv12", "yuyv", or "i422" for planar 4:2:2), of every luma and chroma sample that belongs
// to the pixels of rows [r0, r1) and columns [c0, c1) (even bounds).
std::vector<size_t> box_bytes(const std::string& layout, int width, int height, int r0, int r1,
                              int c0, int c1);
size_t frame_size(const std::string& layout, int width, int height);

// Mean absolute difference of two buffers over the given offsets.
double mean_diff(const std::vector<uint8_t>& a, size_t a_base, const std::vector<uint8_t>& b,
                 size_t b_base, const std::vector<size_t>& offsets);

// A YUV4MPEG2 stream parsed by the test: header fields and frame payloads.
struct Y4m {
  int width = 0;
  int height = 0;
  std::string chroma;
  std::vector<std::vector<uint8_t>> frames;
};
bool parse_y4m(const std::vector<uint8_t>& bytes, Y4m* out, std::string* why);
std::vector<uint8_t> make_y4m(int width, int height, const std::string& chroma,
                              const std::vector<std::vector<uint8_t>>& frames);

}  // namespace cli

#endif  // TESTS_TOOLS_CLI_HARNESS_H_
