#include "picture_io.h"

#include <jpeglib.h>
#include <png.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>

namespace {

// Largest picture side accepted from a file; keeps width * height * 4 well
// inside the int sizes the conversions use.
constexpr unsigned kMaxPictureSide = 16384;

}  // namespace

bool is_png_data(const uint8_t* data, size_t size) {
  static const uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  return size >= 8 && std::memcmp(data, kSignature, 8) == 0;
}

bool is_jpeg_data(const uint8_t* data, size_t size) {
  return size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF;
}

bool decode_png(const uint8_t* data, size_t size, RgbPicture* out, std::string* error) {
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&image, data, size)) {
    *error = std::string("cannot read PNG: ") + image.message;
    return false;
  }
  if (image.width > kMaxPictureSide || image.height > kMaxPictureSide) {
    png_image_free(&image);
    *error = "PNG is too large (" + std::to_string(image.width) + "x" +
             std::to_string(image.height) + ")";
    return false;
  }
  image.format = PNG_FORMAT_RGB;
  out->width = static_cast<int>(image.width);
  out->height = static_cast<int>(image.height);
  out->rgb.assign(PNG_IMAGE_SIZE(image), 0);
  const png_color white = {255, 255, 255};
  if (!png_image_finish_read(&image, &white, out->rgb.data(), 0, nullptr)) {
    *error = std::string("cannot read PNG: ") + image.message;
    png_image_free(&image);
    return false;
  }
  return true;
}

bool write_png(FILE* file, const RgbPicture& picture, std::string* error) {
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  if (!png_image_write_to_stdio(&image, file, 0, picture.rgb.data(), 0, nullptr)) {
    *error = std::string("cannot write PNG: ") + image.message;
    return false;
  }
  return true;
}

bool write_grey_png(FILE* file, const uint8_t* grey, int width, int height, std::string* error) {
  png_image image;
  std::memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(height);
  image.format = PNG_FORMAT_GRAY;
  if (!png_image_write_to_stdio(&image, file, 0, grey, 0, nullptr)) {
    *error = std::string("cannot write PNG: ") + image.message;
    return false;
  }
  return true;
}

// libjpeg reports fatal errors through error_exit, which must not return:
// jump back to the decoder with the message kept.
namespace {

struct JpegError {
  jpeg_error_mgr manager;
  jmp_buf jump;
  char message[JMSG_LENGTH_MAX];
};

void jpeg_error_exit(j_common_ptr info) {
  JpegError* err = reinterpret_cast<JpegError*>(info->err);
  (*info->err->format_message)(info, err->message);
  longjmp(err->jump, 1);
}

// Warnings such as "premature end of data" would let a truncated file pass
// with grey rows; treat them as errors so that nothing damaged gets through.
void jpeg_emit_message(j_common_ptr info, int level) {
  if (level < 0) jpeg_error_exit(info);
}

// Only plain C objects live between setjmp and longjmp here.
bool decode_jpeg_into(const uint8_t* data, size_t size, uint8_t** rgb, int* width, int* height,
                      char* message) {
  jpeg_decompress_struct info;
  JpegError err;
  info.err = jpeg_std_error(&err.manager);
  err.manager.error_exit = jpeg_error_exit;
  err.manager.emit_message = jpeg_emit_message;
  err.message[0] = '\0';
  *rgb = nullptr;
  if (setjmp(err.jump)) {
    std::strncpy(message, err.message, JMSG_LENGTH_MAX);
    jpeg_destroy_decompress(&info);
    std::free(*rgb);
    *rgb = nullptr;
    return false;
  }
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, data, static_cast<unsigned long>(size));
  jpeg_read_header(&info, TRUE);
  info.out_color_space = JCS_RGB;
  jpeg_start_decompress(&info);
  if (info.output_width > kMaxPictureSide || info.output_height > kMaxPictureSide) {
    std::snprintf(message, JMSG_LENGTH_MAX, "JPEG is too large (%ux%u)", info.output_width,
                  info.output_height);
    jpeg_destroy_decompress(&info);
    return false;
  }
  const size_t row_bytes = static_cast<size_t>(info.output_width) * 3;
  *rgb = static_cast<uint8_t*>(std::calloc(row_bytes * info.output_height, 1));
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = *rgb + row_bytes * info.output_scanline;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  *width = static_cast<int>(info.output_width);
  *height = static_cast<int>(info.output_height);
  jpeg_destroy_decompress(&info);
  return true;
}

}  // namespace

bool decode_jpeg(const uint8_t* data, size_t size, RgbPicture* out, std::string* error) {
  uint8_t* rgb = nullptr;
  int width = 0;
  int height = 0;
  char message[JMSG_LENGTH_MAX] = {0};
  if (!decode_jpeg_into(data, size, &rgb, &width, &height, message)) {
    *error = std::string("cannot read JPEG: ") + message;
    return false;
  }
  out->width = width;
  out->height = height;
  out->rgb.assign(rgb, rgb + static_cast<size_t>(width) * height * 3);
  std::free(rgb);
  return true;
}

bool write_jpeg(FILE* file, const RgbPicture& picture, int quality, std::string* error) {
  jpeg_compress_struct info;
  jpeg_error_mgr manager;
  info.err = jpeg_std_error(&manager);
  // Encoding from a complete in-memory picture cannot hit the decoder's data
  // errors; write failures are caught by the caller through ferror/fclose.
  jpeg_create_compress(&info);
  jpeg_stdio_dest(&info, file);
  info.image_width = static_cast<JDIMENSION>(picture.width);
  info.image_height = static_cast<JDIMENSION>(picture.height);
  info.input_components = 3;
  info.in_color_space = JCS_RGB;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, quality, TRUE);
  jpeg_start_compress(&info, TRUE);
  const size_t row_bytes = static_cast<size_t>(picture.width) * 3;
  while (info.next_scanline < info.image_height) {
    JSAMPROW row = const_cast<uint8_t*>(picture.rgb.data()) + row_bytes * info.next_scanline;
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  if (std::ferror(file)) {
    *error = "cannot write JPEG";
    return false;
  }
  return true;
}
