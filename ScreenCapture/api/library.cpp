// Makes the one facade when the library is loaded.
#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"

constinit OrvoScreenCaptureImpl* g_pScreenCaptureImpl = nullptr;

namespace {

struct Loader {
    Loader() { g_pScreenCaptureImpl = new OrvoScreenCaptureImpl(); }
};
[[maybe_unused]] const Loader loader;

}  // namespace
