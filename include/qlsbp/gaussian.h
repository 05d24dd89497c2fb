// Gaussian filter engine: kernels, threaded separable filters, fixed-kernel
// filters, integral images and the mean filter.
#ifndef QLSBP_GAUSSIAN_H_
#define QLSBP_GAUSSIAN_H_

#include "qlsbp/arena.h"
#include "qlsbp/export.h"

// ---- Kernel construction --------------------------------------------------
// Sampled Gaussian of `ksize` taps (dims 1) or ksize x ksize (dims 2), as
// int32 fixed point (out_type 0; a 1-D kernel sums exactly to (int)scale, the
// rounding loss going to the centre tap) or float (out_type 1).
QLSBP_API void init_gaussian_kernel(void* kernel_out, float sigma, int ksize, int dims, int out_type,
                                    float scale);

// ---- Threaded separable filters (scratch from the arena) -------------------
// Per-worker record of the threaded filters.
struct GaussianThreadArg {
  unsigned char* src;  // first source byte of this strip
  unsigned char* dst;  // first destination byte of this strip
  const int* kernel;   // the ksize integer taps
  int* row_offsets;    // ksize byte offsets k * width (vertical pass)
  int rows;            // rows to process
  int cols;            // columns to process in each row
  int stride;          // row pitch (horizontal pass)
  int ksize;           // taps (variable-size workers)
};

// Blur img (height x width, packed) in place with the symmetric integer
// kernel; output = weighted sum >> 10. Return 0, or 1 for an even ksize.
QLSBP_API int gaussian_filter_for_int_image_61x61(unsigned char* img, int height, int width, int ksize,
                                                  const int* kernel, QLMemInfoT* mem);
QLSBP_API int gaussian_filter_for_int_image_21x21(unsigned char* img, int height, int width, int ksize,
                                                  const int* kernel, QLMemInfoT* mem);
QLSBP_API int gaussian_filter_for_int_image_common(unsigned char* img, int height, int width,
                                                   int ksize, const int* kernel, QLMemInfoT* mem);
// Largest number of arena bytes that one call of any of the three filters
// takes for this image and kernel size, alignment padding included.
QLSBP_API unsigned long long gaussian_filter_arena_bytes(int height, int width, int ksize);

// Worker bodies (thread entry points taking a GaussianThreadArg*).
QLSBP_API void* thread_vertical_gaussian_61(void* arg);
QLSBP_API void* thread_horizon_gaussian_61(void* arg);
QLSBP_API void* thread_vertical_gaussian_21(void* arg);
QLSBP_API void* thread_horizon_gaussian_21(void* arg);
QLSBP_API void* thread_vertical_gaussian(void* arg);
QLSBP_API void* thread_horizon_gaussian(void* arg);

// ---- Fixed-kernel filters and kernel helpers (heap scratch) ---------------
QLSBP_API void gaussian_filter_for_int_image_11_11(unsigned char* img, int height, int width, int ksize,
                                                   const int* kernel);
QLSBP_API void gaussian_filter_for_int_image_21_21(unsigned char* img, int height, int width, int ksize,
                                                   const int* kernel);
QLSBP_API void gaussian_filter_horizontal_int(unsigned char* dst, const unsigned char* src, int height,
                                              int width, const float* kernel, int ksize);
QLSBP_API void gaussian_filter_vertical_int(unsigned char* dst, const unsigned char* src, int height,
                                            int width, const float* kernel, int ksize);
QLSBP_API void init_gaussian_filter_int(const char* name, int* kernel, int ksize);
QLSBP_API void fspecial_gaussian(int* kernel, int radius, double sigma);
QLSBP_API void cvt_gaussina_kernel_21(float* a, char use_a, float* b, char use_b, float* src,
                                      char use_src, int n);

// ---- Integral images and mean filter ---------------------------------------
QLSBP_API void pxIntegralOpenCV_int(const unsigned char* src, int height, int width, long long* out);
QLSBP_API void mean_filter_int_with_integrogram(unsigned char* img, int ksize, int height, int width);
QLSBP_API void integral_image_uiuo_uint8(unsigned long long* out, unsigned char* src, int height,
                                         int width);
QLSBP_API void integral_image_mean_u_uint8(unsigned char* dst, unsigned long long* integral, int height,
                                           int width, int radius);
QLSBP_API void GaussianBokeh_uint8(unsigned char* dst, unsigned char* src, int height, int width,
                                   int radius);
QLSBP_API void GetGrayIntegralImage(unsigned char* src, float* out, int width, int height);

#endif  // QLSBP_GAUSSIAN_H_
