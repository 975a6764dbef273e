// The one gate through which every call of the scripted desktop passes: it counts, fails and records calls.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/allocations.h"

namespace orvo::test {

using Lines = std::vector<std::string>;

// Who did what is recorded. The values are flags.
enum Record { kHost = 1, kDevice = 2, kConsole = 4, kPictures = 8, kOrders = 16, kPosted = 32, kLog = 64 };

class Gate {
  public:
    // Counts one call. False: it has to fail.
    [[nodiscard]] bool enter(const char* call) {
        ++counts_[call];
        const bool fails = (toFail_ != 0 && ++counted_ == toFail_) || nameToFail_ == call;
        if (fails) lastFailed_ = call;
        return !fails;
    }
    // Makes one call; one that has to fail answers nothing.
    template <typename Call>
    auto pass(const char* name, Call call) -> decltype(call()) {
        return enter(name) ? call() : decltype(call())();
    }

    // Fails the n-th call from now on, of whatever kind; 1 is the next one, 0 none.
    void failCall(size_t n) {
        toFail_ = n;
        counted_ = 0;
        lastFailed_ = "";
    }
    // Fails every call of a kind; an empty name ends that.
    void failEvery(const std::string& call) { nameToFail_ = call; }
    size_t calls(const char* call) { return counts_[call]; }
    // The call that failed last; empty when none did since failCall().
    const char* lastFailed() const { return lastFailed_; }

    void record(Record who, std::string what) {
        const OwnWork own;
        records_.emplace_back(who, std::move(what));
    }
    // What those chosen did since the last call, in order; what the others did is forgotten.
    Lines take(int whose) {
        Lines taken;
        for (auto& [who, what] : std::exchange(records_, {})) {
            if (who & whose) taken.push_back(std::move(what));
        }
        return taken;
    }
    void reset() {
        counts_.clear();
        records_ = {};
        failCall(0);
        failEvery("");
    }

  private:
    std::map<std::string, size_t> counts_;
    size_t toFail_ = 0;
    size_t counted_ = 0;
    std::string nameToFail_;
    const char* lastFailed_ = "";
    std::vector<std::pair<Record, std::string>> records_;
};

}  // namespace orvo::test
