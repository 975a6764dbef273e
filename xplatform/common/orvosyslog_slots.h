// The hook slots that the two halves of the log core share.
#pragma once

#include <atomic>

#include "xplatform/common/orvosyslog.h"

namespace orvo::log {

extern constinit std::atomic<syslog_binary_hook> s_s_hook;
extern constinit std::atomic<syslog_binary_hook> s_sa_hook;

}  // namespace orvo::log
