// Running applications: the processes that own windows.
#pragma once

#include "ScreenCapture/platform/workspace.h"

namespace orvo::platform::x11 {

class X11Workspace final : public Workspace {
  public:
    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override;
    std::shared_ptr<RunningApplication> application(int32_t pid) override;
    // An application's path is that of its desktop entry.
    std::optional<std::string> fullPathForApplication(const std::string& name) override;
    std::optional<Picture> iconForFile(const std::string& path) override;
};

}  // namespace orvo::platform::x11
