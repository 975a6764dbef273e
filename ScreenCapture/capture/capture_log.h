// How the screen capture session writes its log lines.
#pragma once

#include "xplatform/common/orvosyslog.h"

#define CS_LOG(...) syslog_ex(1, 3, "CS", __LINE__, __VA_ARGS__)
