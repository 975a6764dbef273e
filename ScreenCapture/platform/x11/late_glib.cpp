// GLib and what builds on it, loaded when first needed.
#include "ScreenCapture/platform/x11/late_glib.h"

#include <dlfcn.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <iterator>

#include "xplatform/common/orvosyslog.h"

namespace orvo::platform::x11 {
namespace {

// Looks functions up in one library and in those that it is linked with. Never closed: GLib cannot be unloaded.
class LateLibrary {
  public:
    explicit LateLibrary(const char* name) : handle_(dlopen(name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) {}

    template <typename Function>
    void find(Function& function, const char* name) {
        if (handle_) function = reinterpret_cast<Function>(dlsym(handle_, name));
        if (!function) whole_ = false;
    }
    // Whether every function was found. lost: what there is not without them.
    bool whole(const char* lost) const {
        if (whole_) return true;
        const char* why = dlerror();
        syslog_ex(1, ESYSLOG_ERROR, "X11", __LINE__, "there are no %s: %s", lost, why ? why : "a function is missing");
        return false;
    }

  private:
    void* const handle_;
    bool whole_ = true;
};

// Loading needs some, and so do the libraries when they begin: GLib ends a process that has none left.
bool descriptorsAreLeft() {
    int files[8];
    size_t count = 0;
    while (count < std::size(files) && (files[count] = eventfd(0, EFD_CLOEXEC)) >= 0) ++count;
    for (size_t i = 0; i < count; ++i) close(files[i]);
    return count == std::size(files);
}

template <typename Calls, typename Load>
const Calls& onceThereAreDescriptors(Load load) {
    static std::atomic<bool> loaded{false};
    static const Calls none{};
    if (!loaded && !descriptorsAreLeft()) return none;
    static const Calls calls = load();
    loaded = true;
    return calls;
}

}  // namespace

#define ORVO_FIND(name) library.find(calls.name, #name);

const GlibCalls& glib() {
    return onceThereAreDescriptors<GlibCalls>([] {
        GlibCalls calls;
        LateLibrary library("libglib-2.0.so.0");
        ORVO_GLIB_CALLS(ORVO_FIND)
        calls.found = library.whole("main queue and observers");
        return calls;
    });
}

const GioCalls& gio() {
    return onceThereAreDescriptors<GioCalls>([] {
        GioCalls calls;
        LateLibrary library("libgio-2.0.so.0");
        ORVO_GIO_CALLS(ORVO_FIND)
        calls.found = library.whole("names and icons of desktop entries");
        return calls;
    });
}

const PixbufCalls& pixbuf() {
    return onceThereAreDescriptors<PixbufCalls>([] {
        PixbufCalls calls;
        LateLibrary library("libgdk_pixbuf-2.0.so.0");
        ORVO_PIXBUF_CALLS(ORVO_FIND)
        calls.found = library.whole("icons from files");
        return calls;
    });
}

}  // namespace orvo::platform::x11
