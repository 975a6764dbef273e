// The library's lists as values of our own.
#include "lists.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "application.h"
#include "orvo/screencapture_additions.h"
#include "process.h"
#include "terminal.h"

namespace orvocap {

std::vector<OrvoScreenCaptureScreenItem> listScreens() {
    unsigned int count = 0;
    OrvoScreenCaptureScreenItem* list = orvo_screencapture_enum_screen_list(&count);
    std::vector<OrvoScreenCaptureScreenItem> screens(list, list + (list ? count : 0));
    orvo_screencapture_free_screen_list(list);
    return screens;
}

std::vector<OrvoScreenCaptureScreenItem> requireScreens() {
    auto screens = listScreens();
    if (!screens.empty()) return screens;
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display) throw Failure(exitNoTarget, "no display: DISPLAY is not set; set it to your X server");
    throw Failure(exitNoTarget, std::string("no screen on display ") + display +
                                    ": is its X server running, and may this user connect to it?");
}

namespace {

class Library {
  public:
    Library() { orvo_screencapture_init(); }
    ~Library() { orvo_screencapture_uninit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
};

struct FreeWindows {
    int count;
    void operator()(OrvoThumbnailWindowInfo* list) const { orvo_windowthumbnail_free_windows(list, count); }
};

// PNG wants plain colours; the library's are multiplied by alpha.
void divideByAlpha(uint8_t* pixel) {
    const unsigned int alpha = pixel[3];
    if (alpha == 0 || alpha == 255) return;
    for (int i = 0; i < 3; ++i) pixel[i] = static_cast<uint8_t>(std::min(255u, (pixel[i] * 255u + alpha / 2) / alpha));
}

std::optional<Frame> frameOf(const OrvoThumbnailBitmapItem* item) {
    if (!item || !item->data || item->width == 0 || item->height == 0) return std::nullopt;
    Frame frame;
    frame.width = static_cast<int>(item->width);
    frame.height = static_cast<int>(item->height);
    frame.pixels.resize(frame.bytesPerRow() * item->height);
    for (size_t y = 0; y < item->height; ++y) {
        // With padded rows the last ones do not fit into the item any more; they stay empty.
        const size_t from = y * item->stride;
        if (from + frame.bytesPerRow() > item->length) break;
        std::memcpy(frame.pixels.data() + y * frame.bytesPerRow(), item->data + from, frame.bytesPerRow());
    }
    for (size_t i = 0; i < frame.pixels.size(); i += 4) divideByAlpha(frame.pixels.data() + i);
    return frame;
}

ListedItem itemOf(const OrvoThumbnailWindowInfo& info) {
    ListedItem item;
    item.number = info.windowID;
    item.isScreen = info.isScreen != 0;
    item.title = info.title;
    item.icon = frameOf(info.iconThumbnail);
    item.picture = frameOf(info.imageThumbnail);
    OrvoScreenCaptureWindowOwner owner;
    if (!item.isScreen && orvo_screencapture_get_window_owner(info.windowID, &owner)) {
        item.owner = owner.name;
        item.processID = owner.processID;
    }
    OrvoScreenCaptureRect rect{};
    orvo_screencapture_get_window_rect(info.windowID, &rect);
    item.left = rect.left;
    item.top = rect.top;
    // A screen's rectangle holds its width and height where a window's holds its far edges.
    item.width = item.isScreen ? rect.right : rect.right - rect.left;
    item.height = item.isScreen ? rect.bottom : rect.bottom - rect.top;
    return item;
}

}  // namespace

std::vector<ListedItem> listItems(bool withPictures) {
    requireScreens();
    const QuietConsole quiet;
    const Library library;
    orvo_windowthumbnail_find_windows_async(!withPictures);
    int count = 0;
    OrvoThumbnailWindowInfo* found = orvo_windowthumbnail_find_windows(&count);
    const std::unique_ptr<OrvoThumbnailWindowInfo[], FreeWindows> list(found, FreeWindows{count});
    std::vector<ListedItem> items;
    items.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) items.push_back(itemOf(list[static_cast<size_t>(i)]));
    return items;
}

std::string noWindowText(uint32_t number) {
    constexpr size_t most = 8;
    std::string known;
    size_t count = 0;
    for (const ListedItem& item : listItems(false)) {
        if (item.isScreen || count++ >= most) continue;
        known += (known.empty() ? "" : ", ") + std::to_string(item.number) + " (" + printable(item.title) + ")";
    }
    if (count > most) known += " and " + std::to_string(count - most) + " more";
    return "no window " + std::to_string(number) + " can be captured now; it may be minimised or closed; " +
           (known.empty() ? "there is no window" : "there is: " + known);
}

}  // namespace orvocap
