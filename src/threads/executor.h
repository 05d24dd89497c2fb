// Where the parallel steps of a frame run.
//
// Every parallel step of the preview path (the plane tasks of a frame, the
// strips of a filter pass, the row bands of the fast engine) is handed to an
// Executor, so that the same code runs on threads started and joined inside
// the call (the host API's way) or on a session's persistent workers.
#ifndef QLSBP_THREADS_EXECUTOR_H_
#define QLSBP_THREADS_EXECUTOR_H_

namespace qlsbp {

class Executor {
 public:
  virtual ~Executor() = default;

  // Runs fn(ctx, i) once for every i in [0, count) and returns when all of
  // them have finished. Tasks may run on any thread, the calling one
  // included, and in any order; a task may itself call run() on the same
  // executor (a plane task running its filter strips) without deadlock.
  virtual void run(int count, void (*fn)(void* ctx, int index), void* ctx) = 0;

  // How many tasks can make progress at once (at least 1): a hint for
  // cutting work into pieces.
  virtual int concurrency() const = 0;
};

// Starts one thread per task (default attributes), in order, and joins them
// in order; the calling thread only waits. A thread that cannot be started
// runs its task on the calling thread instead. This is how the host API has
// always run its frames.
class PerCallExecutor final : public Executor {
 public:
  void run(int count, void (*fn)(void* ctx, int index), void* ctx) override;
  int concurrency() const override;
};

// Runs every task on the calling thread, one after the other.
class SerialExecutor final : public Executor {
 public:
  void run(int count, void (*fn)(void* ctx, int index), void* ctx) override;
  int concurrency() const override { return 1; }
};

// Processors online (at least 1).
int online_processors();

}  // namespace qlsbp

#endif  // QLSBP_THREADS_EXECUTOR_H_
