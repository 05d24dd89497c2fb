#include "picture_convert.h"

#include <libyuv.h>

#include <algorithm>
#include <cstring>

namespace {

// libyuv's "ARGB" is B, G, R, A in memory and its "RAW" is R, G, B: the
// byte order of PNG and JPEG pixels.
std::vector<uint8_t> picture_to_argb(const RgbPicture& picture) {
  std::vector<uint8_t> argb(static_cast<size_t>(picture.width) * picture.height * 4);
  libyuv::RAWToARGB(picture.rgb.data(), picture.width * 3, argb.data(), picture.width * 4,
                    picture.width, picture.height);
  return argb;
}

RgbPicture argb_to_picture(const std::vector<uint8_t>& argb, int width, int height) {
  RgbPicture picture;
  picture.width = width;
  picture.height = height;
  picture.rgb.resize(static_cast<size_t>(width) * height * 3);
  libyuv::ARGBToRAW(argb.data(), width * 4, picture.rgb.data(), width * 3, width, height);
  return picture;
}

}  // namespace

Frame picture_to_frame(const RgbPicture& picture, Layout layout) {
  const int w = picture.width;
  const int h = picture.height;
  Frame frame;
  frame.layout = layout;
  frame.width = w;
  frame.height = h;
  frame.data.resize(frame_bytes(layout, w, h));
  const std::vector<uint8_t> argb = picture_to_argb(picture);
  uint8_t* y = frame.data.data();
  uint8_t* c1 = y + static_cast<size_t>(w) * h;
  uint8_t* c2 = c1 + static_cast<size_t>(w / 2) * (h / 2);
  switch (layout) {
    case Layout::kNV21:
      libyuv::ARGBToNV21(argb.data(), w * 4, y, w, c1, w, w, h);
      break;
    case Layout::kNV12:
      libyuv::ARGBToNV12(argb.data(), w * 4, y, w, c1, w, w, h);
      break;
    case Layout::kI420:
      libyuv::ARGBToI420(argb.data(), w * 4, y, w, c1, w / 2, c2, w / 2, w, h);
      break;
    case Layout::kYV12:
      libyuv::ARGBToI420(argb.data(), w * 4, y, w, c2, w / 2, c1, w / 2, w, h);
      break;
    case Layout::kYUYV:
      libyuv::ARGBToYUY2(argb.data(), w * 4, y, w * 2, w, h);
      break;
  }
  return frame;
}

RgbPicture frame_to_picture(const Frame& frame) {
  const int w = frame.width;
  const int h = frame.height;
  std::vector<uint8_t> argb(static_cast<size_t>(w) * h * 4);
  const uint8_t* y = frame.data.data();
  const uint8_t* c1 = y + static_cast<size_t>(w) * h;
  const uint8_t* c2 = c1 + static_cast<size_t>(w / 2) * (h / 2);
  switch (frame.layout) {
    case Layout::kNV21:
      libyuv::NV21ToARGB(y, w, c1, w, argb.data(), w * 4, w, h);
      break;
    case Layout::kNV12:
      libyuv::NV12ToARGB(y, w, c1, w, argb.data(), w * 4, w, h);
      break;
    case Layout::kI420:
      libyuv::I420ToARGB(y, w, c1, w / 2, c2, w / 2, argb.data(), w * 4, w, h);
      break;
    case Layout::kYV12:
      libyuv::I420ToARGB(y, w, c2, w / 2, c1, w / 2, argb.data(), w * 4, w, h);
      break;
    case Layout::kYUYV:
      libyuv::YUY2ToARGB(y, w * 2, argb.data(), w * 4, w, h);
      break;
  }
  return argb_to_picture(argb, w, h);
}

RgbPicture extend_picture(const RgbPicture& picture, int col_step, int row_step) {
  RgbPicture out;
  out.width = (picture.width + col_step - 1) / col_step * col_step;
  out.height = (picture.height + row_step - 1) / row_step * row_step;
  out.rgb.resize(static_cast<size_t>(out.width) * out.height * 3);
  for (int r = 0; r < out.height; ++r) {
    const uint8_t* src = picture.rgb.data() +
                         static_cast<size_t>(std::min(r, picture.height - 1)) * picture.width * 3;
    uint8_t* dst = out.rgb.data() + static_cast<size_t>(r) * out.width * 3;
    std::memcpy(dst, src, static_cast<size_t>(picture.width) * 3);
    for (int c = picture.width; c < out.width; ++c) {
      std::memcpy(dst + c * 3, src + (picture.width - 1) * 3, 3);
    }
  }
  return out;
}

RgbPicture crop_picture(const RgbPicture& picture, int width, int height) {
  RgbPicture out;
  out.width = width;
  out.height = height;
  out.rgb.resize(static_cast<size_t>(width) * height * 3);
  for (int r = 0; r < height; ++r) {
    std::memcpy(out.rgb.data() + static_cast<size_t>(r) * width * 3,
                picture.rgb.data() + static_cast<size_t>(r) * picture.width * 3,
                static_cast<size_t>(width) * 3);
  }
  return out;
}

RgbPicture side_by_side(const std::vector<RgbPicture>& pictures, int gap) {
  RgbPicture out;
  if (pictures.empty()) return out;
  out.height = pictures[0].height;
  for (const RgbPicture& p : pictures) out.width += p.width;
  out.width += gap * static_cast<int>(pictures.size() - 1);
  out.rgb.assign(static_cast<size_t>(out.width) * out.height * 3, 255);
  int left = 0;
  for (const RgbPicture& p : pictures) {
    for (int r = 0; r < out.height; ++r) {
      std::memcpy(out.rgb.data() + (static_cast<size_t>(r) * out.width + left) * 3,
                  p.rgb.data() + static_cast<size_t>(r) * p.width * 3,
                  static_cast<size_t>(p.width) * 3);
    }
    left += p.width + gap;
  }
  return out;
}

RgbPicture limit_width(const RgbPicture& picture, int max_width) {
  if (max_width <= 0 || picture.width <= max_width) return picture;
  const int width = max_width;
  const int height = std::max(
      1, static_cast<int>(static_cast<long long>(picture.height) * max_width / picture.width));
  const std::vector<uint8_t> argb = picture_to_argb(picture);
  std::vector<uint8_t> small(static_cast<size_t>(width) * height * 4);
  libyuv::ARGBScale(argb.data(), picture.width * 4, picture.width, picture.height, small.data(),
                    width * 4, width, height, libyuv::kFilterBox);
  return argb_to_picture(small, width, height);
}

RgbPicture mask_to_picture(const std::vector<uint16_t>& mask, int width, int height) {
  RgbPicture out;
  out.width = width;
  out.height = height;
  out.rgb.resize(static_cast<size_t>(width) * height * 3);
  for (size_t i = 0; i < mask.size(); ++i) {
    const unsigned grey = std::min(255u, (mask[i] * 255u + 512u) / 1024u);
    out.rgb[3 * i] = out.rgb[3 * i + 1] = out.rgb[3 * i + 2] = static_cast<uint8_t>(grey);
  }
  return out;
}
