// The adapter's border: every method of the port, every delegate method and every block that the system calls runs its
// messages inside one of the two guards below. Nothing that the system raises leaves the adapter as it is, and what is
// autoreleased inside a guard goes when the guard ends.
#pragma once

#include <Foundation/Foundation.h>

#include <optional>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/macos/text.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::platform::macos {

// An exception's own words; reading them may raise as well.
inline PlatformException wordsOf(NSException* exception) {
    @try {
        return {textOf(exception.name), textOf(exception.reason)};
    } @catch (id) {
        return {"NSException", "which cannot be read"};
    }
}

// Answers what calls() answers; what it raises becomes a PlatformException. The pool is left before that is thrown:
// an exception that passes through a pool leaves it undrained.
template <typename Calls>
auto translated(Calls calls) {
    std::optional<PlatformException> raised;
    @autoreleasepool {
        @try {
            return calls();
        } @catch (NSException* exception) {
            raised = wordsOf(exception);
        } @catch (id) {
            raised = PlatformException{"exception", "an object that is no NSException was raised"};
        }
    }
    throw PlatformException(*raised);
}

// A console line; where the console raises as well, a log line.
inline void report(const char* name, const char* reason) {
    @try {
        NSLog(@"%@: %@", textFrom(name), textFrom(reason));
    } @catch (id) {
        syslog_ex(1, ESYSLOG_ERROR, "macos", __LINE__, "%s: %s", name, reason);
    }
}

// Answers what calls() answers, or `neutral` with a console line when it raises or throws. Result is spelt out where
// the two differ in type.
template <typename Result, typename Calls>
Result answered(Result neutral, Calls calls) noexcept {
    contained([&] { neutral = translated(calls); }, report);
    return neutral;
}
// The same for calls that answer nothing.
template <typename Calls>
void guarded(Calls calls) noexcept {
    contained([&] { translated(calls); }, report);
}

}  // namespace orvo::platform::macos
