// Pictures by the window server's image functions. They cannot be named at a deployment target of 15.0 and may be gone
// one day, so they are looked up when the process runs; where one is missing ScreenCaptureKit takes the picture.
#include "ScreenCapture/platform/macos/window_pictures.h"

#include <dlfcn.h>

#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/screencapturekit.h"

namespace orvo::platform::macos {
namespace {

using WindowListCreateImage = CGImageRef (*)(CGRect bounds, CGWindowListOption list, CGWindowID window,
                                             CGWindowImageOption options);
using WindowListCreateImageFromArray = CGImageRef (*)(CGRect bounds, CFArrayRef windows, CGWindowImageOption options);
using DisplayCreateImage = CGImageRef (*)(CGDirectDisplayID display);

template <typename Function>
Function lookUp(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name));
}

struct ImageFunctions {
    WindowListCreateImage windowList = lookUp<WindowListCreateImage>("CGWindowListCreateImage");
    WindowListCreateImageFromArray windowArray =
        lookUp<WindowListCreateImageFromArray>("CGWindowListCreateImageFromArray");
    DisplayCreateImage display = lookUp<DisplayCreateImage>("CGDisplayCreateImage");
};

const ImageFunctions& functions() {
    static const ImageFunctions found;
    return found;
}

// The right to record the screen can be asked for since 11.0.
NoImage reasonForNothing() {
    if (@available(macOS 11.0, *)) {
        if (!CGPreflightScreenCaptureAccess()) return NoImage::notPermitted;
    }
    return NoImage::failed;
}

Shot shotOf(CFRef<CGImageRef> picture) {
    if (!picture) return reasonForNothing();
    return Ref<Image>(makeCounted<MacImage>(std::move(picture)));
}

// Window numbers as the window server's lists hold them: the number itself in the pointer's place.
CFRef<CFArrayRef> rawNumbers(const std::vector<uint32_t>& windows) {
    std::vector<const void*> values;
    values.reserve(windows.size());
    for (uint32_t window : windows) values.push_back(reinterpret_cast<const void*>(static_cast<uintptr_t>(window)));
    return CFRef<CFArrayRef>::adopt(
        CFArrayCreate(kCFAllocatorDefault, values.data(), static_cast<CFIndex>(values.size()), nullptr));
}

}  // namespace

Shot pictureOfWindow(CGWindowID window, CGWindowImageOption options) {
    if (!functions().windowList) return screencapturekit::pictureOfWindow(window, options);
    return shotOf(CFRef<CGImageRef>::adopt(
        functions().windowList(CGRectNull, kCGWindowListOptionIncludingWindow, window, options)));
}

Shot pictureOfArea(CGRect area) {
    if (!functions().windowList) return screencapturekit::pictureOfArea(area);
    return shotOf(CFRef<CGImageRef>::adopt(functions().windowList(area, kCGWindowListExcludeDesktopElements,
                                                                  kCGNullWindowID, kCGWindowImageBoundsIgnoreFraming)));
}

Shot pictureOfWindows(CGRect bounds, const std::vector<uint32_t>& windows) {
    if (!functions().windowArray) return screencapturekit::pictureOfWindows(bounds, windows);
    const CFRef<CFArrayRef> numbers = rawNumbers(windows);
    if (!numbers) return NoImage::failed;
    return shotOf(CFRef<CGImageRef>::adopt(functions().windowArray(bounds, numbers.get(), kCGWindowImageDefault)));
}

Shot pictureOfDisplay(CGDirectDisplayID display) {
    if (!functions().display) return screencapturekit::pictureOfDisplay(display);
    return shotOf(CFRef<CGImageRef>::adopt(functions().display(display)));
}

}  // namespace orvo::platform::macos
