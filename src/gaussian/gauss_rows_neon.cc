// NEON twins of the Gaussian row kernels (ARMv7 and AArch64).
//
// Sixteen outputs per step. Each term of the pair sum (p[d] + p[ksize-1-d],
// or the centre p[r]) is widened to 16 bits (at most 510) and multiplied into
// 32-bit lanes with vmlal_s16, exact while the taps fit in int16; the lanes
// wrap exactly like the scalar unsigned sum. Both passes share the core: the
// vertical pass reads term k at row_offsets[k], the horizontal one at k.
#include "gaussian/gauss_rows.h"
#include "simd/cpu.h"

#if QLSBP_HAVE_NEON
#include <arm_neon.h>

namespace {

constexpr int kMaxTerms = (kGaussVectorMaxTaps >> 1) + 1;

// Where term k of the outputs from x on starts. The vertical pass takes its
// rows as pointers made once per call: with the unrolled term loops they
// stay in registers, where offsets read from memory would be loaded again
// for every step.
template <int kTaps>
struct RowPointers {
  const uint8_t* row[kTaps != 0 ? kTaps : 1];
  const uint8_t* operator()(int k, int x) const { return row[k] + x; }
};
struct RowOffsets {
  const uint8_t* src;
  const int* off;
  const uint8_t* operator()(int k, int x) const { return src + off[k] + x; }
};
struct Columns {
  const uint8_t* src;
  const uint8_t* operator()(int k, int x) const { return src + x + k; }
};

// A tap as the multiplies take it. AArch64 multiplies the high half of a
// register in place (smlal2), which wants the tap in a full register; ARMv7
// reads the halves as d registers anyway.
#if defined(__aarch64__)
using Tap = int16x8_t;
inline Tap make_tap(int k) { return vdupq_n_s16(static_cast<int16_t>(k)); }
inline int32x4_t mul_hi(uint16x8_t v, Tap t) { return vmull_high_s16(vreinterpretq_s16_u16(v), t); }
inline int32x4_t mla_hi(int32x4_t acc, uint16x8_t v, Tap t) {
  return vmlal_high_s16(acc, vreinterpretq_s16_u16(v), t);
}
inline int16x4_t low_tap(Tap t) { return vget_low_s16(t); }
#else
using Tap = int16x4_t;
inline Tap make_tap(int k) { return vdup_n_s16(static_cast<int16_t>(k)); }
inline int32x4_t mul_hi(uint16x8_t v, Tap t) {
  return vmull_s16(vget_high_s16(vreinterpretq_s16_u16(v)), t);
}
inline int32x4_t mla_hi(int32x4_t acc, uint16x8_t v, Tap t) {
  return vmlal_s16(acc, vget_high_s16(vreinterpretq_s16_u16(v)), t);
}
inline int16x4_t low_tap(Tap t) { return t; }
#endif
inline int32x4_t mul_lo(uint16x8_t v, Tap t) {
  return vmull_s16(vget_low_s16(vreinterpretq_s16_u16(v)), low_tap(t));
}
inline int32x4_t mla_lo(int32x4_t acc, uint16x8_t v, Tap t) {
  return vmlal_s16(acc, vget_low_s16(vreinterpretq_s16_u16(v)), low_tap(t));
}

// Low 8 bits of (sum >> 10) for eight lanes.
inline uint8x8_t narrow8(int32x4_t a, int32x4_t b) {
  const uint16x4_t na = vshrn_n_u32(vreinterpretq_u32_s32(a), 10);
  const uint16x4_t nb = vshrn_n_u32(vreinterpretq_u32_s32(b), 10);
  return vmovn_u16(vcombine_u16(na, nb));
}

// With every tap multiplied by 64 the same bits, bits 10 .. 17 of the sum,
// are bits 16 .. 23 of the lane (64 * sum wraps in 32 bits exactly as the
// sum does below bit 26): the odd 16-bit halves, then their low bytes.
// That saves the shifts; taps in [-512, 511] stay int16 when scaled.
constexpr int kScaleShift = 6;
inline uint16x8_t high_halves(int32x4_t a, int32x4_t b) {
#if defined(__aarch64__)
  return vuzp2q_u16(vreinterpretq_u16_s32(a), vreinterpretq_u16_s32(b));
#else
  return vuzpq_u16(vreinterpretq_u16_s32(a), vreinterpretq_u16_s32(b)).val[1];
#endif
}
inline uint8x8_t narrow8_scaled(int32x4_t a, int32x4_t b) { return vmovn_u16(high_halves(a, b)); }
inline uint8x16_t narrow16_scaled(int32x4_t a, int32x4_t b, int32x4_t c, int32x4_t d) {
  const uint8x16_t ab = vreinterpretq_u8_u16(high_halves(a, b));
  const uint8x16_t cd = vreinterpretq_u8_u16(high_halves(c, d));
#if defined(__aarch64__)
  return vuzp1q_u8(ab, cd);
#else
  return vuzpq_u8(ab, cd).val[0];
#endif
}

template <bool kScaled, typename Rows>
inline void block16(uint8_t* dst, const Rows& rows, int x, const Tap* taps, int ksize) {
  const int r = ksize >> 1;
  const uint8x16_t c = vld1q_u8(rows(r, x));
  const uint16x8_t clo = vmovl_u8(vget_low_u8(c)), chi = vmovl_u8(vget_high_u8(c));
  int32x4_t acc0 = mul_lo(clo, taps[r]);
  int32x4_t acc1 = mul_hi(clo, taps[r]);
  int32x4_t acc2 = mul_lo(chi, taps[r]);
  int32x4_t acc3 = mul_hi(chi, taps[r]);
  for (int t = 0; t < r; ++t) {
    const uint8x16_t a = vld1q_u8(rows(t, x));
    const uint8x16_t b = vld1q_u8(rows(ksize - 1 - t, x));
    const uint16x8_t lo = vaddl_u8(vget_low_u8(a), vget_low_u8(b));
    const uint16x8_t hi = vaddl_u8(vget_high_u8(a), vget_high_u8(b));
    acc0 = mla_lo(acc0, lo, taps[t]);
    acc1 = mla_hi(acc1, lo, taps[t]);
    acc2 = mla_lo(acc2, hi, taps[t]);
    acc3 = mla_hi(acc3, hi, taps[t]);
  }
  vst1q_u8(dst + x, kScaled ? narrow16_scaled(acc0, acc1, acc2, acc3)
                            : vcombine_u8(narrow8(acc0, acc1), narrow8(acc2, acc3)));
}

template <bool kScaled, typename Rows>
inline void block8(uint8_t* dst, const Rows& rows, int x, const Tap* taps, int ksize) {
  const int r = ksize >> 1;
  const uint16x8_t c = vmovl_u8(vld1_u8(rows(r, x)));
  int32x4_t acc0 = mul_lo(c, taps[r]);
  int32x4_t acc1 = mul_hi(c, taps[r]);
  for (int t = 0; t < r; ++t) {
    const uint16x8_t s = vaddl_u8(vld1_u8(rows(t, x)), vld1_u8(rows(ksize - 1 - t, x)));
    acc0 = mla_lo(acc0, s, taps[t]);
    acc1 = mla_hi(acc1, s, taps[t]);
  }
  vst1_u8(dst + x, kScaled ? narrow8_scaled(acc0, acc1) : narrow8(acc0, acc1));
}

// n >= 8. The last step is moved back to end exactly at n, recomputing a few
// outputs with the same values, instead of a scalar tail. kTaps != 0 fixes
// the tap count at compile time so that the term loop unrolls.
template <int kTaps, bool kScaled, typename Rows>
void pair_rows_as(uint8_t* dst, const Rows& rows, const int* kernel, int ksize_rt, int n) {
  const int ksize = kTaps != 0 ? kTaps : ksize_rt;
  Tap taps[kTaps != 0 ? (kTaps >> 1) + 1 : kMaxTerms];
  for (int t = 0; t <= (ksize >> 1); ++t) {
    taps[t] = make_tap(kScaled ? kernel[t] * (1 << kScaleShift) : kernel[t]);
  }
  if (n < 16) {
    block8<kScaled>(dst, rows, 0, taps, ksize);
    if (n > 8) block8<kScaled>(dst, rows, n - 8, taps, ksize);
    return;
  }
  int x = 0;
  for (; x + 16 <= n; x += 16) block16<kScaled>(dst, rows, x, taps, ksize);
  if (x == n) return;
  if (n - x <= 8) {
    block8<kScaled>(dst, rows, n - 8, taps, ksize);
  } else {
    block16<kScaled>(dst, rows, n - 16, taps, ksize);
  }
}

template <int kTaps, typename Rows>
void pair_rows(uint8_t* dst, const Rows& rows, const int* kernel, int ksize_rt, int n) {
  const int ksize = kTaps != 0 ? kTaps : ksize_rt;
  bool small = true;
  for (int t = 0; t <= (ksize >> 1); ++t) small = small && kernel[t] >= -512 && kernel[t] <= 511;
  if (small) return pair_rows_as<kTaps, true>(dst, rows, kernel, ksize_rt, n);
  pair_rows_as<kTaps, false>(dst, rows, kernel, ksize_rt, n);
}

// The vertical pass with the tap count fixed: rows as pointers.
template <int kTaps>
void vertical_rows(uint8_t* dst, const uint8_t* src, const int* row_offsets, const int* kernel,
                   int n) {
  RowPointers<kTaps> rows;
  for (int k = 0; k < kTaps; ++k) rows.row[k] = src + row_offsets[k];
  pair_rows<kTaps>(dst, rows, kernel, kTaps, n);
}

void vertical_any(uint8_t* dst, const uint8_t* src, const int* row_offsets, const int* kernel,
                  int ksize, int n) {
  // Engines that drop zero taps pass every odd count up to 21 (the level
  // sets how many of the 21 taps are non-zero); each gets unrolled loops.
  switch (ksize) {
    case 3:
      return vertical_rows<3>(dst, src, row_offsets, kernel, n);
    case 5:
      return vertical_rows<5>(dst, src, row_offsets, kernel, n);
    case 7:
      return vertical_rows<7>(dst, src, row_offsets, kernel, n);
    case 9:
      return vertical_rows<9>(dst, src, row_offsets, kernel, n);
    case 11:
      return vertical_rows<11>(dst, src, row_offsets, kernel, n);
    case 13:
      return vertical_rows<13>(dst, src, row_offsets, kernel, n);
    case 15:
      return vertical_rows<15>(dst, src, row_offsets, kernel, n);
    case 17:
      return vertical_rows<17>(dst, src, row_offsets, kernel, n);
    case 19:
      return vertical_rows<19>(dst, src, row_offsets, kernel, n);
    case 21:
      return vertical_rows<21>(dst, src, row_offsets, kernel, n);
    case 61:
      return pair_rows<61>(dst, RowOffsets{src, row_offsets}, kernel, ksize, n);
    default:
      return pair_rows<0>(dst, RowOffsets{src, row_offsets}, kernel, ksize, n);
  }
}

void horizontal_any(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize, int n) {
  const Columns cols{src};
  switch (ksize) {
    case 3:
      return pair_rows<3>(dst, cols, kernel, ksize, n);
    case 5:
      return pair_rows<5>(dst, cols, kernel, ksize, n);
    case 7:
      return pair_rows<7>(dst, cols, kernel, ksize, n);
    case 9:
      return pair_rows<9>(dst, cols, kernel, ksize, n);
    case 11:
      return pair_rows<11>(dst, cols, kernel, ksize, n);
    case 13:
      return pair_rows<13>(dst, cols, kernel, ksize, n);
    case 15:
      return pair_rows<15>(dst, cols, kernel, ksize, n);
    case 17:
      return pair_rows<17>(dst, cols, kernel, ksize, n);
    case 19:
      return pair_rows<19>(dst, cols, kernel, ksize, n);
    case 21:
      return pair_rows<21>(dst, cols, kernel, ksize, n);
    case 61:
      return pair_rows<61>(dst, cols, kernel, ksize, n);
    default:
      return pair_rows<0>(dst, cols, kernel, ksize, n);
  }
}

}  // namespace

void gauss_vertical_row_neon(uint8_t* dst, const uint8_t* src, const int* row_offsets,
                             const int* kernel, int ksize, int n) {
  if (n < 8 || !gauss_taps_fit_vector(kernel, ksize)) {
    return gauss_vertical_row_c(dst, src, row_offsets, kernel, ksize, n);
  }
  vertical_any(dst, src, row_offsets, kernel, ksize, n);
}

void gauss_horizontal_row_neon(uint8_t* dst, const uint8_t* src, const int* kernel, int ksize,
                               int n) {
  if (n < 8 || !gauss_taps_fit_vector(kernel, ksize)) {
    return gauss_horizontal_row_c(dst, src, kernel, ksize, n);
  }
  horizontal_any(dst, src, kernel, ksize, n);
}

#endif  // QLSBP_HAVE_NEON
