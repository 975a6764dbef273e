// YUV4MPEG2: a text header, then each frame's Y, U and V planes.
#include "y4m_sink.h"

#include <libyuv/convert.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace orvocap {

namespace {

constexpr unsigned long long longestRepeatSeconds = 10;

}  // namespace

Y4mSink::Y4mSink(std::string path, int framesPerSecond) : path_(std::move(path)), rate_(framesPerSecond) {
    if (path_ == "-") {
        if (isatty(STDOUT_FILENO)) throw std::runtime_error("standard output is a terminal; pipe it into a player");
        std::signal(SIGPIPE, SIG_IGN);  // a reader that ends early is a failed write, not the end of this process
        path_ = "standard output";
        file_ = stdout;
        return;
    }
    owned_.reset(std::fopen(path_.c_str(), "wb"));
    file_ = owned_.get();
    if (!file_) fail();
}

void Y4mSink::fail() const {
    throw std::runtime_error("cannot write " + path_ + ": " + std::strerror(errno));
}

void Y4mSink::put(const void* data, size_t size) {
    if (std::fwrite(data, 1, size, file_) != size) fail();
}

void Y4mSink::begin(const Frame& frame) {
    width_ = frame.width;
    height_ = frame.height;
    firstTime_ = frame.time;
    // Chroma is averaged over two by two pixels, which puts it in their middle ("420jpeg"), in the limited range.
    char header[128];
    const int length =
        std::snprintf(header, sizeof header, "YUV4MPEG2 W%d H%d F%d:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n", width_,
                      height_, rate_);
    put(header, static_cast<size_t>(length));
}

void Y4mSink::convert(const Frame& frame) {
    // An odd last column or row has chroma of its own.
    const int chromaWidth = (width_ + 1) / 2;
    const int chromaHeight = (height_ + 1) / 2;
    const size_t lumaSize = static_cast<size_t>(width_) * height_;
    const size_t chromaSize = static_cast<size_t>(chromaWidth) * chromaHeight;
    planes_.resize(lumaSize + 2 * chromaSize);
    uint8_t* luma = planes_.data();
    uint8_t* u = luma + lumaSize;
    // libyuv names formats by the 32-bit word: its ARGB is B, G, R, A in memory.
    libyuv::ARGBToI420(frame.pixels.data(), static_cast<int>(frame.bytesPerRow()), luma, width_, u, chromaWidth,
                       u + chromaSize, chromaWidth, width_, height_);
}

void Y4mSink::write(const Frame& frame) {
    static constexpr char frameHeader[] = "FRAME\n";
    const auto putPlanes = [this] {
        put(frameHeader, sizeof frameHeader - 1);
        put(planes_.data(), planes_.size());
        ++written_;
    };
    if (!width_) begin(frame);
    if (frame.width != width_ || frame.height != height_) {
        throw std::runtime_error("the picture changed from " + std::to_string(width_) + "x" + std::to_string(height_) +
                                 " to " + std::to_string(frame.width) + "x" + std::to_string(frame.height) +
                                 ", and a Y4M file has one size; record PNG files instead");
    }
    // The file has a constant rate: a picture is repeated where frames are missing, so that it plays at the right
    // speed.
    const unsigned long long elapsed = frame.time > firstTime_ ? frame.time - firstTime_ : 0;
    const unsigned long long place = (elapsed * rate_ + 500) / 1000;
    if (written_ > 0 && place > written_) {
        const auto gap = std::min(place - written_, longestRepeatSeconds * rate_);
        for (unsigned long long i = 0; i < gap; ++i) putPlanes();
        repeated_ += gap;
    }
    convert(frame);
    putPlanes();
}

void Y4mSink::finish() {
    if (std::fflush(file_) != 0) fail();
    if (owned_ && std::fclose(owned_.release()) != 0) fail();
    file_ = nullptr;
}

std::string Y4mSink::summary() const {
    std::string text = path_ + " (Y4M, " + std::to_string(written_) + " frames";
    if (repeated_) text += ", " + std::to_string(repeated_) + " of them repeated to fill gaps";
    return text + ")";
}

}  // namespace orvocap
