// The accessibility elements of the test's own windows.
#pragma once

#include <unistd.h>

#include <vector>

#include "ScreenCapture/platform/platform.h"

namespace orvo::testing {

inline platform::Accessibility& accessibility() {
    return platform::platform().accessibility();
}

// An attribute's value; an empty one when there is none of that kind.
template <typename T>
T value(const platform::ElementRef& element, const char* name) {
    const auto attribute = accessibility().copyAttribute(element, name);
    const T* held = std::get_if<T>(&attribute.value);
    return attribute.error == 0 && held ? *held : T{};
}

// Null when the process has no such window.
inline platform::ElementRef elementOf(uint32_t window, int32_t pid = getpid()) {
    using List = std::vector<platform::ElementRef>;
    for (const auto& element : value<List>(accessibility().application(pid), "AXWindows"))
        if (accessibility().windowNumber(element) == window) return element;
    return nullptr;
}

}  // namespace orvo::testing
