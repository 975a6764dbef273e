// Owns one reference of a Core Foundation object, or nothing.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace orvo::platform::macos {

// T is a reference type such as CGImageRef.
template <typename T>
class CFRef {
  public:
    CFRef() = default;
    CFRef(std::nullptr_t) {}
    CFRef(const CFRef& other) : CFRef(retain(other.reference_)) {}
    CFRef(CFRef&& other) noexcept : reference_(other.leak()) {}
    ~CFRef() {
        if (reference_) CFRelease(reference_);
    }
    CFRef& operator=(CFRef other) noexcept {
        std::swap(reference_, other.reference_);
        return *this;
    }

    // Takes over a reference that the caller owns: what a Create or Copy function answers.
    [[nodiscard]] static CFRef adopt(T reference) {
        CFRef result;
        result.reference_ = reference;
        return result;
    }
    // Adds a reference of its own to one that is borrowed: what a Get function answers.
    [[nodiscard]] static CFRef retain(T reference) {
        if (reference) CFRetain(reference);
        return adopt(reference);
    }
    // Gives the reference up to the caller.
    [[nodiscard]] T leak() { return std::exchange(reference_, nullptr); }

    // For a function that hands an owned reference out through its last argument.
    [[nodiscard]] T* out() {
        *this = nullptr;
        return &reference_;
    }

    T get() const { return reference_; }
    explicit operator bool() const { return reference_ != nullptr; }

  private:
    T reference_ = nullptr;
};

}  // namespace orvo::platform::macos
