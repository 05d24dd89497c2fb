#include "cli_harness.h"

#include <fcntl.h>
#include <jpeglib.h>
#include <png.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace cli {

std::string tool_path() {
#ifdef BOKEH_PREVIEW_EXE
  return BOKEH_PREVIEW_EXE;
#else
  return std::string();
#endif
}

Scratch::Scratch() {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/bokeh-cli-XXXXXX";
  if (!mkdtemp(&pattern[0])) std::abort();
  root_ = pattern;
  std::filesystem::create_directory(root_ + "/work");
}

Scratch::~Scratch() {
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

std::string Scratch::work(const std::string& name) const {
  return name.empty() ? root_ + "/files" : root_ + "/files/" + name;
}

std::string Scratch::aside(const std::string& name) const { return root_ + "/" + name; }

std::vector<std::string> Scratch::work_files() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(work())) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Result run(const Scratch& scratch, const std::vector<std::string>& args,
           const std::string& stdin_path, const std::string& stdout_path) {
  Result result;
  const std::string err_path = scratch.aside("stderr.txt");
  std::vector<std::string> argv_text = {tool_path()};
  argv_text.insert(argv_text.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : argv_text) argv.push_back(&a[0]);
  argv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    const int in = open(stdin_path.empty() ? "/dev/null" : stdin_path.c_str(), O_RDONLY);
    const int out = stdout_path.empty()
                        ? open("/dev/null", O_WRONLY)
                        : open(stdout_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0 || chdir(scratch.work().c_str()) != 0) _exit(125);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    execv(argv[0], argv.data());
    _exit(126);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  result.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  const std::vector<uint8_t> err = read_file(err_path);
  result.err.assign(err.begin(), err.end());
  return result;
}

std::vector<uint8_t> read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void write_file(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

bool exists(const std::string& path) { return std::filesystem::exists(path); }

std::vector<uint8_t> noise(size_t bytes, uint32_t seed) {
  std::vector<uint8_t> out(bytes);
  uint32_t x = seed * 2654435761u + 1;
  for (uint8_t& b : out) {
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    b = static_cast<uint8_t>(x >> 11);
  }
  return out;
}

bool read_png(const std::string& path, Rgb* out) {
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
  image.format = PNG_FORMAT_RGB;
  out->width = static_cast<int>(image.width);
  out->height = static_cast<int>(image.height);
  out->pixels.assign(PNG_IMAGE_SIZE(image), 0);
  return png_image_finish_read(&image, nullptr, out->pixels.data(), 0, nullptr) != 0;
}

void write_png(const std::string& path, const Rgb& picture) {
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  png_image_write_to_file(&image, path.c_str(), 0, picture.pixels.data(), 0, nullptr);
}

bool read_jpeg(const std::string& path, Rgb* out) {
  FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return false;
  unsigned char magic[2] = {0, 0};
  const bool is_jpeg = std::fread(magic, 1, 2, file) == 2 && magic[0] == 0xFF && magic[1] == 0xD8;
  std::rewind(file);
  if (!is_jpeg) {
    std::fclose(file);
    return false;
  }
  // Files given here come from the tool; libjpeg's default error handler
  // (print and exit) is enough to fail the test on a damaged one.
  jpeg_decompress_struct info;
  jpeg_error_mgr err;
  info.err = jpeg_std_error(&err);
  jpeg_create_decompress(&info);
  jpeg_stdio_src(&info, file);
  jpeg_read_header(&info, TRUE);
  info.out_color_space = JCS_RGB;
  jpeg_start_decompress(&info);
  out->width = static_cast<int>(info.output_width);
  out->height = static_cast<int>(info.output_height);
  out->pixels.assign(static_cast<size_t>(out->width) * out->height * 3, 0);
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = out->pixels.data() + static_cast<size_t>(info.output_scanline) * out->width * 3;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  std::fclose(file);
  return true;
}

size_t frame_size(const std::string& layout, int width, int height) {
  const size_t n = static_cast<size_t>(width) * height;
  return layout == "yuyv" || layout == "i422" ? 2 * n : n * 3 / 2;
}

std::vector<size_t> box_bytes(const std::string& layout, int width, int height, int r0, int r1,
                              int c0, int c1) {
  std::vector<size_t> out;
  const size_t w = static_cast<size_t>(width);
  const size_t n = w * static_cast<size_t>(height);
  for (int r = r0; r < r1; r += 2) {
    for (int c = c0; c < c1; c += 2) {
      // Each 2x2 block of pixels: four luma samples and the chroma they share.
      if (layout == "yuyv") {
        for (int dr = 0; dr < 2; ++dr) {
          const size_t row = static_cast<size_t>(r + dr) * 2 * w + static_cast<size_t>(c) * 2;
          for (int k = 0; k < 4; ++k) out.push_back(row + k);  // Y0 U Y1 V
        }
        continue;
      }
      for (int dr = 0; dr < 2; ++dr) {
        out.push_back((r + dr) * w + c);
        out.push_back((r + dr) * w + c + 1);
      }
      if (layout == "i422") {  // planar 4:2:2, as y4m C422 stores it
        for (int dr = 0; dr < 2; ++dr) {
          const size_t at = static_cast<size_t>(r + dr) * (w / 2) + c / 2;
          out.push_back(n + at);
          out.push_back(n + n / 2 + at);
        }
      } else if (layout == "nv21" || layout == "nv12") {
        out.push_back(n + static_cast<size_t>(r / 2) * w + c);
        out.push_back(n + static_cast<size_t>(r / 2) * w + c + 1);
      } else {
        const size_t at = static_cast<size_t>(r / 2) * (w / 2) + c / 2;
        out.push_back(n + at);
        out.push_back(n + n / 4 + at);
      }
    }
  }
  return out;
}

double mean_diff(const std::vector<uint8_t>& a, size_t a_base, const std::vector<uint8_t>& b,
                 size_t b_base, const std::vector<size_t>& offsets) {
  double sum = 0;
  for (size_t off : offsets) sum += std::abs(int(a.at(a_base + off)) - int(b.at(b_base + off)));
  return offsets.empty() ? 0 : sum / offsets.size();
}

bool parse_y4m(const std::vector<uint8_t>& bytes, Y4m* out, std::string* why) {
  const auto newline = std::find(bytes.begin(), bytes.end(), '\n');
  if (newline == bytes.end()) {
    *why = "no header line";
    return false;
  }
  std::istringstream header(std::string(bytes.begin(), newline));
  std::string token;
  header >> token;
  if (token != "YUV4MPEG2") {
    *why = "bad magic";
    return false;
  }
  out->chroma = "420jpeg";
  while (header >> token) {
    if (token[0] == 'W') out->width = std::atoi(token.c_str() + 1);
    if (token[0] == 'H') out->height = std::atoi(token.c_str() + 1);
    if (token[0] == 'C') out->chroma = token.substr(1);
  }
  const size_t n = static_cast<size_t>(out->width) * out->height;
  const size_t payload = out->chroma == "422" ? 2 * n : n * 3 / 2;
  size_t at = static_cast<size_t>(newline - bytes.begin()) + 1;
  while (at < bytes.size()) {
    if (bytes.size() - at < 6 || std::memcmp(&bytes[at], "FRAME\n", 6) != 0) {
      *why = "bad FRAME line at byte " + std::to_string(at);
      return false;
    }
    at += 6;
    if (bytes.size() - at < payload) {
      *why = "short frame";
      return false;
    }
    out->frames.emplace_back(bytes.begin() + at, bytes.begin() + at + payload);
    at += payload;
  }
  return true;
}

std::vector<uint8_t> make_y4m(int width, int height, const std::string& chroma,
                              const std::vector<std::vector<uint8_t>>& frames) {
  const std::string header = "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) +
                             " F30000:1001 It A1:1 C" + chroma + "\n";
  std::vector<uint8_t> out(header.begin(), header.end());
  for (const auto& frame : frames) {
    const char kFrame[] = "FRAME\n";
    out.insert(out.end(), kFrame, kFrame + 6);
    out.insert(out.end(), frame.begin(), frame.end());
  }
  return out;
}

}  // namespace cli
