#include "threads/worker_pool.h"

#include <algorithm>
#include <chrono>
#include <new>

namespace qlsbp {

namespace {

// How long a caller whose tasks are all taken looks for their end before it
// sleeps: about what waking a sleeping thread costs, so the spin at most
// doubles that cost, and it is spent only while another thread still runs
// one of the caller's tasks.
constexpr std::chrono::microseconds kSpinBeforeSleep(20);

}  // namespace

WorkerPool::WorkerPool(int workers) {
  if (workers <= 0) return;
  threads_.reset(new (std::nothrow) pthread_t[static_cast<size_t>(workers)]);
  if (threads_ == nullptr) return;
  while (started_ < workers &&
         pthread_create(&threads_[started_], nullptr, worker_entry, this) == 0) {
    ++started_;
  }
  const int processors = online_processors();
  awake_ = started_ < processors - 1 ? started_ : processors - 1;
}

WorkerPool::~WorkerPool() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  for (int i = 0; i < started_; ++i) pthread_join(threads_[i], nullptr);
}

void* WorkerPool::worker_entry(void* self) {
  static_cast<WorkerPool*>(self)->worker_loop();
  return nullptr;
}

WorkerPool::Batch* WorkerPool::take(Batch* b, int* index) {
  if (b == nullptr) {
    if (queue_.empty()) return nullptr;
    b = queue_.front();
  } else if (b->next >= b->count) {
    return nullptr;
  }
  *index = b->next++;
  if (b->next == b->count) {
    queue_.erase(std::find(queue_.begin(), queue_.end(), b));
    queued_.store(static_cast<int>(queue_.size()), std::memory_order_relaxed);
  }
  return b;
}

void WorkerPool::execute(std::unique_lock<std::mutex>& lock, Batch* b, int index) {
  lock.unlock();
  b->fn(b->ctx, index);
  lock.lock();
  if (b->done.fetch_add(1, std::memory_order_release) + 1 == b->count) changed_.notify_all();
}

void WorkerPool::await(std::unique_lock<std::mutex>& lock, Batch* b) {
  lock.unlock();
  const auto until = std::chrono::steady_clock::now() + kSpinBeforeSleep;
  bool changed = false;
  for (int i = 0; !changed; ++i) {
    changed = b->done.load(std::memory_order_acquire) == b->count ||
              queued_.load(std::memory_order_relaxed) > 0;
    if ((i & 63) == 63 && std::chrono::steady_clock::now() >= until) break;
  }
  lock.lock();
  if (changed) return;
  // Checked again with the lock held: a change between the last look and
  // the lock has already notified.
  if (b->done.load(std::memory_order_relaxed) == b->count || !queue_.empty()) return;
  changed_.wait(lock);
}

void WorkerPool::worker_loop() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    int index = 0;
    Batch* b = take(nullptr, &index);
    if (b != nullptr) {
      execute(lock, b, index);
      continue;
    }
    if (stopping_) return;
    changed_.wait(lock);
  }
}

void WorkerPool::run(int count, void (*fn)(void* ctx, int index), void* ctx) {
  if (count <= 0) return;
  Batch batch{fn, ctx, count, 0, {0}};
  std::unique_lock<std::mutex> lock(mutex_);
  queue_.push_back(&batch);
  queued_.store(static_cast<int>(queue_.size()), std::memory_order_relaxed);
  if (awake_ >= started_) {
    changed_.notify_all();
  } else {
    // Another waiter woken instead of a worker (a caller waiting for its
    // own batch) takes tasks just as well.
    for (int i = 0; i < awake_ && i < count; ++i) changed_.notify_one();
  }
  while (batch.done < batch.count) {
    int index = 0;
    Batch* b = take(&batch, &index);
    if (b == nullptr) b = take(nullptr, &index);
    if (b != nullptr) {
      execute(lock, b, index);
    } else {
      await(lock, &batch);
    }
  }
}

}  // namespace qlsbp
