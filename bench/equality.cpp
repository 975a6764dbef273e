// Compares frames with full grabs of the same screen, pixel by pixel.
#include "equality.h"

#include <xcb/composite.h>
#include <xcb/xfixes.h>

#include <cstdio>
#include <cstring>

namespace bench {

namespace {

bool contains(const Area& area, int x, int y) {
    return x >= area.x && y >= area.y && x < area.x + area.width && y < area.y + area.height;
}

// Whether two pixels differ by no more than rounding of a blend.
bool isNear(uint32_t a, uint32_t b) {
    for (int shift = 0; shift < 32; shift += 8) {
        if (abs(static_cast<int>(a >> shift & 0xFF) - static_cast<int>(b >> shift & 0xFF)) > 1) return false;
    }
    return true;
}

}  // namespace

Equality::Equality(const Frames& frames) : from_(client_.root), area_(frames.area), cursor_(frames.cursor) {
    xcb_connection_t* connection = client_.connection;
    if (area_.width == 0) {
        const Area whole = client_.windowArea(frames.window ? frames.window : client_.root);
        area_ = {0, 0, whole.width, whole.height};
    }
    if (frames.without) hole_ = client_.windowArea(frames.without);
    if (frames.window) {
        xcb_composite_redirect_window(connection, frames.window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        from_ = xcb_generate_id(connection);
        xcb_composite_name_window_pixmap(connection, frames.window, from_);
    }
    for (auto& picture : grabs_) picture = std::make_unique<SharedPicture>(client_, area_.width, area_.height);
}

bool Equality::grab(SharedPicture& picture) {
    if (!picture.grab(from_, area_)) return false;
    if (cursor_) blendCursor(picture);
    return true;
}

void Equality::blendCursor(SharedPicture& picture) {
    xcb_connection_t* connection = client_.connection;
    const Reply cursor(xcb_xfixes_get_cursor_image_reply(connection, xcb_xfixes_get_cursor_image(connection), nullptr));
    if (!cursor) return;
    pointer_ = {cursor->x - cursor->xhot, cursor->y - cursor->yhot, cursor->width, cursor->height};
    const uint32_t* source = xcb_xfixes_get_cursor_image_cursor_image(cursor.get());
    for (int y = 0; y < pointer_.height; ++y) {
        for (int x = 0; x < pointer_.width; ++x, ++source) {
            if (!contains(area_, pointer_.x + x, pointer_.y + y)) continue;
            uint32_t& pixel = picture.row(pointer_.y + y)[pointer_.x + x];
            const uint32_t through = 255 - (*source >> 24);
            uint32_t blended = 0;
            for (int shift = 0; shift < 24; shift += 8)
                blended |= ((*source >> shift & 0xFF) + (pixel >> shift & 0xFF) * through / 255) << shift;
            pixel = blended;
        }
    }
}

void Equality::check(const uint8_t* pixels, size_t bytesPerRow, int width, int height) {
    SharedPicture& after = *grabs_[count_ % 3];
    SharedPicture& before = *grabs_[(count_ + 1) % 3];
    if (!grab(after)) return;
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
    SharedPicture& grabbed = *grabs_[(count_ - 1) % 3];
    for (int y = 0; y < area_.height; ++y) {
        const auto* row = reinterpret_cast<const uint32_t*>(pixels + static_cast<size_t>(y) * bytesPerRow);
        const uint32_t* right = grabbed.row(y);
        for (int x = 0; x < area_.width; ++x) {
            const uint32_t wanted = right[x] | 0xFF000000;
            if (row[x] == wanted || (contains(pointer_, x, y) && isNear(row[x], wanted))) continue;
            if (row[x] == 0) {
                ++empty;
            } else if (!contains(hole_, x, y)) {
                if (wrong++ == 0)
                    snprintf(first, sizeof(first), "frame %llu, %d, %d: %08x instead of %08x",
                             static_cast<unsigned long long>(count_), x, y, row[x], wanted);
            }
        }
    }
}

}  // namespace bench
