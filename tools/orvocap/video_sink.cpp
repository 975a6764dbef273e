// Pictures at a constant rate, whenever their frames have come.
#include "video_sink.h"

#include <algorithm>
#include <stdexcept>

namespace orvocap {

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
