#include "output_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// Temporary paths pending at a given moment, readable from a signal handler:
// fixed storage, a flag per slot, no allocation.
constexpr int kSlots = 4;
constexpr size_t kPathMax = 4096;
char g_pending_path[kSlots][kPathMax];
volatile sig_atomic_t g_pending_used[kSlots];

int claim_slot(const std::string& path) {
  if (path.size() >= kPathMax) return -1;
  for (int i = 0; i < kSlots; ++i) {
    if (!g_pending_used[i]) {
      std::memcpy(g_pending_path[i], path.c_str(), path.size() + 1);
      g_pending_used[i] = 1;
      return i;
    }
  }
  return -1;
}

void release_slot(int slot) {
  if (slot >= 0) g_pending_used[slot] = 0;
}

extern "C" void remove_pending_and_die(int signo) {
  for (int i = 0; i < kSlots; ++i) {
    if (g_pending_used[i]) unlink(g_pending_path[i]);
  }
  signal(signo, SIG_DFL);
  raise(signo);
}

std::string directory_of(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

std::string base_of(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The file a path finally names: symbolic links are followed one by one (a
// relative link is read from its own directory), also to a target that does
// not exist yet, which is then created. Empty with errno set on a loop or an
// unreadable link.
std::string final_target(const std::string& path) {
  std::string at = path;
  for (int hops = 0; hops < 40; ++hops) {
    struct stat st;
    if (lstat(at.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return at;
    std::string link(static_cast<size_t>(st.st_size > 0 ? st.st_size : 4096) + 1, '\0');
    const ssize_t n = readlink(at.c_str(), &link[0], link.size());
    if (n < 0) return std::string();
    link.resize(static_cast<size_t>(n));
    at = link.empty() || link[0] == '/' ? link : directory_of(at) + "/" + link;
  }
  errno = ELOOP;
  return std::string();
}

}  // namespace

void install_interrupt_cleanup() {
  struct sigaction action;
  std::memset(&action, 0, sizeof(action));
  action.sa_handler = remove_pending_and_die;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGHUP, &action, nullptr);
}

bool same_file(const std::string& a, const std::string& b) {
  struct stat sa;
  struct stat sb;
  if (stat(a.c_str(), &sa) != 0 || stat(b.c_str(), &sb) != 0) return false;
  return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

OutputFile::~OutputFile() { discard(); }

bool OutputFile::open(const std::string& path, std::string* error) {
  path_ = path;
  direct_ = true;
  if (is_stdout()) {
    file_ = stdout;
    return true;
  }
  target_ = final_target(path);
  if (target_.empty()) {
    *error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
  }
  struct stat st;
  const bool exists = stat(target_.c_str(), &st) == 0;
  if (exists && S_ISDIR(st.st_mode)) {
    *error = "cannot write " + path + ": it is a directory";
    return false;
  }
  if (exists && !S_ISREG(st.st_mode)) {
    // A device, FIFO or socket: renaming a file over it would replace the
    // node itself, so write into it as it is. No O_TRUNC: devices ignore it
    // at best.
    const int fd = ::open(target_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    file_ = fd < 0 ? nullptr : fdopen(fd, "wb");
    if (!file_) {
      *error = "cannot write " + path + ": " + std::strerror(errno);
      if (fd >= 0) close(fd);
      return false;
    }
    return true;
  }
  direct_ = false;
  std::string temp = directory_of(target_) + "/." + base_of(target_) + ".partial-XXXXXX";
  const int fd = mkstemp(&temp[0]);
  if (fd < 0) {
    *error = "cannot write " + path + ": " + std::strerror(errno);
    return false;
  }
  // mkstemp makes the file private; give the result the usual permissions.
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(fd, 0666 & ~mask);
  temp_path_ = temp;
  slot_ = claim_slot(temp_path_);
  file_ = fdopen(fd, "wb");
  if (!file_) {
    *error = "cannot write " + path + ": " + std::strerror(errno);
    close(fd);
    discard();
    return false;
  }
  return true;
}

bool OutputFile::commit(std::string* error) {
  if (!file_) {
    *error = "cannot write " + path_ + ": not open";
    return false;
  }
  const std::string shown = is_stdout() ? std::string("standard output") : path_;
  const bool write_ok = std::fflush(file_) == 0 && !std::ferror(file_);
  const int saved = errno;
  const bool close_ok = is_stdout() || std::fclose(file_) == 0;
  file_ = nullptr;
  if (!write_ok || !close_ok) {
    *error = "cannot write " + shown + ": " + std::strerror(write_ok ? errno : saved);
    discard();
    return false;
  }
  if (direct_) return true;
  if (std::rename(temp_path_.c_str(), target_.c_str()) != 0) {
    *error = "cannot write " + path_ + ": " + std::strerror(errno);
    discard();
    return false;
  }
  release_slot(slot_);
  slot_ = -1;
  temp_path_.clear();
  return true;
}

void OutputFile::discard() {
  if (file_ && file_ != stdout) std::fclose(file_);
  file_ = nullptr;
  if (!temp_path_.empty()) {
    unlink(temp_path_.c_str());
    temp_path_.clear();
  }
  release_slot(slot_);
  slot_ = -1;
}
