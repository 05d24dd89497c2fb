/* libql_single_bokeh_preview: single-camera bokeh for live preview frames.
 *
 * Host API, usable from C99 and C++. A camera host opens one process-wide
 * session with sb_top_pv_initial(), hands every preview frame to
 * sb_top_pv_processer(), which rewrites the frame in place, and closes the
 * session with sb_top_pv_deinit(). The four entry points are not reentrant:
 * the host serialises them.
 */
#ifndef QL_SINGLE_BOKEH_PREVIEW_H_
#define QL_SINGLE_BOKEH_PREVIEW_H_

#include "qlsbp/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Frame layouts (the `format` field). Any other code is refused: the frame
 * passes through unchanged. */
enum {
  /* Luma plane, then one interleaved 4:2:0 chroma plane (NV21 or NV12):
   * plane[0] luma, plane[1] chroma pairs, height/2 rows of width bytes. */
  QL_FORMAT_YUV420_SEMIPLANAR = 2,
  /* Luma plane, then two separate 4:2:0 chroma planes of (width/2) x
   * (height/2) (YV12 order: plane[1] is V, plane[2] is U). stride[1] must
   * equal stride[2]. */
  QL_FORMAT_YUV420_PLANAR = 3,
  /* Packed 4:2:2, two bytes per pixel in the order Y0 U Y1 V (YUYV). */
  QL_FORMAT_YUYV422 = 4
};

/* The caller's frame. Only stride[0..2] are read; plane[3] is never read. */
typedef struct __tag_QL_IMAGEINFO {
  int format;
  int width;
  int height;
  unsigned char* plane[4];
  int stride[4];
} QL_IMAGEINFO;

/* Per-frame effect parameters, all in luma pixels. */
typedef struct __tag_QL_BokehParam {
  int focusRow; /* centre row of the focus ellipse (clamped to height - 1) */
  int focusCol; /* centre column (clamped to width - 1) */
  int axisRows; /* vertical semi-axis (clamped to height / 2) */
  int axisCols; /* horizontal semi-axis (clamped to width / 2) */
  int level;    /* blur level 1..7; above 7 is 7; below 1 leaves the frame */
  int strength; /* transition band, 1..10 fiftieths of the shorter side */
} QL_BokehParam;

/* Returns the constant version string "QUILLON CBP VER 2.1.1". */
QLSBP_API const char* sb_top_pv_getVersion(void);

/* Opens the session for frames of image->format, ->width and ->height.
 * Always returns 0. A second call on an open session keeps the first
 * session's size and layout. A null image opens nothing. */
QLSBP_API int sb_top_pv_initial(QL_IMAGEINFO* image);

/* Applies the effect to one frame in place. Always returns 0. */
QLSBP_API int sb_top_pv_processer(QL_IMAGEINFO* image, QL_BokehParam* param);

/* Closes the session; harmless without one. Always returns 0. */
QLSBP_API int sb_top_pv_deinit(void);

#ifdef __cplusplus
}
#endif

#endif /* QL_SINGLE_BOKEH_PREVIEW_H_ */
