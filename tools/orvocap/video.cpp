// Y4M and raw pictures as bytes, at a constant rate, whenever their frames have come.
#include "video.h"

#include <libyuv.h>
#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace orvocap {

namespace {

constexpr unsigned long long longestRepeatSeconds = 10;

std::string sizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

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

VideoSink::VideoSink(const std::string& path, const VideoFormat& format, int framesPerSecond)
    : stream_(path), format_(format), rate_(static_cast<unsigned long long>(framesPerSecond)) {}

VideoSink::VideoSink(std::unique_ptr<Encoder> encoder, int framesPerSecond)
    : stream_(std::move(encoder)),
      format_(y4mFormat),
      rate_(static_cast<unsigned long long>(framesPerSecond)),
      isEncoded_(true) {}

void VideoSink::begin(const Frame& frame) {
    width_ = isEncoded_ ? frame.width & ~1 : frame.width;
    height_ = isEncoded_ ? frame.height & ~1 : frame.height;
    if (width_ == 0 || height_ == 0)
        throw std::runtime_error("a picture of " + sizeText(frame.width, frame.height) + " is too small for a video");
    firstTime_ = frame.time;
    const std::string header = format_.header(width_, height_, static_cast<int>(rate_));
    stream_.put(header.data(), header.size());
}

// A video has one size, that of its first frame: a window that has changed its own is scaled into it, in the middle,
// with black bars where the shape differs. An odd column or row that the encoder has no place for is cut off.
const Frame& VideoSink::fitted(const Frame& frame) {
    if (frame.width == width_ && frame.height == height_) return frame;
    fitted_.width = width_;
    fitted_.height = height_;
    fitted_.time = frame.time;
    fitted_.pixels.assign(fitted_.bytesPerRow() * static_cast<size_t>(height_), 0);
    const auto stride = static_cast<int>(frame.bytesPerRow());
    const auto ownStride = static_cast<int>(fitted_.bytesPerRow());
    if (isEncoded_ && (frame.width & ~1) == width_ && (frame.height & ~1) == height_) {
        libyuv::ARGBCopy(frame.pixels.data(), stride, fitted_.pixels.data(), ownStride, width_, height_);
        return fitted_;
    }
    ++scaled_;
    const double scale =
        std::min(static_cast<double>(width_) / frame.width, static_cast<double>(height_) / frame.height);
    const int width = std::clamp(static_cast<int>(frame.width * scale + 0.5), 1, width_);
    const int height = std::clamp(static_cast<int>(frame.height * scale + 0.5), 1, height_);
    uint8_t* const place = fitted_.pixels.data() + static_cast<ptrdiff_t>((height_ - height) / 2) * ownStride +
                           static_cast<ptrdiff_t>((width_ - width) / 2) * 4;
    libyuv::ARGBScale(frame.pixels.data(), stride, frame.width, frame.height, place, ownStride, width, height,
                      libyuv::kFilterBox);
    return fitted_;
}

void VideoSink::putPicture() {
    stream_.put(picture_.data(), picture_.size());
    if (!stream_.isClosed()) ++written_;
}

// The stream has a constant rate: a picture is repeated where frames are missing, so that it plays at the right speed.
void VideoSink::repeatUntil(unsigned long long time) {
    const unsigned long long elapsed = time > firstTime_ ? time - firstTime_ : 0;
    const unsigned long long place = (elapsed * rate_ + 500) / 1000;
    if (written_ == 0 || place <= written_) return;
    const auto gap = std::min(place - written_, longestRepeatSeconds * rate_);
    for (unsigned long long i = 0; i < gap && !isClosed(); ++i) putPicture();
    repeated_ += gap;
}

void VideoSink::write(const Frame& frame) {
    if (!width_) begin(frame);
    repeatUntil(frame.time);
    format_.encode(fitted(frame), picture_);
    putPicture();
}

void VideoSink::hold(unsigned long long time) {
    repeatUntil(time);
}

// A video without a picture is none.
void VideoSink::finish() {
    if (written_ == 0 && !isClosed()) return stream_.discard();
    stream_.finish();
}

std::string VideoSink::summary() const {
    std::string text = stream_.name() + " (" + (isEncoded_ ? "" : std::string(format_.name) + ", ") +
                       sizeText(width_, height_) + ", " + std::to_string(rate_) + " a second, " +
                       std::to_string(written_) + " frames";
    if (repeated_) text += ", " + std::to_string(repeated_) + " of them repeated to fill gaps";
    if (scaled_) text += ", " + std::to_string(scaled_) + " of them scaled, for the size changed";
    return text + ")";
}

}  // namespace orvocap
