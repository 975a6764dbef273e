// A recording as one stream of pictures at a constant rate, in a file or a pipe, and the formats of such a stream.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frame_writer.h"
#include "output_stream.h"

namespace orvocap {

struct VideoFormat {
    const char* name;
    std::string (*header)(int width, int height, int framesPerSecond);  // what stands before the first picture
    void (*encode)(const Frame& frame, std::vector<uint8_t>& bytes);    // bytes: becomes one picture; used again
};

// YUV4MPEG2, which players and encoders read: a text header, then planar 4:2:0 pictures.
extern const VideoFormat y4mFormat;

// The pixels alone, without a header: 32-bit BGRA, the top row first, opaque.
extern const VideoFormat rawFormat;

class VideoSink : public FrameSink {
  public:
    // path: "-" is standard output. format: outlives the sink.
    VideoSink(const std::string& path, const VideoFormat& format, int framesPerSecond);
    // Y4M into an encoder. Those have even sizes: an odd last column or row is left out.
    VideoSink(std::unique_ptr<Encoder> encoder, int framesPerSecond);
    void write(const Frame& frame) override;
    void hold(unsigned long long time) override;
    void finish() override;
    [[nodiscard]] uint64_t bytes() const override { return stream_.bytes(); }
    [[nodiscard]] bool isClosed() const override { return stream_.isClosed(); }
    [[nodiscard]] std::string summary() const override;

  private:
    void begin(const Frame& frame);
    const Frame& fitted(const Frame& frame);
    void repeatUntil(unsigned long long time);
    void putPicture();

    OutputStream stream_;
    const VideoFormat& format_;
    const unsigned long long rate_;
    const bool isEncoded_ = false;
    int width_ = 0;  // of the video, which has one size
    int height_ = 0;
    unsigned long long firstTime_ = 0;
    unsigned long long written_ = 0;
    unsigned long long repeated_ = 0;
    unsigned int scaled_ = 0;       // frames of another size
    Frame fitted_;                  // one of them, made to fit
    std::vector<uint8_t> picture_;  // the last one, encoded
};

}  // namespace orvocap
