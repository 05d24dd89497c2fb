// Gaussian filter engine: kernels, threaded separable filters, fixed-kernel
// filters, integral images and the mean filter.
#ifndef QLSBP_GAUSSIAN_H_
#define QLSBP_GAUSSIAN_H_

#include "qlsbp/arena.h"
#include "qlsbp/export.h"

// ---- Kernel construction --------------------------------------------------
// Sampled Gaussian of `ksize` taps (dims 1) or ksize x ksize (dims 2), as
// int32 fixed point (out_type 0; a 1-D kernel sums exactly to (int)scale, the
// rounding loss going to the centre tap) or float (out_type 1). Single
// precision in one fixed order, so every platform gives the same taps. An
// even ksize computes ksize + 1 weights per axis and writes the first ksize
// (not symmetric; the 1-D correction goes to index ksize / 2). Heap scratch,
// freed before return.
// - Nothing is written for a null kernel_out, ksize < 1, dims other than 1
//   or 2, out_type other than 0 or 1, or a failed scratch allocation.
// - sigma <= 0 or NaN, and sigma so small that 1 / (2 sigma^2) overflows
//   single precision (below about 1e-19): the limit sigma -> 0, all weight on
//   the centre entry (1-D int: (int)scale there, 0 elsewhere).
// - sigma +infinity, and sigma so large that the densities underflow to 0
//   (above about 1e19): the flat limit, every weight equal before
//   normalising.
// - Float to int conversion truncates toward zero; NaN gives 0 and values
//   beyond the int range clamp to INT_MIN / INT_MAX (so a NaN scale gives all
//   zero taps). The 1-D centre correction is computed modulo 2^32, which only
//   matters when the scale or the taps exceed the int range.
QLSBP_API void init_gaussian_kernel(void* kernel_out, float sigma, int ksize, int dims,
                                    int out_type, float scale);

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
// Rows pass into a temporary image, columns back into img; the interior of
// each pass is cut into 7 strips on worker threads (the common variant: 5
// vertical strips on threads, its 5 horizontal strips on the calling
// thread), the last strip taking the rest; border outputs are computed on the
// calling thread. Scratch comes from `mem` in this order: temporary image
// (height * width bytes), row-offset table, border-offset table (ksize ints
// each), then per pass the thread handles and the worker records; nothing is
// given back.
// - Accounting: each grant is exactly its documented size, with no padding,
//   so a call takes height * width + 2 * ksize * sizeof(int) bytes plus, in
//   the 61x61 and 21x21 variants, 14 * sizeof(pthread_t) + 14 *
//   sizeof(GaussianThreadArg), in the common variant 5 * sizeof(pthread_t) +
//   10 * sizeof(GaussianThreadArg) (gaussian_filter_arena_bytes gives the
//   larger). The arena never aligns; the int tables are placed at an aligned
//   address inside the granted span, and the handles and records a call uses
//   live on its stack, so no access is misaligned at any arena offset.
// - Arithmetic: products and sums are unsigned 32-bit and wrap, the output
//   byte is the low 8 bits of sum >> 10, so any taps are defined. Outputs
//   whose kernel lies inside the image use the pair form (taps 0 .. r, r =
//   ksize >> 1, each for the pixels at -d and +d); border outputs use the
//   plain sum over all ksize taps. For symmetric taps both are the same.
// - Borders mirror without repeating the edge (reflect-101: -1 -> 1, n ->
//   n-2). Images smaller than the kernel (even 1 x 1) get no interior strips;
//   every output is then a border output, mirrored as often as needed (period
//   2(n-1); a line of one pixel uses that pixel). Where a single mirror
//   suffices this is the plain edge mirror.
// - Returns 1 with img unchanged: even ksize (after granting the temporary
//   image and both tables); ksize < 1 (nothing granted); any grant refused by
//   a too small arena (the grants made so far stay consumed); a null img,
//   kernel or mem; height * width, height + ksize or width + ksize above
//   INT_MAX (nothing granted).
// - height or width <= 0: nothing to do and nothing granted; returns 0 (1 for
//   an even ksize).
// - The 61x61 and 21x21 variants given another odd ksize filter like the
//   common one (with 7 threads per pass): same bytes for the same taps.
// - Threads start through qlsbp_run_parallel; a strip whose thread cannot be
//   started runs on the calling thread. Not reentrant on one arena view.
QLSBP_API int gaussian_filter_for_int_image_61x61(unsigned char* img, int height, int width,
                                                  int ksize, const int* kernel, QLMemInfoT* mem);
QLSBP_API int gaussian_filter_for_int_image_21x21(unsigned char* img, int height, int width,
                                                  int ksize, const int* kernel, QLMemInfoT* mem);
QLSBP_API int gaussian_filter_for_int_image_common(unsigned char* img, int height, int width,
                                                   int ksize, const int* kernel, QLMemInfoT* mem);
// Largest number of arena bytes that one call of any of the three filters
// takes for this image and kernel size (exactly what the 61x61 and 21x21
// variants take; the common variant takes less). 0 when height, width or
// ksize is below 1 (the filters take nothing then).
QLSBP_API unsigned long long gaussian_filter_arena_bytes(int height, int width, int ksize);

// Worker bodies (thread entry points taking a GaussianThreadArg*), each
// returning null. Vertical: `rows` rows of `cols` outputs, pitch `cols`,
// taps at src + row_offsets[k]. Horizontal: `rows` rows of `cols` outputs,
// pitch `stride`, taps at src + k. The 61 and 21 bodies run their fixed-size
// row kernels; a record with another ksize is filtered with that ksize, so
// its tables are never read past ksize entries. A null record does nothing.
QLSBP_API void* thread_vertical_gaussian_61(void* arg);
QLSBP_API void* thread_horizon_gaussian_61(void* arg);
QLSBP_API void* thread_vertical_gaussian_21(void* arg);
QLSBP_API void* thread_horizon_gaussian_21(void* arg);
QLSBP_API void* thread_vertical_gaussian(void* arg);
QLSBP_API void* thread_horizon_gaussian(void* arg);

// ---- Fixed-kernel filters and kernel helpers (heap scratch) ---------------
// In-place separable blur of img (height x width, packed) with a symmetric
// integer kernel of 11 (resp. 21) taps summing to 1024: a vertical pass into a
// heap temporary, then a horizontal pass back into img; each output is the
// weighted sum >> 10 (truncation). The heap scratch is freed before return.
// - The tap count belongs to the function: `ksize` is not read, any value
//   (even, smaller, larger) filters with 11 (21) taps; `kernel` must hold
//   at least the first 6 (11) taps, which are all that a symmetric kernel
//   needs.
// - Borders: out-of-range rows and columns mirror about the edge without
//   repeating it (reflect-101: -1 -> 1, n -> n-2), the rule of the threaded
//   filters, folding again as often as needed for planes smaller than the
//   kernel; a plane of one row or column uses that line throughout.
// - height or width < 1, a null img or kernel, a plane whose row span under
//   the kernel exceeds INT_MAX bytes, or a failed allocation: img unchanged.
QLSBP_API void gaussian_filter_for_int_image_11_11(unsigned char* img, int height, int width,
                                                   int ksize, const int* kernel);
QLSBP_API void gaussian_filter_for_int_image_21_21(unsigned char* img, int height, int width,
                                                   int ksize, const int* kernel);
// One pass with `ksize` float taps along rows (horizontal) or columns
// (vertical): dst is first a copy of src, then every position whose kernel
// lies inside the plane (r = ksize >> 1 from each end of the filtered axis)
// gets the single-precision sum of src * kernel[k] in tap order, truncated to
// unsigned 32 bits and stored as its low byte. Where that conversion is
// undefined: a negative or NaN sum gives 0, a sum of 2^32 or more (+inf
// included) saturates to 0xffffffff, i.e. byte 255.
// - ksize 0 or negative: every pixel becomes 0 (no taps, r = 0); ksize larger
//   than the axis: dst is a copy of src.
// - dst == src filters in place (the taps read a heap copy of the source);
//   partially overlapping buffers are not supported.
// - height or width < 1, a null dst or src, a null kernel with ksize >= 1, or
//   a failed allocation: nothing is written.
QLSBP_API void gaussian_filter_horizontal_int(unsigned char* dst, const unsigned char* src,
                                              int height, int width, const float* kernel,
                                              int ksize);
QLSBP_API void gaussian_filter_vertical_int(unsigned char* dst, const unsigned char* src,
                                            int height, int width, const float* kernel, int ksize);
// ksize x ksize pyramid of powers of two (entry 2^min(e(i), e(j)), e = distance
// to the nearer edge) scaled to 1024 by truncation, without correction, so
// the entries sum to at most 1024 (ksize 3 -> 102 102 102 / 102 204 102 /
// 102 102 102). `name` is not read. ksize < 1, a null kernel, and sizes whose
// pyramid does not fit 32-bit integers (entries beyond 2^30 or a sum beyond
// INT_MAX, i.e. ksize >= 55) leave the kernel untouched.
QLSBP_API void init_gaussian_filter_int(const char* name, int* kernel, int ksize);
// (2 radius + 1)^2 Gaussian taps, row-major, (int)(1024 * w / sum) with no
// centre correction, computed in double precision. radius < 0, a null
// kernel or a failed scratch allocation: nothing written. sigma 0 (or so small, or NaN, that the
// weights are not finite): the limit as sigma -> 0, 1024 at the centre and 0 elsewhere. A negative
// sigma acts as its absolute value.
QLSBP_API void fspecial_gaussian(int* kernel, int radius, double sigma);
// Marginals of the n x n row-major float kernel src: a[i] = row sums (when a
// is non-null and use_a is set), b[j] = column sums (when b is non-null and
// use_b is set), single precision in index order. `use_src` is not read: src
// is always the source. Returns without writing when a and b are both null,
// src is null or n < 1.
QLSBP_API void cvt_gaussina_kernel_21(float* a, char use_a, float* b, char use_b, float* src,
                                      char use_src, int n);

// ---- Integral images and mean filter ---------------------------------------
// (height + 1) x (width + 1) signed 64-bit integral, first row and column 0
// (OpenCV's cv::integral layout). height < 1 writes only the zero row;
// width < 0 or a null pointer writes nothing.
QLSBP_API void pxIntegralOpenCV_int(const unsigned char* src, int height, int width,
                                    long long* out);
// In-place k x k mean: the window with top-left pixel (y - r, x - r), r =
// ksize >> 1, times 2^24 / k^2 (truncated: exact only where k^2 divides 2^24,
// e.g. a flat 255 becomes 254 with k = 3), >> 24. Border rows and columns
// repeat the nearest filtered row / column (top rows first, then bottom,
// then columns; so an even ksize equal to height leaves no filtered row and
// every row becomes source row r, width alike). ksize < 1, ksize larger than
// height or width, a null img or a failed allocation: img unchanged. The
// scratch is one integral image, freed before return.
QLSBP_API void mean_filter_int_with_integrogram(unsigned char* img, int ksize, int height,
                                                int width);
// height x width inclusive unsigned 64-bit integral. After row 1855 it prints
// "y = 1855" (no newline) on standard output, when the image has at least 1856
// rows and more than 2023 columns: a leftover trace that is kept. height or
// width < 1 or a null pointer: nothing written.
QLSBP_API void integral_image_uiuo_uint8(unsigned long long* out, unsigned char* src, int height,
                                         int width);
// Mean over rows top+1 .. bottom and columns left+1 .. right, top = max(y -
// radius - 1, 0), bottom = min(y + radius, height - 1) (left / right alike),
// from the inclusive integral: (sum + area / 2) / area, saturated to 255. Row
// 0 and column 0 never count, so windows reaching them are one pixel smaller.
// Where that window is empty (radius 0 on row or column 0, planes of one row
// or one column) the pixel's own value, recovered from the integral, is
// written instead of dividing by zero; so radius 0 copies the image. A
// negative radius acts as 0. height or width < 1 or a null pointer: nothing
// written.
QLSBP_API void integral_image_mean_u_uint8(unsigned char* dst, unsigned long long* integral,
                                           int height, int width, int radius);
// Box blur despite the name: integral_image_uiuo_uint8 (with its trace line)
// into a heap integral, then integral_image_mean_u_uint8 with `radius`.
// height or width < 1, a null pointer or a failed allocation: nothing written.
QLSBP_API void GaussianBokeh_uint8(unsigned char* dst, unsigned char* src, int height, int width,
                                   int radius);
// height x width inclusive float integral built from float column sums, added
// in row order and then along the row; exact only while sums stay below
// 2^24. Note width before height. Either < 1 or a null pointer: nothing
// written.
QLSBP_API void GetGrayIntegralImage(unsigned char* src, float* out, int width, int height);

#endif  // QLSBP_GAUSSIAN_H_
