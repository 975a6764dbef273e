// Text between the logic (UTF-8) and the system.
#pragma once

#include <Foundation/Foundation.h>

#include <string>
#include <string_view>

namespace orvo::platform::macos {

// Bytes that are no UTF-8 are read one character each, so that there is always a text.
inline NSString* textFrom(std::string_view bytes) {
    NSString* text = [[NSString alloc] initWithBytes:bytes.data() length:bytes.size() encoding:NSUTF8StringEncoding];
    if (text) return text;
    return [[NSString alloc] initWithBytes:bytes.data() length:bytes.size() encoding:NSISOLatin1StringEncoding];
}

// Empty for nil.
inline std::string textOf(NSString* text) {
    const char* bytes = text.UTF8String;
    return bytes ? bytes : "";
}

}  // namespace orvo::platform::macos
