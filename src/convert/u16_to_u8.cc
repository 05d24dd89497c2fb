// 16-bit sums to bytes: dst = min(src * 256 / divisor, 255), truncating.
#include <cstdint>

#include "qlsbp/convert.h"

void u16_to_u8(unsigned char* dst, unsigned short* src, unsigned short divisor, int count) {
  if (count <= 0) return;
  if (divisor == 0) {
    // Dividing by an infinitesimal: zero stays zero, anything else saturates.
    for (int i = 0; i < count; ++i) dst[i] = src[i] != 0 ? 255 : 0;
    return;
  }
  // src * 256 < 2^24, so the quotient needs no wider type; it reaches 256
  // exactly when src >= divisor, which is where it saturates.
  const uint32_t d = divisor;
  for (int i = 0; i < count; ++i) {
    const uint32_t q = (static_cast<uint32_t>(src[i]) << 8) / d;
    dst[i] = static_cast<unsigned char>(q < 256 ? q : 255);
  }
}
