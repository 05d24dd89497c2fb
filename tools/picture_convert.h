// Conversions between RGB pictures and YUV frames, and the small picture
// operations the tool needs (edge extension, crop, side-by-side, downscale).
// Colour conversion is libyuv's BT.601 limited range, as camera previews use.
#ifndef BOKEH_PREVIEW_PICTURE_CONVERT_H_
#define BOKEH_PREVIEW_PICTURE_CONVERT_H_

#include <cstdint>
#include <vector>

#include "frame.h"
#include "picture_io.h"

// The picture's size must already suit the layout (frame_size_problem).
Frame picture_to_frame(const RgbPicture& picture, Layout layout);
RgbPicture frame_to_picture(const Frame& frame);

// Grows the picture to the next multiples of (col_step, row_step) by
// repeating its last column and row, so that any still can go through the
// 4:2:0 pipeline; crop_picture takes the original size back afterwards.
RgbPicture extend_picture(const RgbPicture& picture, int col_step, int row_step);
RgbPicture crop_picture(const RgbPicture& picture, int width, int height);

// Places the pictures next to each other, left to right, with a gap of
// `gap` white columns between them. All must have the same height.
RgbPicture side_by_side(const std::vector<RgbPicture>& pictures, int gap);

// Shrinks the picture to at most max_width columns, keeping its aspect;
// returns it unchanged when it is already narrow enough.
RgbPicture limit_width(const RgbPicture& picture, int max_width);

// Grey rendering of a 16-bit focus mask (1024 = white); values a little
// above 1024 near the inner edge are shown as white.
RgbPicture mask_to_picture(const std::vector<uint16_t>& mask, int width, int height);

#endif  // BOKEH_PREVIEW_PICTURE_CONVERT_H_
