// Makes the one facade when the library is loaded, and has forked children do without.
#include <pthread.h>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/log/leave_log.h"

constinit OrvoScreenCaptureImpl* g_pScreenCaptureImpl = nullptr;

namespace {

// A forked child has none of the library's threads, and its locks may be held by one of them for ever. Where nothing
// was called before, there is neither.
void inForkedChild() {
    if (!g_pScreenCaptureImpl || !g_pScreenCaptureImpl->isUsed()) return;
    g_pScreenCaptureImpl = nullptr;
    ORVO::ScreenCapture::leave_log();
}

struct Loader {
    Loader() {
        g_pScreenCaptureImpl = new OrvoScreenCaptureImpl();
        pthread_atfork(nullptr, nullptr, inForkedChild);
    }
};
[[maybe_unused]] const Loader loader;

}  // namespace
