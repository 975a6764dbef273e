// How functions of the base runtime fail: a number that is the same on every system, and a line in the log. Internal.
#pragma once

#include "xplatform/common/orvosyslog.h"

namespace orvo {

constexpr int kInvalidArgument = 22;

inline void log_failure(const char* module, int line, const char* text) {
    orvo_syslog(ESYSLOG_ERROR, module, line, "%s", text);
}

// Result: kInvalidArgument, with a line.
inline int refuse_argument(const char* module, int line) {
    log_failure(module, line, "illegal argument!");
    return kInvalidArgument;
}

}  // namespace orvo
