// Window records for the host.
#include "ScreenCapture/thumbnail/window_info.h"

#include <cstddef>
#include <cstring>

#include "ScreenCapture/thumbnail/bitmap_item.h"

static_assert(offsetof(OrvoThumbnailWindowInfo, title) == 8);
static_assert(offsetof(OrvoThumbnailWindowInfo, iconThumbnail) == 264);
static_assert(offsetof(OrvoThumbnailWindowInfo, imageThumbnail) == 272);
static_assert(offsetof(OrvoThumbnailWindowInfo, isScreen) == 280);
static_assert(sizeof(OrvoThumbnailWindowInfo) == 288);
static_assert(offsetof(OrvoScreenCaptureProcessWindow, windowID) == 512);
static_assert(sizeof(OrvoScreenCaptureProcessWindow) == 516);

namespace orvo::thumbnail {

namespace {

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

}  // namespace

void copyTitle(char (&field)[256], std::string_view utf8) {
    size_t length = utf8.size();
    if (length >= sizeof field) {
        length = sizeof field - 1;
        // A character has at most three continuation bytes; text that goes on longer is no UTF-8 and is cut anywhere.
        size_t start = length;
        while (start > length - 3 && continuesCharacter(utf8[start])) --start;
        if (!continuesCharacter(utf8[start])) length = start;
    }
    std::memset(field, 0, sizeof field);
    std::memcpy(field, utf8.data(), length);
}

OrvoScreenCaptureRect edges(const platform::Rect& rect) {
    using platform::truncated;
    return {truncated<int32_t>(rect.x), truncated<int32_t>(rect.y), truncated<int32_t>(rect.x + rect.width),
            truncated<int32_t>(rect.y + rect.height)};
}

void fillWindowInfo(OrvoThumbnailWindowInfo& info, const OrvoWindow& window) {
    info = {};
    info.windowID = window.windowID;
    info.itemID = window.windowID;
    copyTitle(info.title, window.windowName);
    info.isScreen = window.isScreen ? 1 : 0;
}

void freeWindowInfos(OrvoThumbnailWindowInfo* list, int count) {
    if (!list) return;
    for (int i = 0; i < count; ++i) {
        freeBitmapItem(list[i].iconThumbnail);
        freeBitmapItem(list[i].imageThumbnail);
    }
    delete[] list;
}

WindowInfoPtr makeWindowInfo(const OrvoWindow& window) {
    // An array of one, because the host frees it as a list.
    WindowInfoPtr info(new OrvoThumbnailWindowInfo[1]);
    fillWindowInfo(*info, window);
    return info;
}

}  // namespace orvo::thumbnail
