// The composed peer: the same preview effect assembled from libyuv and
// OpenCV. Per plane: libyuv 2:1 box downscale, cv::GaussianBlur 21x21 with
// the level's sigma and reflect-101 borders, libyuv bilinear upscale, and an
// integer blend under the same 16-bit focus mask as ours (a plain loop: no
// library has a blend under a 16-bit weight map). YUYV frames go through
// YUY2ToI422 before and I422ToYUY2 after; NV21 chroma is split and merged with
// libyuv; YV12 planes are processed where they lie.
#ifndef QLSBP_BENCH_PEER_H_
#define QLSBP_BENCH_PEER_H_

#include <cstdint>
#include <vector>

#if QLSBP_BENCH_HAVE_LIBYUV && QLSBP_BENCH_HAVE_OPENCV
#define QLSBP_BENCH_HAVE_PEER 1
#else
#define QLSBP_BENCH_HAVE_PEER 0
#endif

namespace qlsbp_bench {

// dst[i] = low byte of (F + (((S - F) * W + 512) >> 10)), W signed 16-bit:
// the library's blend rule, as the composed peer writes it.
void peer_blend(uint8_t* dst, int dst_stride, const uint8_t* blurred, int blurred_stride,
                const uint8_t* sharp, int sharp_stride, const uint16_t* mask, int width,
                int height);

#if QLSBP_BENCH_HAVE_PEER
// Scratch for one plane of the composed peer.
struct PeerPlane {
  int width = 0, height = 0;
  std::vector<uint8_t> half, half_blurred, up;
  std::vector<uint16_t> mask;  // width x height weights, 1024 = sharp
  void init(int w, int h, std::vector<uint16_t> weights);
  // Blurs and blends the plane in place (stride in bytes).
  void run(uint8_t* plane, int stride, float sigma);
};

// Box downscale by 2 (libyuv kFilterBox) and bilinear upscale by 2.
void peer_downscale(const uint8_t* src, int src_stride, int w, int h, uint8_t* dst);
void peer_upscale(const uint8_t* src, int w, int h, uint8_t* dst, int dst_w, int dst_h);
// cv::GaussianBlur 21x21, sigma in both directions, BORDER_REFLECT_101.
void peer_gaussian(const uint8_t* src, uint8_t* dst, int w, int h, float sigma);
#endif

}  // namespace qlsbp_bench

#endif  // QLSBP_BENCH_PEER_H_
