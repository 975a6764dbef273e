// The clocks, the developer's console and what the user permits.
#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>

#include <atomic>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/permission.h"
#include "ScreenCapture/platform/macos/services.h"

namespace orvo::platform::macos {
namespace {

class MacClock final : public Clock {
  public:
    double absoluteSeconds() override { return CFAbsoluteTimeGetCurrent(); }
    double secondsSince1970() override { return CFAbsoluteTimeGetCurrent() + kCFAbsoluteTimeIntervalSince1970; }
};

class MacSystem final : public System {
  public:
    void console(std::string_view line) override {
        guarded([&] { NSLog(@"%@", textFrom(line)); });
    }

    PermissionState permission(Permission permission) override {
        if (isGranted(permission)) return PermissionState::granted;
        return asked(permission) ? answer(permission) : PermissionState::neverAsked;
    }

    PermissionState requestPermission(Permission permission) override {
        if (isGranted(permission)) return PermissionState::granted;
        asked(permission) = true;
        guarded([&] {
            if (permission == Permission::accessibility) {
                NSDictionary* options = @{(__bridge NSString*)kAXTrustedCheckOptionPrompt : @YES};
                AXIsProcessTrustedWithOptions((__bridge CFDictionaryRef)options);
            } else if (@available(macOS 11.0, *)) {
                recordingNeedsRestart_ = CGRequestScreenCaptureAccess();
            }
        });
        return this->permission(permission);
    }

  private:
    static bool isGranted(Permission permission) {
        return answered(false, [&]() -> bool {
            return permission == Permission::accessibility ? AXIsProcessTrusted() : isRecordingPermitted();
        });
    }

    std::atomic<bool>& asked(Permission permission) {
        return permission == Permission::accessibility ? askedForAccessibility_ : askedForRecording_;
    }

    // Recording that the user has allowed is in force in the process's next life.
    PermissionState answer(Permission permission) const {
        const bool needsRestart = permission == Permission::screenRecording && recordingNeedsRestart_;
        return needsRestart ? PermissionState::restartNeeded : PermissionState::denied;
    }

    std::atomic<bool> askedForRecording_{false};
    std::atomic<bool> askedForAccessibility_{false};
    std::atomic<bool> recordingNeedsRestart_{false};
};

}  // namespace

std::unique_ptr<Clock> makeClock() {
    return std::make_unique<MacClock>();
}

std::unique_ptr<System> makeSystem() {
    return std::make_unique<MacSystem>();
}

}  // namespace orvo::platform::macos
