// A folder of PNG files, one for each frame, as a video shows it: opaque, and black where the picture is empty.
#pragma once

#include <atomic>

#include "frame_sink.h"

namespace orvocap {

class PngSink : public FrameSink {
  public:
    explicit PngSink(std::string folder);  // made when missing
    void write(const Frame& frame) override;
    void finish() override {}
    [[nodiscard]] uint64_t bytes() const override { return bytes_; }
    [[nodiscard]] std::string summary() const override;

  private:
    std::string folder_;
    Frame opaque_;  // its memory is used again
    unsigned int count_ = 0;
    std::atomic<uint64_t> bytes_ = 0;
};

}  // namespace orvocap
