// What fails for one target ends in the log: the other targets go on, and nothing leaves the capture queue.
#pragma once

#include <cstdint>

#include "ScreenCapture/platform/contained.h"
#include "xplatform/common/orvosyslog.h"

template <typename Work>
void guardTarget(uint32_t windowID, Work&& work) {
    orvo::platform::contained(work, [windowID](const char* name, const char* reason) {
        syslog_ex(1, 1, "unnamed", __LINE__, "target %u: %s: %s", windowID, name, reason);
    });
}
