// The library's lists as values of our own.
#include "lists.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "application.h"
#include "orvo/screencapture_additions.h"
#include "system.h"
#include "terminal.h"

namespace orvocap {

std::vector<OrvoScreenCaptureScreenItem> listScreens() {
    unsigned int count = 0;
    OrvoScreenCaptureScreenItem* list = orvo_screencapture_enum_screen_list(&count);
    std::vector<OrvoScreenCaptureScreenItem> screens(list, list + (list ? count : 0));
    orvo_screencapture_free_screen_list(list);
    return screens;
}

void requireScreenCapture() {
    if (const std::string why = whyNoScreens(); !why.empty()) throw Failure(exitFailure, why);
}

std::vector<OrvoScreenCaptureScreenItem> requireScreens() {
    auto screens = listScreens();
    if (!screens.empty()) return screens;
    requireScreenCapture();
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display) throw Failure(exitNoTarget, "no display: DISPLAY is not set; set it to your X server");
    throw Failure(exitNoTarget, std::string("no screen on display ") + display +
                                    ": is its X server running, and may this user connect to it?");
}

namespace {

// Of ASCII; other letters stay as they are.
std::string smallLetters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

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
    OrvoScreenCaptureWindowOwner owner = ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT;
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

void addClasses(std::vector<ListedItem>& items) {
    std::vector<uint32_t> numbers;
    for (const auto& item : items) numbers.push_back(item.isScreen ? 0 : item.number);
    auto classes = windowClasses(numbers);
    for (size_t i = 0; i < items.size() && i < classes.size(); ++i) items[i].classes = std::move(classes[i]);
}

std::vector<ScreenDescription> describeScreens() {
    const auto screens = requireScreens();
    std::vector<ScreenDescription> descriptions;
    for (const ListedItem& item : listItems(false)) {
        if (!item.isScreen) continue;
        const bool isMain = std::any_of(screens.begin(), screens.end(), [&](const auto& screen) {
            return screen.screenID == item.number && screen.isPrimary;
        });
        descriptions.push_back({item.number, isMain, screenName(item.number), item.left, item.top, item.width,
                                item.height, screenScale(item.number)});
    }
    const auto main = std::find_if(descriptions.begin(), descriptions.end(), [](const auto& d) { return d.isMain; });
    const int mainHeight = main == descriptions.end() ? 0 : main->height;
    for (auto& screen : descriptions) screen.top = mainHeight - screen.top - screen.height;
    return descriptions;
}

std::optional<uint32_t> WindowQuery::number() const {
    const bool isHex = text.substr(0, 2) == "0x";
    const char* const begin = text.data() + (isHex ? 2 : 0);
    const char* const end = text.data() + text.size();
    uint32_t value = 0;
    const auto [rest, error] = std::from_chars(begin, end, value, isHex ? 16 : 10);
    return begin != end && rest == end && error == std::errc() ? std::optional(value) : std::nullopt;
}

std::string WindowQuery::asText() const {
    std::string words;
    if (!text.empty()) words += number() ? text : "\"" + printable(text) + "\"";
    if (processID) words += (words.empty() ? "" : " ") + std::string("of process ") + std::to_string(processID);
    if (!className.empty()) words += (words.empty() ? "" : " ") + std::string("of class ") + printable(className);
    return words;
}

std::vector<ListedItem> matchingWindows(const std::vector<ListedItem>& items, const WindowQuery& query) {
    const auto select = [&](const auto& fits) {
        std::vector<ListedItem> found;
        for (const auto& item : items) {
            if (item.isScreen || (query.processID && item.processID != query.processID)) continue;
            const std::string wanted = smallLetters(query.className);
            const bool isOfClass = wanted.empty() || smallLetters(item.owner) == wanted ||
                                   std::any_of(item.classes.begin(), item.classes.end(),
                                               [&](const std::string& name) { return smallLetters(name) == wanted; });
            if (isOfClass && fits(item)) found.push_back(item);
        }
        return found;
    };
    if (const auto number = query.number()) {
        auto found = select([&](const ListedItem& item) { return item.number == *number; });
        if (!found.empty()) return found;
    }
    const std::string text = smallLetters(query.text);
    auto exact = select([&](const ListedItem& item) { return smallLetters(item.title) == text; });
    if (!text.empty() && !exact.empty()) return exact;
    return select([&](const ListedItem& item) { return smallLetters(item.title).find(text) != std::string::npos; });
}

}  // namespace orvocap
