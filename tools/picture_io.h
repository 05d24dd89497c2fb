// Still pictures: PNG and JPEG decoding from memory, encoding to a stream.
// Pictures are 8-bit RGB, three bytes per pixel, rows without padding.
#ifndef BOKEH_PREVIEW_PICTURE_IO_H_
#define BOKEH_PREVIEW_PICTURE_IO_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

struct RgbPicture {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgb;  // width * height * 3 bytes, R G B
};

bool is_png_data(const uint8_t* data, size_t size);
bool is_jpeg_data(const uint8_t* data, size_t size);

// Decoders: false with a message in *error for damaged or truncated data.
// PNG transparency is flattened onto white; 16-bit and grey PNGs become 8-bit
// RGB.
bool decode_png(const uint8_t* data, size_t size, RgbPicture* out, std::string* error);
bool decode_jpeg(const uint8_t* data, size_t size, RgbPicture* out, std::string* error);

bool write_png(FILE* file, const RgbPicture& picture, std::string* error);
bool write_grey_png(FILE* file, const uint8_t* grey, int width, int height, std::string* error);
bool write_jpeg(FILE* file, const RgbPicture& picture, int quality, std::string* error);

#endif  // BOKEH_PREVIEW_PICTURE_IO_H_
