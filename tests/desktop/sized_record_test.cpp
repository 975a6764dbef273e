// Hosts that were compiled with older and newer records than the library's.
#include "ScreenCapture/api/sized_record.h"

#include <gtest/gtest.h>

#include <array>

#include "orvo/screencapture_additions.h"

namespace {

// A record whose first version ended before `added`.
struct Grown {
    uint32_t structSize = sizeof(Grown);
    uint32_t number = 0x11111111;
    uint64_t added = 0x2222222222222222;
};

TEST(SizedRecord, IsFilledAsFarAsTheHostKnowsIt) {
    constexpr uint32_t first = offsetof(Grown, added);
    for (uint32_t size = 0; size <= orvo::api::kMaxRecordSize + 1; ++size) {
        alignas(Grown) std::array<unsigned char, orvo::api::kMaxRecordSize + 2> memory;
        memory.fill(0xAA);
        std::memcpy(memory.data(), &size, sizeof(size));
        auto expected = memory;
        auto* const record = reinterpret_cast<Grown*>(memory.data());
        const bool known = size >= first && size <= orvo::api::kMaxRecordSize;
        ASSERT_EQ(orvo::api::hasSize(record, first), known) << size;
        if (known) {
            orvo::api::fill(record, Grown());
            for (uint32_t i = 4; i < size; ++i) expected[i] = i < 8 ? 0x11 : i < 16 ? 0x22 : 0;
        }
        ASSERT_EQ(memory, expected) << size;
    }
    // The exports ask first.
    OrvoScreenCaptureStatistics figures = {first, 7, 0, 0, 0, 0, {0}};
    OrvoScreenCaptureWindowOwner owner = {first, 7, {0}};
    EXPECT_FALSE(orvo_screencapture_get_statistics(&figures) || orvo_screencapture_get_window_owner(1, &owner));
    EXPECT_EQ(figures.longestGapMilliseconds, 7u);
    EXPECT_EQ(owner.processID, 7);
}

}  // namespace
