// A recording as one stream of pictures at a constant rate, in a file or a pipe.
#pragma once

#include "output_stream.h"
#include "video_formats.h"

namespace orvocap {

class VideoSink : public FrameSink {
  public:
    // path: "-" is standard output. format: outlives the sink.
    VideoSink(const std::string& path, const VideoFormat& format, int framesPerSecond);
    void write(const Frame& frame) override;
    void finish() override { stream_.finish(); }
    [[nodiscard]] uint64_t bytes() const override { return stream_.bytes(); }
    [[nodiscard]] bool isClosed() const override { return stream_.isClosed(); }
    [[nodiscard]] std::string summary() const override;

  private:
    void begin(const Frame& frame);
    void putPicture();

    OutputStream stream_;
    const VideoFormat& format_;
    unsigned long long rate_;
    int width_ = 0;
    int height_ = 0;
    unsigned long long firstTime_ = 0;
    unsigned long long written_ = 0;
    unsigned long long repeated_ = 0;
    std::vector<uint8_t> picture_;  // the last one, encoded
};

}  // namespace orvocap
