#include "engine/reference/reference_engine.h"

#include "qlsbp/blur.h"
#include "qlsbp/convert.h"

namespace {

enum Layout { kSemiPlanar420 = 2, kPlanar420 = 3, kPacked422 = 4 };

void run_plane_task(void* ctx, int index) {
  build_blur_image2(static_cast<SBPlaneTask*>(ctx) + index);
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
  executor.run(3, run_plane_task, d->task);

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
