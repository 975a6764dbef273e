// A sorted array of bounded size, searched by binary search: the tables of the thread slots and of the event pump.
#ifndef ORVO_BARRAY_H
#define ORVO_BARRAY_H

#include <algorithm>
#include <cstddef>
#include <utility>

namespace orvo {

// At most N elements, ascending by T::key(), one of each key. Elements lie inside the object, nothing is allocated.
//
// T needs a default constructor, assignment and `Key key() const`. Pointers to elements are valid until the next
// insert, erase or clear. Not locked: one thread at a time.
template <typename T, typename Key, std::size_t N>
class barray {
  public:
    // Adds a copy. Returns false and changes nothing if the key exists or N elements are stored.
    constexpr bool insert(const T& item) {
        T* place = position(item.key());
        if (full() || (place != end() && place->key() == item.key())) return false;
        T copy = item;  // the argument may be one of our own elements
        std::move_backward(place, end(), end() + 1);
        *place = std::move(copy);
        ++count_;
        return true;
    }

    // Returns the element with the key, or null.
    constexpr T* find(const Key& key) {
        T* place = position(key);
        return place != end() && place->key() == key ? place : nullptr;
    }
    constexpr const T* find(const Key& key) const { return const_cast<barray*>(this)->find(key); }

    // Removes the element with the key. Returns false if there is none.
    constexpr bool erase(const Key& key) {
        T* place = find(key);
        if (place == nullptr) return false;
        std::move(place + 1, end(), place);
        items_[--count_] = T();
        return true;
    }

    constexpr void clear() {
        std::fill(begin(), end(), T());
        count_ = 0;
    }

    constexpr std::size_t size() const { return count_; }
    constexpr bool empty() const { return count_ == 0; }
    constexpr bool full() const { return count_ == N; }
    static constexpr std::size_t capacity() { return N; }

    // The i-th element in ascending order; i must be below size().
    constexpr T& operator[](std::size_t i) { return items_[i]; }
    constexpr const T& operator[](std::size_t i) const { return items_[i]; }
    constexpr T* begin() { return items_; }
    constexpr T* end() { return items_ + count_; }
    constexpr const T* begin() const { return items_; }
    constexpr const T* end() const { return items_ + count_; }

  private:
    constexpr T* position(const Key& key) {
        return std::lower_bound(begin(), end(), key, [](const T& item, const Key& k) { return item.key() < k; });
    }

    T items_[N]{};
    std::size_t count_ = 0;
};

}  // namespace orvo

#endif
