// Threads over an array of records, started and joined in one call.
//
// The library's own parallel steps go through qlsbp::Executor
// (threads/executor.h), which reaches the frame's plane tasks and the filter
// strips alike; this plain form stays for measuring what a thread start
// costs beside the work it carries.
#ifndef QLSBP_THREADS_PARALLEL_H_
#define QLSBP_THREADS_PARALLEL_H_

#include <pthread.h>

#include <cstddef>

// Runs fn(args + i * arg_size) for i = 0 .. count - 1 on `count` threads with
// default attributes, started in order and joined in order before returning.
// `handles` holds at least `count` thread handles (callers take it from their
// arena). A thread that cannot be started runs its task on the calling thread
// instead, so every task runs exactly once whatever the system allows.
void qlsbp_run_parallel(void* (*fn)(void*), void* args, size_t arg_size, int count,
                        pthread_t* handles);

#endif  // QLSBP_THREADS_PARALLEL_H_
