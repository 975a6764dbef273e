// Makes the one facade when the library is loaded, and has forked children do without.
#include <pthread.h>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/api/facade_call.h"

constinit OrvoScreenCaptureImpl* g_pScreenCaptureImpl = nullptr;

namespace {

constinit OrvoScreenCaptureImpl* gFacade = nullptr;  // this copy's own

// A forked child has none of the library's threads, and its locks may be held by one of them for ever. Where nothing
// was called before, there is neither.
void inForkedChild() {
    if (!gFacade || !gFacade->isUsed()) return;
    if (g_pScreenCaptureImpl == gFacade) g_pScreenCaptureImpl = nullptr;
    gFacade = nullptr;
}

struct Loader {
    Loader() {
        gFacade = new OrvoScreenCaptureImpl();
        if (!g_pScreenCaptureImpl) g_pScreenCaptureImpl = gFacade;
        pthread_atfork(nullptr, nullptr, inForkedChild);
    }
};
[[maybe_unused]] const Loader loader;

}  // namespace

OrvoScreenCaptureImpl* orvo::api::facade() {
    return g_pScreenCaptureImpl ? gFacade : nullptr;
}
