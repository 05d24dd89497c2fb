// Output that appears only when complete: data goes to a temporary file in
// the destination's directory, which commit() renames into place. On any
// failure, or when the process is interrupted, the temporary file is removed,
// so a failed run never leaves a partial output behind. "-" writes straight
// to standard output.
#ifndef BOKEH_PREVIEW_OUTPUT_FILE_H_
#define BOKEH_PREVIEW_OUTPUT_FILE_H_

#include <cstdio>
#include <string>

class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();  // discards an uncommitted temporary file
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  bool open(const std::string& path, std::string* error);
  FILE* file() const { return file_; }
  const std::string& path() const { return path_; }
  bool is_stdout() const { return path_ == "-"; }
  // Flushes, closes and renames into place; false with a message on error.
  bool commit(std::string* error);
  void discard();

 private:
  std::string path_;
  std::string temp_path_;
  FILE* file_ = nullptr;
  int slot_ = -1;  // entry in the interrupt clean-up table
};

// Removes pending temporary files when SIGINT, SIGTERM or SIGHUP arrives,
// then dies of the signal as usual.
void install_interrupt_cleanup();

// True when both paths name the same existing file.
bool same_file(const std::string& a, const std::string& b);

#endif  // BOKEH_PREVIEW_OUTPUT_FILE_H_
