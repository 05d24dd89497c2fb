// Scalar reference of the split/join row kernels, and the one place that
// picks a variant for the plane drivers.
#include "convert/convert_rows.h"

#include "simd/cpu.h"

void split_yuyv_row_c(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int pairs) {
  for (int k = 0; k < pairs; ++k) {
    y[2 * k] = yuyv[4 * k];
    u[k] = yuyv[4 * k + 1];
    y[2 * k + 1] = yuyv[4 * k + 2];
    v[k] = yuyv[4 * k + 3];
  }
}

void join_yuyv_row_c(uint8_t* yuyv, const uint8_t* y, const uint8_t* u, const uint8_t* v,
                     int pairs) {
  for (int k = 0; k < pairs; ++k) {
    yuyv[4 * k] = y[2 * k];
    yuyv[4 * k + 1] = u[k];
    yuyv[4 * k + 2] = y[2 * k + 1];
    yuyv[4 * k + 3] = v[k];
  }
}

void split_uv_row_c(uint8_t* u, uint8_t* v, const uint8_t* uv, int n) {
  for (int j = 0; j < n; ++j) {
    u[j] = uv[2 * j];
    v[j] = uv[2 * j + 1];
  }
}

void join_uv_row_c(uint8_t* uv, const uint8_t* u, const uint8_t* v, int n) {
  for (int j = 0; j < n; ++j) {
    uv[2 * j] = u[j];
    uv[2 * j + 1] = v[j];
  }
}

#if QLSBP_HAVE_SSE2
#define QLSBP_CONVERT_PICK(name) (qlsbp_cpu_has(kCpuHasSSE2) ? name##_sse2 : name##_c)
#elif QLSBP_HAVE_NEON
#define QLSBP_CONVERT_PICK(name) (qlsbp_cpu_has(kCpuHasNEON) ? name##_neon : name##_c)
#else
#define QLSBP_CONVERT_PICK(name) (name##_c)
#endif

void split_yuyv_row(uint8_t* y, uint8_t* u, uint8_t* v, const uint8_t* yuyv, int pairs) {
  QLSBP_CONVERT_PICK(split_yuyv_row)(y, u, v, yuyv, pairs);
}

void join_yuyv_row(uint8_t* yuyv, const uint8_t* y, const uint8_t* u, const uint8_t* v, int pairs) {
  QLSBP_CONVERT_PICK(join_yuyv_row)(yuyv, y, u, v, pairs);
}

void split_uv_row(uint8_t* u, uint8_t* v, const uint8_t* uv, int n) {
  QLSBP_CONVERT_PICK(split_uv_row)(u, v, uv, n);
}

void join_uv_row(uint8_t* uv, const uint8_t* u, const uint8_t* v, int n) {
  QLSBP_CONVERT_PICK(join_uv_row)(uv, u, v, n);
}
