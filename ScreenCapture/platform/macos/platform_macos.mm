// The platform on macOS: the one set of services of the process.
#include "ScreenCapture/platform/macos/services.h"

namespace orvo::platform {
namespace {

class MacPlatform final : public Platform {
  public:
    Dispatch& dispatch() override { return *dispatch_; }
    Clock& clock() override { return *clock_; }
    System& system() override { return *system_; }
    Displays& displays() override { return *displays_; }
    std::shared_ptr<DisplayCapture> makeDisplayCapture() override { return macos::makeDisplayCapture(); }
    WindowServer& windowServer() override { return *windowServer_; }
    Imaging& imaging() override { return *imaging_; }
    Pointer& pointer() override { return *pointer_; }
    Accessibility& accessibility() override { return *accessibility_; }
    Workspace& workspace() override { return *workspace_; }
    Notifications& notifications() override { return *notifications_; }

  private:
    const std::unique_ptr<Dispatch> dispatch_ = macos::makeDispatch();
    const std::unique_ptr<Clock> clock_ = macos::makeClock();
    const std::unique_ptr<System> system_ = macos::makeSystem();
    const std::unique_ptr<Displays> displays_ = macos::makeDisplays();
    const std::unique_ptr<WindowServer> windowServer_ = macos::makeWindowServer();
    const std::unique_ptr<Imaging> imaging_ = macos::makeImaging();
    const std::unique_ptr<Pointer> pointer_ = macos::makePointer();
    const std::unique_ptr<Accessibility> accessibility_ = macos::makeAccessibility();
    const std::unique_ptr<Workspace> workspace_ = macos::makeWorkspace();
    const std::unique_ptr<Notifications> notifications_ = macos::makeNotifications();
};

}  // namespace

// Never destroyed: late jobs of the system's queues may still ask when the process ends.
Platform& platform() {
    static Platform* const instance = new MacPlatform;
    return *instance;
}

}  // namespace orvo::platform
