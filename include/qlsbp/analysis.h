// Image analysis utilities: exact Euclidean distance transform, CIE Lab
// conversion and general bilinear resizing.
#ifndef QLSBP_ANALYSIS_H_
#define QLSBP_ANALYSIS_H_

#include "qlsbp/export.h"

// ---- Distance transform ----------------------------------------------------
QLSBP_API void computeEDT(double* out, unsigned char* img, int width, int height);
QLSBP_API void processDimN(int n, int count, double* data);
QLSBP_API void voronoiEDT(double* f, double* g, int* h, int n);
QLSBP_API int constructPartialVoronoi(double* f, double* g, int* h, int n);
QLSBP_API void queryPartialVoronoi(const double* g, const int* h, int top, double* f, int n);
QLSBP_API int RemoveEDT(double du, double dv, double dw, double u, double v, double w);
QLSBP_API int vecSqrDist_i3(int* a, int* b);
QLSBP_API float vecSqrDist_f3(float* a, float* b);
QLSBP_API float vecDist_f3(float* a, float* b);
QLSBP_API double pntSqrDist_d2(double* a, double* b);

// ---- Lab colour ------------------------------------------------------------
QLSBP_API void RGBToLab(float* lab, double* rgb);
QLSBP_API void YUV2Lab(float* lab, float* rgb, unsigned char y, unsigned char u, unsigned char v);
QLSBP_API void Y4U4V42Lab(float* lab, float* rgb, unsigned char* yuv, int width, int height);

// ---- General resize ----------------------------------------------------------
QLSBP_API int build_scaling_rate(int* col_index, int* col_frac, int* row_index, int* row_frac,
                                 int dst_width, int dst_height, int src_width, int src_height);
QLSBP_API int image_u8_resize(unsigned char* dst, int dst_height, int dst_width, int* row_index,
                              int* row_frac, int* col_index, int* col_frac, unsigned char* src,
                              int src_height, int src_width);
QLSBP_API int double_resize(double* dst, int dst_height, int dst_width, double max_value,
                            int* row_index, int* row_frac, int* col_index, int* col_frac, double* src,
                            int src_height, int src_width);

#endif  // QLSBP_ANALYSIS_H_
