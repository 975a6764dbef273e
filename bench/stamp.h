// A moment in time as three blocks of colour that a painter puts on screen and a capturer reads back from its frames.
#pragma once

#include <time.h>

#include <cstddef>
#include <cstdint>

namespace bench {

// Microseconds of the monotonic clock.
inline uint64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<uint64_t>(time.tv_sec) * 1'000'000 + static_cast<uint64_t>(time.tv_nsec) / 1000;
}

// The blocks stand side by side; each is one colour, so that a scaled frame shows it too.
constexpr int kBlock = 16, kBlocks = 3, kStampWidth = kBlock * kBlocks;

// The colours (0xRRGGBB) of a time: its lower half, its upper half, and what both must agree with.
inline void stampColours(uint64_t time, uint32_t colours[kBlocks]) {
    colours[0] = time & 0xFFFFFF;
    colours[1] = time >> 24 & 0xFFFFFF;
    colours[2] = colours[0] ^ colours[1] ^ 0x5A5A5A;
}

// Reads a stamp; x, y: its top left corner in the picture, block: a block's size there. 0 when none stands there whole.
inline uint64_t readStamp(const uint8_t* pixels, size_t bytesPerRow, int x, int y, int block) {
    uint32_t colours[kBlocks];
    for (int i = 0; i < kBlocks; ++i) {
        const uint8_t* pixel = pixels + static_cast<size_t>(y + block / 2) * bytesPerRow +
                               static_cast<size_t>(x + i * block + block / 2) * 4;
        colours[i] = static_cast<uint32_t>(pixel[2]) << 16 | static_cast<uint32_t>(pixel[1]) << 8 | pixel[0];
    }
    if ((colours[0] ^ colours[1] ^ 0x5A5A5A) != colours[2]) return 0;
    return static_cast<uint64_t>(colours[1]) << 24 | colours[0];
}

}  // namespace bench
