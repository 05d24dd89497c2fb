#include "engine/reference/reference_engine.h"

#include "blur/build_blur.h"
#include "qlsbp/convert.h"

namespace {

enum Layout { kSemiPlanar420 = 2, kPlanar420 = 3, kPacked422 = 4 };

// A plane task runs its filter strips on the executor that runs the tasks.
struct PlaneBatch {
  SBPlaneTask* tasks;
  qlsbp::Executor* executor;
};

void run_plane_task(void* ctx, int index) {
  const PlaneBatch* b = static_cast<const PlaneBatch*>(ctx);
  build_blur_plane(b->tasks + index, *b->executor);
}

}  // namespace

int reference_engine_run(SBData* d, unsigned char* dst, int format, qlsbp::Executor& executor) {
  switch (format) {
    case kPacked422:
      yuyv422_to_y4u2v2(d->planarIn, d->srcFrame, d->rows, d->cols);
      break;
    case kPlanar420:
      y4v1u1_to_y4u1v1(d->planarIn, d->srcFrame, d->rows, d->cols);
      break;
    default:
      y4uv20_to_y4u1v1(d->planarIn, d->srcFrame, d->rows, d->cols);
      break;
  }

  // Luma, first chroma, second chroma; each writes only its own plane of
  // planarOut, its own quarter-size scratch and its own arena view.
  PlaneBatch batch{d->task, &executor};
  executor.run(3, run_plane_task, &batch);

  switch (format) {
    case kPacked422:
      y4u2v2_to_yuyv422(dst, d->planarOut, d->rows, d->cols);
      break;
    case kPlanar420:
      y4v1u1_to_y4u1v1(dst, d->planarOut, d->rows, d->cols);
      break;
    default:
      y4u1v1_to_y4uv20(dst, d->planarOut, d->rows, d->cols);
      break;
  }
  return 0;
}
