// The buffers that captured pictures are handed over in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/software/bitmap.h"

namespace orvo::platform::software {

// Memory that is freed with its owner; aligned to 64 bytes or more.
using FrameMemory = std::unique_ptr<uint8_t, std::function<void(uint8_t* bytes)>>;

// A picture that is taken again and again into the same memory. Its maker writes it only while nobody else holds it.
class Frame final : public Bitmap {
  public:
    // Makers say of no more rectangles that they have changed: beyond that of the box around them.
    static constexpr size_t kMaxChanged = 32;

    Frame(FrameMemory memory, int width, int height, size_t bytesPerRow)
        : Bitmap(width, height, bytesPerRow, memory.get()), memory_(std::move(memory)) {
        changed_.reserve(kMaxChanged);
    }

    // Keeps what lies under the rectangle, cut to the frame, for restore().
    uint8_t* paint(const PixelRect& area) override;
    uint64_t version() const override { return version_; }
    const std::vector<PixelRect>* changed() const override { return changedSince_ != 0 ? &changed_ : nullptr; }
    uint64_t changedSince() const override { return changedSince_; }

    const std::vector<PixelRect>& painted() const { return painted_; }

    // The maker's: puts back what was painted over.
    void restore();
    uint8_t* data() { return pixels(); }
    // since: the version that the rectangles are relative to; 0: nobody knows what has changed.
    void setVersion(uint64_t version, uint64_t since = 0, const std::vector<PixelRect>& changed = {}) {
        version_ = version;
        changedSince_ = since;
        changed_ = changed;
    }
    // Sets the fourth byte of every pixel.
    void makeOpaque();

  private:
    uint8_t* row(const PixelRect& area, int line) const {
        return pixels() + static_cast<size_t>(area.y + line) * bytesPerRow() + static_cast<size_t>(area.x) * 4;
    }

    FrameMemory memory_;
    uint64_t version_ = 0;
    uint64_t changedSince_ = 0;
    std::vector<PixelRect> changed_;
    std::vector<PixelRect> painted_;
    std::vector<uint8_t> under_;  // the rows of the painted rectangles, one after the other
};

}  // namespace orvo::platform::software
