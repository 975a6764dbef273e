// Operations on bytes and bits, one after the other, against the same ones on vectors.
#include <algorithm>
#include <cstring>

#include "tests/fuzz/fuzz.h"
#include "xplatform/common/orvostream.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Streams {
    orvo::stream bytes;
    Bytes model;
};

void same(const Streams& it) {
    REQUIRE(it.bytes.size() == it.model.size());
    REQUIRE(it.model.empty() || std::memcmp(it.bytes.data(), it.model.data(), it.model.size()) == 0);
    REQUIRE(it.bytes.data() == nullptr || it.bytes.data()[it.bytes.size()] == 0);
}

void bit(Input& input, Streams& it) {
    const unsigned int place = input.ConsumeIntegral<uint16_t>() & 0x3FFF;
    const bool value = input.ConsumeBool();
    it.bytes.bitset(place, value);
    if (place / 8 >= it.model.size()) it.model.resize(place / 8 + 1);
    const auto mask = static_cast<uint8_t>(1U << place % 8);
    it.model[place / 8] = static_cast<uint8_t>(value ? it.model[place / 8] | mask : it.model[place / 8] & ~mask);
    const auto asked = input.ConsumeIntegral<unsigned int>();
    REQUIRE(it.bytes.bits(place) == value);
    REQUIRE(it.bytes.bits(asked) == (asked / 8 < it.model.size() && (it.model[asked / 8] >> asked % 8 & 1) != 0));
}

void replace(Input& input, Streams& it, const Bytes& other) {
    const unsigned int place = input.ConsumeIntegral<uint8_t>();
    const unsigned int count =
        input.ConsumeBool() ? input.ConsumeIntegral<uint8_t>() : input.ConsumeIntegral<unsigned int>();
    const bool possible = place <= it.model.size() && count <= it.model.size() - place;
    REQUIRE(it.bytes.replace(place, count, other.data(), static_cast<unsigned int>(other.size())) ==
            (possible && (other.data() || other.empty())));
    if (!possible) return;
    const auto at = it.model.begin() + place;
    it.model.insert(it.model.erase(at, at + count), other.begin(), other.end());
}

// A block from malloc goes in, or the own one comes out.
void changeOwner(Streams& it, const Bytes& other, bool in) {
    if (in) {
        void* block = std::malloc(other.size() + 1);
        std::copy(other.begin(), other.end(), static_cast<uint8_t*>(block));
        it.bytes.attach(block, static_cast<unsigned int>(other.size()));
        it.model = other;
    } else {
        std::free(it.bytes.detach());
        it.model.clear();
    }
}

void combine(Streams& it, const Streams& other, bool merge) {
    if (merge) {
        it.bytes.bitsmerge(other.bytes);
        it.model.resize(std::max(it.model.size(), other.model.size()));
        for (size_t i = 0; i < other.model.size(); ++i) it.model[i] |= other.model[i];
    } else {
        it.bytes.bitsand(other.bytes);
        for (size_t i = 0; i < it.model.size(); ++i) it.model[i] &= i < other.model.size() ? other.model[i] : 0;
    }
}

void step(Input& input, Streams& it, const Streams& other) {
    const int kind = input.ConsumeIntegralInRange(0, 9);
    const Bytes some = kind < 5 ? input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, 80)) : Bytes();
    if (kind == 0) it.bytes.assign(some.data(), some.size()), it.model = some;
    if (kind == 1) it.bytes.append(some.data(), some.size()), it.model.insert(it.model.end(), some.begin(), some.end());
    if (kind == 2) replace(input, it, some);
    if (kind == 3 || kind == 4) changeOwner(it, some, kind == 3);
    if (kind == 5) bit(input, it);
    if (kind == 6 || kind == 7) combine(it, other, kind == 6);
    if (kind == 8) it.bytes = other.bytes, it.model = other.model;
    if (kind == 9) combine(it, it, input.ConsumeBool());
    same(it);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Input input(bytes, size);
    Streams both[2];
    while (input.remaining_bytes() > 0) {
        const bool second = input.ConsumeBool();
        step(input, both[second], both[!second]);
    }
    return 0;
}
