// What fails for one target ends in the log: the other targets go on, and nothing leaves the capture queue. Answers
// whether the work ran to its end.
#pragma once

#include <cstdint>

#include "ScreenCapture/platform/contained.h"
#include "xplatform/common/orvosyslog.h"

template <typename Work>
bool guardTarget(uint32_t windowID, Work&& work) {
    return orvo::platform::contained(work, [windowID](const char* name, const char* reason) {
        syslog_ex(1, 1, "unnamed", __LINE__, "target %u: %s: %s", windowID, name, reason);
    });
}
