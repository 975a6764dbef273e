// Compares frames with full grabs of the same screen, pixel by pixel.
#include "equality.h"

#include <xcb/composite.h>

#include <cstdio>
#include <cstring>

namespace bench {

Equality::Equality(xcb_window_t window, const Area& area, const Area& hole)
    : from_(client_.root), area_(area), hole_(hole) {
    if (area_.width == 0) {
        const Area whole = client_.windowArea(window ? window : client_.root);
        area_ = {0, 0, whole.width, whole.height};
    }
    if (window) {
        const auto version = xcb_composite_query_version(client_.connection, 0, 4);
        Reply(xcb_composite_query_version_reply(client_.connection, version, nullptr));
        xcb_composite_redirect_window(client_.connection, window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        from_ = xcb_generate_id(client_.connection);
        xcb_composite_name_window_pixmap(client_.connection, window, from_);
    }
    for (auto& grab : grabs_) grab = std::make_unique<SharedPicture>(client_, area_.width, area_.height);
}

void Equality::check(const uint8_t* pixels, size_t bytesPerRow, int width, int height) {
    SharedPicture& after = *grabs_[count_ % 3];
    SharedPicture& before = *grabs_[(count_ + 1) % 3];
    if (!after.grab(from_, area_)) return;
    if (++count_ < 3) return;
    const size_t length = after.bytesPerRow() * static_cast<size_t>(after.height);
    if (memcmp(before.bytes(), after.bytes(), length) != 0) return;
    ++compared;
    if (width != area_.width || height != area_.height) {
        snprintf(first, sizeof(first), "the frame is %dx%d", width, height);
        wrong += static_cast<uint64_t>(area_.width) * static_cast<uint64_t>(area_.height);
        return;
    }
    compare(pixels, bytesPerRow);
}

void Equality::compare(const uint8_t* pixels, size_t bytesPerRow) {
    SharedPicture& grab = *grabs_[(count_ - 1) % 3];
    for (int y = 0; y < area_.height; ++y) {
        const auto* row = reinterpret_cast<const uint32_t*>(pixels + static_cast<size_t>(y) * bytesPerRow);
        const uint32_t* right = grab.row(y);
        for (int x = 0; x < area_.width; ++x) {
            if (row[x] == (right[x] | 0xFF000000)) continue;
            if (row[x] == 0) {
                ++empty;
            } else if (!inHole(x, y)) {
                if (wrong++ == 0)
                    snprintf(first, sizeof(first), "frame %llu, %d, %d: %08x instead of %06x",
                             static_cast<unsigned long long>(count_), x, y, row[x], right[x] & 0xFFFFFF);
            }
        }
    }
}

}  // namespace bench
