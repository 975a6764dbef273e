// Operations on owned texts of 8 and of 16 bits and on byte streams, one after the other, against the same ones on the
// standard library's strings; capacities against their rule.
#include <algorithm>
#include <bit>
#include <cstring>
#include <string>
#include <type_traits>

#include "tests/fuzz/fuzz.h"
#include "xplatform/common/orvostream.h"

namespace {

using orvo::npos;
using orvo::stream;
using orvo::strutf16;
using orvo::strutf8;

constexpr size_t kLongest = 5000;

// A position: a small one, one near an end, or anything.
unsigned int positionOf(Input& input, size_t size) {
    const auto number = input.ConsumeIntegral<uint8_t>();
    if (number == 0xFF) return input.ConsumeIntegral<unsigned int>();
    return number < 0x80 ? number : static_cast<unsigned int>(size) + number - 0xC0;
}

template <typename Unit>
Unit cased(Unit c, char first, int step) {
    return c >= static_cast<Unit>(first) && c < static_cast<Unit>(first + 26) ? static_cast<Unit>(c + step) : c;
}

std::string inLowerCase(std::string text) {
    for (char& c : text) c = cased(c, 'A', 'a' - 'A');
    return text;
}

// ASCII letters, in 8 bits outside of longer sequences.
template <typename Text>
Text changedCase(Text text, char first, int step) {
    for (size_t i = 0; i < text.size(); ++i) {
        text[i] = cased(text[i], first, step);
        if (sizeof text[i] > 1) continue;
        int follow = (text[i] & 0x80) == 0 ? 0 : (text[i] & 0x20) != 0 ? 2 : 1;
        while (follow-- > 0 && i + 1 < text.size() && text[i + 1] != '\0') ++i;
    }
    return text;
}

// One object and its model. The bytes of a stream stand in the model as chars.
template <typename Owned>
struct Pair {
    using Unit = std::conditional_t<std::is_same_v<Owned, strutf16>, char16_t, char>;
    using Model = std::basic_string<Unit>;

    Owned text;
    Model model;
    size_t capacity = 0;

    const Unit* units() const { return reinterpret_cast<const Unit*>(text.data()); }
    void same() const {
        REQUIRE(text.size() == model.size());
        REQUIRE(text.capacity() == capacity);
        REQUIRE(units() ? text.size() < capacity && model.compare(0, npos, units(), text.size()) == 0 : model.empty());
        REQUIRE(!units() || units()[text.size()] == 0);
    }
    unsigned int position(Input& input) const { return positionOf(input, model.size()); }
    static size_t capacityFor(size_t n) { return 2 * std::bit_floor(n); }
    void grow(size_t n) { capacity = std::max(capacity, capacityFor(n)); }
    void shrink(size_t n) {
        capacity = std::min(capacity, capacityFor(n));
        model.resize(std::min(model.size(), capacity > 0 ? capacity - 1 : 0));
    }
    void ensure(size_t n) { n < capacity ? void() : grow(n); }
    void assign(const Model& other) {
        if (other.empty() || other.size() + 1 < capacity / 2) shrink(other.empty() ? 0 : other.size() + 1);
        if (!other.empty() && capacity <= other.size()) grow(other.size() + 1);
        model = other;
    }
    void append(const Model& other) {
        if (!other.empty()) ensure(model.size() + other.size());
        model += other;
    }
    bool replace(size_t place, size_t count, const Model& other) {
        if (place > model.size() || count > model.size() - place) return false;
        if (count + other.size() > 0) ensure(model.size() - count + other.size());
        model.replace(place, count, other);
        return true;
    }
    void resize(size_t n) {
        if (n != model.size()) ensure(n);
        model.resize(n);
    }
};

// Arguments that point into the object itself.
template <typename Owned>
void useItself(Input& input, Pair<Owned>& it) {
    if (it.model.empty() || it.model.size() > kLongest) return;
    const auto from = static_cast<unsigned int>(it.position(input) % it.model.size());
    const auto count = static_cast<unsigned int>(it.position(input) % (it.model.size() - from + 1));
    const auto part = it.model.substr(from, count);
    const unsigned int place = it.position(input) % (it.text.size() + 1), rest = it.text.size() - place;
    const auto* const inside = it.text.data() + from;
    const int kind = input.ConsumeIntegralInRange(0, 2);
    if (kind == 0) it.text.append(inside, count), it.append(part);
    if (kind == 1) it.text.assign(inside, count), it.assign(part);
    if (kind == 2) REQUIRE(it.text.replace(place, rest, inside, count) && it.replace(place, rest, part));
}

template <typename Owned>
void changeSize(Input& input, Pair<Owned>& it) {
    const size_t size = input.ConsumeIntegralInRange<size_t>(0, kLongest);
    const int kind = input.ConsumeIntegralInRange(0, 3);
    if (kind == 0) it.text.grow(size), it.grow(size);
    if (kind == 1) it.text.shrink(size), it.shrink(size);
    if (kind == 2) it.text.reserve(size), it.capacity < size ? it.grow(size + 1) : void();
    if (kind == 3) it.text.resize(size), it.resize(size);
}

template <typename Owned>
void change(Input& input, Pair<Owned>& it, Pair<Owned>& other) {
    using Unit = typename Pair<Owned>::Unit;
    const int kind = input.ConsumeIntegralInRange(0, 6);
    const std::string bytes = kind < 3 ? input.ConsumeRandomLengthString(64) : "";
    typename Pair<Owned>::Model some(bytes.size() / sizeof(Unit), Unit());
    std::memcpy(some.data(), bytes.data(), some.size() * sizeof(Unit));
    const auto* const units = reinterpret_cast<decltype(it.text.data())>(some.data());
    if (kind == 0 && it.model.size() < kLongest) it.text.append(units, some.size()), it.append(some);
    if (kind == 1) it.text.assign(units, some.size()), it.assign(some);
    if (kind == 2 && it.model.size() < kLongest) {
        const unsigned int place = it.position(input), count = it.position(input);
        REQUIRE(it.text.replace(place, count, units, static_cast<unsigned int>(some.size())) ==
                it.replace(place, count, some));
    }
    if (kind == 3) useItself(input, it);
    if (kind == 4) changeSize(input, it);
    if (kind == 5) it.text = other.text, it.assign(other.model);
    if (kind == 6) {
        it.text = std::move(other.text);
        it.model = std::exchange(other.model, {}), it.capacity = std::exchange(other.capacity, 0);
    }
}

template <typename Owned>
void ofText(Input& input, Pair<Owned>& it, Pair<Owned>&) {
    const int kind = input.ConsumeIntegralInRange(0, 2);
    if (kind == 1) it.text.tolower(), it.model = changedCase(it.model, 'A', 'a' - 'A');
    if (kind == 2) it.text.toupper(), it.model = changedCase(it.model, 'a', 'A' - 'a');
    if (kind > 0) return;
    const bool right = input.ConsumeBool(), left = input.ConsumeBool();
    const typename Pair<Owned>::Unit blanks[] = {'\t', '\n', '\r', ' ', 0};
    it.text.trim(right, left);
    if (right) it.model.erase(it.model.find_last_not_of(blanks) + 1);
    if (left) it.model.erase(0, it.model.find_first_not_of(blanks));
    if (it.model.empty()) it.capacity = 0;
}

void search(Input& input, const Pair<strutf8>& it, const std::string& needle) {
    const unsigned int start = it.position(input), count = it.position(input);
    const bool fold = input.ConsumeBool();
    const std::string model = fold ? inLowerCase(it.model) : it.model;
    const std::string wanted = fold ? inLowerCase(needle) : needle;
    const size_t first = start < model.size() ? model.find(wanted, start) : std::string::npos;
    REQUIRE(it.text.find(needle.c_str(), start, fold) == static_cast<unsigned int>(first));
    const size_t last = start < model.size() || (start == npos && !model.empty())
                            ? model.rfind(wanted, start == npos ? model.size() - 1 : start)
                            : std::string::npos;
    REQUIRE(it.text.reversefind(needle.c_str(), start, fold) == static_cast<unsigned int>(last));
    REQUIRE(it.text.endswith(needle.c_str()) == it.model.ends_with(needle));
    const bool inside = start <= model.size() && count <= model.size() - start;
    const std::string part = it.model.substr(std::min<size_t>(start, model.size()), count);
    const int order = std::strcmp(part.c_str(), needle.c_str());
    REQUIRE(it.text.compare(start, count, needle.c_str()) == (inside ? (order > 0) - (order < 0) : -1));
    const strutf8 piece = it.text.substr(start, count);
    REQUIRE(piece.size() == (inside || (count == npos && start > 0) ? part.size() : 0));
    REQUIRE(std::memcmp(piece.c_str(), part.c_str(), piece.size()) == 0);
    strutf8 added("+");
    added.append(it.text, start, count);
    REQUIRE(added.size() == 1 + (inside || count == npos ? part.size() : 0));
    REQUIRE(std::memcmp(added.c_str() + 1, part.c_str(), added.size() - 1) == 0);
}

void format(Input& input, Pair<strutf8>& it, const std::string& other) {
    const int number = input.ConsumeIntegral<int>();
    const int width = input.ConsumeIntegralInRange(-40, 40);
    if (it.model.size() > kLongest) return;
    REQUIRE(it.text.format("%d%%%*s|%s", number, width, other.c_str(), it.text.c_str()));
    std::string padded = other;
    const auto room = static_cast<size_t>(std::abs(width));
    if (padded.size() < room) padded.insert(width < 0 ? padded.size() : 0, room - padded.size(), ' ');
    it.model = std::to_string(number) + '%' + padded + '|' + it.model.c_str();
    it.capacity = it.text.capacity();
}

void special(Input& input, Pair<strutf8>& it, Pair<strutf8>& other) {
    const int kind = input.ConsumeIntegralInRange(0, 2);
    if (kind == 0) return ofText(input, it, other);
    const std::string some = input.ConsumeRandomLengthString(64).c_str();
    kind == 1 ? search(input, it, some) : format(input, it, some);
}

void special(Input& input, Pair<strutf16>& it, Pair<strutf16>& other) {
    ofText(input, it, other);
    const unsigned int start = it.position(input), from = it.position(input);
    const auto needle = it.model.substr(std::min<size_t>(from, it.model.size()), input.ConsumeIntegral<uint8_t>());
    const size_t found = start < it.model.size() ? it.model.find(needle.c_str(), start) : std::string::npos;
    REQUIRE(it.text.find(needle.c_str(), start) == static_cast<unsigned int>(found));
}

// Bits, and blocks of malloc that go in or come out.
void special(Input& input, Pair<stream>& it, Pair<stream>& other) {
    const int kind = input.ConsumeIntegralInRange(0, 4);
    const Pair<stream>& with = input.ConsumeBool() ? other : it;
    const std::string set = with.model;
    if (kind == 0) {
        const unsigned int place = input.ConsumeIntegral<uint16_t>() & 0x3FFF;
        const auto asked = input.ConsumeIntegral<unsigned int>();
        const bool value = input.ConsumeBool();
        it.text.bitset(place, value);
        if (place / 8 >= it.model.size()) it.resize(place / 8 + 1);
        const auto mask = static_cast<char>(1U << place % 8);
        it.model[place / 8] = static_cast<char>(value ? it.model[place / 8] | mask : it.model[place / 8] & ~mask);
        REQUIRE(it.text.bits(place) == value);
        REQUIRE(it.text.bits(asked) == (asked / 8 < it.model.size() && (it.model[asked / 8] >> asked % 8 & 1) != 0));
    }
    if (kind == 1) {
        it.text.bitsmerge(with.text);
        if (set.size() > it.model.size()) it.resize(set.size());
        for (size_t i = 0; i < set.size(); ++i) it.model[i] |= set[i];
    }
    if (kind == 2) {
        it.text.bitsand(with.text);
        for (size_t i = 0; i < it.model.size(); ++i) it.model[i] &= i < set.size() ? set[i] : 0;
    }
    if (kind == 3) std::free(it.text.detach()), it.model.clear(), it.capacity = 0;
    if (kind == 4) {
        void* block = std::malloc(set.size() + 1);
        std::copy(set.begin(), set.end(), static_cast<char*>(block));
        it.text.attach(block, static_cast<unsigned int>(set.size()));
        it.model = set, it.capacity = Pair<stream>::capacityFor(set.size());
    }
}

template <typename Owned>
void run(Input& input) {
    Pair<Owned> both[2];
    while (input.remaining_bytes() > 0) {
        const bool second = input.ConsumeBool(), isSpecial = input.ConsumeBool();
        isSpecial ? special(input, both[second], both[!second]) : change(input, both[second], both[!second]);
        for (const auto& each : both) each.same();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Input input(bytes, size);
    const int kind = input.ConsumeIntegralInRange(0, 2);
    (kind == 0 ? run<strutf8> : kind == 1 ? run<strutf16> : run<stream>)(input);
    return 0;
}
