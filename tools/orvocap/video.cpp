// Y4M and raw pictures as bytes, at a constant rate, whenever their frames have come.
#include "video.h"

#include <libyuv/convert.h>
#include <algorithm>
#include <stdexcept>
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

namespace {

constexpr unsigned long long longestRepeatSeconds = 10;

std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace

VideoSink::VideoSink(const std::string& path, const VideoFormat& format, int framesPerSecond)
    : stream_(path), format_(format), rate_(static_cast<unsigned long long>(framesPerSecond)) {}

void VideoSink::begin(const Frame& frame) {
    width_ = frame.width;
    height_ = frame.height;
    firstTime_ = frame.time;
    const std::string header = format_.header(width_, height_, static_cast<int>(rate_));
    stream_.put(header.data(), header.size());
}

void VideoSink::putPicture() {
    stream_.put(picture_.data(), picture_.size());
    if (!stream_.isClosed()) ++written_;
}

void VideoSink::write(const Frame& frame) {
    if (!width_) begin(frame);
    if (frame.width != width_ || frame.height != height_) {
        throw std::runtime_error("the picture changed from " + sizeText(width_, height_) + " to " +
                                 sizeText(frame.width, frame.height) + ", and a film has one size; record PNG files," +
                                 " or give a window a --size of its own");
    }
    // The stream has a constant rate: a picture is repeated where frames are missing, so that it plays at the right
    // speed.
    const unsigned long long elapsed = frame.time > firstTime_ ? frame.time - firstTime_ : 0;
    const unsigned long long place = (elapsed * rate_ + 500) / 1000;
    if (written_ > 0 && place > written_) {
        const auto gap = std::min(place - written_, longestRepeatSeconds * rate_);
        for (unsigned long long i = 0; i < gap && !isClosed(); ++i) putPicture();
        repeated_ += gap;
    }
    format_.encode(frame, picture_);
    putPicture();
}

std::string VideoSink::summary() const {
    std::string text = stream_.name() + " (" + format_.name + ", " + sizeText(width_, height_) + ", " +
                       std::to_string(rate_) + " a second, " + std::to_string(written_) + " frames";
    if (repeated_) text += ", " + std::to_string(repeated_) + " of them repeated to fill gaps";
    return text + ")";
}

}  // namespace orvocap
