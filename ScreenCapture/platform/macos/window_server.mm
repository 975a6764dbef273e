// The windows on screen and their pictures: the window server's lists and images.
#include <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include <optional>

#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/permission.h"
#include "ScreenCapture/platform/macos/screencapturekit.h"
#include "ScreenCapture/platform/macos/services.h"
#include "ScreenCapture/platform/macos/stream_grabber.h"
#include "ScreenCapture/platform/macos/window_pictures.h"

namespace orvo::platform::macos {
namespace {

// An entry of the window list.
class Entry {
  public:
    explicit Entry(CFTypeRef entry) {
        isAsExpected_ = entry && CFGetTypeID(entry) == CFDictionaryGetTypeID();
        if (isAsExpected_) entry_ = (__bridge NSDictionary*)entry;
    }

    // Nil for a key that the entry does not have, and nil answers 0. A value of another kind spoils the entry.
    NSNumber* number(CFStringRef key) { return (__bridge NSNumber*)value(key, CFNumberGetTypeID()); }
    NSString* text(CFStringRef key) { return (__bridge NSString*)value(key, CFStringGetTypeID()); }
    CGRect rectangle(CFStringRef key) {
        const auto dictionary = static_cast<CFDictionaryRef>(value(key, CFDictionaryGetTypeID()));
        CGRect rectangle = CGRectZero;
        if (dictionary) CGRectMakeWithDictionaryRepresentation(dictionary, &rectangle);
        return rectangle;
    }
    bool isAsExpected() const { return isAsExpected_; }

  private:
    CFTypeRef value(CFStringRef key, CFTypeID type) {
        CFTypeRef value = (__bridge CFTypeRef)entry_[(__bridge NSString*)key];
        if (!value || CFGetTypeID(value) == type) return value;
        isAsExpected_ = false;
        return nullptr;
    }

    NSDictionary<NSString*, id>* entry_ = nil;
    bool isAsExpected_;
};

std::optional<WindowInfo> windowFrom(CFTypeRef listed) {
    Entry entry(listed);
    WindowInfo window;
    window.number = entry.number(kCGWindowNumber).unsignedIntValue;
    window.ownerPID = entry.number(kCGWindowOwnerPID).intValue;
    window.layer = entry.number(kCGWindowLayer).intValue;
    window.alpha = entry.number(kCGWindowAlpha).doubleValue;
    window.bounds = rectFrom(entry.rectangle(kCGWindowBounds));
    window.ownerName = textOf(entry.text(kCGWindowOwnerName));
    window.name = textOf(entry.text(kCGWindowName));
    if (!entry.isAsExpected()) return std::nullopt;
    return window;
}

// The window server's functions keep nothing between two questions, and count window numbers up, so that the number of
// a window that is gone finds nothing. Where they have never answered a picture, a stream does.
class MacGrabber final : public Grabber {
  public:
    explicit MacGrabber(uint32_t target) : target_(target), stream_(makeStreamGrabber(target)) {}

    void setUse(const GrabberUse& use) override { stream_->setUse(use); }

    Shot window() override {
        return choose(imageOfWindow(target_, kCGWindowImageBoundsIgnoreFraming), [&] { return stream_->window(); });
    }
    Shot area(const Rect& area) override {
        return choose(imageOfArea(rectOf(area)), [&] { return stream_->area(area); });
    }
    Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) override {
        return choose(imageOfWindows(rectOf(bounds), windows), [&] { return stream_->composed(bounds, windows); });
    }
    Shot display() override {
        return choose(imageOfDisplay(target_), [&] { return stream_->display(); });
    }

  private:
    template <typename AskStream>
    Shot choose(MaybeShot shot, AskStream askStream) {
        // A system may have one of the functions and not another.
        if (!shot) return askStream();
        functionsWork_ = functionsWork_ || shot->image;
        return functionsWork_ || isFinal(shot) ? *shot : askStream();
    }

    const uint32_t target_;
    const std::unique_ptr<Grabber> stream_;
    bool functionsWork_ = false;
};

class MacWindowServer final : public WindowServer {
  public:
    // An entry that cannot be read is left out.
    std::vector<WindowInfo> onScreenWindows() override {
        return answered(std::vector<WindowInfo>(), [] {
            const auto list = CFRef<CFArrayRef>::adopt(CGWindowListCopyWindowInfo(
                kCGWindowListOptionOnScreenOnly | kCGWindowListExcludeDesktopElements, kCGNullWindowID));
            const CFIndex count = list ? CFArrayGetCount(list.get()) : 0;
            std::vector<WindowInfo> windows;
            for (CFIndex i = 0; i < count; ++i) {
                auto window = answered(std::optional<WindowInfo>(),
                                       [&] { return windowFrom(CFArrayGetValueAtIndex(list.get(), i)); });
                if (window) windows.push_back(std::move(*window));
            }
            return windows;
        });
    }

    // The list holds the numbers themselves, not number objects.
    void onScreenNumbers(std::vector<uint32_t>& numbers) override {
        numbers.clear();
        guarded([&] {
            const auto list =
                CFRef<CFArrayRef>::adopt(CGWindowListCreate(kCGWindowListOptionOnScreenOnly, kCGNullWindowID));
            const CFIndex count = list ? CFArrayGetCount(list.get()) : 0;
            for (CFIndex i = 0; i < count; ++i) {
                numbers.push_back(
                    static_cast<uint32_t>(reinterpret_cast<uintptr_t>(CFArrayGetValueAtIndex(list.get(), i))));
            }
        });
    }

    const char* whyIncomplete() override {
        return isRecordingPermitted() ? nullptr
                                      : "the user has not permitted screen recording: other applications' windows are "
                                        "missing";
    }

    Shot windowPicture(uint32_t window) override {
        const MaybeShot shot = imageOfWindow(window, kCGWindowImageDefault);
        return isFinal(shot) ? *shot : screencapturekit::pictureOfWindow(window, kCGWindowImageDefault);
    }
    Shot displayPicture(uint32_t display, int /*width*/) override {
        const MaybeShot shot = imageOfDisplay(display);
        return isFinal(shot) ? *shot : screencapturekit::pictureOfDisplay(display);
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
