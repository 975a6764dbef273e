// The displays: CoreGraphics, which follows them on every thread and in a process without an application object.
// NSScreen is for the main thread and only answers which screen has the focus.
#include <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>
#include <dispatch/dispatch.h>

#include <array>
#include <atomic>

#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/services.h"

namespace orvo::platform::macos {
namespace {

constexpr uint32_t kMaxDisplays = 64;

// Pixels per point of a display's current mode; 0 for a number that is no display.
double scaleOf(CGDirectDisplayID display) {
    const auto mode = CFRef<CGDisplayModeRef>::adopt(CGDisplayCopyDisplayMode(display));
    if (!mode) return 0;
    const auto points = static_cast<double>(CGDisplayModeGetWidth(mode.get()));
    const auto pixels = static_cast<double>(CGDisplayModeGetPixelWidth(mode.get()));
    return points > 0 ? pixels / points : 1;
}

// The scale of the screen with the focus as the main thread saw it last; 0: it has not been asked yet.
using SeenScale = std::atomic<double>;

void lookForFocus(const std::shared_ptr<SeenScale>& seen) {
    guarded([&] { *seen = [NSScreen mainScreen].backingScaleFactor; });
}

class MacDisplays final : public Displays {
  public:
    MacDisplays() { lookOnMainThread(); }

    // The main display is the first.
    std::vector<Display> screens() override {
        return answered(std::vector<Display>(), [] {
            std::array<CGDirectDisplayID, kMaxDisplays> numbers{};
            uint32_t count = 0;
            std::vector<Display> displays;
            if (CGGetActiveDisplayList(kMaxDisplays, numbers.data(), &count) != kCGErrorSuccess) return displays;
            const double mainHeight = CGDisplayBounds(CGMainDisplayID()).size.height;
            for (uint32_t i = 0; i < count; ++i) {
                Rect frame = rectFrom(CGDisplayBounds(numbers[i]));
                frame.y = mainHeight - frame.y - frame.height;
                displays.push_back({numbers[i], frame, scaleOf(numbers[i])});
            }
            return displays;
        });
    }

    uint32_t mainDisplay() override { return CGMainDisplayID(); }

    Rect bounds(uint32_t display) override { return rectFrom(CGDisplayBounds(display)); }

    uint32_t mainDisplayPixelsHigh() override { return static_cast<uint32_t>(CGDisplayPixelsHigh(CGMainDisplayID())); }

    // Off the main thread the answer is what that thread read last, and it is asked to read again; before it has read,
    // the main display's scale stands in.
    double focusedScreenScale() override {
        return answered(0.0, [this] {
            if ([NSThread isMainThread]) {
                lookForFocus(seenScale_);
            } else {
                lookOnMainThread();
            }
            const double seen = *seenScale_;
            return seen > 0 ? seen : scaleOf(CGMainDisplayID());
        });
    }

  private:
    void lookOnMainThread() {
        const std::shared_ptr<SeenScale> seen = seenScale_;
        dispatch_async(dispatch_get_main_queue(), ^{
            lookForFocus(seen);
        });
    }

    const std::shared_ptr<SeenScale> seenScale_ = std::make_shared<SeenScale>(0);
};

}  // namespace

std::unique_ptr<Displays> makeDisplays() {
    return std::make_unique<MacDisplays>();
}

}  // namespace orvo::platform::macos
