// Output that appears only when complete: data for a regular file goes to a
// temporary file in the destination's directory, which commit() renames into
// place. On any failure, or when the process is interrupted, the temporary
// file is removed, so a failed run never leaves a partial output behind.
//
// What is not a regular file is never replaced: "-" (standard output), a
// character device, a FIFO or a socket is written in place, directly, and
// cannot be taken back after an error. A symbolic link is followed: its final
// target is written as above (a temporary file beside the target, renamed
// over it), and the link stays.
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
  // True when written in place (standard output, devices, FIFOs).
  bool is_direct() const { return direct_; }
  // Flushes, closes and renames into place; false with a message on error.
  bool commit(std::string* error);
  void discard();

 private:
  std::string path_;
  std::string target_;  // what is written: path_, or a symbolic link's target
  std::string temp_path_;
  FILE* file_ = nullptr;
  bool direct_ = false;
  int slot_ = -1;  // entry in the interrupt clean-up table
};

// Removes pending temporary files when SIGINT, SIGTERM or SIGHUP arrives,
// then dies of the signal as usual.
void install_interrupt_cleanup();

// True when both paths name the same existing file.
bool same_file(const std::string& a, const std::string& b);

#endif  // BOKEH_PREVIEW_OUTPUT_FILE_H_
