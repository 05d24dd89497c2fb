/* libql_single_bokeh_preview: single-camera bokeh for live preview frames.
 *
 * Host API, usable from C99 and C++. A camera host opens one process-wide
 * session with sb_top_pv_initial(), hands every preview frame to
 * sb_top_pv_processer(), which rewrites the frame in place, and closes the
 * session with sb_top_pv_deinit(). The host is meant to call the entry points
 * from one thread at a time. One that does not cannot crash the library: a
 * frame arriving while another entry point is still running passes through
 * unchanged (it is not waited for, so a camera thread never blocks), and
 * set-up and tear-down wait for a call in flight to finish.
 *
 * Frames of the host API run on threads started and joined inside each
 * call: no thread of the library outlives a call and nothing runs between
 * calls. Sessions (below) can keep persistent workers instead.
 *
 * Engines. The host API's frames go through the fast engine, which works on
 * the caller's planes directly, unless the environment variable
 * QLSBP_ENGINE is "reference" when sb_top_pv_initial opens the session; the
 * reference engine packs, splits, blurs, joins and unpacks as the library
 * always has. Both give the same bytes. With the fast engine a frame runs on
 * one thread per online processor, the calling thread included; a frame too
 * small to share out runs on the calling thread alone.
 *
 * The session lives in two exported globals (pData and idat_pv, declared
 * in qlsbp/sb_data.h for C++ callers). They belong to the library: hosts may
 * read them but must not assign them. pData's frame-to-frame members (the
 * cached focus geometry, band width, cachedLevel, the task records and
 * frameCount) follow every frame whatever the engine; after a frame on the
 * fast engine the contents of idat_pv and of the processor's planar blocks
 * and scratch planes are unspecified.
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

/* Opens the session for frames of image->format, ->width and ->height (the
 * only fields read). Always returns 0.
 *
 * - Logs two banners (see sb_top_pv_set_log_hook), even for a null image.
 * - A null image opens nothing.
 * - A second call on an open session keeps the first session's processor
 *   and work buffer, whatever size and layout they were made for; close
 *   the session first to change size.
 * - The processor and buffer are made for the even part of the size
 *   (height & ~1 rows, width & ~1 columns); for even sizes that is the
 *   frame itself.
 * - Widths or heights below 2 (zero, negative) and frames of more than
 *   QLSBP_MAX_FRAME_PIXELS pixels (width * height) open no session: no
 *   memory is taken and later frames pass through unchanged.
 * - The work buffer takes width * height * 2 bytes for layout 4 and
 *   (width * height * 3) >> 1 for every other code. If an allocation fails
 *   the session stays closed (frames pass through); a set-up never leaves
 *   half a session behind.
 * - Waits for a frame still being processed on another thread. */
QLSBP_API int sb_top_pv_initial(QL_IMAGEINFO* image);

/* Applies the effect to one frame in place. Always returns 0.
 *
 * Logs two banners on every call, before anything else. Then:
 * - level is taken as 7 when above 7; a level below 1 leaves the frame
 *   untouched. strength is clamped to 1..10; the transition band is
 *   strength * (min(width, height) / 50) pixels (integer division first,
 *   so frames with a side below 50 get no band).
 * - The frame passes through unchanged, and nothing is read from or written
 *   to its planes, when image or param is null, when no session is open
 *   (before sb_top_pv_initial or after sb_top_pv_deinit), when its even
 *   part differs in size from the session's, when its layout is 2, 3 or 4
 *   but not the layout given to sb_top_pv_initial (a session made for one
 *   chroma geometry never meets another; nothing of the session changes),
 *   or when another entry point is still running on another thread (the
 *   frame is refused after its banners, never waited for).
 * - Unknown layout codes, layout 3 with stride[1] != stride[2], and null
 *   planes are refused by the packing step: the frame is left unchanged,
 *   while the processor still takes the frame's focus, level and band into
 *   its state as it always has (a session set up with an unknown code
 *   processes no frame at all).
 * - Odd sizes: the even part (width & ~1, height & ~1) is processed through
 *   the same planes and strides; the last column and/or row keeps its input
 *   values. A frame narrower or lower than 2 pixels passes unchanged.
 * - Strides: the magnitude of each plane's stride must be at least its row
 *   length in bytes (width for luma and layout-2 chroma, width / 2 for
 *   layout-3 chroma, 2 * width for layout 4) and the planes must hold their
 *   rows (height, or height / 2 for 4:2:0 chroma); this is the caller's
 *   contract and is not checked. A negative stride walks a bottom-up plane
 *   from the plane pointer (its first row). Padding bytes between rows are
 *   never read or written.
 * - Layout 3 with unpadded luma (stride[0] == width) but padded chroma
 *   (stride[1] != width / 2): the luma plane keeps its input values and only
 *   the chroma planes receive the result. This long-standing behaviour of
 *   the write-back is kept on purpose. */
QLSBP_API int sb_top_pv_processer(QL_IMAGEINFO* image, QL_BokehParam* param);

/* Closes the session and frees its memory; harmless without one. Logs
 * nothing. Waits for a frame still being processed on another thread.
 * Always returns 0. */
QLSBP_API int sb_top_pv_deinit(void);

/* ---- Sessions ---------------------------------------------------------------
 *
 * A session is an object of its own: a host may open as many as it has
 * cameras or streams, each for one frame size and layout, and drive
 * independent sessions from different threads at the same time. One session
 * is used by one thread at a time; a qlsbp_session_process that enters a
 * session while another is inside it is refused with QLSBP_ERR_BUSY.
 * Sessions share no state but read-only tables. For the same sequence of
 * accepted frames a session gives exactly the bytes of the host API above
 * (with clean_edges 0), whatever its workers.
 *
 * Workers. With workers = 0 a frame starts its threads and joins them
 * before returning, as the host API does: nothing lives between frames, at
 * the price of thread starts in every frame (the fast engine starts one per
 * online processor but one; the reference engine one per plane and one per
 * filter strip, some 45). With workers = N > 0 the
 * session starts N threads when it is opened; they sleep on a condition
 * variable between frames (no polling) and are joined by
 * qlsbp_session_close. The calling thread works alongside them, so any N,
 * 1 included, finishes every frame. Persistent workers are the default and
 * suit a stream of frames; threads per call suit occasional frames or a host
 * that must have no library threads between calls.
 *
 * fork(): only the forking thread exists in the child, so a session with
 * persistent workers that was opened before fork() has no workers there and
 * must not be used (nor closed) in the child; open a new one there. */

/* Result codes of the session functions (and of every front end built on
 * them). Every refusal leaves the caller's frame, and the session, as they
 * were. */
enum {
  QLSBP_OK = 0,
  QLSBP_ERR_ARGUMENT = -1,       /* null pointer, bad option, stride or plane */
  QLSBP_ERR_LAYOUT = -2,         /* unknown layout code, or not the session's */
  QLSBP_ERR_SIZE_MISMATCH = -3,  /* frame size is not the session's */
  QLSBP_ERR_TOO_LARGE = -4,      /* frame above QLSBP_MAX_FRAME_PIXELS */
  QLSBP_ERR_BUSY = -5,           /* another call is inside this session */
  QLSBP_ERR_NO_MEMORY = -6       /* memory or threads could not be had */
};

/* The largest frame, in luma pixels (width * height), that the library
 * accepts: 2^27, e.g. 16384 x 8192. The host API's set-up, the sessions and
 * the command-line tool all refuse larger frames. */
#define QLSBP_MAX_FRAME_PIXELS 134217728

/* Engines (the `engine` option). Both give identical bytes; the reference
 * engine is the plain, specified execution kept for comparison. */
enum { QLSBP_ENGINE_FAST = 0, QLSBP_ENGINE_REFERENCE = 1 };

/* Options of a session. Fill with qlsbp_session_options_init() and change
 * what you need: the record can grow at its end, and `size` tells the
 * library which fields the caller knows. */
typedef struct qlsbp_session_options {
  int size;        /* sizeof(qlsbp_session_options), set by _init */
  int workers;     /* 0: threads started and joined inside every call;
                      N > 0: N persistent workers parked between frames.
                      Default: the number of online processors. */
  int engine;      /* QLSBP_ENGINE_FAST (default) or QLSBP_ENGINE_REFERENCE */
  int clean_edges; /* 0 (default): the exact focus mask of the host API;
                      1: a mask clamped to 0..1024 with no border seams */
} qlsbp_session_options;

typedef struct qlsbp_session qlsbp_session;

/* Fills *options with the defaults. */
QLSBP_API void qlsbp_session_options_init(qlsbp_session_options* options);

/* Opens a session for frames of image->format, ->width and ->height (the
 * only fields read). options may be null for the defaults. On success
 * *session holds the new session and QLSBP_OK is returned; otherwise
 * *session is set to null (when session itself is not null) and the result
 * is one of:
 *   QLSBP_ERR_ARGUMENT   session or image null; options->size below
 *                        sizeof(int) or above sizeof(qlsbp_session_options);
 *                        workers outside 0..256; engine or clean_edges not
 *                        one of their values; width or height below 2
 *   QLSBP_ERR_LAYOUT     format not 2, 3 or 4
 *   QLSBP_ERR_TOO_LARGE  width * height above QLSBP_MAX_FRAME_PIXELS
 *   QLSBP_ERR_NO_MEMORY  memory, or all of the workers asked for, could not
 *                        be had (nothing is left behind) */
QLSBP_API int qlsbp_session_open(qlsbp_session** session, const QL_IMAGEINFO* image,
                                 const qlsbp_session_options* options);

/* Applies the effect to one frame in place: the same descriptor, parameters
 * and in-place contract as sb_top_pv_processer. Returns QLSBP_OK (a level
 * below 1 also returns QLSBP_OK and leaves the frame untouched) or a
 * negative code, in which case neither the frame nor the session changed:
 *   QLSBP_ERR_ARGUMENT       session, image or param null; a plane the
 *                            layout needs is null; a stride's magnitude is
 *                            below its row length; layout 3 with
 *                            stride[1] != stride[2]
 *   QLSBP_ERR_LAYOUT         format is not the session's
 *   QLSBP_ERR_SIZE_MISMATCH  width or height is not the session's
 *   QLSBP_ERR_BUSY           another call is inside this session */
QLSBP_API int qlsbp_session_process(qlsbp_session* session, QL_IMAGEINFO* image,
                                    const QL_BokehParam* param);

/* Closes the session, joining its workers and freeing its memory. A null
 * session is harmless. Must not be called while another thread is inside
 * the session, nor on a session inherited through fork(). */
QLSBP_API void qlsbp_session_close(qlsbp_session* session);

/* A readable text for a result code; never null. */
QLSBP_API const char* qlsbp_strerror(int code);

/* ---- Camera frames in YUV_420_888 -------------------------------------------
 *
 * Android cameras hand out 4:2:0 frames as three planes, each with its own
 * row stride, the two chroma planes sharing one pixel stride (YUV_420_888).
 * Depending on the device the chroma is interleaved (pixel stride 2, the U and
 * V planes one byte apart: NV12 or NV21 in memory) or planar (pixel stride 1:
 * I420 or YV12). The functions below take such a frame as it comes.
 *
 * The two chroma planes of a 4:2:0 frame are processed alike (same mask, same
 * blur, at the same size), so the order in which a frame stores them does not
 * change the result: NV12 and NV21, or I420 and YV12, holding the same
 * samples give the same bytes once processed. For sizes whose chroma planes
 * have an odd side (width or height not a multiple of 4) the library does not
 * promise that, so such frames are never handed over in place. */

/* Result of qlsbp_map_yuv420_888 for a valid frame that has no in-place
 * descriptor: it must go through a dense copy (which
 * qlsbp_session_process_yuv420_888 does by itself). Positive: not an error. */
#define QLSBP_NEEDS_COPY 1

/* One YUV_420_888 frame: what android.media.Image and its three planes
 * report. Luma samples have pixel stride 1; chroma planes hold
 * (height / 2) rows of (width / 2) samples, sample c of row r at
 * plane + r * row_stride + c * chroma_pixel_stride. Strides are positive. */
typedef struct qlsbp_yuv420_888 {
  int width;  /* even, at least 2 */
  int height; /* even, at least 2 */
  unsigned char* y;
  unsigned char* u;
  unsigned char* v;
  int y_row_stride;        /* at least width */
  int u_row_stride;        /* at least (width / 2 - 1) * chroma_pixel_stride + 1 */
  int v_row_stride;        /* likewise */
  int chroma_pixel_stride; /* at least 1; the same for u and v */
} qlsbp_yuv420_888;

/* Describes a YUV_420_888 frame with the library's own descriptor, without
 * copying, when its memory already has one of the library's layouts.
 *
 * Returns:
 * - QLSBP_OK, *out filled (plane[3] and stride[3] zero):
 *   - interleaved chroma (pixel stride 2, equal chroma row strides of at
 *     least width, v == u + 1 or u == v + 1): layout 2
 *     (QL_FORMAT_YUV420_SEMIPLANAR), plane[1] the lower of u and v;
 *   - planar chroma (pixel stride 1, equal chroma row strides): layout 3
 *     (QL_FORMAT_YUV420_PLANAR), plane[1] = v and plane[2] = u.
 * - QLSBP_NEEDS_COPY for a valid frame with no such description: unequal
 *   chroma row strides; pixel stride 2 with planes not one byte apart (or
 *   chroma rows shorter than width); a pixel stride above 2; planar chroma
 *   with unpadded luma (y_row_stride == width) but padded chroma
 *   (row stride != width / 2), whose luma the layout-3 write-back leaves
 *   unchanged; width or height not a multiple of 4. *out is not written.
 * - QLSBP_ERR_ARGUMENT: out or in null, a null plane, width or height odd
 *   or below 2, a stride below its minimum above. *out is not written.
 * - QLSBP_ERR_TOO_LARGE: width * height above QLSBP_MAX_FRAME_PIXELS. */
QLSBP_API int qlsbp_map_yuv420_888(QL_IMAGEINFO* out, const qlsbp_yuv420_888* in);

/* Applies the effect to a YUV_420_888 frame in place, whatever its strides.
 *
 * Accepted by sessions opened for layout 2 or 3 (QLSBP_ERR_LAYOUT from a
 * layout-4 session) with the frame's width and height
 * (QLSBP_ERR_SIZE_MISMATCH otherwise). A frame that qlsbp_map_yuv420_888
 * maps to the session's layout is processed in place through
 * qlsbp_session_process. Any other valid frame is copied into a dense frame
 * of the session's layout held by the session (allocated at the first such
 * frame, kept until close; V before U: NV21 for layout 2, YV12 for
 * layout 3), processed, and copied back sample by sample; row padding and the
 * bytes between interleaved samples are never written. Either way the bytes
 * are those of the same samples given to qlsbp_session_process as a dense
 * NV21 (layout 2) or YV12 (layout 3) frame.
 *
 * Returns QLSBP_OK, or a negative code (the frame is then unchanged):
 * the codes of qlsbp_map_yuv420_888 and qlsbp_session_process, and
 * QLSBP_ERR_NO_MEMORY when the copy cannot be allocated. */
QLSBP_API int qlsbp_session_process_yuv420_888(qlsbp_session* session,
                                               const qlsbp_yuv420_888* frame,
                                               const QL_BokehParam* param);

/* Logging hook.
 *
 * sb_top_pv_initial and sb_top_pv_processer log fixed banners (each text
 * ends with a newline) with priority SB_TOP_PV_LOG_ERROR under the tag
 * "QLOB":
 *   set-up:    "Quillon Single Bokeh Version 6.0 For Preview -2018.03.22:  \n",
 *              "Preview Init:  \n"
 *   per frame: "Quillon Single Bokeh Version PV 5.0 -2018.03.02:  \n",
 *              "Preview process:  \n"
 * With a hook installed, every banner goes to the hook, synchronously on the
 * thread that called the entry point, and nowhere else. Passing a null fn
 * restores the default sink: the Android log (__android_log_print) on
 * Android and in builds with QLSBP_WITH_ANDROID_LOG; elsewhere standard
 * error when the environment variable QLSBP_LOG is set to a value other
 * than "0" (read at every banner), otherwise nothing. Like the entry points,
 * the hook must not be changed while another thread is inside one. */
#define SB_TOP_PV_LOG_ERROR 6 /* Android's ANDROID_LOG_ERROR */
typedef void (*sb_top_pv_log_fn)(int priority, const char* tag, const char* text, void* user);
QLSBP_API void sb_top_pv_set_log_hook(sb_top_pv_log_fn fn, void* user);

#ifdef __cplusplus
}
#endif

#endif /* QL_SINGLE_BOKEH_PREVIEW_H_ */
