// A value that one thread replaces while others read it: readers get the whole old or the whole new one.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace ORVO::BASE {

// Readers hold on to what they loaded, so a value dies outside the lock, with its last reader.
template <typename T>
class Snapshot {
  public:
    Snapshot() = default;
    explicit Snapshot(T value) : value_(std::make_shared<const T>(std::move(value))) {}

    // Null when nothing was stored.
    std::shared_ptr<const T> load() const {
        std::lock_guard lock(mutex_);
        return value_;
    }

    void store(T value) { exchange(std::make_shared<const T>(std::move(value))); }

    // Answers the old value.
    std::shared_ptr<const T> exchange(std::shared_ptr<const T> value) {
        std::lock_guard lock(mutex_);
        std::swap(value_, value);
        return value;
    }

    // Stores a changed copy; concurrent updates do not lose each other. change(T&) must not come back here.
    template <typename Change>
    void update(Change&& change) {
        std::lock_guard updating(updates_);
        const auto old = load();
        T value = old ? *old : T();
        change(value);
        exchange(std::make_shared<const T>(std::move(value)));
    }

  private:
    mutable std::mutex mutex_;
    std::mutex updates_;
    std::shared_ptr<const T> value_;
};

}  // namespace ORVO::BASE
