// Clock, console and notifications inside the process.
#pragma once

#include "ScreenCapture/platform/notifications.h"
#include "ScreenCapture/platform/system.h"

namespace orvo::platform::x11 {

class X11Clock final : public Clock {
  public:
    double absoluteSeconds() override;
    double secondsSince1970() override;
};

class X11System final : public System {
  public:
    void console(std::string_view line) override;
    // The server asks nobody: whoever reaches it may. The screens of a Wayland session are not its to show.
    PermissionState permission(Permission permission) override;
    PermissionState requestPermission(Permission asked) override { return permission(asked); }
};

// The system has no notification centre: names are heard by nobody outside the library, and inside nobody listens.
class X11Notifications final : public Notifications {
  public:
    void postCoalescing(const char* name, const std::shared_ptr<void>& thing) override;
};

}  // namespace orvo::platform::x11
