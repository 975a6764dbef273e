// The one gate through which every call of the scripted desktop passes: it counts, serialises and fails calls.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace orvo::test {

class Gate {
  public:
    // Held for the length of one call. False: this call has to fail.
    class Pass {
      public:
        Pass(std::unique_lock<std::recursive_mutex> lock, bool open) : lock_(std::move(lock)), open_(open) {}
        explicit operator bool() const { return open_; }

      private:
        std::unique_lock<std::recursive_mutex> lock_;
        bool open_;
    };

    [[nodiscard]] Pass enter(const char* call) {
        std::unique_lock lock(mutex_);
        ++counts_[call];
        const bool fails = (toFail_ != 0 && ++counted_ == toFail_) || (!nameToFail_.empty() && nameToFail_ == call);
        if (fails) lastFailed_ = call;
        return {std::move(lock), !fails};
    }
    // Makes one call; one that has to fail answers nothing.
    template <typename Call>
    auto pass(const char* name, Call call) -> decltype(call()) {
        const Pass open = enter(name);
        return open ? call() : decltype(call())();
    }
    // For tests that arrange or read what calls use.
    [[nodiscard]] std::unique_lock<std::recursive_mutex> hold() { return std::unique_lock(mutex_); }

    // Fails the n-th call from now on, of whatever kind; 1 is the next one, 0 none.
    void failCall(size_t n) {
        auto lock = hold();
        toFail_ = n;
        counted_ = 0;
        lastFailed_ = "";
    }
    // Fails every call of a kind; an empty name ends that.
    void failEvery(const char* call) {
        auto lock = hold();
        nameToFail_ = call;
    }
    size_t calls(const char* call) {
        auto lock = hold();
        auto found = counts_.find(call);
        return found == counts_.end() ? 0 : found->second;
    }
    // The call that failed last; empty when none did since failCall().
    const char* lastFailed() {
        auto lock = hold();
        return lastFailed_;
    }
    void reset() {
        auto lock = hold();
        counts_.clear();
        toFail_ = counted_ = 0;
        nameToFail_.clear();
        lastFailed_ = "";
    }

  private:
    std::recursive_mutex mutex_;
    std::map<std::string, size_t> counts_;
    size_t toFail_ = 0;
    size_t counted_ = 0;
    std::string nameToFail_;
    const char* lastFailed_ = "";
};

}  // namespace orvo::test
