// The x11 parts of the port.
#include "ScreenCapture/platform/platform.h"

#include "ScreenCapture/platform/linux/main_queue.h"
#include "ScreenCapture/platform/linux/system.h"
#include "ScreenCapture/platform/software/display_stream.h"
#include "ScreenCapture/platform/software/imaging.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/services.h"

namespace orvo::platform {
namespace {

class X11System final : public linux::LinuxSystem {
  public:
    // The server asks nobody: whoever reaches it may. The screens of a Wayland session are not its to show.
    PermissionState permission(Permission permission) override {
        if (permission != Permission::screenRecording) return PermissionState::granted;
        const auto desktop = x11::currentDesktop();
        const bool isWayland = desktop ? !desktop->monitors->areShown : x11::whyUnreachable() == NoImage::wayland;
        return isWayland ? PermissionState::denied : PermissionState::granted;
    }
    PermissionState requestPermission(Permission asked) override { return permission(asked); }
};

class X11Platform final : public Platform {
  public:
    Dispatch& dispatch() override { return dispatch_; }
    Clock& clock() override { return clock_; }
    System& system() override { return system_; }
    Displays& displays() override { return *displays_; }
    std::shared_ptr<DisplayCapture> makeDisplayCapture() override {
        return software::makeDisplayStream(x11::openDisplaySource);
    }
    WindowServer& windowServer() override { return *windowServer_; }
    Imaging& imaging() override { return imaging_; }
    Pointer& pointer() override { return *pointer_; }
    Accessibility& accessibility() override { return *accessibility_; }
    Workspace& workspace() override { return *workspace_; }
    Notifications& notifications() override { return notifications_; }

  private:
    linux::LinuxDispatch dispatch_;
    linux::LinuxClock clock_;
    X11System system_;
    const std::unique_ptr<Displays> displays_ = x11::makeDisplays();
    linux::NoNotifications notifications_;
    const std::unique_ptr<WindowServer> windowServer_ = x11::makeWindowServer();
    software::SoftwareImaging imaging_;
    const std::unique_ptr<Pointer> pointer_ = x11::makePointer();
    const std::unique_ptr<Accessibility> accessibility_ = x11::makeAccessibility();
    const std::unique_ptr<Workspace> workspace_ = x11::makeWorkspace();
};

}  // namespace

Platform& platform() {
    static Platform& one = *new X11Platform;
    return one;
}

}  // namespace orvo::platform
