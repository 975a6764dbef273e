// What fails for one target ends in the log: the other targets go on, and nothing leaves the capture queue.
#pragma once

#include <cstdint>
#include <exception>

#include "ScreenCapture/platform/system.h"
#include "xplatform/common/orvosyslog.h"

template <typename Work>
void guardTarget(uint32_t windowID, Work&& work) {
    try {
        work();
    } catch (const orvo::platform::PlatformException& error) {
        syslog_ex(1, 1, "unnamed", __LINE__, "target %u: %s: %s", windowID, error.name.c_str(), error.reason.c_str());
    } catch (const std::exception& error) {
        syslog_ex(1, 1, "unnamed", __LINE__, "target %u: %s", windowID, error.what());
    }
}
