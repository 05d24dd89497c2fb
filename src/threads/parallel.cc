#include "threads/parallel.h"

void qlsbp_run_parallel(void* (*fn)(void*), void* args, size_t arg_size, int count,
                        pthread_t* handles) {
  unsigned char* base = static_cast<unsigned char*>(args);
  // started[i] is kept in a small local bitmap: a failed pthread_create must not
  // be joined, and its task still has to run.
  bool started[64];
  for (int i = 0; i < count; ++i) {
    void* arg = base + static_cast<size_t>(i) * arg_size;
    const bool ok = i < 64 && pthread_create(&handles[i], nullptr, fn, arg) == 0;
    if (i < 64) started[i] = ok;
    if (!ok) fn(arg);
  }
  for (int i = 0; i < count && i < 64; ++i) {
    if (started[i]) pthread_join(handles[i], nullptr);
  }
}
