// The clocks, and the system as a developer and its user meet it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvo::platform {

class Clock {
  public:
    virtual ~Clock() = default;
    virtual double absoluteSeconds() = 0;   // wall clock since 2001-01-01 00:00:00 UTC
    virtual double secondsSince1970() = 0;  // wall clock
};

enum class Permission { screenRecording, accessibility };
enum class PermissionState { neverAsked, denied, granted, restartNeeded };

class System {
  public:
    virtual ~System() = default;
    // Writes one line to the developer's console, as a whole: NSLog on macOS, the log at debug level on Linux.
    virtual void console(std::string_view line) = 0;

    // What the user allows this process now; asking may show the system's own dialogue and does not wait for it.
    virtual PermissionState permission(Permission permission) = 0;
    virtual PermissionState requestPermission(Permission permission) = 0;
};

// What a platform call threw; adapters let nothing else out.
struct PlatformException {
    std::string name;
    std::string reason;
};

}  // namespace orvo::platform
