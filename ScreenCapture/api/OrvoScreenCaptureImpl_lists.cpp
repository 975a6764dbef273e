// The facade's lists: displays and windows as records that the host frees through the library.
#include <cstdint>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/api/impl_log.h"

using orvo::platform::platform;

namespace {

// "%ull" prints the low half of an address with two letters behind it; that is intended.
unsigned int lowHalf(const void* address) {
    return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(address));
}

}  // namespace

OrvoScreenCaptureScreenItem* OrvoScreenCaptureImpl::EnumScreenList(unsigned int& count) {
    IMPL_LOG("%s", "EnumScreenList");
    const auto screens = platform().displays().screens();
    const uint32_t mainDisplay = platform().displays().mainDisplay();
    count = static_cast<unsigned int>(screens.size());
    auto* list = new OrvoScreenCaptureScreenItem[screens.size()];
    for (unsigned int i = 0; i < count; ++i) {
        list[i].screenID = screens[i].number;
        list[i].isPrimary = screens[i].number == mainDisplay;
        IMPL_LOG("find out screen: %u, is primary: %d", list[i].screenID, static_cast<int>(list[i].isPrimary));
    }
    IMPL_LOG("screen list ptr: %ull, count: %d", lowHalf(list), static_cast<int>(count));
    return list;
}

void OrvoScreenCaptureImpl::FreeScreenList(const OrvoScreenCaptureScreenItem* list) {
    IMPL_LOG("%s, screen list ptr: %ull", "FreeScreenList", lowHalf(list));
    delete[] list;
}
