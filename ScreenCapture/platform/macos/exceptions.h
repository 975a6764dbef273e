// What becomes of an exception that a platform call raises: nothing of it leaves the adapter as it is.
#pragma once

#include <Foundation/Foundation.h>

#include "ScreenCapture/platform/macos/text.h"
#include "ScreenCapture/platform/system.h"

namespace orvo::platform::macos {

// Answers what calls() answers; an exception becomes a PlatformException.
template <typename Calls>
auto translated(Calls calls) {
    @try {
        return calls();
    } @catch (NSException* exception) {
        throw PlatformException{textOf(exception.name), textOf(exception.reason)};
    }
}

// Answers what calls() answers, or `neutral` with a console line after an exception.
template <typename Calls, typename Result>
Result answered(Result neutral, Calls calls) {
    @try {
        return calls();
    } @catch (NSException* exception) {
        NSLog(@"%@: %@", exception.name, exception.reason);
        return neutral;
    }
}

}  // namespace orvo::platform::macos
