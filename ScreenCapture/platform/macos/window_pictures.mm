// The window server's image functions cannot be named at a deployment target of 15.0 and may be gone one day, so they
// are looked up when the process runs.
#include "ScreenCapture/platform/macos/window_pictures.h"

#include <dlfcn.h>

#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/permission.h"

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

// What a question for a picture answers; an exception leaves it without one.
template <typename Question>
Shot shotOf(Question question) {
    return answered(Shot(NoImage::failed), [&]() -> Shot {
        CFRef<CGImageRef> picture = question();
        if (!picture) return isRecordingPermitted() ? NoImage::failed : NoImage::notPermitted;
        return Ref<Image>(makeCounted<MacImage>(std::move(picture)));
    });
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

MaybeShot imageOfWindow(CGWindowID window, CGWindowImageOption options) {
    if (!functions().windowList) return std::nullopt;
    return shotOf([&] {
        return CFRef<CGImageRef>::adopt(
            functions().windowList(CGRectNull, kCGWindowListOptionIncludingWindow, window, options));
    });
}

MaybeShot imageOfArea(CGRect area) {
    if (!functions().windowList) return std::nullopt;
    return shotOf([&] {
        return CFRef<CGImageRef>::adopt(functions().windowList(area, kCGWindowListExcludeDesktopElements,
                                                               kCGNullWindowID, kCGWindowImageBoundsIgnoreFraming));
    });
}

MaybeShot imageOfWindows(CGRect bounds, const std::vector<uint32_t>& windows) {
    if (!functions().windowArray) return std::nullopt;
    return shotOf([&] {
        const CFRef<CFArrayRef> numbers = rawNumbers(windows);
        if (!numbers) return CFRef<CGImageRef>();
        return CFRef<CGImageRef>::adopt(functions().windowArray(bounds, numbers.get(), kCGWindowImageDefault));
    });
}

MaybeShot imageOfDisplay(CGDirectDisplayID display) {
    if (!functions().display) return std::nullopt;
    return shotOf([&] { return CFRef<CGImageRef>::adopt(functions().display(display)); });
}

bool isFinal(const MaybeShot& shot) {
    return shot && (shot->image || shot->why == NoImage::notPermitted);
}

}  // namespace orvo::platform::macos
