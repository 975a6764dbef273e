// The facade's log: its thread, its files.
#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/api/impl_log.h"

OrvoScreenCaptureImpl::OrvoScreenCaptureImpl() = default;

OrvoScreenCaptureImpl::~OrvoScreenCaptureImpl() {
    UnInit();
}

bool OrvoScreenCaptureImpl::StartThreadIfNeeded() {
    return false;
}

bool OrvoScreenCaptureImpl::SetLogLevel(int level, const char* /*logFolder*/) {
    IMPL_LOG("%s, level: %d", "SetLogLevel", level);
    return true;
}
