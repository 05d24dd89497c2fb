/* Diagnostics: raw image dumps and the text stamper. Usable from C and C++;
 * the text stamper and its font have C linkage. */
#ifndef QLSBP_DIAGNOSTICS_H_
#define QLSBP_DIAGNOSTICS_H_

#include "qlsbp/export.h"

#ifdef __cplusplus
/* Headerless dumps: 0 on success, 1 when the file cannot be opened. */
QLSBP_API int img_write(unsigned char* buf, int count, char* path);
QLSBP_API int img_read(unsigned char* buf, int count, char* path);
QLSBP_API int img_write_uint16(unsigned short* buf, int count, char* path);
extern "C" {
#endif

/* 37 glyphs of 8 rows x 9 columns: '0'-'9', 'A'-'Z', '-'. */
extern QLSBP_API unsigned char water[37 * 72];

QLSBP_API void add_water_marking(unsigned char* img, const char* text, int height, int width, int x,
                                 int y, int scale, int bpp);
QLSBP_API void add_water_marking_one(unsigned char* img, int height, int width,
                                     const unsigned char* glyph, int x, int y, int scale, int bpp);

#ifdef __cplusplus
}
#endif

#endif /* QLSBP_DIAGNOSTICS_H_ */
