// Bitmap records for the host.
#include "ScreenCapture/thumbnail/bitmap_item.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

#include "common/utils/orvo_pixel_memory.h"

static_assert(offsetof(OrvoThumbnailBitmapItem, length) == 12);
static_assert(offsetof(OrvoThumbnailBitmapItem, data) == 16);
static_assert(offsetof(OrvoThumbnailBitmapItem, stride) == 24);
static_assert(sizeof(OrvoThumbnailBitmapItem) == 40);

namespace orvo::thumbnail {

void freeBitmapItem(OrvoThumbnailBitmapItem* item) {
    if (!item) return;
    ORVO::BASE::givePixelMemory(item->data, item->length);
    delete item;
}

BitmapItemPtr makeBitmapItem(const platform::Image& image) {
    const uint8_t* const pixels = image.bytes();
    if (!pixels) return nullptr;
    BitmapItemPtr item(new OrvoThumbnailBitmapItem());
    item->width = static_cast<uint32_t>(image.width());
    item->height = static_cast<uint32_t>(image.height());
    item->bitsPerPixel = 32;
    item->length = item->width * item->height * 4;
    item->stride = static_cast<uint32_t>(image.bytesPerRow());
    item->data = ORVO::BASE::takePixelMemory(item->length);
    if (!item->data) throw std::bad_alloc();
    const size_t copied = std::min<size_t>(item->length, image.bytesPerRow() * item->height);
    std::memcpy(item->data, pixels, copied);
    std::memset(item->data + copied, 0, item->length - copied);
    return item;
}

}  // namespace orvo::thumbnail
