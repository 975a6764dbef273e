// How the facade writes its log lines.
#pragma once

#include "xplatform/common/orvosyslog.h"

#define IMPL_LOG(...) syslog_ex(1, 3, "Impl", __LINE__, __VA_ARGS__)
