// The one place that starts threads.
//
// Every parallel step of the library (the three plane tasks of a frame, the
// strips of a filter pass) goes through qlsbp_run_parallel, so that moving the
// work onto persistent workers later changes this function and nothing else.
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
