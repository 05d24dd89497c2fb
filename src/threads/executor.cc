#include "threads/executor.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
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

struct Team {
  void (*fn)(void*, int);
  void* ctx;
  int count;
  std::atomic<int> next;
};

void team_work(Team* team) {
  for (int i = team->next.fetch_add(1); i < team->count; i = team->next.fetch_add(1)) {
    team->fn(team->ctx, i);
  }
}

void* team_entry(void* arg) {
  team_work(static_cast<Team*>(arg));
  return nullptr;
}

}  // namespace

void ThreadTeamExecutor::run(int count, void (*fn)(void* ctx, int index), void* ctx) {
  if (count <= 0) return;
  Team team{fn, ctx, count, {0}};
  const int helpers = (count < size_ ? count : size_) - 1;
  std::vector<pthread_t> handles(static_cast<size_t>(helpers > 0 ? helpers : 0));
  int started = 0;
  // A thread that cannot be started leaves its share to the others.
  while (started < helpers && pthread_create(&handles[started], nullptr, team_entry, &team) == 0) {
    ++started;
  }
  team_work(&team);
  for (int i = 0; i < started; ++i) pthread_join(handles[i], nullptr);
}

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
