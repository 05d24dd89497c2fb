// Stride packing between the caller's planes and the dense work buffer.
#ifndef QLSBP_PACKING_H_
#define QLSBP_PACKING_H_

#include "ql_single_bokeh_preview.h"
#include "qlsbp/export.h"

// Caller planes -> dense buffer. 0 on success, 1 when the frame is refused
// (unknown layout, or layout 3 with stride[1] != stride[2]); a refused frame
// copies nothing.
QLSBP_API int img_move_stride(__tag_QL_IMAGEINFO* image, unsigned char* dense);
// Dense buffer -> caller planes; the mirror of img_move_stride.
QLSBP_API int img_add_stride(__tag_QL_IMAGEINFO* image, unsigned char* dense);

#endif  // QLSBP_PACKING_H_
