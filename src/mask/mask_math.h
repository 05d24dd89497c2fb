// Number conversions shared by the ellipse mask generators.
//
// The mask formulas run in double precision and end in float-to-integer
// conversions. On the ARM targets those conversions saturate (and turn NaN
// into 0); in C++ an out-of-range conversion is undefined. Every double to
// int32/uint32 conversion in this folder therefore goes through the two
// helpers below, which give the saturating result on every platform and are
// identical to a plain truncation whenever the value is in range.
#ifndef QLSBP_MASK_MASK_MATH_H_
#define QLSBP_MASK_MASK_MATH_H_

#include <cstdint>

// Truncation toward zero to int32, saturating; NaN gives 0.
inline int32_t mask_trunc_i32(double v) {
  if (v != v) return 0;
  if (v >= 2147483647.0) return INT32_MAX;
  if (v <= -2147483648.0) return INT32_MIN;
  return static_cast<int32_t>(v);
}

// Truncation toward zero to uint32, saturating; negative values and NaN give 0.
inline uint32_t mask_trunc_u32(double v) {
  if (!(v > 0.0)) return 0;
  if (v >= 4294967295.0) return UINT32_MAX;
  return static_cast<uint32_t>(v);
}

// v * v as the 32-bit integer product of the target: wraps modulo 2^32 and is
// read back as a signed value (computed unsigned, so no signed overflow).
inline int32_t mask_square_i32(int v) {
  const uint32_t u = static_cast<uint32_t>(v);
  return static_cast<int32_t>(u * u);
}

#endif  // QLSBP_MASK_MASK_MATH_H_
