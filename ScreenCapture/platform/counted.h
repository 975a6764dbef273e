// Objects that count their owners themselves, so that a handle can cross the C boundary and nothing is allocated per
// frame for sharing them.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace orvo::platform {

class Counted {
  public:
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    void retain() const { count_.fetch_add(1, std::memory_order_relaxed); }
    void release() const {
        if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) const_cast<Counted*>(this)->lastRelease();
    }
    // True when the caller holds the only reference: then nobody else reads the object.
    bool unique() const { return count_.load(std::memory_order_acquire) == 1; }

  protected:
    Counted() = default;
    virtual ~Counted() = 0;  // the compiler must not take an object for a bare Counted when it inlines release()

  private:
    // A pooled object goes back to its pool instead. Not inlined: g++ 12 takes deleting through a virtual base for a
    // wrong pointer.
    [[gnu::noinline]] virtual void lastRelease() { delete this; }

    mutable std::atomic<int32_t> count_{1};
};
inline Counted::~Counted() = default;

// Owns one reference of a counted object, or nothing.
template <typename T>
class Ref {
  public:
    Ref() = default;
    Ref(std::nullptr_t) {}
    Ref(const Ref& other) : object_(other.object_) {
        if (object_) object_->retain();
    }
    Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <typename Derived>
    Ref(Ref<Derived> other) : object_(other.leak()) {}
    ~Ref() {
        if (object_) object_->release();
    }
    Ref& operator=(Ref other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }

    // Takes over the reference that a new object is born with, or that leak() gave up.
    [[nodiscard]] static Ref adopt(T* object) {
        Ref ref;
        ref.object_ = object;
        return ref;
    }
    // Adds a reference of its own.
    [[nodiscard]] static Ref retain(T* object) {
        if (object) object->retain();
        return adopt(object);
    }
    // Gives the reference up to the caller.
    [[nodiscard]] T* leak() { return std::exchange(object_, nullptr); }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

  private:
    T* object_ = nullptr;
};

template <typename T, typename... Arguments>
[[nodiscard]] Ref<T> makeCounted(Arguments&&... arguments) {
    return Ref<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace orvo::platform
