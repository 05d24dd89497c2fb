#include "options.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

bool parse_int(const std::string& text, int lo, int hi, int* value) {
  if (text.empty() || text.size() > 11) return false;
  size_t i = text[0] == '-' ? 1 : 0;
  if (i == text.size()) return false;
  for (size_t k = i; k < text.size(); ++k) {
    if (text[k] < '0' || text[k] > '9') return false;
  }
  errno = 0;
  const long long v = std::strtoll(text.c_str(), nullptr, 10);
  if (errno != 0 || v < lo || v > hi) return false;
  *value = static_cast<int>(v);
  return true;
}

bool parse_pair(const std::string& text, char sep, int lo, int hi, int* a, int* b) {
  const size_t at = text.find(sep);
  if (at == std::string::npos) return false;
  return parse_int(text.substr(0, at), lo, hi, a) && parse_int(text.substr(at + 1), lo, hi, b);
}

void print_usage(FILE* out) {
  std::fputs(
      "Usage: bokeh-preview [OPTIONS] [INPUT]\n"
      "\n"
      "Gives a picture or a stream of YUV frames the single-camera bokeh look of\n"
      "libql_single_bokeh_preview: the elliptical focus region stays sharp, the rest\n"
      "is blurred through a soft band. Frames go through a library session\n"
      "(qlsbp_session_process) exactly as a camera host would hand them over.\n"
      "\n"
      "INPUT is a PNG or JPEG picture, a YUV4MPEG2 stream (.y4m: C420, C420jpeg,\n"
      "C420paldv, C420mpeg2 or C422) or raw YUV frames back to back (needs --size;\n"
      "their layout is --format, else the input's extension .nv21, .nv12, .i420,\n"
      ".yv12 or .yuyv, else nv21), or '-' for standard input. Without INPUT the\n"
      "built-in sample photo is used.\n"
      "Without -o, pictures give bokeh.png and bokeh-compare.png (original | mask |\n"
      "result), streams give bokeh.y4m or bokeh.yuv, in the current directory.\n"
      "\n"
      "Options:\n"
      "  -o, --output PATH       output file; '-' for standard output. Raw outputs\n"
      "                          named .nv21, .nv12, .i420, .yv12 or .yuyv are\n"
      "                          written in that layout (4:2:0 orders convert\n"
      "                          losslessly; 4:2:0 and 4:2:2 do not mix)\n"
      "      --output-format F   png, jpeg, y4m or raw (default: from the output's\n"
      "                          extension, else the input's kind)\n"
      "      --format F          nv21, nv12, i420, yv12 or yuyv: layout of raw input,\n"
      "                          and the layout pictures are converted to (default:\n"
      "                          the raw input's or output's extension, else nv21);\n"
      "                          not for y4m input, which keeps its own\n"
      "      --size WxH          frame size of raw input (raw input only)\n"
      "      --focus ROW,COL     centre of the focus ellipse (default: frame centre)\n"
      "      --axes ROWS,COLS    semi-axes of the ellipse in pixels (default: a third\n"
      "                          of the frame height and width)\n"
      "      --level N           blur level 1..7 (default 5); 0 passes frames through\n"
      "      --strength N        transition band, 1..10 fiftieths of the shorter side\n"
      "                          (default 3)\n"
      "      --pad N             hand the library rows padded by N bytes (0..4096), as\n"
      "                          camera buffers are; the result does not change\n"
      "      --compare PATH      also write original | mask | result (pictures only)\n"
      "      --levels            write a contact sheet of levels 1 to 7, left to right\n"
      "                          (default output levels.png)\n"
      "      --mask              write the focus mask as a grey PNG (default mask.png)\n"
      "      --max-width N       shrink picture outputs to at most N pixels wide\n"
      "                          (PNG and JPEG outputs only)\n"
      "      --workers N         the session's worker threads; 0 starts threads\n"
      "                          inside every frame (default: the library's, one per\n"
      "                          processor); the output is the same either way\n"
      "      --clean-edges       use the clean focus mask (session option\n"
      "                          clean_edges): weights clamped to 0..1024 and no\n"
      "                          seams where the focus region crosses a border. The\n"
      "                          default is the host API's exact mask, which cameras\n"
      "                          get byte for byte; it speckles or cuts the sharp\n"
      "                          region at the side borders\n"
      "  -q, --quiet             no progress bar and no summary\n"
      "  -h, --help              this text\n"
      "      --version           tool and library version\n"
      "\n"
      "Exit status:\n"
      "  0  success\n"
      "  1  input or output error: unreadable, damaged or unsupported input, a frame\n"
      "     the library refuses, a failed write (no output file is left behind)\n"
      "  2  usage error: unknown option, malformed or out-of-range value, an option\n"
      "     that does not apply to the input or output, output path equal to the\n"
      "     input (nothing is written)\n"
      "  3  the input ended inside a frame: the whole frames were processed and\n"
      "     written, the short tail was dropped and reported\n"
      "\n"
      "Examples:\n"
      "  bokeh-preview\n"
      "  bokeh-preview portrait.jpg -o portrait-bokeh.jpg --level 6\n"
      "  bokeh-preview --size 640x480 --format nv21 frames.nv21 -o out.nv21\n"
      "  ffmpeg -i clip.mp4 -f yuv4mpegpipe - | bokeh-preview - -o out.y4m\n",
      out);
}

namespace {

constexpr int kMaxSizeSide = 1 << 27;

// Options that take a value, as "--name VALUE" or "--name=VALUE".
bool takes_value(const std::string& name) {
  return name == "-o" || name == "--output" || name == "--output-format" || name == "--format" ||
         name == "--size" || name == "--focus" || name == "--axes" || name == "--level" ||
         name == "--strength" || name == "--pad" || name == "--compare" || name == "--max-width" ||
         name == "--workers";
}

bool apply_value(const std::string& name, const std::string& value, Options* o,
                 std::string* error) {
  bool ok = true;
  std::string expected;
  if (name == "-o" || name == "--output") {
    ok = !value.empty();
    expected = "a path";
    o->output = value;
  } else if (name == "--output-format") {
    ok = value == "png" || value == "jpeg" || value == "jpg" || value == "y4m" || value == "raw";
    expected = "png, jpeg, y4m or raw";
    o->output_format = value == "jpg" ? "jpeg" : value;
  } else if (name == "--format") {
    ok = parse_layout(value, &o->layout);
    expected = "nv21, nv12, i420, yv12 or yuyv";
    o->layout_given = true;
  } else if (name == "--size") {
    // The library judges the area (QLSBP_MAX_FRAME_PIXELS) when the
    // session opens; here only each side must be a sane int.
    ok = parse_pair(value, 'x', 1, kMaxSizeSide, &o->width, &o->height);
    expected = "WIDTHxHEIGHT, e.g. 640x480";
  } else if (name == "--focus") {
    ok = parse_pair(value, ',', 0, kMaxSizeSide - 1, &o->focus_row, &o->focus_col);
    expected = "ROW,COL with 0 <= ROW, COL";
    o->focus_given = true;
  } else if (name == "--axes") {
    ok = parse_pair(value, ',', 1, kMaxSizeSide, &o->axis_rows, &o->axis_cols);
    expected = "ROWS,COLS, both at least 1";
    o->axes_given = true;
  } else if (name == "--level") {
    ok = parse_int(value, 0, 7, &o->level);
    o->level_given = true;
    expected = "a whole number from 0 to 7";
  } else if (name == "--strength") {
    ok = parse_int(value, 1, 10, &o->strength);
    expected = "a whole number from 1 to 10";
  } else if (name == "--pad") {
    ok = parse_int(value, 0, 4096, &o->pad);
    o->pad_given = true;
  } else if (name == "--workers") {
    ok = parse_int(value, 0, 256, &o->workers);
    expected = "a whole number from 0 to 256";
    expected = "a whole number from 0 to 4096";
  } else if (name == "--compare") {
    ok = !value.empty();
    expected = "a path";
    o->compare = value;
  } else if (name == "--max-width") {
    ok = parse_int(value, 1, 16384, &o->max_width);
    expected = "a whole number from 1 to 16384";
  }
  if (!ok) *error = "invalid value '" + value + "' for " + name + ": expected " + expected;
  return ok;
}

}  // namespace

bool parse_options(int argc, char** argv, Options* o, std::string* error) {
  bool have_input = false;
  bool only_positional = false;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (only_positional || arg == "-" || arg.empty() || arg[0] != '-') {
      if (have_input) {
        *error = "more than one input given ('" + o->input + "' and '" + arg + "')";
        return false;
      }
      if (arg.empty()) {
        *error = "empty input path";
        return false;
      }
      o->input = arg;
      have_input = true;
      continue;
    }
    if (arg == "--") {
      only_positional = true;
      continue;
    }
    std::string value;
    bool inline_value = false;
    const size_t eq = arg.find('=');
    if (arg.compare(0, 2, "--") == 0 && eq != std::string::npos) {
      value = arg.substr(eq + 1);
      arg = arg.substr(0, eq);
      inline_value = true;
    }
    if (takes_value(arg)) {
      if (!inline_value) {
        if (i + 1 >= argc) {
          *error = "option " + arg + " needs a value";
          return false;
        }
        value = argv[++i];
      }
      if (!apply_value(arg, value, o, error)) return false;
      continue;
    }
    if (inline_value) {
      *error = "option " + arg + " takes no value";
      return false;
    }
    if (arg == "-h" || arg == "--help") {
      o->help = true;
    } else if (arg == "--version") {
      o->version = true;
    } else if (arg == "-q" || arg == "--quiet") {
      o->quiet = true;
    } else if (arg == "--clean-edges") {
      o->clean_edges = true;
    } else if (arg == "--levels" || arg == "--mask") {
      const Mode mode = arg == "--levels" ? Mode::kLevels : Mode::kMask;
      if (o->mode != Mode::kProcess && o->mode != mode) {
        *error = "--levels and --mask cannot be combined";
        return false;
      }
      o->mode = mode;
    } else {
      *error = "unknown option " + arg;
      return false;
    }
  }
  return true;
}
