// Clamping of the caller's parameters and the blur-factor table.
#include "api/frame_param.h"

namespace {

// Gaussian standard deviation of each level, in pixels of the half-size
// plane, indexed by the clamped level; entry 0 is never used because levels
// below 1 leave the frame alone.
const float kBlurFactor[8] = {0.0f, 0.7f, 1.0f, 1.2f, 1.5f, 1.8f, 2.2f, 3.2f};

}  // namespace

bool pv_frame_param_fill(SBFrameParam* out, float* factor, const __tag_QL_BokehParam* param,
                         int width, int height) {
  int level = param->level;
  if (level >= 7) level = 7;
  int strength = param->strength;
  if (strength > 10) strength = 10;
  if (strength < 1) strength = 1;
  if (level < 1) return false;

  // The division comes first on purpose: frames whose shorter side is below
  // 50 pixels get no transition band at all.
  const int shorter = width < height ? width : height;
  out->focusRow = param->focusRow;
  out->focusCol = param->focusCol;
  out->axisRows = param->axisRows;
  out->axisCols = param->axisCols;
  out->level = level;
  out->bandWidth = strength * (shorter / 50);
  out->reserved = 0;
  out->useGaussian = 1;
  out->blurOption = 1;
  out->kernelSize = 21;
  out->forceRebuild = 0;
  *factor = kBlurFactor[level];
  return true;
}
