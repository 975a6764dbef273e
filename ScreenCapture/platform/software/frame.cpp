// The buffers that captured pictures are handed over in.
#include "ScreenCapture/platform/software/frame.h"

#include <cstring>

#include "ScreenCapture/platform/software/region.h"

namespace orvo::platform::software {

uint8_t* Frame::paint(const PixelRect& area) {
    const PixelRect inside = intersection(area, {0, 0, width(), height()});
    if (inside.empty()) return pixels();
    painted_.push_back(inside);
    const size_t rowSize = static_cast<size_t>(inside.width) * 4;
    for (int line = 0; line < inside.height; line++) {
        const uint8_t* from = row(inside, line);
        under_.insert(under_.end(), from, from + rowSize);
    }
    return pixels();
}

void Frame::restore() {
    size_t end = under_.size();
    for (size_t i = painted_.size(); i-- > 0;) {  // backwards: later rectangles were saved over earlier paint
        const PixelRect& area = painted_[i];
        const size_t rowSize = static_cast<size_t>(area.width) * 4;
        end -= rowSize * static_cast<size_t>(area.height);
        for (int line = 0; line < area.height; line++)
            std::memcpy(row(area, line), under_.data() + end + rowSize * static_cast<size_t>(line), rowSize);
    }
    painted_.clear();
    under_.clear();
}

void Frame::makeOpaque() {
    for (int y = 0; y < height(); y++) {
        uint8_t* pixel = pixels() + static_cast<size_t>(y) * bytesPerRow();
        for (int x = 0; x < width(); x++) pixel[x * 4 + 3] = 0xFF;
    }
}

}  // namespace orvo::platform::software
