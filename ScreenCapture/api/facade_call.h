// How every export reaches the facade: without one, or when the call fails, it gives its neutral answer.
#pragma once

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/log/component_log.h"
#include "ScreenCapture/platform/contained.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::api {

// This copy's facade; null where the exported pointer is. That pointer is one variable for every copy of the library in
// a process whose host was linked with one: the copies share its null, not their facades.
OrvoScreenCaptureImpl* facade();

// call(facade) gives the answer. No exception crosses the C boundary.
template <typename Answer, typename Call>
Answer ask(Answer neutral, Call&& call) noexcept {
    OrvoScreenCaptureImpl* const own = facade();
    if (!own) return neutral;
    own->noteUse();
    orvo::platform::contained([&] { neutral = call(*own); },
                              [](const char* name, const char* reason) {
                                  syslog_ex(1, 1, "SC", __LINE__, "call failed: %s: %s", name, reason);
                              });
    return neutral;
}

template <typename Work>
void call(Work&& work) noexcept {
    ask(false, [&](OrvoScreenCaptureImpl& facade) {
        work(facade);
        return true;
    });
}

}  // namespace orvo::api
