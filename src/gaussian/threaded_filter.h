// The threaded separable Gaussian filters on a chosen executor.
//
// The exported filters (qlsbp/gaussian.h) run their strips on threads
// started inside the call; a session's plane tasks run the same strips on
// the session's workers through this entry. Arena grants, strips and bytes
// are the same either way.
#ifndef QLSBP_GAUSSIAN_THREADED_FILTER_H_
#define QLSBP_GAUSSIAN_THREADED_FILTER_H_

#include "qlsbp/arena.h"
#include "threads/executor.h"

// Which exported filter's rules a call follows: seven strips per pass, both
// passes on the executor (61 and 21 taps), or five strips with the
// horizontal strips run one after the other on the calling thread (general).
enum class GaussianFilterKind { k61x61, k21x21, kCommon };

// The exported filter of `kind` with the same arguments and results, its
// strips run through `executor`.
int gaussian_filter_int_image(unsigned char* img, int height, int width, int ksize,
                              const int* kernel, QLMemInfoT* mem, GaussianFilterKind kind,
                              qlsbp::Executor& executor);

#endif  // QLSBP_GAUSSIAN_THREADED_FILTER_H_
