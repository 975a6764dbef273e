// The windows on screen and their pictures: the window server's lists and images.
#include <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/services.h"
#include "ScreenCapture/platform/macos/text.h"
#include "ScreenCapture/platform/macos/window_pictures.h"

namespace orvo::platform::macos {
namespace {

// Keys that an entry does not have answer nil, and nil answers 0.
WindowInfo windowFrom(NSDictionary<NSString*, id>* entry) {
    NSNumber* number = entry[(__bridge NSString*)kCGWindowNumber];
    NSNumber* owner = entry[(__bridge NSString*)kCGWindowOwnerPID];
    NSNumber* layer = entry[(__bridge NSString*)kCGWindowLayer];
    NSNumber* alpha = entry[(__bridge NSString*)kCGWindowAlpha];
    NSDictionary* rectangle = entry[(__bridge NSString*)kCGWindowBounds];
    CGRect bounds = CGRectZero;
    if (rectangle) CGRectMakeWithDictionaryRepresentation((__bridge CFDictionaryRef)rectangle, &bounds);

    WindowInfo window;
    window.number = number.unsignedIntValue;
    window.ownerPID = owner.intValue;
    window.layer = layer.intValue;
    window.alpha = alpha.doubleValue;
    window.bounds = rectFrom(bounds);
    window.ownerName = textOf(entry[(__bridge NSString*)kCGWindowOwnerName]);
    window.name = textOf(entry[(__bridge NSString*)kCGWindowName]);
    return window;
}

// Keeps nothing between its questions. The window server counts its window numbers up, so that the number of a window
// that is gone finds nothing.
class MacGrabber final : public Grabber {
  public:
    explicit MacGrabber(uint32_t target) : target_(target) {}

    Shot window() override {
        @autoreleasepool {
            return pictureOfWindow(target_, kCGWindowImageBoundsIgnoreFraming);
        }
    }
    Shot area(const Rect& area) override {
        @autoreleasepool {
            return pictureOfArea(rectOf(area));
        }
    }
    Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) override {
        @autoreleasepool {
            return pictureOfWindows(rectOf(bounds), windows);
        }
    }
    Shot display() override {
        @autoreleasepool {
            return pictureOfDisplay(target_);
        }
    }

  private:
    const uint32_t target_;
};

class MacWindowServer final : public WindowServer {
  public:
    std::vector<WindowInfo> onScreenWindows() override {
        std::vector<WindowInfo> windows;
        @autoreleasepool {
            const auto list = CFRef<CFArrayRef>::adopt(CGWindowListCopyWindowInfo(
                kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements, kCGNullWindowID));
            for (NSDictionary* entry in (__bridge NSArray*)list.get()) windows.push_back(windowFrom(entry));
        }
        return windows;
    }

    // The list holds the numbers themselves, not number objects.
    void onScreenNumbers(std::vector<uint32_t>& numbers) override {
        numbers.clear();
        const auto list =
            CFRef<CFArrayRef>::adopt(CGWindowListCreate(kCGWindowListOptionOnScreenOnly, kCGNullWindowID));
        const CFIndex count = list ? CFArrayGetCount(list.get()) : 0;
        for (CFIndex i = 0; i < count; ++i) {
            numbers.push_back(
                static_cast<uint32_t>(reinterpret_cast<uintptr_t>(CFArrayGetValueAtIndex(list.get(), i))));
        }
    }

    Shot windowPicture(uint32_t window) override {
        @autoreleasepool {
            return pictureOfWindow(window, kCGWindowImageDefault);
        }
    }
    Shot displayPicture(uint32_t display, int /*width*/) override {
        @autoreleasepool {
            return pictureOfDisplay(display);
        }
    }

    std::unique_ptr<Grabber> grabber(uint32_t target, bool /*isScreen*/) override {
        return std::make_unique<MacGrabber>(target);
    }
};

}  // namespace

std::unique_ptr<WindowServer> makeWindowServer() {
    return std::make_unique<MacWindowServer>();
}

}  // namespace orvo::platform::macos
