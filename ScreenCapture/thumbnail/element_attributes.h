// Reading and writing one attribute of an accessibility element; both proxies build on it.
#pragma once

#include <type_traits>
#include <utility>

#include "ScreenCapture/platform/accessibility.h"

namespace orvo::thumbnail {

// The attribute's value, or the default when it cannot be read.
platform::AttributeValue readAttribute(const platform::ElementRef& element, const char* attribute,
                                       platform::AttributeValue defaultValue);

// False, with a console line, when it cannot be written.
bool writeAttribute(const platform::ElementRef& element, const char* attribute, const platform::AttributeValue& value);

// As readAttribute, for an attribute that holds a T; the default also stands in for a value of another kind. Some
// applications answer a number where a boolean is meant: 0 is false.
template <typename T>
T readAttributeAs(const platform::ElementRef& element, const char* attribute, T defaultValue) {
    platform::AttributeValue value = readAttribute(element, attribute, defaultValue);
    if constexpr (std::is_same_v<T, bool>) {
        if (const double* const number = std::get_if<double>(&value)) return *number != 0;
    }
    T* const held = std::get_if<T>(&value);
    return held ? std::move(*held) : std::move(defaultValue);
}

}  // namespace orvo::thumbnail
