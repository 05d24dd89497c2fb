// The plane worker on a chosen executor.
//
// build_blur_image2 (qlsbp/blur.h) runs its filter strips on threads started
// inside the call; a session's plane tasks run the same worker with the
// session's executor, so that the filter strips go to its workers too.
#ifndef QLSBP_BLUR_BUILD_BLUR_H_
#define QLSBP_BLUR_BUILD_BLUR_H_

#include "qlsbp/sb_data.h"
#include "threads/executor.h"

// build_blur_image2 on `task`, its Gaussian strips run through `executor`.
void build_blur_plane(const SBPlaneTask* task, qlsbp::Executor& executor);

#endif  // QLSBP_BLUR_BUILD_BLUR_H_
