// The displays: NSScreen for the list, CoreGraphics for numbers and bounds.
#include <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>

#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/services.h"

namespace orvo::platform::macos {
namespace {

class MacDisplays final : public Displays {
  public:
    std::vector<Display> screens() override {
        std::vector<Display> displays;
        @autoreleasepool {
            for (NSScreen* screen in [NSScreen screens]) {
                NSNumber* number = screen.deviceDescription[@"NSScreenNumber"];
                displays.push_back(
                    {static_cast<uint32_t>(number.intValue), rectFrom(screen.frame), screen.backingScaleFactor});
            }
        }
        return displays;
    }

    uint32_t mainDisplay() override { return CGMainDisplayID(); }

    Rect bounds(uint32_t display) override { return rectFrom(CGDisplayBounds(display)); }

    uint32_t mainDisplayPixelsHigh() override { return static_cast<uint32_t>(CGDisplayPixelsHigh(CGMainDisplayID())); }

    double focusedScreenScale() override {
        @autoreleasepool {
            return [NSScreen mainScreen].backingScaleFactor;
        }
    }
};

}  // namespace

std::unique_ptr<Displays> makeDisplays() {
    return std::make_unique<MacDisplays>();
}

}  // namespace orvo::platform::macos
