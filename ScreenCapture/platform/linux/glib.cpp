// GLib and what builds on it, loaded when first needed.
#include "ScreenCapture/platform/linux/glib.h"

#include <dlfcn.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <iterator>
#include <optional>

#include "xplatform/common/orvosyslog.h"

namespace orvo::platform::linux {
namespace {

// Looks functions up in one library and in those that it is linked with. Never closed: GLib cannot be unloaded.
class LoadedLibrary {
  public:
    explicit LoadedLibrary(const char* name) : handle_(dlopen(name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) {}

    template <typename Function>
    void find(Function& function, const char* name) {
        if (handle_) function = reinterpret_cast<Function>(dlsym(handle_, name));
        if (!function) whole_ = false;
    }
    // Whether every function was found; when not, the log says what the library does without.
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

// Loading needs descriptors, and so do the libraries when they begin: GLib ends a process that has none left. Two are
// kept until it begins, since the host's other threads may use up the rest meanwhile.
class SpareDescriptors {
  public:
    SpareDescriptors() {
        while (count_ < std::size(files_) && (files_[count_] = eventfd(0, EFD_CLOEXEC)) >= 0) ++count_;
        enough_ = count_ == std::size(files_);
        keep(enough_ ? 2 : 0);
    }
    ~SpareDescriptors() { keep(0); }
    SpareDescriptors(const SpareDescriptors&) = delete;
    SpareDescriptors& operator=(const SpareDescriptors&) = delete;

    bool enough() const { return enough_; }
    void keep(size_t number) {
        while (count_ > number) close(files_[--count_]);
    }

  private:
    int files_[8];
    size_t count_ = 0;
    bool enough_ = false;
};

// A library's functions, looked up once there are descriptors. lost: what is missing without them, for the log; find:
// looks each of them up in the library; begin: what must not be left without descriptors.
template <typename Calls>
const Calls& loaded(const char* name, const char* lost, void (*find)(LoadedLibrary&, Calls&),
                    void (*begin)(const Calls&) = nullptr) {
    static std::atomic<bool> isLoaded{false};
    static const Calls none{};
    std::optional<SpareDescriptors> spare;
    if (!isLoaded && !spare.emplace().enough()) return none;
    static const Calls found = [&] {
        Calls calls;
        LoadedLibrary library(name);
        find(library, calls);
        calls.found = library.whole(lost);
        calls.missing = !calls.found;
        spare->keep(0);
        if (begin && calls.found) begin(calls);
        return calls;
    }();
    isLoaded = true;
    return found;
}

}  // namespace

#define ORVO_FIND(name) library.find(calls.name, #name);

const GlibCalls& glib() {
    return loaded<GlibCalls>(
        "libglib-2.0.so.0", "main queue and observers",
        [](LoadedLibrary& library, GlibCalls& calls) { ORVO_GLIB_CALLS(ORVO_FIND) },
        [](const GlibCalls& calls) { calls.g_main_context_default(); });
}

const GioCalls& gio() {
    return loaded<GioCalls>("libgio-2.0.so.0", "names and icons of desktop entries",
                            [](LoadedLibrary& library, GioCalls& calls) { ORVO_GIO_CALLS(ORVO_FIND) });
}

const PixbufCalls& pixbuf() {
    return loaded<PixbufCalls>("libgdk_pixbuf-2.0.so.0", "icons from files",
                               [](LoadedLibrary& library, PixbufCalls& calls) { ORVO_PIXBUF_CALLS(ORVO_FIND) });
}

}  // namespace orvo::platform::linux
