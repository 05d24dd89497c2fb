/* A C host of the installed library: a session of its own, then the
 * process-wide host API on a copy of the same frames, which must come out
 * byte for byte the same. Plain C99, so that nothing of C++ reaches the link
 * but what the library's package brings. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <ql_single_bokeh_preview.h>

enum { kWidth = 96, kHeight = 64, kFrames = 3 };

static void describe(QL_IMAGEINFO* image, unsigned char* frame) {
  memset(image, 0, sizeof *image);
  image->format = QL_FORMAT_YUV420_SEMIPLANAR;
  image->width = kWidth;
  image->height = kHeight;
  image->plane[0] = frame;
  image->plane[1] = frame + kWidth * kHeight;
  image->stride[0] = kWidth;
  image->stride[1] = kWidth;
}

int main(void) {
  const size_t bytes = (size_t)kWidth * kHeight * 3 / 2;
  unsigned char* by_session = (unsigned char*)malloc(bytes);
  unsigned char* by_host = (unsigned char*)malloc(bytes);
  QL_BokehParam param = {kHeight / 2, kWidth / 2, kHeight / 4, kWidth / 4, 5, 4};
  QL_IMAGEINFO image;
  qlsbp_session_options options;
  qlsbp_session* session = NULL;
  size_t i;
  int frame;
  int rc;

  if (by_session == NULL || by_host == NULL) return 2;
  for (i = 0; i < bytes; ++i) by_session[i] = (unsigned char)(i * 7 + i / 97);
  memcpy(by_host, by_session, bytes);

  qlsbp_session_options_init(&options);
  options.workers = 2;
  describe(&image, by_session);
  rc = qlsbp_session_open(&session, &image, &options);
  if (rc != QLSBP_OK) {
    fprintf(stderr, "qlsbp_session_open: %s\n", qlsbp_strerror(rc));
    return 1;
  }
  for (frame = 0; frame < kFrames; ++frame) {
    rc = qlsbp_session_process(session, &image, &param);
    if (rc != QLSBP_OK) {
      fprintf(stderr, "qlsbp_session_process: %s\n", qlsbp_strerror(rc));
      return 1;
    }
  }
  qlsbp_session_close(session);

  describe(&image, by_host);
  sb_top_pv_initial(&image);
  for (frame = 0; frame < kFrames; ++frame) sb_top_pv_processer(&image, &param);
  sb_top_pv_deinit();

  if (memcmp(by_session, by_host, bytes) != 0) {
    fprintf(stderr, "session and host API disagree\n");
    return 1;
  }
  printf("C host ok (%s)\n", sb_top_pv_getVersion());
  free(by_session);
  free(by_host);
  return 0;
}
