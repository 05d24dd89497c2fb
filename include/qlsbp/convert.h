// YUV layout conversions between the frame layouts and separate planes.
// Every routine is (dst, src, rows, cols) with dense buffers (row pitch equal
// to the row length), dst and src not overlapping, and returns 0.
#ifndef QLSBP_CONVERT_H_
#define QLSBP_CONVERT_H_

#include "qlsbp/export.h"

QLSBP_API int yuyv422_to_y4u2v2(unsigned char* dst, unsigned char* src, int rows, int cols);
QLSBP_API int y4u2v2_to_yuyv422(unsigned char* dst, unsigned char* src, int rows, int cols);
QLSBP_API int y4uv20_to_y4u1v1(unsigned char* dst, unsigned char* src, int rows, int cols);
QLSBP_API int y4u1v1_to_y4uv20(unsigned char* dst, unsigned char* src, int rows, int cols);
QLSBP_API int yuyv422_to_y4u4v4(unsigned char* dst, unsigned char* src, int rows, int cols);
QLSBP_API int y4v1u1_to_y4u1v1(unsigned char* dst, unsigned char* src, int rows, int cols);

// 16-bit values to bytes: dst[i] = min(src[i] * 256 / divisor, 255).
QLSBP_API void u16_to_u8(unsigned char* dst, unsigned short* src, unsigned short divisor, int count);

#endif  // QLSBP_CONVERT_H_
