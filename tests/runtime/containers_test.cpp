// The ordered map, the list and the bounded sorted array against the standard library's containers.
#include <gtest/gtest.h>

#include <list>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "xplatform/common/orvobarray.h"
#include "xplatform/common/orvostl.h"

namespace {

using Map = orvostl::map<int, unsigned int>;
using Node = Map::Node;

// The nodes below one, children behind their parents or before them, with their links checked.
void collect(const Node* node, bool parents_first, std::vector<int>& keys) {
    if (node == nullptr) return;
    if (parents_first) keys.push_back(node->key);
    for (const Node* child : {node->left, node->right}) {
        EXPECT_TRUE(child == nullptr || (child->parent == node && (child == node->left) == (child->key < node->key)));
        collect(child, parents_first, keys);
    }
    if (!parents_first) keys.push_back(node->key);
}

// The red-black rules: the number of black nodes on every way down, or -1 when a rule is broken.
int black_height(const Node* node) {
    if (node == nullptr) return 1;
    const int left = black_height(node->left), right = black_height(node->right);
    const bool red_below = (node->left && node->left->red) || (node->right && node->right->red);
    return left != right || left < 0 || (node->red && red_below) ? -1 : left + (node->red ? 0 : 1);
}

template <typename Walker>
std::vector<int> walked(Walker it) {
    std::vector<int> keys;
    for (; !it.atEnd(); ++it) keys.push_back(it->key);
    return keys;
}

// The last node that a search for the key visits: what lower_bound answers.
const Node* last_visited(const Node* node, int key) {
    const Node* next = node == nullptr || node->key == key ? nullptr : key < node->key ? node->left : node->right;
    return next == nullptr ? node : last_visited(next, key);
}

void expect_same(Map& map, const std::map<int, unsigned int>& model) {
    auto it = map.begin();
    for (const auto& [key, value] : model) {
        ASSERT_TRUE(it->key == key && it->value == value);
        ASSERT_EQ(map.find(key), it++);
    }
    ASSERT_TRUE(it.atEnd());
    for (auto back = model.rbegin(); back != model.rend(); ++back) ASSERT_EQ((--it)->key, back->first);
    for (const bool parents_first : {true, false}) {
        std::vector<int> keys;
        collect(map.getRoot(), parents_first, keys);
        ASSERT_EQ(keys.size(), model.size());
        ASSERT_EQ(keys, parents_first ? walked(map.getParentFirstiterator()) : walked(map.getParentLastiterator()));
    }
}

TEST(Map, FollowsStdMapThroughRandomChanges) {
    std::mt19937 random(11);
    Map map;
    std::map<int, unsigned int> model;
    for (unsigned int step = 0; step < 60000; ++step) {
        const int key = static_cast<int>(random() % 800) - 400;
        const bool known = model.count(key) == 1;
        const unsigned kind = random() % 6;
        bool agrees = true;
        if (kind < 2) agrees = map.insert(key, step) == model.emplace(key, step).second;
        if (kind == 2) step % 2 ? map.set(key, step) : void(map[key] = step), model[key] = step;
        if (kind == 3) agrees = map.erase(key) == known;
        if (kind == 4) agrees = map.erase(map.find(key)).atEnd() == (!known || model.upper_bound(key) == model.end());
        if (kind == 5) agrees = (std::unique_ptr<Node>(map.delink(key)) != nullptr) == known;
        if (kind > 2) model.erase(key);
        ASSERT_TRUE(agrees) << step;
        ASSERT_EQ(map.size(), model.size());
        ASSERT_EQ(map.empty(), model.empty());
        const int other = static_cast<int>(random() % 800) - 400;
        const Node* nearest = last_visited(map.getRoot(), other);
        ASSERT_EQ(map.lower_bound(other).getNode(), nearest);
        const auto above = model.upper_bound(other);
        const Node* behind = above == model.end() ? nullptr : map.findnode(above->first);
        ASSERT_EQ(map.upper_bound(other).getNode(), model.count(other) ? behind : nearest);
        if (step % 997 != 0) continue;
        Map copy(map), assigned, moved;
        assigned.insert(1, 1);
        assigned = copy;
        moved = std::move(copy);
        for (Map* each : {&map, &assigned, &moved, &(moved = *&moved)}) expect_same(*each, model);
        EXPECT_TRUE(copy.isEmpty());  // NOLINT: a moved-from map is empty
    }
}

TEST(Map, IsBalancedWhileOnlyInsertingAndDegeneratesWithoutRecursion) {
    Map up, mixed;
    std::mt19937 random(3);
    for (int i = 0; i < 5000; ++i) up.insert(i, 0), mixed.insert(static_cast<int>(random()), 0);
    for (const Map& map : {up, mixed}) EXPECT_GT(black_height(map.getRoot()), 1) << "a copy keeps the colours";

    // What is erased sinks and keeps its colour: the tree leans more and more to one side.
    for (int i = 0; i < 200000; ++i) up.insert(i, 1);
    for (int i = 0; i < 200000; i += 2) up.erase(i);
    const Map copy(up);
    up.clear();
    EXPECT_EQ(copy.size(), 100000u);
    EXPECT_EQ(copy.find(199999)->value, 1u);
}

TEST(List, FollowsStdListThroughRandomChanges) {
    std::mt19937 random(5);
    orvostl::list<int> list, copy;
    std::list<int> model, kept;
    for (int step = 0; step < 20000; ++step) {
        const size_t place = random() % (model.size() + 1);
        auto it = list.begin();
        auto expected = model.begin();
        for (size_t i = 0; i < place; ++i) ++it, ++expected;
        const bool at_end = expected == model.end();
        const unsigned kind = random() % 6;
        bool agrees = true;
        if (kind == 0) list.insert(it, step), model.insert(expected, step);
        if (kind == 1 && !at_end) agrees = list.erase(it).atEnd() == (model.erase(expected) == model.end());
        if (kind == 2 && !at_end) {  // to the end
            list.Detach(*it.getItem());
            list.insert(list.end(), *it.getItem());
            model.splice(model.end(), model, expected);
        }
        if (kind == 3 && place > 0) agrees = *--it == *--expected;
        if (kind == 4) copy = list, kept = model;
        if (kind == 5 && step % 50 == 0) list = std::move(copy), model = std::exchange(kept, {});
        ASSERT_TRUE(agrees) << step;
        ASSERT_EQ(list.size(), model.size());
        ASSERT_TRUE(std::equal(list.begin(), list.end(), model.begin(), model.end()));
        ASSERT_TRUE(std::equal(copy.begin(), copy.end(), kept.begin(), kept.end()));
    }
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
        ASSERT_EQ(g_slots.full(), model.size() == 64);
        ASSERT_TRUE(std::equal(g_slots.begin(), g_slots.end(), model.begin(), model.end(), [](auto& slot, auto& entry) {
            return slot.number == entry.first && g_slots.find(entry.first)->value == entry.second;
        }));
    }
    g_slots.clear();
    EXPECT_TRUE(g_slots.empty() && g_slots.find(1) == nullptr);
}

}  // namespace
