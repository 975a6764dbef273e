// Container templates of the base runtime: an ordered map and an ordered set on a red-black tree.
// The doubly linked list beside them is in orvolist.h, which this header includes.
//
// Threads: no container is locked; guard one that several threads use. Memory: a container owns its nodes; copies are
// deep. Pointers, references and iterators to an element are valid until it is erased or the container cleared.
#ifndef ORVO_STL_H
#define ORVO_STL_H

#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>

#include "xplatform/common/orvobase.h"
#include "xplatform/common/orvolist.h"

namespace orvostl {

// Two values side by side; pair<const Key, Value> is what map::insert takes.
template <typename First, typename Second>
struct pair {
    First first;
    Second second;
    pair() : first(), second() {}
    pair(const First& a, const Second& b) : first(a), second(b) {}
};

// A node of the map. The links and the colour belong to the map that holds the node.
template <typename Key, typename Value>
struct RBTree {
    RBTree(const Key& k, const Value& v) : key(k), value(v) {}

    const Key key;
    Value value;
    RBTree* left = nullptr;
    RBTree* right = nullptr;
    RBTree* parent = nullptr;
    bool red = true;
};

// An ordered map, ascending by `<` on the keys. Key and Value need to be copyable.
//
// Erasing does not repair the colours (intended): the tree stays a correct search tree, but after erasures it is no
// longer strictly balanced.
template <typename Key, typename Value>
class map {
  public:
    using Node = RBTree<Key, Value>;

    // Walks the nodes in ascending order of their keys. Dereferencing gives the node: `it->key`, `it->value`.
    // The end is the position behind the last node; ++ on it does nothing, -- on it leads to the last node.
    template <typename NodeT>
    class walker {
      public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = NodeT;
        using difference_type = std::ptrdiff_t;
        using pointer = NodeT*;
        using reference = NodeT&;

        walker() = default;
        walker(const map* owner, NodeT* node) : owner_(owner), node_(node) {}
        // A walker over changeable nodes also serves as one over constant nodes.
        template <typename Other, typename = std::enable_if_t<std::is_same_v<const Other, NodeT>>>
        walker(const walker<Other>& other) : owner_(other.owner()), node_(other.getNode()) {}
        const map* owner() const { return owner_; }

        // Back to the lowest key, or to the highest.
        void reset(bool atLowest = true) { node_ = owner_ == nullptr ? nullptr : outermost(owner_->root_, atLowest); }
        bool atEnd() const { return node_ == nullptr; }
        // The node, null at the end.
        NodeT* getNode() const { return node_; }
        NodeT& operator*() const { return *node_; }
        NodeT* operator->() const { return node_; }

        walker& operator++() {
            if (node_ != nullptr) node_ = following(node_);
            return *this;
        }
        walker& operator--() {
            if (node_ == nullptr) {
                reset(false);
            } else {
                node_ = preceding(node_);
            }
            return *this;
        }
        walker operator++(int) {
            walker before = *this;
            ++*this;
            return before;
        }
        walker operator--(int) {
            walker before = *this;
            --*this;
            return before;
        }
        bool operator==(const walker& other) const { return node_ == other.node_; }
        bool operator!=(const walker& other) const { return node_ != other.node_; }

      private:
        const map* owner_ = nullptr;
        NodeT* node_ = nullptr;
    };
    using iterator = walker<Node>;
    using const_iterator = walker<const Node>;

    // Walks every node before its children.
    class ParentFirstiterator {
      public:
        explicit ParentFirstiterator(Node* root = nullptr) : root_(root), node_(root) {}
        void reset() { node_ = root_; }
        bool atEnd() const { return node_ == nullptr; }
        Node* getNode() const { return node_; }
        Node& operator*() const { return *node_; }
        Node* operator->() const { return node_; }
        ParentFirstiterator& operator++() {
            if (node_ == nullptr) return *this;
            if (node_->left != nullptr || node_->right != nullptr) {
                node_ = node_->left != nullptr ? node_->left : node_->right;
                return *this;
            }
            // Climb to the nearest node whose right subtree is still to come.
            Node* from = node_;
            for (node_ = node_->parent; node_ != nullptr; from = node_, node_ = node_->parent) {
                if (node_->left == from && node_->right != nullptr) {
                    node_ = node_->right;
                    return *this;
                }
            }
            return *this;
        }

      private:
        Node* root_;
        Node* node_;
    };

    // Walks both subtrees of a node before the node; it begins at the leftmost leaf. The node that it has just left
    // may be freed.
    class ParentLastiterator {
      public:
        explicit ParentLastiterator(Node* root = nullptr) : root_(root), node_(leaf_under(root)) {}
        void reset() { node_ = leaf_under(root_); }
        bool atEnd() const { return node_ == nullptr; }
        Node* getNode() const { return node_; }
        Node& operator*() const { return *node_; }
        Node* operator->() const { return node_; }
        ParentLastiterator& operator++() {
            if (node_ == nullptr) return *this;
            Node* up = node_->parent;
            const bool right_is_next = up != nullptr && up->left == node_ && up->right != nullptr;
            node_ = right_is_next ? leaf_under(up->right) : up;
            return *this;
        }

      private:
        static Node* leaf_under(Node* node) {
            while (node != nullptr && (node->left != nullptr || node->right != nullptr)) {
                node = node->left != nullptr ? node->left : node->right;
            }
            return node;
        }
        Node* root_;
        Node* node_;
    };

    // The result of operator[]: assigning to it calls set, reading it returns the value.
    class AccessClass {
      public:
        AccessClass(map& owner, const Key& key) : owner_(owner), key_(key) {}
        AccessClass(const AccessClass&) = default;
        AccessClass& operator=(const Value& value) {
            owner_.set(key_, value);
            return *this;
        }
        AccessClass& operator=(const AccessClass& other) { return *this = static_cast<const Value&>(other); }
        // The key must exist: reading an absent one is not allowed (intended); ask find first.
        operator const Value&() const { return owner_.findnode(key_)->value; }

      private:
        map& owner_;
        const Key key_;
    };

    map() = default;
    map(const map& other) : root_(copy_of(other.root_)), size_(other.size_) {}
    map(map&& other) noexcept { swap(other); }
    map& operator=(const map& other) {
        if (this != &other) map(other).swap(*this);
        return *this;
    }
    map& operator=(map&& other) noexcept {
        if (this != &other) {
            clear();
            swap(other);
        }
        return *this;
    }
    ~map() { clear(); }

    void swap(map& other) noexcept {
        std::swap(root_, other.root_);
        std::swap(size_, other.size_);
    }

    // Frees every node, children before parents.
    void clear() {
        for (ParentLastiterator it(root_); !it.atEnd();) {
            Node* done = it.getNode();
            ++it;
            delete done;
        }
        root_ = nullptr;
        size_ = 0;
    }

    // Adds the key with its value. False when the key exists; its value stays as it is.
    bool insert(const Key& key, const Value& value) { return insert_node(key, value).second; }
    bool insert(const pair<const Key, Value>& entry) { return insert(entry.first, entry.second); }

    // Sets the value of the key, which is added when it is missing.
    void set(const Key& key, const Value& value) {
        const auto [node, added] = insert_node(key, value);
        if (!added) node->value = value;
    }
    AccessClass operator[](const Key& key) { return AccessClass(*this, key); }

    // The node of the key: as an iterator (end when missing) or as a pointer (null when missing).
    iterator find(const Key& key) { return iterator(this, findnode(key)); }
    const_iterator find(const Key& key) const { return const_iterator(this, findnode(key)); }
    Node* findnode(const Key& key) const {
        Node* node = nearest(key);
        return has_key(node, key) ? node : nullptr;
    }

    // The node with the key, or else the last node visited on the way to its place, which may lie on either side of
    // the key (intended); the end for an empty map.
    iterator lower_bound(const Key& key) { return iterator(this, nearest(key)); }
    const_iterator lower_bound(const Key& key) const { return const_iterator(this, nearest(key)); }
    // lower_bound, one further when that is the key itself.
    iterator upper_bound(const Key& key) { return iterator(this, behind(key)); }
    const_iterator upper_bound(const Key& key) const { return const_iterator(this, behind(key)); }

    // Frees the node of the key; false when there is none.
    bool erase(const Key& key) {
        Node* node = delink(key);
        delete node;
        return node != nullptr;
    }
    // Frees the node at the position and returns the position after it; the end returns the end.
    iterator erase(iterator position) {
        Node* node = position.getNode();
        if (node == nullptr) return end();
        ++position;
        unhook(node);
        delete node;
        return position;
    }

    // Removes the node of the key from the map; the caller owns and deletes it. Returns null if there is none.
    [[nodiscard]] Node* delink(const Key& key) {
        Node* node = findnode(key);
        if (node != nullptr) unhook(node);
        return node;
    }

    iterator begin() { return iterator(this, outermost(root_, true)); }
    iterator end() { return iterator(this, nullptr); }
    const_iterator begin() const { return const_iterator(this, outermost(root_, true)); }
    const_iterator end() const { return const_iterator(this, nullptr); }
    ParentFirstiterator getParentFirstiterator() { return ParentFirstiterator(root_); }
    ParentLastiterator getParentLastiterator() { return ParentLastiterator(root_); }

    bool empty() const { return root_ == nullptr; }
    bool isEmpty() const { return empty(); }
    std::size_t size() const { return size_; }

    // The tree itself. setRoot hangs another node on top without counting or freeing anything; a rotation without the
    // child that it would lift does nothing.
    Node* getRoot() const { return root_; }
    void setRoot(Node* node) {
        root_ = node;
        if (node != nullptr) node->parent = nullptr;
    }
    void rotateLeft(Node* node) { rotate(node, &Node::right, &Node::left); }
    void rotateRight(Node* node) { rotate(node, &Node::left, &Node::right); }

  private:
    template <typename NodeT>
    static NodeT* outermost(NodeT* node, bool lowest) {
        if (node == nullptr) return nullptr;
        while (NodeT* next = lowest ? node->left : node->right) node = next;
        return node;
    }

    template <typename NodeT>
    static NodeT* following(NodeT* node) {
        if (node->right != nullptr) return outermost<NodeT>(node->right, true);
        NodeT* up = node->parent;
        for (; up != nullptr && up->right == node; up = up->parent) node = up;
        return up;
    }

    template <typename NodeT>
    static NodeT* preceding(NodeT* node) {
        if (node->left != nullptr) return outermost<NodeT>(node->left, false);
        NodeT* up = node->parent;
        for (; up != nullptr && up->left == node; up = up->parent) node = up;
        return up;
    }

    Node* nearest(const Key& key) const {
        Node* last = nullptr;
        for (Node* node = root_; node != nullptr;) {
            last = node;
            if (key < node->key) {
                node = node->left;
            } else if (node->key < key) {
                node = node->right;
            } else {
                break;
            }
        }
        return last;
    }

    static bool has_key(const Node* node, const Key& key) {
        return node != nullptr && !(key < node->key) && !(node->key < key);
    }

    Node* behind(const Key& key) const {
        Node* node = nearest(key);
        return has_key(node, key) ? following(node) : node;
    }

    // The pointer that leads to the node: a link of its parent, or the root.
    Node*& link_to(Node* node) {
        if (node->parent == nullptr) return root_;
        return node->parent->left == node ? node->parent->left : node->parent->right;
    }

    // Lifts node->*lifted into the place of the node, which becomes its child on the other side.
    void rotate(Node* node, Node* Node::*lifted, Node* Node::*lowered) {
        Node* child = node->*lifted;
        if (child == nullptr) return;
        node->*lifted = child->*lowered;
        if (node->*lifted != nullptr) (node->*lifted)->parent = node;
        link_to(node) = child;
        child->parent = node->parent;
        child->*lowered = node;
        node->parent = child;
    }

    // The node of the key, and whether it had to be added.
    pair<Node*, bool> insert_node(const Key& key, const Value& value) {
        Node* parent = nearest(key);
        if (has_key(parent, key)) return {parent, false};
        Node* node = new Node(key, value);
        node->parent = parent;
        (parent == nullptr ? root_ : key < parent->key ? parent->left : parent->right) = node;
        ++size_;
        repair_after_insert(node);
        return {node, true};
    }

    void repair_after_insert(Node* node) {
        // Erasures may have left a red root or red neighbours: every link is checked before it is followed.
        while (node->parent != nullptr && node->parent->red && node->parent->parent != nullptr) {
            Node* parent = node->parent;
            Node* above = parent->parent;
            const bool on_left = above->left == parent;
            Node* uncle = on_left ? above->right : above->left;
            if (uncle != nullptr && uncle->red) {
                parent->red = uncle->red = false;
                above->red = true;
                node = above;
                continue;
            }
            if (node == (on_left ? parent->right : parent->left)) {  // an inner grandchild: bring it outside first
                on_left ? rotateLeft(parent) : rotateRight(parent);
                std::swap(node, parent);
            }
            parent->red = false;
            above->red = true;
            on_left ? rotateRight(above) : rotateLeft(above);
        }
        root_->red = false;
    }

    // The node sinks until its right side is empty, then its left child takes its place. Colours stay (intended).
    void unhook(Node* node) {
        while (node->right != nullptr) rotateLeft(node);
        Node* child = node->left;
        link_to(node) = child;
        if (child != nullptr) child->parent = node->parent;
        node->left = node->parent = nullptr;
        --size_;
    }

    static Node* clone(const Node* from, Node* parent) {
        Node* node = new Node(from->key, from->value);
        node->parent = parent;
        node->red = from->red;
        return node;
    }

    // Without recursion: erasures can make a tree as deep as it has nodes.
    static Node* copy_of(const Node* source) {
        if (source == nullptr) return nullptr;
        Node* const root = clone(source, nullptr);
        Node* to = root;
        for (const Node* from = source;;) {
            if (from->left != nullptr && to->left == nullptr) {
                from = from->left;
                to = to->left = clone(from, to);
            } else if (from->right != nullptr && to->right == nullptr) {
                from = from->right;
                to = to->right = clone(from, to);
            } else if (from == source) {
                return root;
            } else {
                from = from->parent;
                to = to->parent;
            }
        }
    }

    Node* root_ = nullptr;
    std::size_t size_ = 0;
};

// An ordered set, ascending by `<`: a map that holds keys alone. Dereferencing an iterator gives the key.
template <typename Key>
class set {
    struct nothing {};
    using tree = map<Key, nothing>;

  public:
    using Node = typename tree::Node;
    class iterator : public tree::const_iterator {
      public:
        iterator() = default;
        iterator(typename tree::const_iterator position) : tree::const_iterator(position) {}
        const Key& operator*() const { return this->getNode()->key; }
        const Key* operator->() const { return &this->getNode()->key; }
    };

    // False when the key exists.
    bool insert(const Key& key) { return keys_.insert(key, nothing()); }
    iterator find(const Key& key) const { return iterator(keys_.find(key)); }
    Node* findnode(const Key& key) const { return keys_.findnode(key); }
    // False when there is no such key.
    bool erase(const Key& key) { return keys_.erase(key); }
    [[nodiscard]] Node* delink(const Key& key) { return keys_.delink(key); }
    void clear() { keys_.clear(); }

    // As those of map.
    iterator lower_bound(const Key& key) const { return iterator(keys_.lower_bound(key)); }
    iterator upper_bound(const Key& key) const { return iterator(keys_.upper_bound(key)); }
    iterator begin() const { return iterator(keys_.begin()); }
    iterator end() const { return iterator(keys_.end()); }
    bool empty() const { return keys_.empty(); }
    bool isEmpty() const { return keys_.isEmpty(); }
    std::size_t size() const { return keys_.size(); }

  private:
    tree keys_;
};

// The instance that the library exports.
extern template class ORVO_API map<int, unsigned int>;

}  // namespace orvostl

#endif
