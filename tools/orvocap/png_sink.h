// A folder of PNG files, one for each frame.
#pragma once

#include "frame_sink.h"

namespace orvocap {

class PngSink : public FrameSink {
  public:
    explicit PngSink(std::string folder);  // made when missing
    void write(const Frame& frame) override;
    void finish() override {}
    [[nodiscard]] std::string summary() const override;

  private:
    std::string folder_;
    unsigned int count_ = 0;
};

}  // namespace orvocap
