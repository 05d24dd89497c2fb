// Buffers that end (or start) at an inaccessible page, so that a read or
// write one byte past the end (or before the start) faults at once, in
// release builds as well as under the sanitizers.
#ifndef QLSBP_TESTS_COMMON_GUARDED_H_
#define QLSBP_TESTS_COMMON_GUARDED_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace qlsbp_test {

class Guarded {
 public:
  enum Side { kGuardAfter, kGuardBefore };

  // size bytes, all set to fill. kGuardAfter puts the last byte just before a
  // protected page; kGuardBefore puts the first byte just after one.
  Guarded(size_t size, Side side, uint8_t fill = 0) : size_(size) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t body = (size + page - 1) / page * page;
    map_len_ = body + 2 * page;
    void* m = mmap(nullptr, map_len_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED) abort();
    map_ = static_cast<uint8_t*>(m);
    if (mprotect(map_, page, PROT_NONE) != 0 || mprotect(map_ + page + body, page, PROT_NONE) != 0) {
      abort();
    }
    data_ = side == kGuardAfter ? map_ + page + body - size : map_ + page;
    memset(data_, fill, size);
  }
  ~Guarded() { munmap(map_, map_len_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  uint8_t* map_ = nullptr;
  uint8_t* data_ = nullptr;
  size_t map_len_ = 0;
  size_t size_ = 0;
};

}  // namespace qlsbp_test

#endif  // QLSBP_TESTS_COMMON_GUARDED_H_
