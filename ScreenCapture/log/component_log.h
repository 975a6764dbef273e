// How a component of the library writes its lines: channel 1, level "notice", with its own tag.
#pragma once

#include "xplatform/common/orvosyslog.h"

#define COMPONENT_LOG(module, ...) syslog_ex(1, ESYSLOG_NOTICE, module, __LINE__, __VA_ARGS__)
