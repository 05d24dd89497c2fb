// Blur image builder, 2:1 pyramid resampling and mask blending.
#ifndef QLSBP_BLUR_H_
#define QLSBP_BLUR_H_

#include "qlsbp/export.h"

// Thread body: blurs and blends one plane described by an SBPlaneTask
// (qlsbp/sb_data.h). Returns null.
QLSBP_API void* build_blur_image2(void* task);

// 2x2 box average, round half up; (height, width) is the source size.
QLSBP_API void downsampleh2v2(unsigned char* dst, unsigned char* src, int height, int width);
// Same arithmetic on a wider grid, with its historical addressing.
QLSBP_API void downsampleh4v4(unsigned char* dst, unsigned char* src, int height, int width);
// 2x bilinear enlargement, edges replicated; (height, width) is the source size.
QLSBP_API void upscalingh2v2(unsigned char* dst, unsigned char* src, int height, int width);

// dst = first + ((second - first) * weight + 512) >> 10 on whole blocks of 8.
QLSBP_API void img_blend_neon(unsigned char* dst, unsigned char* first, unsigned char* second,
                              unsigned short* weight, int count);
QLSBP_API void img_blend_neon_alpha(unsigned char* dst, unsigned char* first, unsigned char* second,
                                    unsigned short* weight, int count, int alpha);

#endif  // QLSBP_BLUR_H_
