/* Diagnostics: raw image dumps and the text stamper. Usable from C and C++;
 * the text stamper and its font have C linkage. */
#ifndef QLSBP_DIAGNOSTICS_H_
#define QLSBP_DIAGNOSTICS_H_

#include "qlsbp/export.h"

#ifdef __cplusplus
/* Headerless dumps: the file holds exactly the buffer's bytes in memory
 * order (16-bit elements in the processor's byte order), transferred one
 * element per stdio call. 0 on success, 1 when the file cannot be opened.
 * Short writes and short reads are not detected: img_read on a shorter file
 * leaves the rest of buf as it was and returns 0. count <= 0 creates /
 * truncates (or opens for reading) the file and transfers nothing.
 * Bad input: a null path, or a null buf with count > 0, returns 1 without
 * opening any file. */
QLSBP_API int img_write(unsigned char* buf, int count, char* path);
QLSBP_API int img_read(unsigned char* buf, int count, char* path);
QLSBP_API int img_write_uint16(unsigned short* buf, int count, char* path);
extern "C" {
#endif

/* 37 glyphs of 8 rows x 9 columns: '0'-'9', 'A'-'Z', '-'. Glyph g starts at
 * byte 72 * g; byte 9 * r + c is 1 where row r, column c has ink. Writable:
 * a caller may redraw glyphs. */
extern QLSBP_API unsigned char water[37 * 72];

/* Stamps the NUL-terminated text in white (255) with its first character's
 * top-left corner at pixel (x, y) of a plane of `width` pixels per row, `bpp`
 * bytes per pixel. Digits, letters (either case) and '-' are drawn; every
 * other character (space included) only advances the pen by 10 * scale
 * pixels, as drawn characters do. Null img or text, an empty text, or
 * scale <= 0: nothing happens (scale 0 does not advance the pen).
 * The text needs about 10 * scale * strlen(text) pixels across and 8 * scale
 * rows down (more when bpp > 1); the caller keeps it inside the plane. As a
 * safety net, see add_water_marking_one: writes are clipped to the plane's
 * height * width * bpp bytes, which leaves every in-plane byte as drawn. */
QLSBP_API void add_water_marking(unsigned char* img, const char* text, int height, int width, int x,
                                 int y, int scale, int bpp);
/* Stamps one 72-byte glyph at pixel (x, y): every ink cell becomes a block of
 * B = bpp * scale bytes across and B plane rows down, cells B bytes apart
 * across and `scale` plane rows apart down (so with bpp > 1 the blocks of
 * neighbouring glyph rows overlap, on purpose).
 * Writes are clipped to the byte range [0, height * width * bpp) of the
 * plane (a row-major plane of `height` rows), so a glyph partly outside the
 * plane is cut (a run past the end of a row still continues on the next
 * row, as in an unclipped plane) and nothing is written outside the buffer.
 * Nothing is drawn when img or glyph is null, width < 1, height < 1,
 * bpp outside 1 .. 64, scale outside 1 .. 65536, or the plane is larger than
 * 2^48 bytes (these limits keep every offset exact in 64 bits). */
QLSBP_API void add_water_marking_one(unsigned char* img, int height, int width,
                                     const unsigned char* glyph, int x, int y, int scale, int bpp);

#ifdef __cplusplus
}
#endif

#endif /* QLSBP_DIAGNOSTICS_H_ */
