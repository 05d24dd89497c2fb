// Command line of bokeh-preview.
#ifndef BOKEH_PREVIEW_OPTIONS_H_
#define BOKEH_PREVIEW_OPTIONS_H_

#include <string>

#include "frame.h"

// Exit codes, also listed in --help.
enum ExitCode {
  kExitOk = 0,
  kExitFailure = 1,  // unreadable, damaged or unsupported input; write failure
  kExitUsage = 2,    // bad option, value or combination
  kExitPartial = 3,  // input ended inside a frame: whole frames written, tail dropped
};

enum class Mode { kProcess, kLevels, kMask };

struct Options {
  std::string input;          // empty: the built-in photo; "-": standard input
  std::string output;         // empty: a default name in the current directory
  std::string output_format;  // "", "png", "jpeg", "y4m" or "raw"
  std::string compare;        // side-by-side picture, if wanted
  Layout layout = Layout::kNV21;
  bool layout_given = false;
  int width = 0;  // --size, raw input only
  int height = 0;
  bool focus_given = false;
  int focus_row = 0;
  int focus_col = 0;
  bool axes_given = false;
  int axis_rows = 0;
  int axis_cols = 0;
  int level = 5;
  bool level_given = false;
  int strength = 3;
  int pad = 0;
  bool pad_given = false;
  int workers = -1;   // -1: the session's default
  int max_width = 0;  // 0: pictures keep their size
  bool quiet = false;
  bool clean_edges = false;  // the clean focus mask, through a library session
  Mode mode = Mode::kProcess;
  bool help = false;
  bool version = false;
};

// Fills *options from argv; false with a one-line message on a usage error.
bool parse_options(int argc, char** argv, Options* options, std::string* error);
void print_usage(FILE* out);

// Strict number parsing shared with the tests' expectations: optional minus,
// decimal digits only, the whole text, inside [lo, hi].
bool parse_int(const std::string& text, int lo, int hi, int* value);
// "A<sep>B" with both parts parse_int.
bool parse_pair(const std::string& text, char sep, int lo, int hi, int* a, int* b);

#endif  // BOKEH_PREVIEW_OPTIONS_H_
