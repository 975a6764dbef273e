// What the text classes share over their unit type: measuring, searching, trimming, letters. Internal.
#ifndef ORVO_STREAM_TEXT_H
#define ORVO_STREAM_TEXT_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "xplatform/common/orvostream.h"

namespace orvo {

// The letter that differs from the one given only in case, for one table a direction.
struct letter_table {
    constexpr explicit letter_table(char first, char last, int step) : to() {
        for (int c = 0; c < 256; ++c) to[c] = static_cast<unsigned char>(c >= first && c <= last ? c + step : c);
    }
    template <typename T>
    constexpr T operator()(T unit) const {
        if constexpr (sizeof(T) == 1) return static_cast<T>(to[static_cast<unsigned char>(unit)]);
        return unit < 256 ? static_cast<T>(to[unit & 0xFF]) : unit;
    }
    unsigned char to[256];
};
inline constexpr letter_table lower_letters('A', 'Z', 'a' - 'A');
inline constexpr letter_table upper_letters('a', 'z', 'A' - 'a');

template <typename T>
std::size_t measured(const T* units, unsigned int length) {
    return length != 0 || units == nullptr ? length : std::char_traits<T>::length(units);
}

// borders[i]: how much of the needle's beginning also ends its first i + 1 units.
template <typename Needle, typename Fold>
void find_borders(Needle needle, std::size_t length, Fold fold, unsigned int* borders) {
    unsigned int border = borders[0] = 0;
    for (std::size_t i = 1; i < length; ++i) {
        while (border != 0 && fold(needle[i]) != fold(needle[border])) border = borders[border - 1];
        if (fold(needle[i]) == fold(needle[border])) ++border;
        borders[i] = border;
    }
}

// Knuth-Morris-Pratt over random-access iterators: the offset of the first match, or text_length when there is none.
template <typename Text, typename Needle, typename Fold>
std::size_t first_match(Text text, std::size_t text_length, Needle needle, std::size_t length, Fold fold) {
    constexpr std::size_t kOnStack = 51;
    unsigned int on_stack[kOnStack];
    std::unique_ptr<unsigned int[]> on_heap;
    if (length == 0) return 0;
    if (length > text_length) return text_length;
    if (length >= kOnStack) on_heap.reset(new unsigned int[length]);
    unsigned int* const borders = on_heap ? on_heap.get() : on_stack;
    find_borders(needle, length, fold, borders);

    std::size_t matched = 0;
    for (std::size_t i = 0; i < text_length; ++i) {
        while (matched != 0 && fold(text[i]) != fold(needle[matched])) matched = borders[matched - 1];
        if (fold(text[i]) == fold(needle[matched])) ++matched;
        if (matched == length) return i + 1 - length;
    }
    return text_length;
}

template <typename T>
bool is_blank(T unit) {
    return unit == '\t' || unit == '\n' || unit == '\r' || unit == ' ';
}

// The right end first; what is left of a text of blanks alone is nothing, and its buffer goes.
template <typename T>
void trim_ends(storage<T>& text, bool right, bool left) {
    unsigned int end = text.size(), begin = 0;
    while (right && end != 0 && is_blank(text[end - 1])) --end;
    while (left && begin != end && is_blank(text[begin])) ++begin;
    if (begin == end) return text.clear();
    text.resize(end);
    text.replace(0, begin, nullptr, 0);
}

}  // namespace orvo

#endif
