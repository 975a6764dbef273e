// The services of the scripted desktop, each in a file of its own.
#pragma once

#include <memory>

#include "ScreenCapture/platform/platform.h"

namespace orvo::test {

class Desktop;

std::unique_ptr<platform::WindowServer> makeScriptedWindowServer(Desktop& desktop);
std::unique_ptr<platform::Accessibility> makeScriptedAccessibility(Desktop& desktop);
std::unique_ptr<platform::Workspace> makeScriptedWorkspace(Desktop& desktop);
std::unique_ptr<platform::Imaging> makeScriptedImaging(Desktop& desktop);

}  // namespace orvo::test
