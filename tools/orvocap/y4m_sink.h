// A YUV4MPEG2 file, which players and encoders read: planar 4:2:0 at a constant rate.
#pragma once

#include <cstdio>
#include <memory>

#include "frame_sink.h"

namespace orvocap {

class Y4mSink : public FrameSink {
  public:
    Y4mSink(std::string path, int framesPerSecond);  // "-" is standard output
    void write(const Frame& frame) override;
    void finish() override;
    [[nodiscard]] std::string summary() const override;

  private:
    void begin(const Frame& frame);
    void convert(const Frame& frame);
    void put(const void* data, size_t size);
    [[noreturn]] void fail() const;

    std::string path_;
    int rate_;
    std::FILE* file_ = nullptr;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> owned_{nullptr, &std::fclose};
    int width_ = 0;
    int height_ = 0;
    unsigned long long firstTime_ = 0;
    unsigned long long written_ = 0;
    unsigned long long repeated_ = 0;
    std::vector<uint8_t> planes_;
};

}  // namespace orvocap
