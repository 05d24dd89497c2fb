/* The bokehpreview element against the library's session API.
 *
 * Every case runs real pipelines (videotestsrc or appsrc into the element,
 * appsink out) and checks each output frame byte for byte against the same
 * input frame processed by a session of our own. Frames that the element
 * must pad first (planar 4:2:0 with unpadded luma but padded chroma rows,
 * sizes that are not a multiple of 4) are checked against a model written
 * here: the frame repeated into its last column and row up to a multiple of
 * 4, processed densely, cropped.
 *
 * Usage: test_gst <case>; the plugin is found through GST_PLUGIN_PATH. */
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/gst.h>
#include <gst/video/video.h>
#include <stdio.h>
#include <string.h>

#include "ql_single_bokeh_preview.h"

enum { kSkip = 77 };

static int g_failures;

#define CHECK(cond, ...)                                                  \
  do {                                                                    \
    if (!(cond)) {                                                        \
      fprintf(stderr, "%s:%d: check failed: %s: ", __FILE__, __LINE__, #cond); \
      fprintf(stderr, __VA_ARGS__);                                       \
      fprintf(stderr, "\n");                                              \
      ++g_failures;                                                       \
    }                                                                     \
  } while (0)

/* ---- Frames ---------------------------------------------------------------- */

/* A frame with its own copy of the planes, rows keeping their strides. */
typedef struct {
  int code, width, height, planes;
  int rows[3], row_bytes[3], stride[3];
  guint8* data[3];
} Image;

static int code_of(GstVideoFormat format) {
  switch (format) {
    case GST_VIDEO_FORMAT_NV12:
    case GST_VIDEO_FORMAT_NV21:
      return QL_FORMAT_YUV420_SEMIPLANAR;
    case GST_VIDEO_FORMAT_I420:
    case GST_VIDEO_FORMAT_YV12:
      return QL_FORMAT_YUV420_PLANAR;
    default:
      return QL_FORMAT_YUYV422;
  }
}

static Image* image_new(int code, int width, int height, const int* strides) {
  Image* im = g_new0(Image, 1);
  im->code = code;
  im->width = width;
  im->height = height;
  im->planes = code == QL_FORMAT_YUV420_PLANAR ? 3 : code == QL_FORMAT_YUV420_SEMIPLANAR ? 2 : 1;
  for (int p = 0; p < im->planes; ++p) {
    im->rows[p] = p == 0 || code == QL_FORMAT_YUYV422 ? height : (height + 1) / 2;
    if (code == QL_FORMAT_YUYV422) {
      im->row_bytes[p] = 4 * ((width + 1) / 2);
    } else if (p == 0) {
      im->row_bytes[p] = width;
    } else {
      im->row_bytes[p] = (code == QL_FORMAT_YUV420_SEMIPLANAR ? 2 : 1) * ((width + 1) / 2);
    }
    im->stride[p] = strides ? strides[p] : im->row_bytes[p];
    im->data[p] = g_malloc0((gsize)im->stride[p] * im->rows[p]);
  }
  return im;
}

static void image_free(gpointer data) {
  Image* im = data;
  for (int p = 0; p < im->planes; ++p) g_free(im->data[p]);
  g_free(im);
}

static Image* image_copy(const Image* src) {
  Image* im = image_new(src->code, src->width, src->height, src->stride);
  for (int p = 0; p < im->planes; ++p) {
    memcpy(im->data[p], src->data[p], (gsize)im->stride[p] * im->rows[p]);
  }
  return im;
}

static Image* image_from_buffer(GstCaps* caps, GstBuffer* buffer) {
  GstVideoInfo info;
  GstVideoFrame frame;
  if (!gst_video_info_from_caps(&info, caps) ||
      !gst_video_frame_map(&frame, &info, buffer, GST_MAP_READ)) {
    return NULL;
  }
  int strides[3] = {0, 0, 0};
  for (guint p = 0; p < GST_VIDEO_FRAME_N_PLANES(&frame); ++p) {
    strides[p] = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, p);
  }
  Image* im = image_new(code_of(GST_VIDEO_FRAME_FORMAT(&frame)), GST_VIDEO_FRAME_WIDTH(&frame),
                        GST_VIDEO_FRAME_HEIGHT(&frame), strides);
  for (int p = 0; p < im->planes; ++p) {
    const guint8* src = GST_VIDEO_FRAME_PLANE_DATA(&frame, p);
    for (int r = 0; r < im->rows[p]; ++r) {
      memcpy(im->data[p] + (gsize)r * im->stride[p], src + (gsize)r * strides[p], im->row_bytes[p]);
    }
  }
  gst_video_frame_unmap(&frame);
  return im;
}

static QL_IMAGEINFO image_info(Image* im) {
  QL_IMAGEINFO info;
  memset(&info, 0, sizeof(info));
  info.format = im->code;
  info.width = im->width;
  info.height = im->height;
  for (int p = 0; p < im->planes; ++p) {
    info.plane[p] = im->data[p];
    info.stride[p] = im->stride[p];
  }
  return info;
}

/* Pixel rows only; padding between rows is no one's business. */
static int image_equal(const Image* want, const Image* got, const char* what) {
  if (want->code != got->code || want->width != got->width || want->height != got->height) {
    fprintf(stderr, "%s: frame shape differs\n", what);
    return 0;
  }
  for (int p = 0; p < want->planes; ++p) {
    for (int r = 0; r < want->rows[p]; ++r) {
      const guint8* a = want->data[p] + (gsize)r * want->stride[p];
      const guint8* b = got->data[p] + (gsize)r * got->stride[p];
      if (memcmp(a, b, want->row_bytes[p]) != 0) {
        fprintf(stderr, "%s: plane %d row %d differs\n", what, p, r);
        return 0;
      }
    }
  }
  return 1;
}

static guint8 luma(const Image* im, int x, int y) {
  const guint8* row = im->data[0] + (gsize)y * im->stride[0];
  return im->code == QL_FORMAT_YUYV422 ? row[2 * x] : row[x];
}

/* ---- The reference: a session of our own -------------------------------- */

/* Frames the element pads before processing. */
static int needs_padding(const Image* im) {
  if (im->width % 4 != 0 || im->height % 4 != 0) return 1;
  return im->code == QL_FORMAT_YUV420_PLANAR &&
         (im->stride[1] != im->stride[2] ||
          (im->stride[0] == im->width && im->stride[1] != im->width / 2));
}

/* Byte c of row r of plane p of the frame extended by repeating its last
 * column and row. */
static guint8 extended_byte(const Image* im, int p, int r, int c) {
  const guint8* row = im->data[p] + (gsize)MIN(r, im->rows[p] - 1) * im->stride[p];
  if (im->code == QL_FORMAT_YUYV422) {
    if (c % 2 == 0) return row[2 * MIN(c / 2, im->width - 1)]; /* luma of pixel c/2 */
    return row[4 * MIN(c / 4, (im->width + 1) / 2 - 1) + c % 4];
  }
  if (p > 0 && im->code == QL_FORMAT_YUV420_SEMIPLANAR) {
    return row[2 * MIN(c / 2, im->row_bytes[p] / 2 - 1) + c % 2];
  }
  return row[MIN(c, im->row_bytes[p] - 1)];
}

typedef struct {
  qlsbp_session* session;
  int workers;
} Reference;

static int reference_process(Reference* ref, Image* im, const QL_BokehParam* param) {
  const int pw = (im->width + 3) & ~3;
  const int ph = (im->height + 3) & ~3;
  if (ref->session == NULL) {
    qlsbp_session_options options;
    qlsbp_session_options_init(&options);
    options.workers = ref->workers;
    QL_IMAGEINFO shape = {im->code, pw, ph, {NULL, NULL, NULL, NULL}, {0, 0, 0, 0}};
    const int rc = qlsbp_session_open(&ref->session, &shape, &options);
    if (rc != QLSBP_OK) return rc;
  }
  if (!needs_padding(im)) {
    QL_IMAGEINFO info = image_info(im);
    return qlsbp_session_process(ref->session, &info, param);
  }
  Image* padded = image_new(im->code, pw, ph, NULL);
  for (int p = 0; p < im->planes; ++p) {
    for (int r = 0; r < padded->rows[p]; ++r) {
      for (int c = 0; c < padded->row_bytes[p]; ++c) {
        padded->data[p][(gsize)r * padded->stride[p] + c] = extended_byte(im, p, r, c);
      }
    }
  }
  QL_IMAGEINFO info = image_info(padded);
  const int rc = qlsbp_session_process(ref->session, &info, param);
  for (int p = 0; rc == QLSBP_OK && p < im->planes; ++p) {
    for (int r = 0; r < im->rows[p]; ++r) {
      memcpy(im->data[p] + (gsize)r * im->stride[p], padded->data[p] + (gsize)r * padded->stride[p],
             im->row_bytes[p]);
    }
  }
  image_free(padded);
  return rc;
}

/* Checks every output frame against the reference on its input frame. */
static void check_stream(GPtrArray* in, GPtrArray* out, const QL_BokehParam* param, int workers,
                         const char* what) {
  CHECK(in->len > 0 && in->len == out->len, "%s: %u frames in, %u out", what, in->len, out->len);
  Reference ref = {NULL, workers};
  for (guint i = 0; i < MIN(in->len, out->len); ++i) {
    Image* want = image_copy(g_ptr_array_index(in, i));
    const int rc = reference_process(&ref, want, param);
    CHECK(rc == QLSBP_OK, "%s: reference refused frame %u: %s", what, i, qlsbp_strerror(rc));
    char label[160];
    g_snprintf(label, sizeof(label), "%s, frame %u", what, i);
    CHECK(image_equal(want, g_ptr_array_index(out, i), label), "%s", label);
    image_free(want);
  }
  qlsbp_session_close(ref.session);
}

/* ---- Pipelines ------------------------------------------------------------- */

static Image* pull_frame(GstElement* sink) {
  GstSample* sample = gst_app_sink_try_pull_sample(GST_APP_SINK(sink), 60 * GST_SECOND);
  if (sample == NULL) return NULL;
  Image* im = image_from_buffer(gst_sample_get_caps(sample), gst_sample_get_buffer(sample));
  gst_sample_unref(sample);
  return im;
}

/* Fails on any error or warning the pipeline posted. */
static void check_bus(GstElement* pipeline, const char* what) {
  GstBus* bus = gst_element_get_bus(pipeline);
  GstMessage* msg;
  while ((msg = gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR | GST_MESSAGE_WARNING)) != NULL) {
    GError* err = NULL;
    if (GST_MESSAGE_TYPE(msg) == GST_MESSAGE_ERROR) {
      gst_message_parse_error(msg, &err, NULL);
    } else {
      gst_message_parse_warning(msg, &err, NULL);
    }
    CHECK(0, "%s: %s from %s", what, err->message, GST_OBJECT_NAME(GST_MESSAGE_SRC(msg)));
    g_error_free(err);
    gst_message_unref(msg);
  }
  gst_object_unref(bus);
}

/* Runs a launch line to the end and collects the frames of each appsink. */
static void run_to_end(const char* launch, const char* const* sinks, GPtrArray** frames, int n) {
  GError* err = NULL;
  GstElement* pipeline = gst_parse_launch(launch, &err);
  if (pipeline == NULL) {
    CHECK(0, "cannot build '%s': %s", launch, err ? err->message : "?");
    g_clear_error(&err);
    return;
  }
  CHECK(gst_element_set_state(pipeline, GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE, "%s",
        launch);
  for (int i = 0; i < n; ++i) {
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), sinks[i]);
    frames[i] = g_ptr_array_new_with_free_func(image_free);
    Image* im;
    while ((im = pull_frame(sink)) != NULL) g_ptr_array_add(frames[i], im);
    CHECK(gst_app_sink_is_eos(GST_APP_SINK(sink)), "%s: %s stopped before the end", launch,
          sinks[i]);
    gst_object_unref(sink);
  }
  check_bus(pipeline, launch);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
}

static void free_frames(GPtrArray** frames, int n) {
  for (int i = 0; i < n; ++i) {
    if (frames[i]) g_ptr_array_unref(frames[i]);
  }
}

/* The launch line of a snow test source teed into an appsink "raw" of the
 * raw frames and the branches given (each ending in an appsink). */
static void tee_launch(char* launch, gsize size, int buffers, const char* format, int width,
                       int height, const char* branches) {
  g_snprintf(launch, size,
             "videotestsrc num-buffers=%d pattern=snow ! "
             "video/x-raw,format=%s,width=%d,height=%d,framerate=30/1 ! tee name=t "
             "t. ! queue ! appsink name=raw sync=false %s",
             buffers, format, width, height, branches);
}

static const char* const kFormats[] = {"NV21", "NV12", "I420", "YV12", "YUY2"};

/* A test source teed into the raw frames and the element's output. */
static void check_test_source(const char* format, int width, int height, const char* props,
                              const QL_BokehParam* param) {
  char branch[512], launch[1024];
  g_snprintf(branch, sizeof(branch), "t. ! queue ! bokehpreview workers=2 %s ! appsink name=out sync=false",
             props);
  tee_launch(launch, sizeof(launch), 3, format, width, height, branch);
  const char* const sinks[] = {"raw", "out"};
  GPtrArray* frames[2] = {NULL, NULL};
  run_to_end(launch, sinks, frames, 2);
  if (frames[1] != NULL) check_stream(frames[0], frames[1], param, 2, launch);
  free_frames(frames, 2);
}

/* Every format at a plain size (GStreamer's rows unpadded), at 100x80
 * (planar chroma rows padded while luma rows are not) and at 854x480 (chroma
 * width 427: padded copy; rows padded for the 4:2:0 formats). The first size
 * also takes the focus from the default fractions. */
static void case_formats(void) {
  static const int sizes[][2] = {{640, 480}, {100, 80}, {854, 480}};
  for (size_t f = 0; f < G_N_ELEMENTS(kFormats); ++f) {
    const QL_BokehParam centred = {240, 320, 120, 160, 4, 3};
    check_test_source(kFormats[f], 640, 480, "level=4 strength=3", &centred);
    for (size_t s = 1; s < G_N_ELEMENTS(sizes); ++s) {
      const int w = sizes[s][0], h = sizes[s][1];
      const QL_BokehParam param = {h / 2, w / 3, h / 4, w / 5, 6, 5};
      char props[256];
      g_snprintf(props, sizeof(props), "level=6 strength=5 focus-x=%d focus-y=%d axis-x=%d axis-y=%d",
                 param.focusCol, param.focusRow, param.axisCols, param.axisRows);
      check_test_source(kFormats[f], w, h, props, &param);
    }
  }
}

/* Two elements with their own settings on two branches of one stream, each
 * on its own streaming thread. */
static void case_two_elements(void) {
  char launch[1024];
  tee_launch(launch, sizeof(launch), 4, "NV21", 320, 240,
      "t. ! queue ! bokehpreview workers=2 level=2 strength=1 focus-x=80 focus-y=60 axis-x=40 "
      "axis-y=30 ! appsink name=a sync=false "
      "t. ! queue ! bokehpreview workers=2 level=7 strength=10 focus-x=200 focus-y=200 axis-x=100 "
      "axis-y=20 ! appsink name=b sync=false");
  const char* const sinks[] = {"raw", "a", "b"};
  GPtrArray* frames[3] = {NULL, NULL, NULL};
  run_to_end(launch, sinks, frames, 3);
  const QL_BokehParam pa = {60, 80, 30, 40, 2, 1};
  const QL_BokehParam pb = {200, 200, 20, 100, 7, 10};
  if (frames[2] != NULL) {
    check_stream(frames[0], frames[1], &pa, 2, "branch a");
    check_stream(frames[0], frames[2], &pb, 2, "branch b");
  }
  free_frames(frames, 3);
}

/* The luma far from the focus changes, up to the last column and row; the
 * focus centre keeps its values. */
static void case_effect(void) {
  static const struct {
    const char* format;
    int width, height;
  } cases[] = {{"I420", 100, 80}, {"NV21", 854, 480}, {"YUY2", 854, 480}, {"YV12", 98, 66}};
  for (size_t i = 0; i < G_N_ELEMENTS(cases); ++i) {
    char launch[512];
    tee_launch(launch, sizeof(launch), 1, cases[i].format, cases[i].width, cases[i].height,
               "t. ! queue ! bokehpreview level=7 ! appsink name=out sync=false");
    const char* const sinks[] = {"raw", "out"};
    GPtrArray* frames[2] = {NULL, NULL};
    run_to_end(launch, sinks, frames, 2);
    CHECK(frames[1] != NULL && frames[1]->len == 1 && frames[0]->len == 1,
          "%s: expected one frame on each sink", launch);
    if (frames[1] != NULL && frames[1]->len == 1 && frames[0]->len == 1) {
      const Image* in = g_ptr_array_index(frames[0], 0);
      const Image* out = g_ptr_array_index(frames[1], 0);
      const int w = in->width, h = in->height;
      int changed = 0, last_column = 0;
      for (int x = 0; x < w; ++x) {
        changed += (luma(in, x, 0) != luma(out, x, 0)) + (luma(in, x, h - 1) != luma(out, x, h - 1));
      }
      for (int y = 0; y < h; ++y) {
        last_column += luma(in, w - 1, y) != luma(out, w - 1, y);
        changed += luma(in, 0, y) != luma(out, 0, y);
      }
      changed += last_column;
      CHECK(changed * 10 > (2 * w + 2 * h) * 8, "%s: only %d of %d border luma samples changed",
            launch, changed, 2 * w + 2 * h);
      CHECK(last_column * 10 > h * 8, "%s: last column: only %d of %d changed", launch,
            last_column, h);
      for (int y = h / 2 - 2; y <= h / 2 + 2; ++y) {
        for (int x = w / 2 - 2; x <= w / 2 + 2; ++x) {
          CHECK(luma(in, x, y) == luma(out, x, y), "%s: focus centre changed at %d,%d", launch,
                x, y);
        }
      }
    }
    free_frames(frames, 2);
  }
}

/* ---- appsrc: chosen strides, one frame at a time -------------------------- */

typedef struct {
  GstElement* pipeline;
  GstElement* src;
  GstElement* element;
  GstElement* sink;
  GstVideoFormat format;
  int width, height, frames;
  int stride[3];
  guint32 seed;
} Feed;

static void feed_start(Feed* feed, const char* format, int width, int height, const int* strides,
                       const char* props) {
  char launch[512];
  g_snprintf(launch, sizeof(launch),
             "appsrc name=src format=time caps=video/x-raw,format=%s,width=%d,height=%d,"
             "framerate=30/1 ! bokehpreview name=element workers=2 %s ! appsink name=out sync=false",
             format, width, height, props);
  GError* err = NULL;
  feed->pipeline = gst_parse_launch(launch, &err);
  g_assert_no_error(err);
  feed->src = gst_bin_get_by_name(GST_BIN(feed->pipeline), "src");
  feed->element = gst_bin_get_by_name(GST_BIN(feed->pipeline), "element");
  feed->sink = gst_bin_get_by_name(GST_BIN(feed->pipeline), "out");
  feed->format = gst_video_format_from_string(format);
  feed->width = width;
  feed->height = height;
  feed->frames = 0;
  feed->seed = 12345u + (guint32)width;
  memcpy(feed->stride, strides, sizeof(feed->stride));
  CHECK(gst_element_set_state(feed->pipeline, GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE,
        "%s", launch);
}

/* Pushes one noise frame laid out with the feed's strides (carried by a
 * video meta) and returns the element's output; *input gets the frame. */
static Image* feed_frame(Feed* feed, Image** input) {
  Image* im = image_new(code_of(feed->format), feed->width, feed->height, feed->stride);
  gsize offsets[GST_VIDEO_MAX_PLANES] = {0};
  gint strides[GST_VIDEO_MAX_PLANES] = {0};
  gsize size = 0;
  for (int p = 0; p < im->planes; ++p) {
    for (gsize i = 0; i < (gsize)im->stride[p] * im->rows[p]; ++i) {
      feed->seed = feed->seed * 1103515245u + 12345u;
      im->data[p][i] = (guint8)(feed->seed >> 23);
    }
    offsets[p] = size;
    strides[p] = im->stride[p];
    size += (gsize)im->stride[p] * im->rows[p];
  }
  GstBuffer* buffer = gst_buffer_new_allocate(NULL, size, NULL);
  for (int p = 0; p < im->planes; ++p) {
    gst_buffer_fill(buffer, offsets[p], im->data[p], (gsize)im->stride[p] * im->rows[p]);
  }
  gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, feed->format, feed->width,
                                 feed->height, im->planes, offsets, strides);
  GST_BUFFER_PTS(buffer) = gst_util_uint64_scale(feed->frames++, GST_SECOND, 30);
  GST_BUFFER_DURATION(buffer) = GST_SECOND / 30;
  CHECK(gst_app_src_push_buffer(GST_APP_SRC(feed->src), buffer) == GST_FLOW_OK, "push");
  *input = im;
  Image* out = pull_frame(feed->sink);
  CHECK(out != NULL, "no output frame");
  return out;
}

static void feed_stop(Feed* feed) {
  gst_app_src_end_of_stream(GST_APP_SRC(feed->src));
  check_bus(feed->pipeline, "appsrc pipeline");
  gst_element_set_state(feed->pipeline, GST_STATE_NULL);
  gst_object_unref(feed->src);
  gst_object_unref(feed->element);
  gst_object_unref(feed->sink);
  gst_object_unref(feed->pipeline);
}

/* Output of one frame against the reference with the given settings. */
static void expect_processed(Feed* feed, Reference* ref, const QL_BokehParam* param,
                             const char* what) {
  Image* in = NULL;
  Image* out = feed_frame(feed, &in);
  if (out == NULL) {
    image_free(in);
    return;
  }
  const int rc = reference_process(ref, in, param);
  CHECK(rc == QLSBP_OK, "%s: reference refused: %s", what, qlsbp_strerror(rc));
  CHECK(image_equal(in, out, what), "%s", what);
  image_free(in);
  image_free(out);
}

/* Rows padded by the buffer, not by GStreamer's defaults: processed on the
 * buffer's own strides. Planar frames whose luma rows are unpadded while the
 * chroma rows are, or whose chroma strides differ, take the padded copy. */
static void case_strides(void) {
  static const struct {
    const char* format;
    int stride[3];
  } cases[] = {
      {"NV21", {384, 352, 0}},   {"NV12", {336, 400, 0}},   {"I420", {352, 192, 192}},
      {"YV12", {400, 160, 160}}, {"YUY2", {704, 0, 0}},     {"I420", {320, 192, 192}},
      {"YV12", {352, 176, 192}},
  };
  for (size_t i = 0; i < G_N_ELEMENTS(cases); ++i) {
    const QL_BokehParam param = {100, 150, 50, 70, 5, 6};
    Feed feed;
    feed_start(&feed, cases[i].format, 320, 240, cases[i].stride,
               "level=5 strength=6 focus-x=150 focus-y=100 axis-x=70 axis-y=50");
    Reference ref = {NULL, 2};
    for (int n = 0; n < 2; ++n) {
      char what[128];
      g_snprintf(what, sizeof(what), "%s strides %d/%d/%d frame %d", cases[i].format,
                 cases[i].stride[0], cases[i].stride[1], cases[i].stride[2], n);
      expect_processed(&feed, &ref, &param, what);
    }
    qlsbp_session_close(ref.session);
    feed_stop(&feed);
  }
}

/* Settings changed while playing apply from the next frame on; level 0
 * hands frames through untouched; a new worker count reopens the session
 * without changing the bytes; clean-edges reaches the element. */
static void case_properties(void) {
  const int strides[3] = {352, 352, 0};
  Feed feed;
  feed_start(&feed, "NV12", 320, 240, strides,
             "level=2 strength=2 focus-x=160 focus-y=120 axis-x=80 axis-y=60");
  Reference ref = {NULL, 2};
  QL_BokehParam param = {120, 160, 60, 80, 2, 2};
  expect_processed(&feed, &ref, &param, "level 2");

  g_object_set(feed.element, "level", 6, "strength", 8, "focus-x", 50, NULL);
  param.level = 6;
  param.strength = 8;
  param.focusCol = 50;
  expect_processed(&feed, &ref, &param, "level 6, moved focus");

  g_object_set(feed.element, "level", 0, NULL);
  Image* in = NULL;
  Image* out = feed_frame(&feed, &in);
  CHECK(out != NULL && image_equal(in, out, "level 0"), "level 0 must pass frames through");
  image_free(in);
  if (out) image_free(out);

  g_object_set(feed.element, "level", 3, "workers", 0, "focus-fx", 0.25, "focus-x", -1, NULL);
  param.level = 3;
  param.focusCol = 80;
  expect_processed(&feed, &ref, &param, "level 3, no persistent workers, focus from fraction");

  gboolean clean = FALSE;
  g_object_set(feed.element, "clean-edges", TRUE, NULL);
  g_object_get(feed.element, "clean-edges", &clean, NULL);
  CHECK(clean, "clean-edges did not stick");
  Image* in2 = NULL;
  Image* out2 = feed_frame(&feed, &in2);
  CHECK(out2 != NULL, "no frame with clean-edges");
  image_free(in2);
  if (out2) image_free(out2);
  qlsbp_session_close(ref.session);
  feed_stop(&feed);
}

int main(int argc, char** argv) {
  gst_init(&argc, &argv);
  if (argc != 2) {
    fprintf(stderr, "usage: %s formats|two-elements|effect|strides|properties\n", argv[0]);
    return 2;
  }
  GstElementFactory* factory = gst_element_factory_find("bokehpreview");
  if (factory == NULL) {
    fprintf(stderr, "bokehpreview not found: is GST_PLUGIN_PATH set to the build's gst folder?\n");
    return 1;
  }
  gst_object_unref(factory);
  static const struct {
    const char* name;
    void (*run)(void);
  } kCases[] = {{"formats", case_formats},
                {"two-elements", case_two_elements},
                {"effect", case_effect},
                {"strides", case_strides},
                {"properties", case_properties}};
  size_t c = 0;
  while (c < G_N_ELEMENTS(kCases) && strcmp(argv[1], kCases[c].name) != 0) ++c;
  if (c == G_N_ELEMENTS(kCases)) {
    fprintf(stderr, "unknown case %s\n", argv[1]);
    return 2;
  }
  kCases[c].run();
  if (g_failures) fprintf(stderr, "%d check(s) failed\n", g_failures);
  return g_failures ? 1 : 0;
}
