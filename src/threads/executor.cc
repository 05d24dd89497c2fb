#include "threads/executor.h"

#include <pthread.h>
#include <unistd.h>

#include <vector>

namespace qlsbp {

namespace {

struct PerCallTask {
  void (*fn)(void*, int);
  void* ctx;
  int index;
};

void* per_call_entry(void* arg) {
  const PerCallTask* t = static_cast<const PerCallTask*>(arg);
  t->fn(t->ctx, t->index);
  return nullptr;
}

}  // namespace

void PerCallExecutor::run(int count, void (*fn)(void* ctx, int index), void* ctx) {
  if (count <= 0) return;
  std::vector<PerCallTask> tasks(static_cast<size_t>(count));
  std::vector<pthread_t> handles(static_cast<size_t>(count));
  std::vector<char> started(static_cast<size_t>(count), 0);
  for (int i = 0; i < count; ++i) {
    tasks[i] = PerCallTask{fn, ctx, i};
    started[i] = pthread_create(&handles[i], nullptr, per_call_entry, &tasks[i]) == 0;
    if (!started[i]) fn(ctx, i);
  }
  for (int i = 0; i < count; ++i) {
    if (started[i]) pthread_join(handles[i], nullptr);
  }
}

int PerCallExecutor::concurrency() const { return online_processors(); }

void SerialExecutor::run(int count, void (*fn)(void* ctx, int index), void* ctx) {
  for (int i = 0; i < count; ++i) fn(ctx, i);
}

int online_processors() {
  const long n = sysconf(_SC_NPROCESSORS_ONLN);
  return n >= 1 && n <= 1024 ? static_cast<int>(n) : 1;
}

}  // namespace qlsbp
