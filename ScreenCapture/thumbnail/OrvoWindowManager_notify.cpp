// Word to the host, always by way of the main queue. Nothing is posted when nobody is registered, so that a host that
// never drains its main queue does not grow.
#include "ScreenCapture/capture/host_callbacks.h"
#include "ScreenCapture/thumbnail/OrvoWindowManager.h"
#include "ScreenCapture/thumbnail/window_info.h"

using namespace orvo::capture;
using orvo::platform::platform;
using orvo::platform::Rect;
using orvo::platform::truncated;
using orvo::thumbnail::WindowInfoPtr;

namespace {

// How long a target must have been missing before the host hears of it, and again.
constexpr double kMissingSeconds = 3.0;
// The only change of the captured process that is told.
constexpr int kProcessWindowChange = 4;

const OrvoWindow& orEmpty(const OrvoWindow* item) {
    static const OrvoWindow& empty = *new OrvoWindow();
    return item ? *item : empty;
}

// Hands an item over to the host, or frees it when nobody takes it.
void fireThumbnail(OrvoCaptureSettings& settings, int status, WindowInfoPtr info) {
    if (fire<kThumbnail>(settings, status, info.get())) info.release();
}

}  // namespace
