// Mask blending of two 8-bit planes under 16-bit weights: scalar row kernels,
// the variant choice, and the two exported drivers.
//
// The arithmetic copies the 16-bit vector formulation exactly: weights and the
// global strength are signed 16-bit, intermediate results are truncated to 16
// bits and the output to 8 bits, with no saturation anywhere. Weights a little
// above 1024 therefore wrap instead of clamping; that is kept on purpose. The
// scalar code does all of it in unsigned or range-checked signed arithmetic so
// that the wraparound is defined behaviour.
#include "blur/blur_rows.h"
#include "qlsbp/blur.h"
#include "simd/cpu.h"

namespace {

// Low 16 bits of v read as a signed number.
inline int32_t as_s16(uint32_t v) {
  v &= 0xffffu;
  return v >= 0x8000u ? static_cast<int32_t>(v) - 0x10000 : static_cast<int32_t>(v);
}

// Arithmetic right shift, spelled so it does not rely on how the compiler
// shifts negative numbers.
inline int32_t shift_right_arith(int32_t v, int s) { return v >= 0 ? v >> s : ~(~v >> s); }

}  // namespace

void blend_row_c(uint8_t* dst, const uint8_t* first, const uint8_t* second, const uint16_t* weight,
                 int n) {
  for (int i = 0; i < n; ++i) {
    const int32_t f = first[i];
    const int32_t d = second[i] - f;          // -255 .. 255
    const int32_t p = d * as_s16(weight[i]);  // |p| < 2^23
    const int32_t t = as_s16(static_cast<uint32_t>(shift_right_arith(p + 512, 10)));
    dst[i] = static_cast<uint8_t>(static_cast<uint32_t>(t + f) & 0xffu);
  }
}

void blend_uv_row_c(uint8_t* dst, const uint8_t* first_even, const uint8_t* first_odd,
                    const uint8_t* second, const uint16_t* weight, int n) {
  for (int i = 0; i < n; ++i) {
    // One pixel of each plane through the plain kernel; it reads second
    // before writing dst, so in place is fine.
    blend_row_c(dst + 2 * i, first_even + i, second + 2 * i, weight + i, 1);
    blend_row_c(dst + 2 * i + 1, first_odd + i, second + 2 * i + 1, weight + i, 1);
  }
}

void blend_yuyv_row_c(uint8_t* dst, const uint8_t* first_y, const uint8_t* first_u,
                      const uint8_t* first_v, const uint8_t* second, const uint16_t* weight_y,
                      const uint16_t* weight_c, int n) {
  for (int i = 0; i < n; ++i) {
    uint8_t* d = dst + 4 * i;
    const uint8_t* s = second + 4 * i;
    blend_row_c(d, first_y + 2 * i, s, weight_y + 2 * i, 1);
    blend_row_c(d + 1, first_u + i, s + 1, weight_c + i, 1);
    blend_row_c(d + 2, first_y + 2 * i + 1, s + 2, weight_y + 2 * i + 1, 1);
    blend_row_c(d + 3, first_v + i, s + 3, weight_c + i, 1);
  }
}

void blend_alpha_row_c(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                       const uint16_t* weight, int n, int alpha) {
  const int32_t a = as_s16(static_cast<uint32_t>(alpha));
  for (int i = 0; i < n; ++i) {
    // |k| <= 2^30: the first source's share in units of 1/131072.
    const int32_t k = as_s16(1024u - weight[i]) * a;
    const uint32_t uk = static_cast<uint32_t>(k);
    const uint32_t v = first[i] * uk + second[i] * (131072u - uk) + 65536u;
    // Bits 17..24 are the same whether v is shifted arithmetically or not.
    dst[i] = static_cast<uint8_t>((v >> 17) & 0xffu);
  }
}

#if QLSBP_HAVE_SSE2
#define QLSBP_BLEND_PICK(name) (qlsbp_cpu_has(kCpuHasSSE2) ? name##_sse2 : name##_c)
#elif QLSBP_HAVE_NEON
#define QLSBP_BLEND_PICK(name) (qlsbp_cpu_has(kCpuHasNEON) ? name##_neon : name##_c)
#else
#define QLSBP_BLEND_PICK(name) (name##_c)
#endif

void blend_row(uint8_t* dst, const uint8_t* first, const uint8_t* second, const uint16_t* weight,
               int n) {
  QLSBP_BLEND_PICK(blend_row)(dst, first, second, weight, n);
}

void blend_uv_row(uint8_t* dst, const uint8_t* first_even, const uint8_t* first_odd,
                  const uint8_t* second, const uint16_t* weight, int n) {
  QLSBP_BLEND_PICK(blend_uv_row)(dst, first_even, first_odd, second, weight, n);
}

void blend_yuyv_row(uint8_t* dst, const uint8_t* first_y, const uint8_t* first_u,
                    const uint8_t* first_v, const uint8_t* second, const uint16_t* weight_y,
                    const uint16_t* weight_c, int n) {
  QLSBP_BLEND_PICK(blend_yuyv_row)(dst, first_y, first_u, first_v, second, weight_y, weight_c, n);
}

void blend_alpha_row(uint8_t* dst, const uint8_t* first, const uint8_t* second,
                     const uint16_t* weight, int n, int alpha) {
  QLSBP_BLEND_PICK(blend_alpha_row)(dst, first, second, weight, n, alpha);
}

// Only whole blocks of eight pixels are blended; the last count % 8 pixels
// keep whatever the destination held (in the in-place live call, the blurred
// value). A negative count rounds toward zero and writes nothing.
void img_blend_neon(unsigned char* dst, unsigned char* first, unsigned char* second,
                    unsigned short* weight, int count) {
  const int blocks = count / 8;
  if (blocks > 0) blend_row(dst, first, second, weight, blocks * 8);
}

void img_blend_neon_alpha(unsigned char* dst, unsigned char* first, unsigned char* second,
                          unsigned short* weight, int count, int alpha) {
  const int blocks = count / 8;
  if (blocks > 0) blend_alpha_row(dst, first, second, weight, blocks * 8, alpha);
}
