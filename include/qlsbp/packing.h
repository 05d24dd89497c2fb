// Stride packing between the caller's planes and the dense work buffer.
//
// Dense layouts (w = width, h = height):
//   code 2: h rows of w luma bytes, then h/2 rows of w interleaved chroma
//           bytes from offset w*h.
//   code 3: h rows of w luma bytes, then h/2 rows of w/2 bytes of plane[1]
//           from offset w*h, then the same of plane[2] from offset w*h + C.
//   code 4: h rows of 2*w packed bytes.
// Each plane is copied as one block when its stride equals its dense row
// length, else row by row. For code 3 the offset C of the second chroma
// block is (w>>1)*(h>>1) when the chroma planes are copied as blocks
// (stride[1] == w/2) and (w*h)>>2 when copied by rows; the two agree for
// even sizes. Likewise the code 2 chroma block is ((w>>1)*(h>>1))*2 bytes
// while the row copy moves h/2 rows of w bytes. These odd-size differences
// are kept as they are.
//
// Both functions read format, width, height, plane[0..2] and stride[0..2]
// (never plane[3]) and return 0 on success or 1 when the frame is refused;
// a refused frame copies nothing in either direction. Refused: a null image
// or dense buffer, a layout other than 2, 3, 4, layout 3 with
// stride[1] != stride[2], and a null plane that the layout uses
// (plane[0]; plane[1] for 2 and 3; plane[2] for 3).
// A width or height below 1 (including negative sizes) copies nothing and
// returns 0. Strides below the row length are the caller's contract (rows
// then overlap); a negative stride walks a bottom-up plane. Bytes between
// the end of a row and the next row (padding) are never read or written.
#ifndef QLSBP_PACKING_H_
#define QLSBP_PACKING_H_

#include "ql_single_bokeh_preview.h"
#include "qlsbp/export.h"

// Caller planes -> dense buffer.
QLSBP_API int img_move_stride(__tag_QL_IMAGEINFO* image, unsigned char* dense);

// Dense buffer -> caller planes; the mirror of img_move_stride, with one
// exception kept on purpose: for code 3 with stride[0] == width and
// stride[1] != width/2 the luma block is copied from plane[0] into the dense
// buffer (the packing direction), so the caller's luma keeps its input
// values; the chroma planes are written back row by row as usual.
QLSBP_API int img_add_stride(__tag_QL_IMAGEINFO* image, unsigned char* dense);

#endif  // QLSBP_PACKING_H_
