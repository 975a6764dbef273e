// What window properties mean.
#include "ScreenCapture/platform/x11/properties.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace orvo::platform::x11 {
namespace {

constexpr size_t kMaxIcons = 16;         // bitmaps of one property
constexpr uint32_t kMaxIconSide = 1024;  // pixels
constexpr uint32_t kMaxSide = 32767;     // of a window

void appendCharacter(std::string& text, uint32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else {
        text += static_cast<char>(0xC0 | character >> 6);
        text += static_cast<char>(0x80 | (character & 0x3F));
    }
}

// The length of the valid UTF-8 sequence that the text begins with, 0 when it begins with none.
size_t sequenceLength(std::string_view text) {
    const auto at = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t first = at(0);
    if (first < 0x80) return 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i)
        if ((at(i) & 0xC0) != 0x80) return 0;
    // Overlong forms, surrogates, beyond U+10FFFF.
    const bool wrong = (first == 0xE0 && at(1) < 0xA0) || (first == 0xED && at(1) > 0x9F) ||
                       (first == 0xF0 && at(1) < 0x90) || (first == 0xF4 && at(1) > 0x8F);
    return wrong ? 0 : length;
}

std::string validUtf8(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const size_t length = sequenceLength(text);
        if (length > 0)
            result += text.substr(0, length);
        else
            result += "\xEF\xBF\xBD";
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return result;
}

std::string fromLatin1(std::string_view text) {
    std::string result;
    for (const char c : text) appendCharacter(result, static_cast<uint8_t>(c));
    return result;
}

// Latin-1 and UTF-8 segments are read, those of other character sets are replaced.
std::string fromCompound(std::string_view text) {
    constexpr std::string_view kBeginUtf8 = "\x1B%G";
    constexpr std::string_view kEndUtf8 = "\x1B%@";
    std::string result;
    bool foreign = false;
    while (!text.empty()) {
        if (text.substr(0, 3) == kBeginUtf8) {
            const size_t end = std::min(text.find(kEndUtf8, 3), text.size());
            result += validUtf8(text.substr(3, end - 3));
            text.remove_prefix(std::min(end + 3, text.size()));
        } else if (text[0] == '\x1B') {
            // Intermediate bytes, then the final one. "(B" and "-A" are the sets that every text begins with.
            size_t length = 1;
            while (length < text.size() && text[length] >= 0x20 && text[length] <= 0x2F) ++length;
            length = std::min(length + 1, text.size());
            const std::string_view set = text.substr(1, length - 1);
            foreign = set != "(B" && set != "-A";
            text.remove_prefix(length);
        } else {
            if (foreign)
                result += "\xEF\xBF\xBD";
            else
                appendCharacter(result, static_cast<uint8_t>(text[0]));
            text.remove_prefix(1);
        }
    }
    return result;
}

std::string decoded(std::string_view text, TextEncoding encoding) {
    switch (encoding) {
        case TextEncoding::none:
            return {};
        case TextEncoding::latin1:
            return fromLatin1(text);
        case TextEncoding::utf8:
            return validUtf8(text);
        case TextEncoding::compound:
            return fromCompound(text);
    }
    return {};
}

std::string_view characters(const Property& property) {
    if (property.format != 8 || !property.bytes) return {};
    return {reinterpret_cast<const char*>(property.bytes), property.size};
}

}  // namespace

std::vector<uint32_t> decodeNumbers(const Property& property) {
    if (property.format != 32 || !property.bytes) return {};
    std::vector<uint32_t> numbers(property.size / 4);
    if (!numbers.empty()) std::memcpy(numbers.data(), property.bytes, numbers.size() * 4);
    return numbers;
}

uint32_t decodeNumber(const Property& property, uint32_t otherwise) {
    const std::vector<uint32_t> numbers = decodeNumbers(property);
    return numbers.empty() ? otherwise : numbers.front();
}

std::string decodeText(const Property& property) {
    const std::string_view all = characters(property);
    return decoded(all.substr(0, all.find('\0')), property.encoding);
}

std::pair<std::string, std::string> decodeClass(const Property& property) {
    std::string_view rest = characters(property);
    std::string parts[2];
    for (std::string& part : parts) {
        const size_t end = std::min(rest.find('\0'), rest.size());
        part = decoded(rest.substr(0, end), property.encoding);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return {parts[0], parts[1]};
}

double decodeOpacity(const Property& property) {
    return decodeNumber(property, 0xFFFFFFFFU) / static_cast<double>(0xFFFFFFFFU);
}

Margins decodeMargins(const Property& property) {
    const std::vector<uint32_t> sides = decodeNumbers(property);
    if (sides.size() < 4 || *std::max_element(sides.begin(), sides.end()) > kMaxSide) return {};
    const auto side = [&](size_t i) { return static_cast<int>(sides[i]); };
    return {side(0), side(1), side(2), side(3)};
}

std::vector<PixelRect> decodeRects(const Property& property) {
    const std::vector<uint32_t> numbers = decodeNumbers(property);
    std::vector<PixelRect> rects;
    for (size_t i = 0; i + 4 <= numbers.size(); i += 4) {
        const auto number = [&](size_t k) { return static_cast<int>(static_cast<int32_t>(numbers[i + k])); };
        const PixelRect rect{number(0), number(1), number(2), number(3)};
        const bool isWithin = std::all_of(&numbers[i], &numbers[i] + 4, [](uint32_t each) {
            return each + kMaxSide <= 2 * kMaxSide;  // of either sign
        });
        if (isWithin && !rect.empty()) rects.push_back(rect);
    }
    return rects;
}

std::vector<IconBitmap> decodeIcons(const Property& property) {
    const std::vector<uint32_t> numbers = decodeNumbers(property);
    std::vector<IconBitmap> icons;
    size_t at = 0;
    while (numbers.size() - at > 2 && icons.size() < kMaxIcons) {
        const uint32_t width = numbers[at];
        const uint32_t height = numbers[at + 1];
        at += 2;
        if (width == 0 || height == 0 || width > kMaxIconSide || height > kMaxIconSide) break;
        const size_t count = size_t{width} * height;
        if (count > numbers.size() - at) break;
        const auto first = numbers.begin() + static_cast<ptrdiff_t>(at);
        icons.push_back(
            {static_cast<int>(width), static_cast<int>(height), {first, first + static_cast<ptrdiff_t>(count)}});
        at += count;
    }
    return icons;
}

}  // namespace orvo::platform::x11
