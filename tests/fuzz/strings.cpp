// Operations on a text, one after the other, against the same ones on std::string.
#include <algorithm>
#include <cstring>
#include <string>

#include "tests/fuzz/fuzz.h"
#include "xplatform/common/orvostream.h"

namespace {

using orvo::npos;
using orvo::strutf8;

constexpr size_t kLongest = 5000;

struct Texts {
    strutf8 text;
    std::string model;
};

void same(const strutf8& text, const std::string& model) {
    REQUIRE(text.size() == model.size());
    REQUIRE(text.data() == nullptr ? model.empty() : text.size() < text.capacity());
    REQUIRE(std::memcmp(text.c_str(), model.c_str(), model.size() + 1) == 0);
}

// A position: a small one, one near an end, or anything.
unsigned int positionOf(Input& input, const std::string& model) {
    const auto number = input.ConsumeIntegral<uint8_t>();
    if (number == 0xFF) return input.ConsumeIntegral<unsigned int>();
    return number < 0x80 ? number : static_cast<unsigned int>(model.size()) + number - 0xC0;
}

int sign(int number) {
    return (number > 0) - (number < 0);
}

char cased(char c, char first, int step) {
    return c >= first && c < first + 26 ? static_cast<char>(c + step) : c;
}

std::string inLowerCase(std::string text) {
    for (char& c : text) c = cased(c, 'A', 'a' - 'A');
    return text;
}

// ASCII letters outside of longer sequences.
std::string changedCase(std::string text, char first, int step) {
    for (size_t i = 0; i < text.size(); ++i) {
        text[i] = cased(text[i], first, step);
        int follow = (text[i] & 0x80) == 0 ? 0 : (text[i] & 0x20) != 0 ? 2 : 1;
        while (follow-- > 0 && i + 1 < text.size() && text[i + 1] != '\0') ++i;
    }
    return text;
}

void search(Input& input, const Texts& it, const std::string& needle) {
    const unsigned int start = positionOf(input, it.model);
    const bool fold = input.ConsumeBool();
    const std::string model = fold ? inLowerCase(it.model) : it.model;
    const std::string wanted = fold ? inLowerCase(needle) : needle;
    const size_t first = start < model.size() ? model.find(wanted, start) : std::string::npos;
    REQUIRE(it.text.find(needle.c_str(), start, fold) == static_cast<unsigned int>(first));
    const size_t last = start < model.size() || (start == npos && !model.empty())
                            ? model.rfind(wanted, start == npos ? model.size() - 1 : start)
                            : std::string::npos;
    REQUIRE(it.text.reversefind(needle.c_str(), start, fold) == static_cast<unsigned int>(last));

    const bool ends =
        model.size() >= needle.size() && it.model.compare(model.size() - needle.size(), std::string::npos, needle) == 0;
    REQUIRE(it.text.endswith(needle.c_str()) == ends);
    const unsigned int count = positionOf(input, it.model);
    if (start <= model.size() && count <= model.size() - start) {
        const std::string part = it.model.substr(start, count);
        REQUIRE(it.text.compare(start, count, needle.c_str()) == sign(std::strcmp(part.c_str(), needle.c_str())));
        same(it.text.substr(start, count), part);
    } else {
        REQUIRE(it.text.compare(start, count, needle.c_str()) == -1);
        same(it.text.substr(start, count),
             count == npos && start > 0 && start <= model.size() ? it.model.substr(start) : "");
    }
}

void replace(Input& input, Texts& it, const std::string& other) {
    const unsigned int position = positionOf(input, it.model);
    const unsigned int count = positionOf(input, it.model);
    const bool possible = position <= it.model.size() && count <= it.model.size() - position;
    REQUIRE(it.text.replace(position, count, other.c_str()) == possible);
    if (possible) it.model.replace(position, count, other);
}

// Arguments that point into the text itself.
void useItself(Input& input, Texts& it) {
    if (it.model.empty() || it.model.size() > kLongest) return;
    const auto from = static_cast<unsigned int>(positionOf(input, it.model) % it.model.size());
    const auto count = static_cast<unsigned int>(positionOf(input, it.model) % (it.model.size() - from + 1));
    const std::string part = it.model.substr(from, count);
    const unsigned int place = positionOf(input, it.model) % (it.text.size() + 1);
    const char* const inside = it.text.data() + from;
    switch (input.ConsumeIntegralInRange(0, 4)) {
        case 0:
            it.text.append(inside, count);
            it.model += part;
            break;
        case 1:
            it.text.assign(inside, count);
            it.model = part;
            break;
        case 2:
            REQUIRE(it.text.replace(place, it.text.size() - place, inside, count));
            it.model.replace(place, std::string::npos, part);
            break;
        case 3: {
            const unsigned int begin = positionOf(input, it.model), length = positionOf(input, it.model);
            it.text.append(it.text, begin, length);
            const size_t rest = begin <= it.model.size() ? it.model.size() - begin : 0;
            if (length == npos || length <= rest)
                it.model += it.model.substr(std::min<size_t>(begin, it.model.size()), length);
            break;
        }
        default:
            REQUIRE(it.text.format("%.*s|%s", static_cast<int>(count), inside, it.text.c_str()));
            it.model = std::string(part.c_str()) + '|' + it.model.c_str();
    }
}

void resize(Input& input, Texts& it) {
    const size_t size = input.ConsumeIntegralInRange<size_t>(0, kLongest);
    switch (input.ConsumeIntegralInRange(0, 3)) {
        case 0:
            it.text.grow(size);
            break;
        case 1:
            it.text.reserve(size);
            break;
        case 2:
            it.text.resize(size);
            it.model.resize(size);
            break;
        default:
            it.text.shrink(size);
            REQUIRE(it.text.capacity() <= 2 * size);
            it.model.resize(std::min<size_t>(it.model.size(), it.text.capacity() ? it.text.capacity() - 1 : 0));
    }
}

void trim(Input& input, Texts& it) {
    const bool right = input.ConsumeBool();
    const bool left = input.ConsumeBool();
    it.text.trim(right, left);
    if (right) it.model.erase(it.model.find_last_not_of("\t\n\r ") + 1);
    if (left) it.model.erase(0, it.model.find_first_not_of("\t\n\r "));
}

void formatAnew(Input& input, Texts& it, const std::string& other) {
    const int number = input.ConsumeIntegral<int>();
    const int width = input.ConsumeIntegralInRange(-40, 40);
    REQUIRE(it.text.format("%d%%%*s", number, width, other.c_str()));
    std::string padded = other;
    const auto room = static_cast<size_t>(std::abs(width));
    if (padded.size() < room) padded.insert(width < 0 ? padded.size() : 0, room - padded.size(), ' ');
    it.model = std::to_string(number) + '%' + padded;
}

void step(Input& input, Texts& it) {
    const int kind = input.ConsumeIntegralInRange(0, 9);
    const std::string raw = input.ConsumeRandomLengthString(64);
    const std::string other = raw.c_str();
    if (kind == 0 && it.model.size() < kLongest) it.text.append(raw.data(), raw.size()), it.model += raw;
    if (kind == 1) it.text.assign(raw.data(), raw.size()), it.model = raw;
    if (kind == 2) search(input, it, other);
    if (kind == 3 && it.model.size() < kLongest) replace(input, it, other);
    if (kind == 4) useItself(input, it);
    if (kind == 5) resize(input, it);
    if (kind == 6) trim(input, it);
    if (kind == 7) it.text.tolower(), it.model = changedCase(it.model, 'A', 'a' - 'A');
    if (kind == 8) it.text.toupper(), it.model = changedCase(it.model, 'a', 'A' - 'a');
    if (kind == 9) formatAnew(input, it, other);
    same(it.text, it.model);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Input input(bytes, size);
    Texts it;
    while (input.remaining_bytes() > 0) step(input, it);
    return 0;
}
