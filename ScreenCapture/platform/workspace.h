// Running applications and their icons. Callable from any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform {

enum class Activation { allWindows = 1, ignoringOthers = 2 };

class RunningApplication {
  public:
    virtual ~RunningApplication() = default;
    virtual int32_t processIdentifier() = 0;
    // False while the system does not answer at all: what the others say means nothing then.
    virtual bool canBeAsked() { return true; }
    virtual std::string localizedName() = 0;     // UTF-8
    virtual std::string bundleIdentifier() = 0;  // empty when it has none
    virtual std::optional<Picture> icon() = 0;
    virtual bool isActive() = 0;
    virtual bool isHidden() = 0;
    virtual bool isTerminated() = 0;
    virtual bool activate(Activation how) = 0;
    virtual bool hide() = 0;
    virtual bool unhide() = 0;
    virtual bool terminate() = 0;
    virtual bool forceTerminate() = 0;
};

class Workspace {
  public:
    virtual ~Workspace() = default;
    virtual std::vector<std::shared_ptr<RunningApplication>> runningApplications() = 0;
    virtual std::shared_ptr<RunningApplication> application(int32_t pid) = 0;  // null when it is known not to run
    virtual std::optional<std::string> fullPathForApplication(const std::string& name) = 0;
    virtual std::optional<Picture> iconForFile(const std::string& path) = 0;
};

}  // namespace orvo::platform
