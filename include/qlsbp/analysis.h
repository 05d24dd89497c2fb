// Image analysis utilities: exact Euclidean distance transform, CIE Lab
// conversion and general bilinear resizing.
#ifndef QLSBP_ANALYSIS_H_
#define QLSBP_ANALYSIS_H_

#include "qlsbp/export.h"

// ---- Distance transform ----------------------------------------------------
// Working values are squared distances as double: 0.0 marks a site (an input
// pixel of value 0), -1.0 means "no site yet".

// out[y * width + x] = distance in pixels from (x, y) to the nearest pixel of
// value 0 in img (both width x height, row stride width). The result is the
// exact square root of an integer squared distance. An image without any 0
// pixel gives NaN everywhere (kept: there is no distance to give), the one
// canonical quiet NaN (bits 0x7ff8000000000000) on every platform; an
// all-zero image gives 0.0 everywhere.
// Bad input: null out or img, width < 1 or height < 1: nothing is written.
// All scratch (3 arrays of max(width, height) entries) is taken before the
// first write; if it cannot be allocated (including a byte size that would
// overflow) the call returns with out untouched.
QLSBP_API void computeEDT(double* out, unsigned char* img, int width, int height);
// voronoiEDT on `count` lines of length n stored back to back in data, in
// place. Null data, n < 1 or count < 1: nothing happens. If its two scratch
// arrays cannot be allocated, data is left untouched.
QLSBP_API void processDimN(int n, int count, double* data);
// 1-D transform of line f (length n) in place; g and h hold >= n entries. A
// line without any site (all -1.0) is left unchanged.
QLSBP_API void voronoiEDT(double* f, double* g, int* h, int n);
// Builds the lower envelope of the sites of f in g (values) and h
// (positions); returns the index of its top, -1 when f has no site or n < 1.
QLSBP_API int constructPartialVoronoi(double* f, double* g, int* h, int n);
// Evaluates the envelope (g, h, entries 0 .. top) at every position of f.
// On a tie the lower-position site wins. The squared offset (h - i)^2 is the
// exact integer square (64-bit), identical to the 32-bit product wherever
// that does not overflow (|h - i| <= 46340) and rounded to double only above
// 2^53; so lines of any int length are safe.
// top < 0 (empty envelope) or n < 1: f is left unchanged.
QLSBP_API void queryPartialVoronoi(const double* g, const int* h, int top, double* f, int n);
// 1 when the middle site v is hidden by u and w on the whole line:
// (w-u)*dv - (w-v)*du - (v-u)*dw > (v-u)*(w-v)*(w-u), double, left to right.
QLSBP_API int RemoveEDT(double du, double dv, double dw, double u, double v, double w);
// d1*d1 + d0*d0 + d2*d2 with dk = a[k] - b[k], all modulo 2^32 (two's
// complement wrap-around, no undefined overflow).
QLSBP_API int vecSqrDist_i3(int* a, int* b);
// (d1*d1 + d0*d0) + d2*d2 in float, each operation rounded (no fused
// multiply-add).
QLSBP_API float vecSqrDist_f3(float* a, float* b);
// sqrtf(vecSqrDist_f3(a, b)).
QLSBP_API float vecDist_f3(float* a, float* b);
// d1*d1 + d0*d0 in double.
QLSBP_API double pntSqrDist_d2(double* a, double* b);

// ---- Lab colour ------------------------------------------------------------
// rgb: R, G, B in [0, 1], taken as linear (no sRGB gamma expansion). lab: L,
// a, b as float. Matrix sums in double rounded to float, the rest in float
// (powf with exponent 0.33333334f); D65 white.
QLSBP_API void RGBToLab(float* lab, double* rgb);
// YUV (U, V centred on 128) -> RGB clamped and normalised to [0, 1] (written
// to rgb as float) -> Lab. The Lab step uses the double RGB values.
QLSBP_API void YUV2Lab(float* lab, float* rgb, unsigned char y, unsigned char u, unsigned char v);
// Full-resolution planar YUV (Y plane, U plane, V plane, each width x height
// bytes) to interleaved Lab and RGB (3 floats per pixel).
// Bad input: null pointers, width < 1 or height < 1, or a pixel count whose
// output arrays could not be addressed: nothing is written.
QLSBP_API void Y4U4V42Lab(float* lab, float* rgb, unsigned char* yuv, int width, int height);

// ---- General resize ----------------------------------------------------------
// Tables for resizing src_width x src_height to dst_width x dst_height:
// col_index / row_index (dst_width / dst_height entries) hold the source
// index of the left / upper neighbour, col_frac / row_frac the weight of the
// right / lower neighbour in 1/256 units. The scale is src / (dst - 0.5)
// (slightly stretched on purpose), and the weight is taken from the unclamped
// index where the index is clamped to src - 2. dst_width < 1 / dst_height < 1
// skip the column / row tables. Returns 0.
// For source sides of 2 or more the tables always fit the resamplers below.
// Bad input: a needed table pointer is null, or a source side used by a
// needed table is outside [-2^24, 2^24] (the float positions would no longer
// fit an int): returns 1 and writes no table.
QLSBP_API int build_scaling_rate(int* col_index, int* col_frac, int* row_index, int* row_frac,
                                 int dst_width, int dst_height, int src_width, int src_height);
// Bilinear resampling of an 8-bit plane in integer arithmetic (weights in
// 1/256, signed division truncating toward zero, result clamped to 0..255).
// Weights are taken as they come, also outside 0 .. 256 (extrapolating), with
// every product computed exactly in 64 bits before the clamp.
// dst_height < 1 or dst_width < 1: returns 0 without writing.
// Bad input, returns 1 and writes nothing: a null pointer, src_height < 2 or
// src_width < 2 (the right and lower neighbours would be outside the plane),
// or an index outside 0 .. side - 2 (it would read outside the source).
QLSBP_API int image_u8_resize(unsigned char* dst, int dst_height, int dst_width, int* row_index,
                              int* row_frac, int* col_index, int* col_frac, unsigned char* src,
                              int src_height, int src_width);
// The same walk on double planes; values below 0.0 become 0.0, otherwise
// values above max_value become max_value (so a negative max_value only
// limits values that are not negative). NaN passes through. Same return
// codes and refusals as image_u8_resize.
QLSBP_API int double_resize(double* dst, int dst_height, int dst_width, double max_value,
                            int* row_index, int* row_frac, int* col_index, int* col_frac,
                            double* src, int src_height, int src_width);

#endif  // QLSBP_ANALYSIS_H_
