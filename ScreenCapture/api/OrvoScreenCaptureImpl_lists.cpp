// The facade's lists: displays and windows as records that the host frees through the library.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/log/component_log.h"
#include "ScreenCapture/thumbnail/window_info.h"

using orvo::platform::platform;

namespace {

// "%ull" prints the low half of an address with two letters after it; that is intended.
unsigned int lowHalf(const void* address) {
    return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(address));
}

std::vector<uint32_t> windowNumbers(const std::vector<OrvoWindowRef>& records) {
    std::vector<uint32_t> numbers;
    for (const OrvoWindowRef& record : records)
        if (!record->isScreen) numbers.push_back(record->windowID);
    return numbers;
}

}  // namespace

OrvoScreenCaptureScreenItem* OrvoScreenCaptureImpl::EnumScreenList(unsigned int& count) {
    COMPONENT_LOG("Impl", "%s", "EnumScreenList");
    const auto screens = platform().displays().screens();
    const uint32_t mainDisplay = platform().displays().mainDisplay();
    count = static_cast<unsigned int>(screens.size());
    auto* list = new OrvoScreenCaptureScreenItem[screens.size()];
    for (unsigned int i = 0; i < count; ++i) {
        list[i].screenID = screens[i].number;
        list[i].isPrimary = screens[i].number == mainDisplay;
        COMPONENT_LOG("Impl", "find out screen: %u, is primary: %d", list[i].screenID,
                      static_cast<int>(list[i].isPrimary));
    }
    COMPONENT_LOG("Impl", "screen list ptr: %ull, count: %d", lowHalf(list), static_cast<int>(count));
    return list;
}

void OrvoScreenCaptureImpl::FreeScreenList(const OrvoScreenCaptureScreenItem* list) {
    COMPONENT_LOG("Impl", "%s, screen list ptr: %ull", "FreeScreenList", lowHalf(list));
    delete[] list;
}

OrvoThumbnailWindowInfo* OrvoScreenCaptureImpl::EnumWindowList(int& count, bool skipImages, bool includeIconic,
                                                               bool /*legacyFlag*/) {
    COMPONENT_LOG("Impl", "%s", "EnumWindowList");
    const auto manager = windowManager();
    std::vector<OrvoWindowRef> records;
    if (manager) records = includeIconic ? manager->allWindowWithIncludeIconic(true) : manager->allWindow();
    count = static_cast<int>(records.size());
    const auto freeAll = [&count](OrvoThumbnailWindowInfo* list) { orvo::thumbnail::freeWindowInfos(list, count); };
    // There is always a first item: one of the frees looks at it whatever the count.
    const size_t room = std::max<size_t>(records.size(), 1);
    std::unique_ptr<OrvoThumbnailWindowInfo[], decltype(freeAll)> list(new OrvoThumbnailWindowInfo[room](), freeAll);
    const double begin = platform().clock().absoluteSeconds();
    const auto pictures = skipImages ? nullptr : platform().windowServer().pictures(windowNumbers(records));
    for (size_t i = 0; i < records.size(); ++i) {
        const OrvoWindow& record = *records[i];
        OrvoThumbnailWindowInfo& item = list[i];
        orvo::thumbnail::fillWindowInfo(item, record);
        if (pictures) item.imageThumbnail = manager->imageForAppname(record.appName, &record, pictures.get()).release();
        item.iconThumbnail = manager->iconForAppname(record.appName).release();
        COMPONENT_LOG("Impl", "find out window %u, title: %s", item.windowID, item.title);
    }
    COMPONENT_LOG("Impl", "find out window time %f ms", (platform().clock().absoluteSeconds() - begin) * 1000);
    COMPONENT_LOG("Impl", "window list ptr: %ull, count: %d", lowHalf(list.get()), count);
    return list.release();
}

void OrvoScreenCaptureImpl::FreeWindowList(OrvoThumbnailWindowInfo* list, int count) {
    COMPONENT_LOG("Impl", "%s, window list ptr: %ull", "FreeWindowList", lowHalf(list));
    orvo::thumbnail::freeWindowInfos(list, count);
}

int OrvoScreenCaptureImpl::RegistTargetWindow(unsigned int windowID) {
    COMPONENT_LOG("Impl", "%s", "RegistTargetWindow");
    const auto manager = windowManager();
    return manager && manager->registTargetWindow(windowID);
}

int OrvoScreenCaptureImpl::UnRegistTargetWindow(unsigned int windowID) {
    COMPONENT_LOG("Impl", "%s", "UnRegistTargetWindow");
    const auto manager = windowManager();
    return manager && manager->unRegistTargetWindowId(windowID);
}

int OrvoScreenCaptureImpl::ShowTargetWindow(unsigned int windowID, OrvoThumbnailShowWindowCmd cmd) {
    COMPONENT_LOG("Impl", "%s", "ShowTargetWindow");
    const auto manager = windowManager();
    return manager && manager->showTargetWindow(windowID, cmd);
}

int OrvoScreenCaptureImpl::CheckTargetWindow(unsigned int windowID) {
    COMPONENT_LOG("Impl", "%s", "CheckTargetWindow");
    const auto manager = windowManager();
    return manager && manager->checkTargetWindowStatusIsNormal(windowID, false);
}

void OrvoScreenCaptureImpl::GetWindowRect(unsigned int windowID, OrvoScreenCaptureRect* rect) {
    existingSession();  // for its log line
    const auto manager = windowManager();
    if (rect) *rect = manager ? manager->getRectWithTargetWindow(windowID) : OrvoScreenCaptureRect{};
}
