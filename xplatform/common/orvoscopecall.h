// Calls that are made later, and only while their target lives: CScopeHolder and CScopeCall.
#ifndef ORVO_SCOPECALL_H
#define ORVO_SCOPECALL_H

#include <atomic>
#include <cstring>
#include <utility>

#include "xplatform/common/orvobase.h"
#include "xplatform/common/orvorefcount.h"

// Stands for an object that may die before the calls that are queued for it: the calls hold the holder, and ask it.
// RefBase is CRefCount or CRefCountSafe. With Owns, the holder deletes the instance that it still has when it dies.
//
// Memory: made with one reference, its maker's. Threads: every operation may be called from any thread. A call that
// has asked IsValid() already is not stopped by Clear(): clear where no call of the instance can be running.
template <class T, bool Owns, class RefBase = CRefCountSafe>
class CScopeHolder : public RefBase {
  public:
    explicit CScopeHolder(T* instance) : instance_(instance) {}
    ~CScopeHolder() override {
        if constexpr (Owns) delete instance_.load();
    }

    // Removes the instance: IsValid() returns false afterwards. Returns the instance, which the caller owns again.
    T* Clear() { return instance_.exchange(nullptr); }
    // The instance; null once it was cleared.
    T* Instance() const { return instance_.load(); }
    bool IsValid() override { return instance_.load() != nullptr; }

  private:
    std::atomic<T*> instance_;
};

// One deferred call of a member function: unsigned int method(Argument*).
//
// Memory: holder and argument are referenced as long as a copy of the call lives; target and result are not owned, and
// have to live as long as the holder is valid. Threads: a call is used by one thread at a time; copies are independent.
class CScopeCall {
    // Keeps a parameter out of the deduction of its type.
    template <class T>
    struct plain {
        using type = T;
    };

  public:
    // What operator() returns without a call if the holder is not valid; a method must not return it.
    static constexpr unsigned int kTargetGone = 9;

    CScopeCall() = default;
    // `holder` says whether the target still lives; null counts as a target that does not. `argument`, of a class
    // derived from CRefCount, may be null. `result`, unless null, receives what the method returns.
    template <class Target, class Class, class Argument>
    CScopeCall(CRefCount* holder, Target* target, unsigned int (Class::*method)(Argument*),
               typename plain<Argument>::type* argument, unsigned int* result = nullptr)
        : holder_(holder), target_(static_cast<Class*>(target)), argument_(argument), result_(result) {
        using Method = decltype(method);
        static_assert(sizeof(Method) <= sizeof(method_));
        memcpy(method_, &method, sizeof(method));
        call_ = [](const CScopeCall& self) {
            Method stored;
            memcpy(&stored, self.method_, sizeof(stored));
            return (static_cast<Class*>(self.target_)->*stored)(static_cast<Argument*>(self.argument_));
        };
        reference();
    }
    CScopeCall(const CScopeCall& other) { *this = other; }
    CScopeCall(CScopeCall&& other) noexcept { swap(other); }
    CScopeCall& operator=(const CScopeCall& other) {
        if (this == &other) return *this;
        other.reference();
        release();
        take_fields(other);
        return *this;
    }
    CScopeCall& operator=(CScopeCall&& other) noexcept {
        swap(other);
        return *this;
    }
    ~CScopeCall() { release(); }

    // Makes the call. Returns its result, or 9 without a call if the target no longer exists.
    unsigned int operator()() const {
        if (holder_ == nullptr || !holder_->IsValid()) return kTargetGone;
        const unsigned int result = call_(*this);
        if (result_ != nullptr) *result_ = result;
        return result;
    }

  private:
    void reference() const {
        if (holder_ != nullptr) holder_->AddRef();
        if (argument_ != nullptr) argument_->AddRef();
    }
    void release() {
        if (argument_ != nullptr) argument_->Release();
        if (holder_ != nullptr) holder_->Release();
    }
    void take_fields(const CScopeCall& other) {
        holder_ = other.holder_;
        target_ = other.target_;
        memcpy(method_, other.method_, sizeof(method_));
        call_ = other.call_;
        argument_ = other.argument_;
        result_ = other.result_;
    }
    void swap(CScopeCall& other) noexcept {
        std::swap(holder_, other.holder_);
        std::swap(target_, other.target_);
        std::swap(method_, other.method_);
        std::swap(call_, other.call_);
        std::swap(argument_, other.argument_);
        std::swap(result_, other.result_);
    }

    CRefCount* holder_ = nullptr;
    void* target_ = nullptr;
    // A member-function pointer of any class has the size of this one.
    alignas(void*) unsigned char method_[sizeof(void(CRefCount::*)())] = {};
    unsigned int (*call_)(const CScopeCall&) = nullptr;
    CRefCount* argument_ = nullptr;
    unsigned int* result_ = nullptr;
};

#endif
