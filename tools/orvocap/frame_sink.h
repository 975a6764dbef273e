// Where recorded frames go.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orvocap {

// A frame of our own: 32-bit BGRA pixels without padding, the top row first.
struct Frame {
    int width = 0;
    int height = 0;
    unsigned long long time = 0;  // milliseconds
    std::vector<uint8_t> pixels;

    [[nodiscard]] size_t bytesPerRow() const { return static_cast<size_t>(width) * 4; }
};

// Used from one thread at a time. Failures are thrown as exceptions with a message for the user.
class FrameSink {
  public:
    virtual ~FrameSink() = default;
    virtual void write(const Frame& frame) = 0;
    virtual void finish() = 0;                              // all frames are written; reports what is still unsaid
    [[nodiscard]] virtual std::string summary() const = 0;  // what was written, for the user

    // From any thread: how much was written, and whether nobody reads on, so that more frames would be lost.
    [[nodiscard]] virtual uint64_t bytes() const = 0;
    [[nodiscard]] virtual bool isClosed() const { return false; }
};

// Empty places become black, as a video shows them.
inline void makeOpaque(std::vector<uint8_t>& pixels) {
    for (size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 255;
}

}  // namespace orvocap
