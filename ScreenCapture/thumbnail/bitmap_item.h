// The bitmap records that cross the C boundary: made here, freed here.
#pragma once

#include <memory>

#include "ScreenCapture/platform/image.h"
#include "orvo/screencapture.h"

namespace orvo::thumbnail {

// Frees an item and its pixels; null is fine.
void freeBitmapItem(OrvoThumbnailBitmapItem* item);

struct BitmapItemDeleter {
    void operator()(OrvoThumbnailBitmapItem* item) const { freeBitmapItem(item); }
};
using BitmapItemPtr = std::unique_ptr<OrvoThumbnailBitmapItem, BitmapItemDeleter>;

// A copy of an image: the first width * height * 4 bytes of its pixels, whatever the length of its rows, which stride
// reports; that is intended. Null for an image without bytes.
BitmapItemPtr makeBitmapItem(const platform::Image& image);

}  // namespace orvo::thumbnail
