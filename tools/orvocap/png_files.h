// PNG pictures: in memory, as a file, and as a folder with one for each frame.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "frame_writer.h"

namespace orvocap {

// Makes a folder with its parents; one that exists is fine. Throws when it cannot be made.
void makeFolder(const std::string& path);

// One picture as the bytes of a PNG file. Throws when it cannot be made.
std::vector<uint8_t> encodePng(const Frame& frame);

// Writes one picture, to standard output for "-". Throws when it cannot be written. Result: its size in bytes.
size_t writePng(const std::string& path, const Frame& frame);

class PngSink : public FrameSink {
  public:
    // start: what stands before the number in each file's name, such as "folder/frame-". A folder that is missing is
    // made. Throws a Failure rather than to mix two recordings; force takes the older one away.
    PngSink(std::string start, bool force);
    void write(const Frame& frame) override;
    void finish() override {}
    [[nodiscard]] uint64_t bytes() const override { return bytes_; }
    [[nodiscard]] std::string summary() const override;

  private:
    std::string start_;
    Frame opaque_;  // its memory is used again
    unsigned int count_ = 0;
    std::atomic<uint64_t> bytes_ = 0;
};

}  // namespace orvocap
