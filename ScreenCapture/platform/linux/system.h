// Clocks, console and notifications of a process on Linux, whatever shows its windows.
#pragma once

#include "ScreenCapture/platform/notifications.h"
#include "ScreenCapture/platform/system.h"

namespace orvo::platform::linux {

class LinuxClock final : public Clock {
  public:
    double absoluteSeconds() override;
    double secondsSince1970() override;
};

// What the user permits is up to the window system.
class LinuxSystem : public System {
  public:
    void console(std::string_view line) override;
};

// The system has no notification centre, and inside the process nobody listens: posting does nothing.
class NoNotifications final : public Notifications {
  public:
    void postCoalescing(const char* /*name*/, const std::shared_ptr<void>& /*thing*/) override {}
};

}  // namespace orvo::platform::linux
