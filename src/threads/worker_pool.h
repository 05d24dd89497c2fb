// A session's persistent workers.
//
// The workers are started with the session and parked on a condition
// variable between frames, so a frame costs no thread start. A run() queues
// its tasks and, while they are not all finished, its calling thread takes
// queued tasks itself: of its own batch first, then of any other. A plane
// task that waits for its filter strips therefore keeps the queue moving, and
// no worker count (one included) can deadlock, however deeply runs nest.
#ifndef QLSBP_THREADS_WORKER_POOL_H_
#define QLSBP_THREADS_WORKER_POOL_H_

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "threads/executor.h"

namespace qlsbp {

class WorkerPool final : public Executor {
 public:
  // Starts up to `workers` threads with default attributes; started() tells
  // how many the system allowed (the pool works with none: the calling
  // threads then run every task).
  explicit WorkerPool(int workers);
  // Wakes and joins every worker. No run() may be in progress.
  ~WorkerPool() override;
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  void run(int count, void (*fn)(void* ctx, int index), void* ctx) override;
  // The calling thread and the workers, but no more than the processors:
  // more threads than processors make no more progress at once.
  int concurrency() const override { return awake_ + 1; }
  int started() const { return started_; }

 private:
  struct Batch {
    void (*fn)(void*, int);
    void* ctx;
    int count;
    int next;               // first index nobody has taken yet
    std::atomic<int> done;  // tasks finished (written with the lock held)
  };

  static void* worker_entry(void* self);
  void worker_loop();
  // With the lock held: takes the next index of `b` (or of the oldest queued
  // batch when b is null). Returns the batch taken from, or null.
  Batch* take(Batch* b, int* index);
  // Runs task `index` of `b` without the lock, then records it as done.
  void execute(std::unique_lock<std::mutex>& lock, Batch* b, int index);
  // With the lock held, nothing left to take and `b` not finished: waits
  // until b finishes or a task is queued, first for a moment without the
  // lock (a batch's last task, running on a worker, usually ends within it,
  // and a woken thread takes far longer to run again), then asleep.
  void await(std::unique_lock<std::mutex>& lock, Batch* b);

  std::mutex mutex_;
  // One condition for both events (new tasks, a finished batch): waiting
  // callers are also helpers, so both kinds of waiter want both events.
  std::condition_variable changed_;
  std::vector<Batch*> queue_;   // batches that still have untaken tasks
  std::atomic<int> queued_{0};  // queue_.size(), readable without the lock
  bool stopping_ = false;
  // A plain array: a std::vector of handles would export its template
  // instances from the shared library.
  std::unique_ptr<pthread_t[]> threads_;
  int started_ = 0;
  // Workers a run wakes: all of them, or one fewer than the processors
  // when there are fewer processors than threads. A worker woken on a
  // processor that the others keep busy only takes its first task late and
  // holds up the end of the run.
  int awake_ = 0;
};

}  // namespace qlsbp

#endif  // QLSBP_THREADS_WORKER_POOL_H_
