// Y4M and raw pictures as bytes.
#include "video_formats.h"

#include <libyuv/convert.h>

#include <algorithm>
#include <string_view>

namespace orvocap {

namespace {

// Chroma is averaged over two by two pixels, which puts it in their middle ("420jpeg"), in the limited range.
std::string y4mHeader(int width, int height, int framesPerSecond) {
    return "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " F" +
           std::to_string(framesPerSecond) + ":1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n";
}

void encodeY4m(const Frame& frame, std::vector<uint8_t>& bytes) {
    constexpr std::string_view start = "FRAME\n";
    // An odd last column or row has chroma of its own.
    const int chromaWidth = (frame.width + 1) / 2;
    const int chromaHeight = (frame.height + 1) / 2;
    const size_t lumaSize = static_cast<size_t>(frame.width) * static_cast<size_t>(frame.height);
    const size_t chromaSize = static_cast<size_t>(chromaWidth) * static_cast<size_t>(chromaHeight);
    bytes.resize(start.size() + lumaSize + 2 * chromaSize);
    uint8_t* luma = std::copy(start.begin(), start.end(), bytes.data());
    uint8_t* u = luma + lumaSize;
    // libyuv names formats by the 32-bit word: its ARGB is B, G, R, A in memory.
    libyuv::ARGBToI420(frame.pixels.data(), static_cast<int>(frame.bytesPerRow()), luma, frame.width, u, chromaWidth,
                       u + chromaSize, chromaWidth, frame.width, frame.height);
}

std::string noHeader(int, int, int) {
    return {};
}

void encodeRaw(const Frame& frame, std::vector<uint8_t>& bytes) {
    bytes = frame.pixels;
    makeOpaque(bytes);
}

}  // namespace

const VideoFormat y4mFormat{"Y4M", y4mHeader, encodeY4m};
const VideoFormat rawFormat{"raw BGRA", noHeader, encodeRaw};

}  // namespace orvocap
