/* A small frame program for instruction counting: opens a host session for
 * a W x H NV21 frame, processes F frames at one level and closes it.
 *
 *   arm_frame W H F LEVEL [copyonly]
 *
 * Every frame is first restored from a pristine copy, so each does the same
 * work; "copyonly" does only the restores, so that the difference of two runs
 * leaves the processing alone. Prints a checksum so that no work is dropped. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ql_single_bokeh_preview.h"

int main(int argc, char** argv) {
  if (argc < 5) {
    fprintf(stderr, "usage: %s W H F LEVEL [copyonly]\n", argv[0]);
    return 2;
  }
  const int w = atoi(argv[1]), h = atoi(argv[2]), frames = atoi(argv[3]), level = atoi(argv[4]);
  const int copyonly = argc > 5 && strcmp(argv[5], "copyonly") == 0;
  if (w < 2 || h < 2 || frames < 0) return 2;
  const size_t luma = (size_t)w * h, size = luma + luma / 2;
  unsigned char* pristine = malloc(size);
  unsigned char* frame = malloc(size);
  if (pristine == NULL || frame == NULL) return 1;
  /* A gradient with a little noise, and noisy chroma around grey. */
  uint32_t seed = 7u;
  for (size_t i = 0; i < size; ++i) {
    seed = seed * 1103515245u + 12345u;
    const size_t x = i % (size_t)w, y = i / (size_t)w;
    pristine[i] = (unsigned char)(i < luma ? (x * 200 / w + y * 50 / h) + (seed >> 29)
                                           : 112 + (seed >> 27));
  }
  QL_IMAGEINFO image;
  memset(&image, 0, sizeof image);
  image.format = QL_FORMAT_YUV420_SEMIPLANAR;
  image.width = w;
  image.height = h;
  image.plane[0] = frame;
  image.plane[1] = frame + luma;
  image.stride[0] = w;
  image.stride[1] = w;
  QL_BokehParam param = {h / 2, w / 2, h / 4, w / 4, level, 3};
  sb_top_pv_initial(&image);
  for (int f = 0; f < frames; ++f) {
    memcpy(frame, pristine, size);
    if (!copyonly) sb_top_pv_processer(&image, &param);
  }
  sb_top_pv_deinit();
  unsigned long sum = 0;
  for (size_t i = 0; i < size; i += 3) sum += frame[i];
  printf("checksum %lu\n", sum);
  free(frame);
  free(pristine);
  return 0;
}
