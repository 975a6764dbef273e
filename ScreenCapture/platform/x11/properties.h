// What window properties mean. Clients write what they like, so nothing here trusts a length or a type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ScreenCapture/platform/values.h"

namespace orvo::platform::x11 {

// How the bytes of a text are to be read.
enum class TextEncoding { none, latin1, utf8, compound };

// A property as it was read; the bytes belong to somebody else. format: 8, 16 or 32, 0 when there is no property.
struct Property {
    uint8_t format = 0;
    TextEncoding encoding = TextEncoding::none;
    const uint8_t* bytes = nullptr;
    size_t size = 0;
};

// The 32-bit values; none for another format.
std::vector<uint32_t> decodeNumbers(const Property& property);
// The first of them.
uint32_t decodeNumber(const Property& property, uint32_t otherwise);

// The text up to its first zero byte as valid UTF-8; what cannot be read becomes U+FFFD.
std::string decodeText(const Property& property);

// WM_CLASS: instance and class, each empty when it is not there.
std::pair<std::string, std::string> decodeClass(const Property& property);

// _NET_WM_WINDOW_OPACITY: 0 to 1.
double decodeOpacity(const Property& property);

// What a client that draws its own frame adds on each side for a shadow, in pixels.
struct Margins {
    int left = 0, right = 0, top = 0, bottom = 0;
    bool operator==(const Margins&) const = default;
};
// _GTK_FRAME_EXTENTS; none where the numbers make no sense.
Margins decodeMargins(const Property& property);

// _NET_WM_OPAQUE_REGION: in window coordinates. Rectangles beyond what a window can be are left out.
std::vector<PixelRect> decodeRects(const Property& property);

// One bitmap of _NET_WM_ICON: width x height values 0xAARRGGBB, colours not multiplied by alpha.
struct IconBitmap {
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels;
};
// All that are whole; reading stops at the first that is not.
std::vector<IconBitmap> decodeIcons(const Property& property);

}  // namespace orvo::platform::x11
