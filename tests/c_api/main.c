/* A C99 host of the public header: the host API's session with one frame
 * and its banners through the logging hook, then a session object with the
 * same frame and a camera frame described as YUV_420_888. Built with
 * -std=c99 -pedantic to keep the header plain C. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ql_single_bokeh_preview.h"

enum { kWidth = 64, kHeight = 48 };

static int g_banners;
static int g_bad_banner;

static void count_banner(int priority, const char* tag, const char* text, void* user) {
  int* counter = (int*)user;
  if (priority != SB_TOP_PV_LOG_ERROR || strcmp(tag, "QLOB") != 0 || text[strlen(text) - 1] != '\n') {
    g_bad_banner = 1;
  }
  ++*counter;
}

int main(void) {
  unsigned char* luma = (unsigned char*)malloc(kWidth * kHeight);
  unsigned char* u = (unsigned char*)malloc(kWidth * kHeight / 4);
  unsigned char* v = (unsigned char*)malloc(kWidth * kHeight / 4);
  QL_IMAGEINFO image;
  QL_BokehParam param = {kHeight / 2, kWidth / 2, kHeight / 4, kWidth / 4, 3, 5};
  int i;
  int failed = 0;

  if (luma == NULL || u == NULL || v == NULL) return 2;
  for (i = 0; i < kWidth * kHeight; ++i) luma[i] = (unsigned char)(i * 13);
  for (i = 0; i < kWidth * kHeight / 4; ++i) {
    u[i] = (unsigned char)(100 + i % 7);
    v[i] = (unsigned char)(150 - i % 5);
  }
  memset(&image, 0, sizeof image);
  image.format = QL_FORMAT_YUV420_PLANAR;
  image.width = kWidth;
  image.height = kHeight;
  image.plane[0] = luma;
  image.plane[1] = v;
  image.plane[2] = u;
  image.stride[0] = kWidth;
  image.stride[1] = kWidth / 2;
  image.stride[2] = kWidth / 2;

  sb_top_pv_set_log_hook(count_banner, &g_banners);
  if (strcmp(sb_top_pv_getVersion(), "QUILLON CBP VER 2.1.1") != 0) failed = 1;
  if (sb_top_pv_initial(&image) != 0) failed = 1;
  if (sb_top_pv_processer(&image, &param) != 0) failed = 1;
  if (sb_top_pv_deinit() != 0) failed = 1;
  sb_top_pv_set_log_hook(NULL, NULL);

  {
    /* The same frame again through a session object, with its result codes. */
    qlsbp_session_options options;
    qlsbp_session* session = NULL;
    qlsbp_yuv420_888 camera;
    QL_IMAGEINFO mapped;
    qlsbp_session_options_init(&options);
    options.workers = 1;
    if (options.size != (int)sizeof options) failed = 1;
    if (qlsbp_session_open(&session, &image, &options) != QLSBP_OK) failed = 1;
    if (qlsbp_session_process(session, &image, &param) != QLSBP_OK) failed = 1;
    image.width = kWidth + 2;
    if (qlsbp_session_process(session, &image, &param) != QLSBP_ERR_SIZE_MISMATCH) failed = 1;
    image.width = kWidth;
    if (strlen(qlsbp_strerror(QLSBP_ERR_SIZE_MISMATCH)) == 0) failed = 1;

    memset(&camera, 0, sizeof camera);
    camera.width = kWidth;
    camera.height = kHeight;
    camera.y = luma;
    camera.u = u;
    camera.v = v;
    camera.y_row_stride = kWidth;
    camera.u_row_stride = kWidth / 2;
    camera.v_row_stride = kWidth / 2;
    camera.chroma_pixel_stride = 1;
    if (qlsbp_map_yuv420_888(&mapped, &camera) != QLSBP_OK) failed = 1;
    if (mapped.format != QL_FORMAT_YUV420_PLANAR) failed = 1;
    if (qlsbp_session_process_yuv420_888(session, &camera, &param) != QLSBP_OK) failed = 1;
    qlsbp_session_close(session);
    qlsbp_session_close(NULL);
  }

  if (g_banners != 4 || g_bad_banner) {
    fprintf(stderr, "expected 4 banners, got %d (bad: %d)\n", g_banners, g_bad_banner);
    failed = 1;
  }
  free(luma);
  free(u);
  free(v);
  if (!failed) printf("c api ok\n");
  return failed;
}
