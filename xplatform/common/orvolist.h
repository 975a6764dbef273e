// The doubly linked list of the base runtime.
#ifndef ORVO_LIST_H
#define ORVO_LIST_H

#include <cstddef>
#include <iterator>
#include <utility>

namespace orvostl {

// A doubly linked list. It owns its items; copies are deep. Items and iterators to them are valid until the item is
// erased. Threads: not locked.
template <typename T>
class list {
  public:
    struct Item {
        explicit Item(const T& value) : element(value) {}
        explicit Item(T&& value) : element(std::move(value)) {}

        Item* previous = nullptr;
        Item* next = nullptr;
        T element;
    };

    // A position in the list; the end is behind the last item. ++ on the end does nothing, -- on it leads to the last
    // item. Dereferencing gives the element.
    template <typename ItemT, typename ElementT>
    class walker {
      public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = ElementT*;
        using reference = ElementT&;

        walker() = default;
        walker(const list* owner, ItemT* item) : owner_(owner), item_(item) {}
        bool atEnd() const { return item_ == nullptr; }
        // The item, null at the end.
        ItemT* getItem() const { return item_; }
        ElementT& operator*() const { return item_->element; }
        ElementT* operator->() const { return &item_->element; }

        walker& operator++() {
            if (item_ != nullptr) item_ = item_->next;
            return *this;
        }
        walker& operator--() {
            item_ = item_ != nullptr ? item_->previous : owner_->last_;
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
        bool operator==(const walker& other) const { return item_ == other.item_; }
        bool operator!=(const walker& other) const { return item_ != other.item_; }

      private:
        const list* owner_ = nullptr;
        ItemT* item_ = nullptr;
    };
    using iterator = walker<Item, T>;
    using const_iterator = walker<const Item, const T>;

    list() = default;
    list(const list& other) {
        for (const T& element : other) insert(end(), element);
    }
    list(list&& other) noexcept { swap(other); }
    list& operator=(const list& other) {
        if (this != &other) list(other).swap(*this);
        return *this;
    }
    list& operator=(list&& other) noexcept {
        if (this != &other) {
            clear();
            swap(other);
        }
        return *this;
    }
    ~list() { clear(); }

    void swap(list& other) noexcept {
        std::swap(first_, other.first_);
        std::swap(last_, other.last_);
        std::swap(size_, other.size_);
    }

    // Inserts the element before the position; the end appends. Returns its position.
    iterator insert(iterator position, const T& element) { return insert(position, *new Item(element)); }
    iterator insert(iterator position, T&& element) { return insert(position, *new Item(std::move(element))); }

    // Inserts an item made with new or returned by Detach; the list owns it afterwards.
    iterator insert(iterator position, Item& item) {
        Item* const next = position.getItem();
        Item* const previous = next != nullptr ? next->previous : last_;
        item.previous = previous;
        item.next = next;
        (previous != nullptr ? previous->next : first_) = &item;
        (next != nullptr ? next->previous : last_) = &item;
        ++size_;
        return iterator(this, &item);
    }

    // Frees the item at the position and returns the position after it; the end returns the end.
    iterator erase(iterator position) {
        Item* const item = position.getItem();
        if (item == nullptr) return end();
        ++position;
        Detach(*item);
        delete item;
        return position;
    }

    // Removes an item from this list without freeing it; the caller owns it afterwards.
    void Detach(Item& item) {
        (item.previous != nullptr ? item.previous->next : first_) = item.next;
        (item.next != nullptr ? item.next->previous : last_) = item.previous;
        item.previous = item.next = nullptr;
        --size_;
    }

    void clear() {
        while (first_ != nullptr) erase(begin());
    }

    iterator begin() { return iterator(this, first_); }
    iterator end() { return iterator(this, nullptr); }
    const_iterator begin() const { return const_iterator(this, first_); }
    const_iterator end() const { return const_iterator(this, nullptr); }
    bool empty() const { return first_ == nullptr; }
    std::size_t size() const { return size_; }

  private:
    Item* first_ = nullptr;
    Item* last_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace orvostl

#endif
