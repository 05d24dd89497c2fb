// YUV layout conversions between the frame layouts and separate planes.
// Every routine is (dst, src, rows, cols) with dense buffers (row pitch equal
// to the row length), dst and src not overlapping, and returns 0.
#ifndef QLSBP_CONVERT_H_
#define QLSBP_CONVERT_H_

#include "qlsbp/export.h"

// Sizes: rows < 1 or cols < 1 write nothing at all (not even a luma copy) and
// return 0.
//
// The layouts are meant for even sizes. With an odd cols the last pixel of a
// row has no complete chroma pair; the chroma planes keep cols >> 1 samples per
// row (and the 4:2:0 ones rows >> 1 rows), and nothing outside the buffers
// below is read or written. Each function documents what the half pair gives.
//
// Buffers, N = rows x cols, C = (rows >> 1) x (cols >> 1):
//   yuyv422  2 x N bytes            y4u2v2  N + 2 x (N >> 1) bytes
//   y4uv20   N + 2 x C bytes        y4u1v1 / y4v1u1  N + 2 x C bytes
//   y4u4v4   3 x N bytes

// Packed 4:2:2 (Y0 U Y1 V) to luma at 0, U at N, V at N + (N >> 1), the
// chroma planes in rows of cols >> 1 samples. Odd cols: the half pair's luma
// is stored, its U has no place in the plane and is dropped.
QLSBP_API int yuyv422_to_y4u2v2(unsigned char* dst, unsigned char* src, int rows, int cols);
// Exact inverse of yuyv422_to_y4u2v2 for even cols. Odd cols: the half pair
// gets its luma and, as its U byte, the U sample that follows the row's own in
// the plane (the next row's first; for the last row the sample after the
// plane's last row, which lies inside the source buffer); 128 when cols is 1
// and no chroma exists.
QLSBP_API int y4u2v2_to_yuyv422(unsigned char* dst, unsigned char* src, int rows, int cols);
// Luma plus interleaved 4:2:0 chroma (rows of cols >> 1 pairs) to three
// planes: the first byte of each pair to dst + N, the second to dst + N + C.
QLSBP_API int y4uv20_to_y4u1v1(unsigned char* dst, unsigned char* src, int rows, int cols);
// Exact inverse of y4uv20_to_y4u1v1.
QLSBP_API int y4u1v1_to_y4uv20(unsigned char* dst, unsigned char* src, int rows, int cols);
// Packed 4:2:2 to full-resolution planes: luma at 0, U at N, V at 2 x N.
// U is sited on even pixels: U[2k] = U_k, U[2k+1] = (U_k + U_k+1 + 1) >> 1;
// V on odd pixels: V[2k+1] = V_k, V[2k] = (V_k-1 + V_k + 1) >> 1. Where the
// neighbouring pair is missing (U of the last pair, V of the first) the
// pair's own sample is repeated, so a row of a single pair (cols 2 or 3)
// repeats both U and V and never reads outside the row. Odd cols: the last
// pixel takes its own luma and U, and the row's last V (128 when cols is 1).
QLSBP_API int yuyv422_to_y4u4v4(unsigned char* dst, unsigned char* src, int rows, int cols);
// Exchanges the two 4:2:0 chroma planes (block copies); applying it twice
// restores the input.
QLSBP_API int y4v1u1_to_y4u1v1(unsigned char* dst, unsigned char* src, int rows, int cols);

// 16-bit values to bytes: dst[i] = min(src[i] * 256 / divisor, 255), with a
// truncating unsigned 32-bit division. count <= 0 writes nothing. A divisor
// of 0 behaves like an infinitesimal one: 0 gives 0, any other value 255.
QLSBP_API void u16_to_u8(unsigned char* dst, unsigned short* src, unsigned short divisor,
                         int count);

#endif  // QLSBP_CONVERT_H_
