// The ordered map and set, and the list.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "xplatform/common/orvostl.h"

namespace {

using Map = orvostl::map<int, unsigned int>;
using Node = Map::Node;

// Checks links and order below a node; answers how many nodes there are.
std::size_t checked_size(const Node* root) {
    std::size_t count = 0;
    std::vector<const Node*> open(root != nullptr, root);
    EXPECT_TRUE(root == nullptr || root->parent == nullptr);
    for (; !open.empty(); ++count) {
        const Node* node = open.back();
        open.pop_back();
        for (const Node* child : {node->left, node->right}) {
            if (child == nullptr) continue;
            EXPECT_EQ(child->parent, node);
            EXPECT_EQ(child == node->left, child->key < node->key);
            open.push_back(child);
        }
    }
    return count;
}

// The red-black rules: the number of black nodes on every way down, or -1 when a rule is broken.
int black_height(const Node* node) {
    if (node == nullptr) return 1;
    const int left = black_height(node->left), right = black_height(node->right);
    const bool red_below = (node->left && node->left->red) || (node->right && node->right->red);
    return left != right || left < 0 || (node->red && red_below) ? -1 : left + (node->red ? 0 : 1);
}

std::vector<int> keys_of(const Map& map) {
    std::vector<int> keys;
    for (const auto& node : map) keys.push_back(node.key);
    return keys;
}

TEST(Map, FollowsStdMapThroughRandomChanges) {
    std::mt19937 random(11);
    Map map;
    std::map<int, unsigned int> model;
    for (unsigned int step = 0; step < 60000; ++step) {
        const int key = static_cast<int>(random() % 800) - 400;
        switch (random() % 5) {
            case 0:
            case 1:
                ASSERT_EQ(map.insert(key, step), model.emplace(key, step).second);
                break;
            case 2:
                step % 2 ? map.set(key, step) : void(map[key] = step);
                model[key] = step;
                break;
            case 3:
                ASSERT_EQ(map.erase(key), model.erase(key) == 1);
                break;
            default: {
                const std::unique_ptr<Node> node(map.delink(key));
                ASSERT_EQ(node != nullptr, model.erase(key) == 1);
            }
        }
        ASSERT_EQ(map.size(), model.size());
        ASSERT_EQ(map.findnode(key) != nullptr, model.count(key) == 1);
        if (step % 997 != 0) continue;
        ASSERT_EQ(checked_size(map.getRoot()), model.size());
        auto it = map.begin();
        for (const auto& [k, v] : model) {
            ASSERT_EQ(it->key, k);
            ASSERT_EQ(it->value, v);
            ASSERT_EQ(map.find(k), it++);
        }
        ASSERT_TRUE(it.atEnd());
        for (auto back = model.rbegin(); back != model.rend(); ++back) ASSERT_EQ((--it)->key, back->first);
    }
}

TEST(Map, StaysBalancedWhileOnlyInserting) {
    Map up, mixed;
    std::mt19937 random(3);
    for (int i = 0; i < 5000; ++i) up.insert(i, 0), mixed.insert(static_cast<int>(random()), 0);
    for (const Map* map : {&up, &mixed}) EXPECT_GT(black_height(map->getRoot()), 1);
}

TEST(Map, ErasureSinksTheNodeAndKeepsColours) {
    Map map;
    for (int key : {2, 1, 3}) map.insert(key, 0);
    ASSERT_TRUE(map.erase(2));
    ASSERT_EQ(map.getRoot()->key, 3);
    EXPECT_TRUE(map.getRoot()->red);
    EXPECT_EQ(map.getRoot()->left->key, 1);
    EXPECT_EQ(checked_size(map.getRoot()), 2u);
    map.insert(0, 0);  // under a red node below a red root
    EXPECT_EQ(keys_of(map), (std::vector<int>{0, 1, 3}));
    auto it = map.erase(map.find(1));
    EXPECT_EQ(it->key, 3);
    EXPECT_TRUE(map.erase(it).atEnd());
}

TEST(Map, BoundsAnswerTheLastNodeOfTheSearch) {
    Map map;
    EXPECT_TRUE(map.lower_bound(1).atEnd());
    for (int key : {20, 10, 30}) map.insert(key, 0);
    EXPECT_EQ(map.lower_bound(20)->key, 20);
    EXPECT_EQ(map.lower_bound(15)->key, 10);  // below the key
    EXPECT_EQ(map.lower_bound(25)->key, 30);
    EXPECT_EQ(map.upper_bound(20)->key, 30);
    EXPECT_EQ(map.upper_bound(15)->key, 10);
    EXPECT_TRUE(map.upper_bound(30).atEnd());
}

TEST(Map, OtherOrdersOfWalking) {
    Map map;
    for (int key : {4, 2, 6, 1, 3, 7}) map.insert(key, 0);
    std::vector<int> first, last;
    for (auto it = map.getParentFirstiterator(); !it.atEnd(); ++it) first.push_back(it->key);
    for (auto it = map.getParentLastiterator(); !it.atEnd(); ++it) last.push_back(it->key);
    EXPECT_EQ(first, (std::vector<int>{4, 2, 1, 3, 6, 7}));
    EXPECT_EQ(last, (std::vector<int>{1, 3, 2, 7, 6, 4}));
}

TEST(Map, CopiesAreDeepEvenOfADegenerateTree) {
    Map map;
    for (int i = 0; i < 200000; ++i) map.insert(i, 1);
    for (int i = 0; i < 200000; i += 2) map.erase(i);
    Map copy(map), target;
    target.insert(5, 5);
    target = copy;
    copy = *&copy;
    map.clear();
    EXPECT_TRUE(map.isEmpty());
    EXPECT_EQ(checked_size(target.getRoot()), 100000u);
    EXPECT_EQ(keys_of(copy), keys_of(target));
    Map moved(std::move(copy));
    EXPECT_EQ(moved.size(), 100000u);
    EXPECT_TRUE(copy.empty());  // NOLINT: a moved-from map is empty
}

TEST(Set, HoldsKeysInOrder) {
    orvostl::set<std::string> set;
    EXPECT_TRUE(set.insert("b"));
    EXPECT_TRUE(set.insert("a"));
    EXPECT_FALSE(set.insert("b"));
    const orvostl::set<std::string> copy = set;
    std::string all;
    for (const std::string& key : copy) all += key;
    EXPECT_EQ(all, "ab");
    EXPECT_TRUE(set.erase("a"));
    EXPECT_FALSE(set.erase("a"));
    EXPECT_TRUE(set.find("a").atEnd());
    EXPECT_EQ(copy.find("a")->size(), 1u);
}

TEST(List, InsertsDetachesAndErases) {
    using List = orvostl::list<std::string>;
    List list;
    const auto text = [&list] {
        std::string all;
        for (const std::string& element : list) all += element;
        return all;
    };
    const auto b = list.insert(list.end(), "b");
    list.insert(list.end(), "d");
    list.insert(b, "a");
    list.insert(--list.end(), *new List::Item("c"));
    EXPECT_EQ(text(), "abcd");
    List::Item* item = b.getItem();
    list.Detach(*item);
    EXPECT_EQ(text(), "acd");
    list.insert(list.begin(), *item);
    EXPECT_EQ(text(), "bacd");
    const List copy(list);
    EXPECT_EQ(*list.erase(list.begin()), "a");
    EXPECT_TRUE(list.erase(--list.end()).atEnd());
    EXPECT_EQ(text(), "ac");
    EXPECT_EQ(list.size(), 2u);
    list = list;
    list = copy;
    EXPECT_EQ(text(), "bacd");
    list.clear();
    EXPECT_TRUE(list.empty());
}

}  // namespace
