// bokeh-preview: applies the library's preview bokeh to pictures and YUV
// streams through a library session, the way a camera host does.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "frame.h"
#include "options.h"
#include "output_file.h"
#include "picture_convert.h"
#include "picture_io.h"
#include "preview_session.h"
#include "ql_single_bokeh_preview.h"
#include "qlsbp/mask.h"
#include "stream_io.h"

extern const unsigned char qlsbp_default_photo[];
extern const std::size_t qlsbp_default_photo_size;

namespace {

constexpr int kJpegQuality = 92;
constexpr int kGap = 8;  // white columns between the pictures of a sheet
constexpr size_t kMaxLine = 4096;

enum class InputKind { kStill, kRaw, kY4m };
enum class OutputKind { kPng, kJpeg, kY4m, kRaw };

void say(const std::string& message) {
  std::fprintf(stderr, "bokeh-preview: %s\n", message.c_str());
}

int fail(int code, const std::string& message) {
  say(message);
  if (code == kExitUsage) std::fputs("Try 'bokeh-preview --help'.\n", stderr);
  return code;
}

struct Input {
  InputKind kind = InputKind::kStill;
  std::string name;
  ByteSource source;
  RgbPicture picture;   // stills: as decoded
  RgbPicture extended;  // stills: grown to a size the layout takes
  Y4mHeader y4m;
  Layout layout = Layout::kNV21;
  int width = 0;  // frames as processed
  int height = 0;
  size_t payload = 0;  // bytes per raw or y4m frame
  long long frames_expected = -1;
  int frames_read = 0;
};

// ---- Input ------------------------------------------------------------------

std::string lower_extension(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  const size_t dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return "";
  std::string ext = path.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext;
}

// The layout a raw file's name gives (.nv21, .i420, ...), if any.
bool layout_of_name(const std::string& path, Layout* layout) {
  return parse_layout(lower_extension(path), layout);
}

// Pictures are converted to --format, else to the layout the raw output's
// name asks for, so that no second conversion is needed.
int prepare_still(const Options& o, Input* in) {
  in->kind = InputKind::kStill;
  Layout wanted;
  in->layout = o.layout_given                      ? o.layout
               : layout_of_name(o.output, &wanted) ? wanted
                                                   : Layout::kNV21;
  if (o.width > 0) {
    return fail(kExitUsage, "--size applies to raw YUV input only; " + in->name + " is a picture");
  }
  const int row_step = layout_is_420(o.layout) ? 2 : 1;
  in->extended = extend_picture(in->picture, 2, row_step);
  // Judge the picture by its own size: a 1-pixel side is too small even
  // though repeating it would make an even frame.
  const std::string problem =
      in->picture.width < 2 || in->picture.height < 2
          ? std::string("it is too small: the effect needs at least 2x2")
          : frame_size_problem(in->layout, in->extended.width, in->extended.height);
  if (!problem.empty()) {
    return fail(kExitFailure, in->name + ": picture " + std::to_string(in->picture.width) + "x" +
                                  std::to_string(in->picture.height) +
                                  " cannot be used: " + problem);
  }
  in->width = in->extended.width;
  in->height = in->extended.height;
  in->frames_expected = 1;
  return kExitOk;
}

int open_input(const Options& o, Input* in) {
  std::string error;
  if (o.input.empty()) {
    in->name = "built-in photo";
    if (!decode_png(qlsbp_default_photo, qlsbp_default_photo_size, &in->picture, &error)) {
      return fail(kExitFailure, "built-in photo: " + error);
    }
    return prepare_still(o, in);
  }
  if (!in->source.open(o.input, &error)) return fail(kExitFailure, error);
  in->name = in->source.name();
  const std::vector<uint8_t>& head = in->source.peek(16);
  if (in->source.failed()) return fail(kExitFailure, in->source.error_text());
  if (head.empty()) return fail(kExitFailure, in->name + " is empty");
  if (is_png_data(head.data(), head.size()) || is_jpeg_data(head.data(), head.size())) {
    const bool png = is_png_data(head.data(), head.size());
    const std::vector<uint8_t> all = in->source.read_all();
    if (in->source.failed()) return fail(kExitFailure, in->source.error_text());
    const bool ok = png ? decode_png(all.data(), all.size(), &in->picture, &error)
                        : decode_jpeg(all.data(), all.size(), &in->picture, &error);
    if (!ok) return fail(kExitFailure, in->name + ": " + error);
    return prepare_still(o, in);
  }
  if (is_y4m_data(head.data(), head.size())) {
    in->kind = InputKind::kY4m;
    if (o.width > 0 || o.layout_given) {
      return fail(kExitUsage, std::string(o.width > 0 ? "--size" : "--format") +
                                  " does not apply to " + in->name +
                                  ": a YUV4MPEG2 stream gives its own size and layout");
    }
    std::string line;
    bool too_long = false;
    if (!in->source.read_line(&line, kMaxLine, &too_long)) {
      return fail(kExitFailure,
                  in->name + ": YUV4MPEG2 header is " + (too_long ? "too long" : "cut short"));
    }
    if (!parse_y4m_header(line, &in->y4m, &error))
      return fail(kExitFailure, in->name + ": " + error);
    in->layout = y4m_layout(in->y4m);
    in->width = in->y4m.width;
    in->height = in->y4m.height;
    const std::string problem = frame_size_problem(in->layout, in->width, in->height);
    if (!problem.empty()) return fail(kExitFailure, in->name + ": " + problem);
    in->payload = y4m_payload_bytes(in->y4m);
    if (in->source.size() > 0) {
      const long long body = in->source.size() - static_cast<long long>(line.size()) - 1;
      in->frames_expected = body / static_cast<long long>(in->payload + 6);
    }
    return kExitOk;
  }
  if (o.width > 0) {
    in->kind = InputKind::kRaw;
    Layout named;
    in->layout = o.layout_given                    ? o.layout
                 : layout_of_name(o.input, &named) ? named
                                                   : Layout::kNV21;
    in->width = o.width;
    in->height = o.height;
    const std::string problem = frame_size_problem(in->layout, in->width, in->height);
    if (!problem.empty()) return fail(kExitUsage, "--size: " + problem);
    in->payload = frame_bytes(in->layout, in->width, in->height);
    if (in->source.size() > 0) {
      in->frames_expected = in->source.size() / static_cast<long long>(in->payload);
    }
    return kExitOk;
  }
  return fail(kExitFailure, "cannot tell what " + in->name +
                                " holds: it is not PNG, JPEG or YUV4MPEG2; for raw YUV frames "
                                "give --size WxH (and --format)");
}

enum class ReadStatus { kFrame, kEnd, kTail, kError };

// Reads the next frame; at the end of a stream that stops inside a frame it
// returns kTail with a message saying how much was left over.
ReadStatus read_frame(Input* in, Frame* frame, std::string* message) {
  if (in->kind == InputKind::kStill) {
    if (in->frames_read > 0) return ReadStatus::kEnd;
    *frame = picture_to_frame(in->extended, in->layout);
    ++in->frames_read;
    return ReadStatus::kFrame;
  }
  const std::string where = in->name + ": frame " + std::to_string(in->frames_read + 1);
  if (in->kind == InputKind::kY4m) {
    std::string line;
    bool too_long = false;
    if (!in->source.read_line(&line, kMaxLine, &too_long)) {
      if (in->source.failed()) {
        *message = in->source.error_text();
        return ReadStatus::kError;
      }
      if (too_long) {
        *message = where + " does not start with a FRAME line";
        return ReadStatus::kError;
      }
      if (line.empty()) return ReadStatus::kEnd;
      *message = where + " is cut short inside its FRAME line";
      return ReadStatus::kTail;
    }
    if (line.compare(0, 5, "FRAME") != 0 || (line.size() > 5 && line[5] != ' ')) {
      *message = where + " does not start with a FRAME line";
      return ReadStatus::kError;
    }
  }
  std::vector<uint8_t> payload(in->payload);
  const size_t got = in->source.read(payload.data(), payload.size());
  if (in->source.failed()) {
    *message = in->source.error_text();
    return ReadStatus::kError;
  }
  if (got < payload.size()) {
    if (got == 0 && in->kind == InputKind::kRaw) return ReadStatus::kEnd;
    *message = where + " is cut short: " + std::to_string(got) + " of " +
               std::to_string(payload.size()) + " bytes";
    return ReadStatus::kTail;
  }
  if (in->kind == InputKind::kY4m) {
    y4m_payload_to_frame(payload.data(), in->y4m, frame);
  } else {
    frame->layout = in->layout;
    frame->width = in->width;
    frame->height = in->height;
    frame->data.swap(payload);
  }
  ++in->frames_read;
  return ReadStatus::kFrame;
}

// ---- Output -----------------------------------------------------------------

bool output_kind_for(const Options& o, InputKind input, const std::string& path, OutputKind* kind,
                     std::string* error) {
  std::string name = o.output_format;
  if (name.empty()) {
    const std::string ext = lower_extension(path);
    Layout ignored;
    if (ext == "png") {
      name = "png";
    } else if (ext == "jpg" || ext == "jpeg") {
      name = "jpeg";
    } else if (ext == "y4m") {
      name = "y4m";
    } else if (ext == "yuv" || ext == "raw" || parse_layout(ext, &ignored)) {
      name = "raw";
    } else if (path == "-") {
      name = input == InputKind::kStill ? "png" : input == InputKind::kY4m ? "y4m" : "raw";
    } else {
      *error = "cannot tell the output format from '" + path +
               "': use .png, .jpg, .y4m or .yuv, or --output-format";
      return false;
    }
  }
  *kind = name == "png"    ? OutputKind::kPng
          : name == "jpeg" ? OutputKind::kJpeg
          : name == "y4m"  ? OutputKind::kY4m
                           : OutputKind::kRaw;
  return true;
}

bool is_picture(OutputKind kind) { return kind == OutputKind::kPng || kind == OutputKind::kJpeg; }

// A processed frame as a picture: back to RGB, cut to the input picture's
// own size, shrunk if asked.
RgbPicture output_picture(const Frame& frame, const Input& in, int max_width) {
  RgbPicture picture = frame_to_picture(frame);
  if (in.kind == InputKind::kStill) {
    picture = crop_picture(picture, in.picture.width, in.picture.height);
  }
  return limit_width(picture, max_width);
}

// The encoders report a failed write in their own words ("Write Error");
// when the stream itself failed, say so with the system's reason.
bool with_write_reason(bool ok, OutputFile* out, std::string* error) {
  if (!ok && std::ferror(out->file())) {
    const int saved = errno;
    *error = "cannot write " + (out->is_stdout() ? std::string("standard output") : out->path()) +
             ": " + std::strerror(saved != 0 ? saved : EIO);
  }
  return ok;
}

bool write_picture(OutputFile* out, OutputKind kind, const RgbPicture& picture,
                   std::string* error) {
  errno = 0;
  return with_write_reason(kind == OutputKind::kJpeg
                               ? write_jpeg(out->file(), picture, kJpegQuality, error)
                               : write_png(out->file(), picture, error),
                           out, error);
}

bool write_bytes(OutputFile* out, const void* data, size_t size, std::string* error) {
  errno = 0;
  if (std::fwrite(data, 1, size, out->file()) != size) {
    const int saved = errno;
    *error = "cannot write " + (out->is_stdout() ? std::string("standard output") : out->path()) +
             ": " + std::strerror(saved != 0 ? saved : EIO);
    return false;
  }
  return true;
}

class FrameSink {
 public:
  // raw_layout: the layout raw output is written in.
  FrameSink(OutputFile* file, OutputKind kind, Layout raw_layout, const Input* in, int max_width)
      : file_(file), kind_(kind), raw_layout_(raw_layout), in_(in), max_width_(max_width) {}

  bool write(const Frame& frame, std::string* error) {
    ++frames_;
    switch (kind_) {
      case OutputKind::kPng:
      case OutputKind::kJpeg:
        return write_picture(file_, kind_, output_picture(frame, *in_, max_width_), error);
      case OutputKind::kRaw:
        if (frame.layout != raw_layout_) {
          const Frame converted = convert_frame(frame, raw_layout_);
          return write_bytes(file_, converted.data.data(), converted.data.size(), error);
        }
        return write_bytes(file_, frame.data.data(), frame.data.size(), error);
      case OutputKind::kY4m:
        break;
    }
    if (frames_ == 1) {
      const std::string header =
          y4m_header_line(frame.layout, frame.width, frame.height,
                          in_->kind == InputKind::kY4m ? &in_->y4m : nullptr);
      if (!write_bytes(file_, header.data(), header.size(), error)) return false;
    }
    frame_to_y4m_payload(frame, &payload_);
    return write_bytes(file_, "FRAME\n", 6, error) &&
           write_bytes(file_, payload_.data(), payload_.size(), error);
  }

 private:
  OutputFile* file_;
  OutputKind kind_;
  Layout raw_layout_;
  const Input* in_;
  int max_width_;
  int frames_ = 0;
  std::vector<uint8_t> payload_;
};

// ---- Effect parameters --------------------------------------------------------

int effect_params(const Options& o, const Input& in, QL_BokehParam* param) {
  // Geometry refers to the picture as the user sees it; extension only adds
  // rows and columns at the bottom and right, so coordinates carry over.
  const int w = in.kind == InputKind::kStill ? in.picture.width : in.width;
  const int h = in.kind == InputKind::kStill ? in.picture.height : in.height;
  param->focusRow = o.focus_given ? o.focus_row : h / 2;
  param->focusCol = o.focus_given ? o.focus_col : w / 2;
  param->axisRows = o.axes_given ? o.axis_rows : std::max(1, h / 3);
  param->axisCols = o.axes_given ? o.axis_cols : std::max(1, w / 3);
  param->level = o.level;
  param->strength = o.strength;
  if (param->focusRow >= h || param->focusCol >= w) {
    return fail(kExitUsage, "--focus " + std::to_string(param->focusRow) + "," +
                                std::to_string(param->focusCol) + " lies outside the " +
                                std::to_string(w) + "x" + std::to_string(h) + " frame");
  }
  return kExitOk;
}

// The focus mask the library builds for these parameters, made with the
// same clamps and band width as its per-frame entry point.
std::vector<uint16_t> focus_mask(const QL_BokehParam& p, int width, int height, bool clean) {
  const int row = std::min(p.focusRow, height - 1);
  const int col = std::min(p.focusCol, width - 1);
  const int axis_rows = std::min(p.axisRows, height >> 1);
  const int axis_cols = std::min(p.axisCols, width >> 1);
  const int band = p.strength * (std::min(width, height) / 50);
  std::vector<uint16_t> mask(static_cast<size_t>(width) * height, 0);
  (clean ? gen_ellipse4_clean : gen_ellipse4)(mask.data(), row, col, axis_rows, axis_cols, band,
                                              height, width);
  return mask;
}

RgbPicture mask_picture(const QL_BokehParam& p, const Input& in, bool clean) {
  RgbPicture picture =
      mask_to_picture(focus_mask(p, in.width, in.height, clean), in.width, in.height);
  if (in.kind == InputKind::kStill) {
    picture = crop_picture(picture, in.picture.width, in.picture.height);
  }
  return picture;
}

// ---- Progress -----------------------------------------------------------------

class Progress {
 public:
  Progress(bool enabled, long long total) : enabled_(enabled), total_(total) {}

  void update(int done) {
    if (!enabled_) return;
    const auto now = std::chrono::steady_clock::now();
    if (shown_ && now - last_ < std::chrono::milliseconds(100)) return;
    last_ = now;
    shown_ = true;
    if (total_ > 0) {
      const int width = 30;
      const long long filled = std::min<long long>(width, done * width / total_);
      std::string bar(static_cast<size_t>(filled), '#');
      bar.resize(width, '.');
      std::fprintf(stderr, "\r[%s] %d/%lld frames", bar.c_str(), done, total_);
    } else {
      std::fprintf(stderr, "\r%d frames", done);
    }
    std::fflush(stderr);
  }

  void finish() {
    if (enabled_ && shown_) std::fputs("\r\x1b[K", stderr);
    shown_ = false;
  }

 private:
  bool enabled_;
  long long total_;
  bool shown_ = false;
  std::chrono::steady_clock::time_point last_;
};

double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  return n % 2 ? values[n / 2] : 0.5 * (values[n / 2 - 1] + values[n / 2]);
}

std::string shown_name(const std::string& path) { return path == "-" ? "standard output" : path; }

std::string shown_path(const OutputFile& out) { return shown_name(out.path()); }

// ---- Modes --------------------------------------------------------------------

int run_mask(const Options& o, Input* in, const QL_BokehParam& param, OutputFile* out) {
  RgbPicture picture = limit_width(mask_picture(param, *in, o.clean_edges), o.max_width);
  std::vector<uint8_t> grey(static_cast<size_t>(picture.width) * picture.height);
  for (size_t i = 0; i < grey.size(); ++i) grey[i] = picture.rgb[3 * i];
  std::string error;
  errno = 0;
  if (!with_write_reason(
          write_grey_png(out->file(), grey.data(), picture.width, picture.height, &error), out,
          &error) ||
      !out->commit(&error)) {
    return fail(kExitFailure, error);
  }
  if (!o.quiet) say("wrote " + shown_path(*out) + " (focus mask)");
  return kExitOk;
}

int refused_frame(const Input& in, int frame, int rc) {
  return fail(kExitFailure, in.name + ": frame " + std::to_string(frame) +
                                ": the library did not process it: " + qlsbp_strerror(rc));
}

int run_levels(const Options& o, Input* in, PreviewSession* session, const QL_BokehParam& param,
               OutputKind kind, OutputFile* out) {
  Frame frame;
  std::string message;
  if (read_frame(in, &frame, &message) != ReadStatus::kFrame) {
    return fail(kExitFailure, message.empty() ? in->name + " holds no frame" : message);
  }
  std::vector<RgbPicture> sheet;
  for (int level = 1; level <= 7; ++level) {
    Frame copy = frame;
    QL_BokehParam p = param;
    p.level = level;
    double ms = 0.0;
    const int rc = session->process(&copy, p, &ms);
    if (rc != QLSBP_OK) return refused_frame(*in, 1, rc);
    sheet.push_back(output_picture(copy, *in, 0));
  }
  std::string error;
  if (!write_picture(out, kind, limit_width(side_by_side(sheet, kGap), o.max_width), &error) ||
      !out->commit(&error)) {
    return fail(kExitFailure, error);
  }
  if (!o.quiet) say("wrote " + shown_path(*out) + " (levels 1 to 7, left to right)");
  return kExitOk;
}

int run_process(const Options& o, Input* in, PreviewSession* session, const QL_BokehParam& param,
                OutputKind kind, Layout raw_layout, OutputFile* out, OutputFile* compare) {
  FrameSink sink(out, kind, raw_layout, in, o.max_width);
  Progress progress(!o.quiet && in->kind != InputKind::kStill && isatty(2), in->frames_expected);
  std::vector<double> times;
  Frame frame;
  std::string message;
  std::string error;
  ReadStatus status;
  while ((status = read_frame(in, &frame, &message)) == ReadStatus::kFrame) {
    if (is_picture(kind) && !times.empty()) {
      progress.finish();
      return fail(kExitUsage, in->name + " holds more than one frame, but a " +
                                  (kind == OutputKind::kPng ? "PNG" : "JPEG") +
                                  " output holds one picture: write .y4m or raw instead");
    }
    double ms = 0.0;
    const int rc = session->process(&frame, param, &ms);
    if (rc != QLSBP_OK) {
      progress.finish();
      return refused_frame(*in, static_cast<int>(times.size()) + 1, rc);
    }
    times.push_back(ms);
    if (!sink.write(frame, &error)) {
      progress.finish();
      return fail(kExitFailure, error);
    }
    if (compare->file()) {
      // Only picture input gets here (checked with the options).
      const std::vector<RgbPicture> parts = {in->picture, mask_picture(param, *in, o.clean_edges),
                                             output_picture(frame, *in, 0)};
      if (!write_picture(compare, OutputKind::kPng,
                         limit_width(side_by_side(parts, kGap), o.max_width), &error)) {
        progress.finish();
        return fail(kExitFailure, error);
      }
    }
    progress.update(static_cast<int>(times.size()));
  }
  progress.finish();
  if (status == ReadStatus::kError) return fail(kExitFailure, message);
  if (times.empty()) {
    return fail(kExitFailure, (status == ReadStatus::kTail ? message + "; " : std::string()) +
                                  in->name + " holds no whole frame, nothing written");
  }
  if (!out->commit(&error)) return fail(kExitFailure, error);
  if (compare->file() && !compare->commit(&error)) return fail(kExitFailure, error);
  if (!o.quiet) {
    char summary[256];
    std::snprintf(summary, sizeof(summary),
                  "%zu frame%s %dx%d %s, level %d, strength %d, median %.2f ms per frame",
                  times.size(), times.size() == 1 ? "" : "s", in->width, in->height,
                  layout_name(in->layout), param.level, param.strength, median(times));
    say(summary);
    std::string wrote = "wrote " + shown_path(*out) + " (result)";
    if (!compare->path().empty())
      wrote += " and " + compare->path() + " (original | mask | result)";
    say(wrote);
  }
  if (status == ReadStatus::kTail) {
    const std::string whole =
        times.size() == 1 ? "the whole frame before it was"
                          : "the " + std::to_string(times.size()) + " whole frames before it were";
    return fail(kExitPartial, message + "; " + whole + " written, the tail was dropped");
  }
  return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  std::string error;
  if (!parse_options(argc, argv, &o, &error)) return fail(kExitUsage, error);
  if (o.help) {
    print_usage(stdout);
    return kExitOk;
  }
  if (o.version) {
    std::printf("bokeh-preview %s\nlibrary: %s\n", BOKEH_PREVIEW_VERSION, sb_top_pv_getVersion());
    return kExitOk;
  }
  install_interrupt_cleanup();

  Input in;
  int code = open_input(o, &in);
  if (code != kExitOk) return code;

  // Where the results go.
  std::string output = o.output;
  std::string compare = o.compare;
  if (output.empty()) {
    if (o.mode == Mode::kLevels) {
      output = "levels.png";
    } else if (o.mode == Mode::kMask) {
      output = "mask.png";
    } else if (in.kind == InputKind::kStill) {
      output = "bokeh.png";
      if (compare.empty()) compare = "bokeh-compare.png";
    } else {
      output = in.kind == InputKind::kY4m ? "bokeh.y4m" : "bokeh.yuv";
    }
  }
  OutputKind kind;
  if (!output_kind_for(o, in.kind, output, &kind, &error)) return fail(kExitUsage, error);
  if (o.mode == Mode::kMask && kind != OutputKind::kPng) {
    return fail(kExitUsage, "--mask writes a PNG picture");
  }
  if (o.mode == Mode::kLevels && !is_picture(kind)) {
    return fail(kExitUsage, "--levels writes a PNG or JPEG picture");
  }
  if (!compare.empty() && (in.kind != InputKind::kStill || o.mode != Mode::kProcess)) {
    return fail(kExitUsage,
                "--compare works with a picture input only, without --levels or --mask");
  }
  if (!o.input.empty() && o.input != "-") {
    if (same_file(o.input, output) || (!compare.empty() && same_file(o.input, compare))) {
      return fail(kExitUsage, "refusing to write over the input " + o.input);
    }
  }
  if (!compare.empty() && (compare == output || same_file(compare, output) || compare == "-")) {
    return fail(kExitUsage, "--compare needs a file of its own");
  }
  // Options that would have no effect are refused rather than ignored.
  if (o.max_width > 0 && !is_picture(kind) && compare.empty()) {
    return fail(kExitUsage,
                "--max-width applies to PNG and JPEG outputs only, not to " + shown_name(output));
  }
  if (o.level_given && o.mode != Mode::kProcess) {
    return fail(kExitUsage,
                std::string("--level does not apply to ") +
                    (o.mode == Mode::kLevels ? "--levels, which shows levels 1 to 7"
                                             : "--mask, which is the same for every level"));
  }
  if ((o.pad_given || o.workers >= 0) && o.mode == Mode::kMask) {
    return fail(kExitUsage, std::string(o.pad_given ? "--pad" : "--workers") +
                                " does not apply to --mask, which processes no frame");
  }
  // Raw output named after a layout is written in it; between the 4:2:0
  // orders that is a lossless reordering, 4:2:0 and 4:2:2 do not convert.
  Layout raw_layout = in.layout;
  Layout named;
  if (kind == OutputKind::kRaw && output != "-" && parse_layout(lower_extension(output), &named)) {
    if (!same_chroma_sampling(in.layout, named)) {
      return fail(kExitUsage, "cannot write " + std::string(layout_name(in.layout)) + " (" +
                                  (layout_is_420(in.layout) ? "4:2:0" : "4:2:2") + ") frames as " +
                                  layout_name(named) + " (" +
                                  (layout_is_420(named) ? "4:2:0" : "4:2:2") + "): " + output);
    }
    raw_layout = named;
  }

  QL_BokehParam param;
  code = effect_params(o, in, &param);
  if (code != kExitOk) return code;

  // The library judges the frame before anything is written: a size or
  // layout it refuses ends the run here.
  PreviewSession session;
  if (o.mode != Mode::kMask) {
    const int rc =
        session.open(in.layout, in.width, in.height, o.pad,
                     o.workers >= 0 ? o.workers : PreviewSession::kDefaultWorkers, o.clean_edges);
    if (rc != QLSBP_OK) {
      return fail(kExitFailure, in.name + ": the library does not take " +
                                    std::to_string(in.width) + "x" + std::to_string(in.height) +
                                    " " + layout_name(in.layout) +
                                    " frames: " + qlsbp_strerror(rc));
    }
  }

  OutputFile out;
  OutputFile compare_out;
  if (!out.open(output, &error)) return fail(kExitFailure, error);
  if (!compare.empty() && !compare_out.open(compare, &error)) return fail(kExitFailure, error);
  switch (o.mode) {
    case Mode::kMask:
      return run_mask(o, &in, param, &out);
    case Mode::kLevels:
      return run_levels(o, &in, &session, param, kind, &out);
    case Mode::kProcess:
      break;
  }
  return run_process(o, &in, &session, param, kind, raw_layout, &out, &compare_out);
}
