// The window records that cross the C boundary: titles, edges, filling, freeing.
#pragma once

#include <memory>
#include <string_view>

#include "ScreenCapture/platform/values.h"
#include "ScreenCapture/window/OrvoWindow.h"
#include "orvo/screencapture.h"

namespace orvo::thumbnail {

// Copies UTF-8 into a title field that is zero-filled first; a longer text is cut at the end of a character.
void copyTitle(char (&field)[256], std::string_view utf8);

// A rectangle by its four edges.
OrvoScreenCaptureRect edges(const platform::Rect& rect);

// Numbers, title and kind of a record; the pictures are cleared.
void fillWindowInfo(OrvoThumbnailWindowInfo& info, const OrvoWindow& window);

// Frees an array of them, with the pictures of its first `count` items; null is fine.
void freeWindowInfos(OrvoThumbnailWindowInfo* list, int count);

// One item on its way to the host.
struct WindowInfoDeleter {
    void operator()(OrvoThumbnailWindowInfo* info) const { freeWindowInfos(info, 1); }
};
using WindowInfoPtr = std::unique_ptr<OrvoThumbnailWindowInfo, WindowInfoDeleter>;

WindowInfoPtr makeWindowInfo(const OrvoWindow& window);

}  // namespace orvo::thumbnail
