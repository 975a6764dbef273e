// Where the services of this adapter are made, each in the file of its name.
#pragma once

#include <memory>

#include "ScreenCapture/platform/platform.h"

namespace orvo::platform::macos {

std::unique_ptr<Dispatch> makeDispatch();
std::unique_ptr<Clock> makeClock();
std::unique_ptr<System> makeSystem();
std::unique_ptr<Displays> makeDisplays();
std::shared_ptr<DisplayCapture> makeDisplayCapture();
std::unique_ptr<WindowServer> makeWindowServer();
std::unique_ptr<Imaging> makeImaging();
std::unique_ptr<Pointer> makePointer();
std::unique_ptr<Accessibility> makeAccessibility();
std::unique_ptr<Workspace> makeWorkspace();
std::unique_ptr<Notifications> makeNotifications();

}  // namespace orvo::platform::macos
