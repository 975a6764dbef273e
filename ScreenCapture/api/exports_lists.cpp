// The exported lists: displays and windows for a picker, and what a picker does with them.
#include <atomic>
#include <cstddef>
#include <cstring>
#include <new>

#include "ScreenCapture/api/facade_call.h"
#include "ScreenCapture/thumbnail/window_info.h"

using orvo::api::ask;
using orvo::api::call;
using Facade = OrvoScreenCaptureImpl;

static_assert(offsetof(OrvoScreenCaptureScreenItem, isPrimary) == 4 && sizeof(OrvoScreenCaptureScreenItem) == 8);
static_assert(offsetof(OrvoScreenCaptureRect, bottom) == 12 && sizeof(OrvoScreenCaptureRect) == 16);
static_assert(offsetof(OrvoScreenCaptureWindowItem, title) == 4);
static_assert(offsetof(OrvoScreenCaptureWindowItem, appName) == 260 && sizeof(OrvoScreenCaptureWindowItem) == 516);

namespace {

// Whether find_windows leaves the pictures out.
constinit std::atomic<bool> static_isAsync{false};

OrvoThumbnailWindowInfo* enumWindows(int* count, bool skipImages, bool includeIconic, bool legacyFlag) {
    return ask<OrvoThumbnailWindowInfo*>(nullptr, [=](Facade& facade) {
        int found = 0;
        auto* const list = facade.EnumWindowList(found, skipImages, includeIconic, legacyFlag);
        if (count) *count = found;
        return list;
    });
}

// Null when there is no memory.
OrvoScreenCaptureWindowItem* plainItems(const OrvoThumbnailWindowInfo* infos, int count) {
    auto* const items = new (std::nothrow) OrvoScreenCaptureWindowItem[static_cast<size_t>(count)]();
    for (int i = 0; items && i < count; ++i) {
        items[i].windowID = infos[i].windowID;
        static_assert(sizeof items->title == sizeof infos->title);
        std::memcpy(items[i].title, infos[i].title, sizeof items->title);
    }
    return items;
}

}  // namespace

OrvoScreenCaptureScreenItem* orvo_screencapture_enum_screen_list(unsigned int* count) {
    COMPONENT_LOG("SC", "%s", __func__);
    unsigned int found = 0;
    auto* list =
        ask<OrvoScreenCaptureScreenItem*>(nullptr, [&](Facade& facade) { return facade.EnumScreenList(found); });
    if (count && list) *count = found;
    return list;
}

void orvo_screencapture_free_screen_list(OrvoScreenCaptureScreenItem* list) {
    COMPONENT_LOG("SC", "%s", __func__);
    call([=](Facade& facade) { facade.FreeScreenList(list); });
}

OrvoScreenCaptureWindowItem* orvo_screencapture_enum_window_list(int isIncludeIconic, unsigned int* count) {
    COMPONENT_LOG("SC", "%s", __func__);
    if (count) *count = 0;
    const bool iconic = isIncludeIconic != 0;
    auto* const list = ask<OrvoScreenCaptureWindowItem*>(nullptr, [=](Facade& facade) {
        int found = 0;
        auto* const infos = facade.EnumWindowList(found, true, true, iconic);
        auto* const items = plainItems(infos, found);
        orvo::thumbnail::freeWindowInfos(infos, found);  // without a log line
        if (count && items) *count = static_cast<unsigned int>(found);
        return items;
    });
    return list ? list : plainItems(nullptr, 0);
}

void orvo_screencapture_free_window_list(OrvoScreenCaptureWindowItem* list) {
    COMPONENT_LOG("SC", "%s", __func__);
    delete[] list;
}

OrvoThumbnailWindowInfo* orvo_screencapture_enum_window_list(int isIncludeIconic, int* count) {
    COMPONENT_LOG("SC", "%s", __func__);
    return enumWindows(count, true, true, isIncludeIconic != 0);
}

// Frees the pictures of the first item only; that is intended.
void orvo_screencapture_free_window_list(OrvoThumbnailWindowInfo* list) {
    COMPONENT_LOG("SC", "%s", __func__);
    call([=](Facade& facade) { facade.FreeWindowList(list, 1); });
}

void orvo_screencapture_get_virtual_desktop_rect(void) {
    COMPONENT_LOG("SC", "%s", __func__);
}

bool orvo_screencapture_get_window_rect(unsigned int windowID, OrvoScreenCaptureRect* rect) {
    COMPONENT_LOG("SC", "%s", __func__);
    call([=](Facade& facade) { facade.GetWindowRect(windowID, rect); });
    return true;
}

void orvo_windowthumbnail_find_windows_async(bool isAsync) {
    static_isAsync = isAsync;
}

OrvoThumbnailWindowInfo* orvo_windowthumbnail_find_windows(int* count) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    return enumWindows(count, static_isAsync, false, false);
}

void orvo_windowthumbnail_free_windows(OrvoThumbnailWindowInfo* list, int count) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    call([=](Facade& facade) { facade.FreeWindowList(list, count); });
}

int orvo_windowthumbnail_register(unsigned int windowID) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    return ask(0, [=](Facade& facade) { return facade.RegistTargetWindow(windowID); });
}

int orvo_windowthumbnail_unregister(unsigned int windowID) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    return ask(0, [=](Facade& facade) { return facade.UnRegistTargetWindow(windowID); });
}

int orvo_windowthumbnail_show_source_window(unsigned int windowID, OrvoThumbnailShowWindowCmd cmd) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    return ask(0, [=](Facade& facade) { return facade.ShowTargetWindow(windowID, cmd); });
}

int orvo_windowthumbnail_window_checkStatus(unsigned int windowID) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    return ask(0, [=](Facade& facade) { return facade.CheckTargetWindow(windowID); });
}

// Retired: these two write their names only.
int orvo_windowthumbnail_register(unsigned int /*windowID*/, int, OrvoScreenCaptureRect*) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    return 0;
}

int orvo_windowthumbnail_update(int, OrvoScreenCaptureRect*) {
    COMPONENT_LOG("Thumbnail", "%s", __func__);
    return 0;
}
