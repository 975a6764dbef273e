// Frames and folders for the tests of orvocap.
#pragma once

#include <png.h>

#include "support/temporary_folder.h"
#include "tools/orvocap/frame_writer.h"

namespace orvocap {

struct Pixel {
    unsigned char blue = 0, green = 0, red = 0, alpha = 255;
};

inline void setPixel(Frame& frame, int x, int y, Pixel pixel) {
    unsigned char* at = frame.pixels.data() + static_cast<size_t>(y) * frame.bytesPerRow() + static_cast<size_t>(x) * 4;
    at[0] = pixel.blue, at[1] = pixel.green, at[2] = pixel.red, at[3] = pixel.alpha;
}

inline Frame solidFrame(int width, int height, Pixel pixel, unsigned long long time) {
    Frame frame;
    frame.width = width;
    frame.height = height;
    frame.time = time;
    frame.pixels.resize(frame.bytesPerRow() * static_cast<size_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) setPixel(frame, x, y, pixel);
    }
    return frame;
}

// The pixels of a PNG picture, as a frame has them; none when it cannot be read.
template <typename Begin>
std::vector<uint8_t> readPng(Begin begin) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!begin(image)) return {};
    image.format = PNG_FORMAT_BGRA;
    std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
    return png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) ? pixels : std::vector<uint8_t>();
}

using orvo::testing::TemporaryFolder;

}  // namespace orvocap
