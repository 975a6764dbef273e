// Assertions, counted objects and the bounded sorted array.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "xplatform/common/orvoassert.h"
#include "xplatform/common/orvobarray.h"
#include "xplatform/common/orvorefcount.h"

namespace {

void check_something(int value) {
    ORVO_ASSERT_AT(value == 1, "value == 1", 37);
}

TEST(AssertDeathTest, ReportsFunctionFileLineAndText) {
    check_something(1);
    EXPECT_DEATH(check_something(2), "base_test.cpp.*37.*check_something.*value == 1");
}

struct Counted : CRefCountSafe {
    explicit Counted(int* deaths) : deaths_(deaths) {}
    ~Counted() override { ++*deaths_; }
    int* deaths_;
};

TEST(RefCount, LastReleaseDestroys) {
    int deaths = 0;
    CRefCount* object = new Counted(&deaths);
    EXPECT_TRUE(object->IsValid());
    EXPECT_EQ(object->SafeInstance(), object);
    object->AddRef();
    EXPECT_EQ(object->Release(), 0);
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(object->Release(), 1);
    EXPECT_EQ(deaths, 1);
}

struct Slot {
    unsigned int number = 0;
    int value = 0;
    constexpr unsigned int key() const { return number; }
};
constinit orvo::barray<Slot, unsigned int, 64> g_slots;

TEST(BArray, AgreesWithMapAndStopsAtItsLimit) {
    std::mt19937 random(7);
    std::map<unsigned int, int> model;
    for (int step = 0; step < 20000; ++step) {
        const unsigned int key = random() % 100 + (random() % 2 ? 0x80000000u : 0u);
        if (random() % 3 != 0) {
            const bool fits = model.size() < 64 && model.count(key) == 0;
            ASSERT_EQ(g_slots.insert({key, step}), fits);
            if (fits) model[key] = step;
        } else {
            ASSERT_EQ(g_slots.erase(key), model.erase(key) == 1);
        }
        ASSERT_EQ(g_slots.size(), model.size());
        ASSERT_EQ(g_slots.full(), model.size() == 64);
    }
    auto expected = model.begin();
    for (const Slot& slot : g_slots) {
        EXPECT_EQ(slot.number, expected->first);
        EXPECT_EQ(g_slots.find(slot.number)->value, expected->second);
        ++expected;
    }
    g_slots.clear();
    EXPECT_TRUE(g_slots.empty());
    EXPECT_EQ(g_slots.find(1), nullptr);
}

}  // namespace
