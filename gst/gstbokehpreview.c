/* bokehpreview: a GstVideoFilter over one library session.
 *
 * Frames are processed in place on their own planes and strides. Two kinds
 * of frame would not get the whole effect from the library as they are:
 * planar 4:2:0 whose luma rows are unpadded while the chroma rows are padded
 * (the library then writes only the chroma back: its long-standing write-back
 * behaviour), and sizes whose chroma planes have an odd side (width or height
 * not a multiple of 4), whose last column or row the library leaves alone.
 * Those frames go through a dense copy padded to a multiple of 4 by repeating
 * the last column and row; the session is opened for the padded size, so one
 * session serves every frame of a negotiated size whatever its strides. */
#include "gstbokehpreview.h"

#include <string.h>

GST_DEBUG_CATEGORY_STATIC(gst_bokeh_preview_debug);
#define GST_CAT_DEFAULT gst_bokeh_preview_debug

enum {
  PROP_0,
  PROP_FOCUS_X,
  PROP_FOCUS_Y,
  PROP_AXIS_X,
  PROP_AXIS_Y,
  PROP_FOCUS_FX,
  PROP_FOCUS_FY,
  PROP_AXIS_FX,
  PROP_AXIS_FY,
  PROP_LEVEL,
  PROP_STRENGTH,
  PROP_WORKERS,
  PROP_CLEAN_EDGES
};

#define DEFAULT_PIXELS -1
#define DEFAULT_FOCUS_FRACTION 0.5
#define DEFAULT_AXIS_FRACTION 0.25
#define DEFAULT_LEVEL 5
#define DEFAULT_STRENGTH 4
#define DEFAULT_WORKERS -1
#define DEFAULT_CLEAN_EDGES FALSE

/* The orders each library layout serves: both chroma orders of a layout are
 * processed alike, so NV12 goes where NV21 goes and I420 where YV12 goes. */
#define BOKEH_PREVIEW_CAPS GST_VIDEO_CAPS_MAKE("{ NV21, NV12, I420, YV12, YUY2 }")

static GstStaticPadTemplate sink_template = GST_STATIC_PAD_TEMPLATE(
    "sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS(BOKEH_PREVIEW_CAPS));
static GstStaticPadTemplate src_template = GST_STATIC_PAD_TEMPLATE(
    "src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(BOKEH_PREVIEW_CAPS));

G_DEFINE_TYPE(GstBokehPreview, gst_bokeh_preview, GST_TYPE_VIDEO_FILTER);

/* ---- Frame geometry ------------------------------------------------------ */

/* One plane as the library sees it: its rows and the bytes of each row that
 * hold pixels (chroma planes of odd sizes round up, as GStreamer lays them
 * out). unit is what repeating the last column repeats: a byte, a chroma
 * pair, or a Y0 U Y1 V group. */
typedef struct {
  gint rows;
  gint row_bytes;
  gint unit;
} PlaneShape;

static gint plane_count(gint code) {
  return code == QL_FORMAT_YUV420_PLANAR ? 3 : code == QL_FORMAT_YUV420_SEMIPLANAR ? 2 : 1;
}

static PlaneShape plane_shape(gint code, gint plane, gint width, gint height) {
  const gint half_w = (width + 1) / 2;
  const gint half_h = (height + 1) / 2;
  PlaneShape s = {height, width, 1};
  if (code == QL_FORMAT_YUYV422) {
    s.row_bytes = 4 * half_w;
    s.unit = 4;
  } else if (plane > 0) {
    s.rows = half_h;
    s.row_bytes = code == QL_FORMAT_YUV420_SEMIPLANAR ? 2 * half_w : half_w;
    s.unit = code == QL_FORMAT_YUV420_SEMIPLANAR ? 2 : 1;
  }
  return s;
}

static gint layout_code(GstVideoFormat format) {
  switch (format) {
    case GST_VIDEO_FORMAT_NV21:
    case GST_VIDEO_FORMAT_NV12:
      return QL_FORMAT_YUV420_SEMIPLANAR;
    case GST_VIDEO_FORMAT_I420:
    case GST_VIDEO_FORMAT_YV12:
      return QL_FORMAT_YUV420_PLANAR;
    case GST_VIDEO_FORMAT_YUY2:
      return QL_FORMAT_YUYV422;
    default:
      return -1;
  }
}

/* Whether the frame must take the padded copy to get the whole effect. */
static gboolean needs_dense_copy(GstBokehPreview* self, const GstVideoFrame* frame) {
  if (self->padded_width != self->width || self->padded_height != self->height) return TRUE;
  if (self->code != QL_FORMAT_YUV420_PLANAR) return FALSE;
  const gint s0 = GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0);
  const gint s1 = GST_VIDEO_FRAME_PLANE_STRIDE(frame, 1);
  const gint s2 = GST_VIDEO_FRAME_PLANE_STRIDE(frame, 2);
  /* Unequal chroma strides the library refuses outright. */
  return s1 != s2 || (s0 == self->width && s1 != self->width / 2);
}

/* The padded copy: planes one after another, each row exactly its bytes. */
static void dense_image(GstBokehPreview* self, QL_IMAGEINFO* image) {
  memset(image, 0, sizeof(*image));
  image->format = self->code;
  image->width = self->padded_width;
  image->height = self->padded_height;
  guint8* at = self->dense;
  for (gint p = 0; p < plane_count(self->code); ++p) {
    const PlaneShape s = plane_shape(self->code, p, self->padded_width, self->padded_height);
    image->plane[p] = at;
    image->stride[p] = s.row_bytes;
    at += (gsize)s.rows * (gsize)s.row_bytes;
  }
}

static gsize dense_bytes(gint code, gint width, gint height) {
  gsize n = 0;
  for (gint p = 0; p < plane_count(code); ++p) {
    const PlaneShape s = plane_shape(code, p, width, height);
    n += (gsize)s.rows * (gsize)s.row_bytes;
  }
  return n;
}

/* Copies a frame's plane into the padded copy and fills the padding with
 * the last column and row, so that the blur near the frame's edges sees the
 * same neighbours it would see at a mirrored border. */
static void pad_plane(guint8* dst, gint dst_stride, const PlaneShape* dst_shape, const guint8* src,
                      gint src_stride, const PlaneShape* shape, gboolean packed_422, gint width) {
  for (gint r = 0; r < shape->rows; ++r) {
    guint8* row = dst + (gsize)r * dst_stride;
    memcpy(row, src + (gsize)r * src_stride, shape->row_bytes);
    if (packed_422) {
      /* Pixels, not groups: the padding repeats the last luma sample with
       * the last group's chroma. An odd width's spare luma slot too. */
      const guint8 y = row[2 * (width - 1)];
      if (width & 1) row[shape->row_bytes - 2] = y;
      for (gint c = shape->row_bytes; c < dst_shape->row_bytes; c += 4) {
        row[c] = y;
        row[c + 1] = row[shape->row_bytes - 3];
        row[c + 2] = y;
        row[c + 3] = row[shape->row_bytes - 1];
      }
    } else {
      for (gint c = shape->row_bytes; c < dst_shape->row_bytes; c += shape->unit) {
        memcpy(row + c, row + shape->row_bytes - shape->unit, shape->unit);
      }
    }
  }
  for (gint r = shape->rows; r < dst_shape->rows; ++r) {
    memcpy(dst + (gsize)r * dst_stride, dst + (gsize)(shape->rows - 1) * dst_stride,
           dst_shape->row_bytes);
  }
}

static gint process_dense(GstBokehPreview* self, GstVideoFrame* frame, const QL_BokehParam* param) {
  if (self->dense == NULL) {
    self->dense_size = dense_bytes(self->code, self->padded_width, self->padded_height);
    self->dense = g_try_malloc(self->dense_size);
    if (self->dense == NULL) return QLSBP_ERR_NO_MEMORY;
  }
  QL_IMAGEINFO image;
  dense_image(self, &image);
  const gint planes = plane_count(self->code);
  for (gint p = 0; p < planes; ++p) {
    const PlaneShape s = plane_shape(self->code, p, self->width, self->height);
    const PlaneShape d = plane_shape(self->code, p, self->padded_width, self->padded_height);
    pad_plane(image.plane[p], image.stride[p], &d, GST_VIDEO_FRAME_PLANE_DATA(frame, p),
              GST_VIDEO_FRAME_PLANE_STRIDE(frame, p), &s, self->code == QL_FORMAT_YUYV422,
              self->width);
  }
  const gint rc = qlsbp_session_process(self->session, &image, param);
  if (rc != QLSBP_OK) return rc;
  for (gint p = 0; p < planes; ++p) {
    const PlaneShape s = plane_shape(self->code, p, self->width, self->height);
    guint8* dst = GST_VIDEO_FRAME_PLANE_DATA(frame, p);
    const gint stride = GST_VIDEO_FRAME_PLANE_STRIDE(frame, p);
    for (gint r = 0; r < s.rows; ++r) {
      memcpy(dst + (gsize)r * stride, image.plane[p] + (gsize)r * image.stride[p], s.row_bytes);
    }
  }
  return QLSBP_OK;
}

static gint process_in_place(GstBokehPreview* self, GstVideoFrame* frame,
                             const QL_BokehParam* param) {
  QL_IMAGEINFO image;
  memset(&image, 0, sizeof(image));
  image.format = self->code;
  image.width = self->width;
  image.height = self->height;
  for (gint p = 0; p < plane_count(self->code); ++p) {
    image.plane[p] = GST_VIDEO_FRAME_PLANE_DATA(frame, p);
    image.stride[p] = GST_VIDEO_FRAME_PLANE_STRIDE(frame, p);
  }
  return qlsbp_session_process(self->session, &image, param);
}

/* ---- Session ------------------------------------------------------------- */

static void close_session(GstBokehPreview* self) {
  qlsbp_session_close(self->session);
  self->session = NULL;
  self->session_rc = QLSBP_OK;
  g_free(self->dense);
  self->dense = NULL;
  self->dense_size = 0;
}

/* Opens the session for the negotiated (padded) size with the given options,
 * unless it is open with them already or the same open failed before. */
static gint ensure_session(GstBokehPreview* self, gint workers, gboolean clean_edges) {
  const gboolean same =
      self->session_workers == workers && self->session_clean_edges == clean_edges;
  if (same && (self->session != NULL || self->session_rc != QLSBP_OK)) return self->session_rc;
  qlsbp_session_close(self->session);
  self->session = NULL;
  qlsbp_session_options options;
  qlsbp_session_options_init(&options);
  if (workers >= 0) options.workers = workers;
  options.clean_edges = clean_edges ? 1 : 0;
  QL_IMAGEINFO image;
  memset(&image, 0, sizeof(image));
  image.format = self->code;
  image.width = self->padded_width;
  image.height = self->padded_height;
  self->session_rc = qlsbp_session_open(&self->session, &image, &options);
  self->session_workers = workers;
  self->session_clean_edges = clean_edges;
  GST_DEBUG_OBJECT(self, "session for %dx%d layout %d, workers %d: %s", image.width, image.height,
                   image.format, workers, qlsbp_strerror(self->session_rc));
  return self->session_rc;
}

/* ---- GstVideoFilter ------------------------------------------------------ */

static gboolean gst_bokeh_preview_set_info(GstVideoFilter* filter, GstCaps* incaps,
                                           GstVideoInfo* in_info, GstCaps* outcaps,
                                           GstVideoInfo* out_info) {
  GstBokehPreview* self = GST_BOKEH_PREVIEW(filter);
  (void)incaps;
  (void)outcaps;
  (void)out_info;
  const gint code = layout_code(GST_VIDEO_INFO_FORMAT(in_info));
  if (code < 0) return FALSE;
  /* A new size or format needs a session made for it. */
  close_session(self);
  self->code = code;
  self->width = GST_VIDEO_INFO_WIDTH(in_info);
  self->height = GST_VIDEO_INFO_HEIGHT(in_info);
  self->padded_width = (self->width + 3) & ~3;
  self->padded_height = (self->height + 3) & ~3;
  self->warned = FALSE;
  GST_OBJECT_LOCK(self);
  const gboolean identity = self->level == 0;
  const gint workers = self->workers;
  const gboolean clean_edges = self->clean_edges;
  GST_OBJECT_UNLOCK(self);
  /* A size the library refuses is reported at the first frame. */
  self->session_workers = G_MININT;
  ensure_session(self, workers, clean_edges);
  gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), identity);
  return TRUE;
}

static gint frame_pixels(gint pixels, gdouble fraction, gint size) {
  return pixels >= 0 ? pixels : (gint)(fraction * size + 0.5);
}

static GstFlowReturn gst_bokeh_preview_transform_frame_ip(GstVideoFilter* filter,
                                                          GstVideoFrame* frame) {
  GstBokehPreview* self = GST_BOKEH_PREVIEW(filter);
  QL_BokehParam param;
  GST_OBJECT_LOCK(self);
  param.focusRow = frame_pixels(self->focus_y, self->focus_fy, self->height);
  param.focusCol = frame_pixels(self->focus_x, self->focus_fx, self->width);
  param.axisRows = frame_pixels(self->axis_y, self->axis_fy, self->height);
  param.axisCols = frame_pixels(self->axis_x, self->axis_fx, self->width);
  param.level = self->level;
  param.strength = self->strength;
  const gint workers = self->workers;
  const gboolean clean_edges = self->clean_edges;
  GST_OBJECT_UNLOCK(self);
  if (param.level < 1) return GST_FLOW_OK;

  gint rc = ensure_session(self, workers, clean_edges);
  if (rc == QLSBP_OK) {
    rc = needs_dense_copy(self, frame) ? process_dense(self, frame, &param)
                                       : process_in_place(self, frame, &param);
  }
  if (rc != QLSBP_OK && !self->warned) {
    self->warned = TRUE;
    GST_ELEMENT_WARNING(self, STREAM, FAILED,
                        ("Frames of %dx%d pass through without the effect: %s", self->width,
                         self->height, qlsbp_strerror(rc)),
                        ("library result %d", rc));
  }
  return GST_FLOW_OK;
}

static void gst_bokeh_preview_before_transform(GstBaseTransform* trans, GstBuffer* buffer) {
  /* Lets a controller drive the properties at the buffer's stream time. */
  GstClockTime stream_time =
      gst_segment_to_stream_time(&trans->segment, GST_FORMAT_TIME, GST_BUFFER_TIMESTAMP(buffer));
  if (GST_CLOCK_TIME_IS_VALID(stream_time)) gst_object_sync_values(GST_OBJECT(trans), stream_time);
}

static gboolean gst_bokeh_preview_stop(GstBaseTransform* trans) {
  close_session(GST_BOKEH_PREVIEW(trans));
  return TRUE;
}

/* ---- Properties ---------------------------------------------------------- */

static void gst_bokeh_preview_set_property(GObject* object, guint prop_id, const GValue* value,
                                           GParamSpec* pspec) {
  GstBokehPreview* self = GST_BOKEH_PREVIEW(object);
  gboolean level_changed = FALSE;
  gboolean identity = FALSE;
  GST_OBJECT_LOCK(self);
  switch (prop_id) {
    case PROP_FOCUS_X:
      self->focus_x = g_value_get_int(value);
      break;
    case PROP_FOCUS_Y:
      self->focus_y = g_value_get_int(value);
      break;
    case PROP_AXIS_X:
      self->axis_x = g_value_get_int(value);
      break;
    case PROP_AXIS_Y:
      self->axis_y = g_value_get_int(value);
      break;
    case PROP_FOCUS_FX:
      self->focus_fx = g_value_get_double(value);
      break;
    case PROP_FOCUS_FY:
      self->focus_fy = g_value_get_double(value);
      break;
    case PROP_AXIS_FX:
      self->axis_fx = g_value_get_double(value);
      break;
    case PROP_AXIS_FY:
      self->axis_fy = g_value_get_double(value);
      break;
    case PROP_LEVEL:
      self->level = g_value_get_int(value);
      level_changed = TRUE;
      identity = self->level == 0;
      break;
    case PROP_STRENGTH:
      self->strength = g_value_get_int(value);
      break;
    case PROP_WORKERS:
      self->workers = g_value_get_int(value);
      break;
    case PROP_CLEAN_EDGES:
      self->clean_edges = g_value_get_boolean(value);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
      break;
  }
  GST_OBJECT_UNLOCK(self);
  /* Outside the lock: the base class takes the same object lock. */
  if (level_changed) gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), identity);
}

static void gst_bokeh_preview_get_property(GObject* object, guint prop_id, GValue* value,
                                           GParamSpec* pspec) {
  GstBokehPreview* self = GST_BOKEH_PREVIEW(object);
  GST_OBJECT_LOCK(self);
  switch (prop_id) {
    case PROP_FOCUS_X:
      g_value_set_int(value, self->focus_x);
      break;
    case PROP_FOCUS_Y:
      g_value_set_int(value, self->focus_y);
      break;
    case PROP_AXIS_X:
      g_value_set_int(value, self->axis_x);
      break;
    case PROP_AXIS_Y:
      g_value_set_int(value, self->axis_y);
      break;
    case PROP_FOCUS_FX:
      g_value_set_double(value, self->focus_fx);
      break;
    case PROP_FOCUS_FY:
      g_value_set_double(value, self->focus_fy);
      break;
    case PROP_AXIS_FX:
      g_value_set_double(value, self->axis_fx);
      break;
    case PROP_AXIS_FY:
      g_value_set_double(value, self->axis_fy);
      break;
    case PROP_LEVEL:
      g_value_set_int(value, self->level);
      break;
    case PROP_STRENGTH:
      g_value_set_int(value, self->strength);
      break;
    case PROP_WORKERS:
      g_value_set_int(value, self->workers);
      break;
    case PROP_CLEAN_EDGES:
      g_value_set_boolean(value, self->clean_edges);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, prop_id, pspec);
      break;
  }
  GST_OBJECT_UNLOCK(self);
}

static void gst_bokeh_preview_finalize(GObject* object) {
  close_session(GST_BOKEH_PREVIEW(object));
  G_OBJECT_CLASS(gst_bokeh_preview_parent_class)->finalize(object);
}

#define PROP_FLAGS \
  (G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_CONTROLLABLE | GST_PARAM_MUTABLE_PLAYING)

static void install_int(GObjectClass* klass, guint id, const gchar* name, const gchar* nick,
                        const gchar* blurb, gint min, gint max, gint def) {
  g_object_class_install_property(klass, id,
                                  g_param_spec_int(name, nick, blurb, min, max, def, PROP_FLAGS));
}

static void install_fraction(GObjectClass* klass, guint id, const gchar* name, const gchar* nick,
                             const gchar* blurb, gdouble def) {
  g_object_class_install_property(
      klass, id, g_param_spec_double(name, nick, blurb, 0.0, 1.0, def, PROP_FLAGS));
}

static void gst_bokeh_preview_class_init(GstBokehPreviewClass* klass) {
  GObjectClass* gobject_class = G_OBJECT_CLASS(klass);
  GstElementClass* element_class = GST_ELEMENT_CLASS(klass);
  GstBaseTransformClass* trans_class = GST_BASE_TRANSFORM_CLASS(klass);
  GstVideoFilterClass* filter_class = GST_VIDEO_FILTER_CLASS(klass);

  gobject_class->set_property = gst_bokeh_preview_set_property;
  gobject_class->get_property = gst_bokeh_preview_get_property;
  gobject_class->finalize = gst_bokeh_preview_finalize;

  install_int(gobject_class, PROP_FOCUS_X, "focus-x", "Focus column",
              "Column of the focus centre in pixels (-1: use focus-fx)", -1, G_MAXINT,
              DEFAULT_PIXELS);
  install_int(gobject_class, PROP_FOCUS_Y, "focus-y", "Focus row",
              "Row of the focus centre in pixels (-1: use focus-fy)", -1, G_MAXINT, DEFAULT_PIXELS);
  install_int(gobject_class, PROP_AXIS_X, "axis-x", "Horizontal semi-axis",
              "Horizontal semi-axis of the focus ellipse in pixels (-1: use axis-fx)", -1, G_MAXINT,
              DEFAULT_PIXELS);
  install_int(gobject_class, PROP_AXIS_Y, "axis-y", "Vertical semi-axis",
              "Vertical semi-axis of the focus ellipse in pixels (-1: use axis-fy)", -1, G_MAXINT,
              DEFAULT_PIXELS);
  install_fraction(gobject_class, PROP_FOCUS_FX, "focus-fx", "Focus column fraction",
                   "Column of the focus centre as a fraction of the frame width",
                   DEFAULT_FOCUS_FRACTION);
  install_fraction(gobject_class, PROP_FOCUS_FY, "focus-fy", "Focus row fraction",
                   "Row of the focus centre as a fraction of the frame height",
                   DEFAULT_FOCUS_FRACTION);
  install_fraction(gobject_class, PROP_AXIS_FX, "axis-fx", "Horizontal semi-axis fraction",
                   "Horizontal semi-axis as a fraction of the frame width", DEFAULT_AXIS_FRACTION);
  install_fraction(gobject_class, PROP_AXIS_FY, "axis-fy", "Vertical semi-axis fraction",
                   "Vertical semi-axis as a fraction of the frame height", DEFAULT_AXIS_FRACTION);
  install_int(gobject_class, PROP_LEVEL, "level", "Blur level",
              "Blur level outside the focus (0: frames pass through unchanged)", 0, 7,
              DEFAULT_LEVEL);
  install_int(gobject_class, PROP_STRENGTH, "strength", "Transition strength",
              "Width of the soft transition band in fiftieths of the shorter frame side", 1, 10,
              DEFAULT_STRENGTH);
  install_int(gobject_class, PROP_WORKERS, "workers", "Worker threads",
              "Persistent worker threads of the session (-1: one per online processor, "
              "0: threads started inside every frame); a change reopens the session",
              -1, 256, DEFAULT_WORKERS);
  g_object_class_install_property(
      gobject_class, PROP_CLEAN_EDGES,
      g_param_spec_boolean("clean-edges", "Clean edges",
                           "Focus mask clamped to its range, without seams at the frame border; "
                           "a change reopens the session",
                           DEFAULT_CLEAN_EDGES, PROP_FLAGS));

  gst_element_class_set_static_metadata(
      element_class, "Preview bokeh", "Filter/Effect/Video",
      "Keeps an elliptical focus region sharp and blurs the rest of the frame behind a soft "
      "transition band, as for live camera preview",
      "ql_single_bokeh_preview developers");
  gst_element_class_add_static_pad_template(element_class, &sink_template);
  gst_element_class_add_static_pad_template(element_class, &src_template);

  trans_class->before_transform = GST_DEBUG_FUNCPTR(gst_bokeh_preview_before_transform);
  trans_class->stop = GST_DEBUG_FUNCPTR(gst_bokeh_preview_stop);
  filter_class->set_info = GST_DEBUG_FUNCPTR(gst_bokeh_preview_set_info);
  filter_class->transform_frame_ip = GST_DEBUG_FUNCPTR(gst_bokeh_preview_transform_frame_ip);
}

static void gst_bokeh_preview_init(GstBokehPreview* self) {
  self->focus_x = self->focus_y = self->axis_x = self->axis_y = DEFAULT_PIXELS;
  self->focus_fx = self->focus_fy = DEFAULT_FOCUS_FRACTION;
  self->axis_fx = self->axis_fy = DEFAULT_AXIS_FRACTION;
  self->level = DEFAULT_LEVEL;
  self->strength = DEFAULT_STRENGTH;
  self->workers = DEFAULT_WORKERS;
  self->clean_edges = DEFAULT_CLEAN_EDGES;
  self->session_workers = G_MININT;
  gst_base_transform_set_in_place(GST_BASE_TRANSFORM(self), TRUE);
}

/* ---- Plugin -------------------------------------------------------------- */

static gboolean plugin_init(GstPlugin* plugin) {
  GST_DEBUG_CATEGORY_INIT(gst_bokeh_preview_debug, "bokehpreview", 0,
                          "single-camera bokeh for preview frames");
  return gst_element_register(plugin, "bokehpreview", GST_RANK_NONE, GST_TYPE_BOKEH_PREVIEW);
}

/* The macro leaves the descriptor's padding to zero initialisation. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, bokehpreview,
                  "Single-camera bokeh for live video: a sharp focus ellipse, a blurred rest",
                  plugin_init, QLSBP_GST_VERSION, "BSD", QLSBP_GST_PACKAGE, QLSBP_GST_ORIGIN)
#pragma GCC diagnostic pop
