#include "peer.h"

#if QLSBP_BENCH_HAVE_PEER
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "libyuv/scale.h"
#endif

namespace qlsbp_bench {

void peer_blend(uint8_t* dst, int dst_stride, const uint8_t* blurred, int blurred_stride,
                const uint8_t* sharp, int sharp_stride, const uint16_t* mask, int width,
                int height) {
  for (int y = 0; y < height; ++y) {
    const uint8_t* f = blurred + static_cast<ptrdiff_t>(y) * blurred_stride;
    const uint8_t* s = sharp + static_cast<ptrdiff_t>(y) * sharp_stride;
    const uint16_t* w = mask + static_cast<ptrdiff_t>(y) * width;
    uint8_t* d = dst + static_cast<ptrdiff_t>(y) * dst_stride;
    for (int x = 0; x < width; ++x) {
      const int diff = s[x] - f[x];
      const int t = (diff * static_cast<int16_t>(w[x]) + 512) >> 10;
      d[x] = static_cast<uint8_t>(f[x] + t);
    }
  }
}

#if QLSBP_BENCH_HAVE_PEER
void peer_downscale(const uint8_t* src, int src_stride, int w, int h, uint8_t* dst) {
  libyuv::ScalePlane(src, src_stride, w, h, dst, w / 2, w / 2, h / 2, libyuv::kFilterBox);
}

void peer_upscale(const uint8_t* src, int w, int h, uint8_t* dst, int dst_w, int dst_h) {
  libyuv::ScalePlane(src, w, w, h, dst, dst_w, dst_w, dst_h, libyuv::kFilterBilinear);
}

void peer_gaussian(const uint8_t* src, uint8_t* dst, int w, int h, float sigma) {
  const cv::Mat in(h, w, CV_8UC1, const_cast<uint8_t*>(src));
  cv::Mat out(h, w, CV_8UC1, dst);
  cv::GaussianBlur(in, out, cv::Size(21, 21), sigma, sigma, cv::BORDER_REFLECT_101);
}

void PeerPlane::init(int w, int h, std::vector<uint16_t> weights) {
  width = w;
  height = h;
  half.assign(static_cast<size_t>(w / 2) * (h / 2), 0);
  half_blurred = half;
  up.assign(static_cast<size_t>(w) * h, 0);
  mask = std::move(weights);
}

void PeerPlane::run(uint8_t* plane, int stride, float sigma) {
  peer_downscale(plane, stride, width, height, half.data());
  peer_gaussian(half.data(), half_blurred.data(), width / 2, height / 2, sigma);
  peer_upscale(half_blurred.data(), width / 2, height / 2, up.data(), width, height);
  peer_blend(plane, stride, up.data(), width, plane, stride, mask.data(), width, height);
}
#endif

}  // namespace qlsbp_bench
