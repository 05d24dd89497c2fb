// A C++ host of the installed headers and library: one process-wide
// session, a few frames, and a look at the exported session globals.
#include <qlsbp/qlsbp.h>

#include <cstdio>
#include <cstring>
#include <vector>

int main() {
  if (std::strcmp(sb_top_pv_getVersion(), "QUILLON CBP VER 2.1.1") != 0) {
    std::fprintf(stderr, "unexpected version %s\n", sb_top_pv_getVersion());
    return 1;
  }
  const int w = 96, h = 64;
  std::vector<unsigned char> luma(w * h), chroma(w * h / 2);
  for (size_t i = 0; i < luma.size(); ++i) luma[i] = static_cast<unsigned char>(i * 7);
  for (size_t i = 0; i < chroma.size(); ++i) chroma[i] = static_cast<unsigned char>(128 + i % 9);

  QL_IMAGEINFO image{};
  image.format = QL_FORMAT_YUV420_SEMIPLANAR;
  image.width = w;
  image.height = h;
  image.plane[0] = luma.data();
  image.plane[1] = chroma.data();
  image.stride[0] = w;
  image.stride[1] = w;
  QL_BokehParam param{h / 2, w / 2, h / 4, w / 4, 5, 4};

  sb_top_pv_initial(&image);
  if (pData == nullptr || idat_pv == nullptr || pData->rows != h || pData->cols != w) {
    std::fprintf(stderr, "session globals not set\n");
    return 1;
  }
  for (int frame = 0; frame < 3; ++frame) sb_top_pv_processer(&image, &param);
  sb_top_pv_deinit();
  if (pData != nullptr || idat_pv != nullptr) {
    std::fprintf(stderr, "session globals not cleared\n");
    return 1;
  }
  std::printf("C++ host ok\n");
  return 0;
}
