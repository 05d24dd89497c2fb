// Row kernels of the YUV layout conversions: splitting and joining
// interleaved samples. Pure rearrangements, so every twin must move exactly
// the same bytes as the scalar reference.
//
// The scalar functions (_c) are the reference; the _sse2 and _neon twins
// handle 16 pairs per step and finish the row with the scalar kernel. All take
// the destination(s) first; counts are in pairs (or samples per plane) and a
// count below 1 writes nothing.
#ifndef QLSBP_CONVERT_CONVERT_ROWS_H_
#define QLSBP_CONVERT_CONVERT_ROWS_H_

#include <cstdint>

// Packed 4:2:2, `pairs` groups of Y0 U Y1 V -> y (2 x pairs), u, v (pairs).
void split_yuyv_row_c(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int pairs);
// Inverse of split_yuyv_row.
void join_yuyv_row_c(uint8_t* yuyv, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                     int pairs);
// Interleaved chroma, `n` pairs of (first, second) -> two planes of n samples.
void split_uv_row_c(uint8_t* u, uint8_t* v, const uint8_t* uv, int n);
// Inverse of split_uv_row.
void join_uv_row_c(uint8_t* uv, const uint8_t* u, const uint8_t* v, int n);

void split_yuyv_row_sse2(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int pairs);
void join_yuyv_row_sse2(uint8_t* yuyv, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                        int pairs);
void split_uv_row_sse2(uint8_t* u, uint8_t* v, const uint8_t* uv, int n);
void join_uv_row_sse2(uint8_t* uv, const uint8_t* u, const uint8_t* v, int n);

void split_yuyv_row_neon(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int pairs);
void join_yuyv_row_neon(uint8_t* yuyv, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                        int pairs);
void split_uv_row_neon(uint8_t* u, uint8_t* v, const uint8_t* uv, int n);
void join_uv_row_neon(uint8_t* uv, const uint8_t* u, const uint8_t* v, int n);

// The variants this build and environment select (scalar under
// QLSBP_FORCE_SCALAR).
void split_yuyv_row(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int pairs);
void join_yuyv_row(uint8_t* yuyv, const uint8_t* y, const uint8_t* u, const uint8_t* v, int pairs);
void split_uv_row(uint8_t* u, uint8_t* v, const uint8_t* uv, int n);
void join_uv_row(uint8_t* uv, const uint8_t* u, const uint8_t* v, int n);

#endif  // QLSBP_CONVERT_CONVERT_ROWS_H_
