/* bokehpreview: the library's preview bokeh as a GStreamer video filter.
 *
 * One library session per element instance, processing every frame in
 * place. Uses the public header only. */
#ifndef GST_BOKEH_PREVIEW_H_
#define GST_BOKEH_PREVIEW_H_

#include <gst/gst.h>
#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include "ql_single_bokeh_preview.h"

G_BEGIN_DECLS

#define GST_TYPE_BOKEH_PREVIEW (gst_bokeh_preview_get_type())
G_DECLARE_FINAL_TYPE(GstBokehPreview, gst_bokeh_preview, GST, BOKEH_PREVIEW, GstVideoFilter)

struct _GstBokehPreview {
  GstVideoFilter parent;

  /* Properties: written by the application (or a controller) at any time,
   * so they are changed under the object lock and read as one snapshot per
   * frame. */
  gint focus_x, focus_y, axis_x, axis_y; /* pixels; -1: use the fractions */
  gdouble focus_fx, focus_fy, axis_fx, axis_fy;
  gint level, strength;
  gint workers; /* -1: the library's default */
  gboolean clean_edges;

  /* Streaming state: touched only from the streaming thread (set_info,
   * transform_frame_ip) and from stop, when no buffer flows. */
  qlsbp_session* session;
  gint session_rc; /* result of the last open; QLSBP_OK while session is set */
  gint session_workers;
  gboolean session_clean_edges;
  gint code;                        /* QL_FORMAT_* of the negotiated format */
  gint width, height;               /* negotiated size */
  gint padded_width, padded_height; /* size rounded up to a multiple of 4 */
  guint8* dense;                    /* padded copy of a frame, kept across frames */
  gsize dense_size;
  gboolean warned;
};

G_END_DECLS

#endif /* GST_BOKEH_PREVIEW_H_ */
