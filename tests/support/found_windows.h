// The picker's list as a test holds it: freed by the library, with the count that came with it.
#pragma once

#include <memory>

#include "orvo/screencapture.h"

namespace orvo::testing {

struct FreeWindows {
    int count = 0;
    void operator()(OrvoThumbnailWindowInfo* list) const { orvo_windowthumbnail_free_windows(list, count); }
};
using WindowsPtr = std::unique_ptr<OrvoThumbnailWindowInfo[], FreeWindows>;

inline WindowsPtr findWindows() {
    int count = -1;
    auto* const list = orvo_windowthumbnail_find_windows(&count);
    return {list, {count}};
}

}  // namespace orvo::testing
