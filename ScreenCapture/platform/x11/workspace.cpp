// Running applications: the processes that own clients.
#include "ScreenCapture/platform/x11/workspace.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop_model.h"
#include "ScreenCapture/platform/x11/hidden_applications.h"
#include "ScreenCapture/platform/x11/icons.h"
#include "ScreenCapture/platform/x11/window_control.h"

namespace orvo::platform::x11 {
namespace {

// Asks anew each time; remembers its process only.
class Application final : public RunningApplication {
  public:
    explicit Application(int32_t pid) : pid_(pid) {}

    int32_t processIdentifier() override { return pid_; }

    std::string localizedName() override {
        return ofFirstWindow([](const DesktopWindow& window) { return applicationName(window); });
    }
    std::string bundleIdentifier() override {
        return ofFirstWindow([](const DesktopWindow& window) {
            const auto entry = entryOfWindow(window);
            return entry ? entry->id : std::string();
        });
    }
    std::optional<Picture> icon() override {
        const Windows windows(pid_);
        for (const DesktopWindow* window : windows.list) {
            if (!window->hasIcon) continue;
            if (auto icon = iconOfWindow(window->number)) return icon;
        }
        return std::nullopt;
    }

    bool isActive() override {
        const Windows windows(pid_);
        return std::any_of(windows.list.begin(), windows.list.end(), [&](const DesktopWindow* window) {
            return window->number == windows.desktop->windows->active;
        });
    }
    bool isHidden() override {
        const Windows windows(pid_);
        return windows.desktop && isHiddenApplication(*windows.desktop->windows, pid_);
    }
    bool isTerminated() override { return kill(pid_, 0) != 0 && errno == ESRCH; }

    bool activate(Activation how) override {
        const Windows windows(pid_);
        if (windows.list.empty()) return false;
        if (how == Activation::allWindows)
            for (auto window = windows.list.rbegin(); window != windows.list.rend(); ++window)
                if (!(*window)->iconic) raiseWindow((*window)->number);
        const auto shown = std::find_if(windows.list.begin(), windows.list.end(),
                                        [](const DesktopWindow* window) { return !window->iconic; });
        return activateWindow((shown == windows.list.end() ? windows.list.front() : *shown)->number);
    }
    bool hide() override { return hideApplication(pid_); }
    bool unhide() override { return showApplication(pid_); }

    bool terminate() override {
        const Windows windows(pid_);
        bool asked = !windows.list.empty();
        for (const DesktopWindow* window : windows.list) asked &= askToClose(window->number);
        return asked;
    }
    // Only a process that the server itself knows: a client may claim to be any.
    bool forceTerminate() override {
        const Windows windows(pid_);
        const bool certain = std::any_of(windows.list.begin(), windows.list.end(),
                                         [](const DesktopWindow* window) { return window->pidIsCertain; });
        return certain && pid_ > 1 && pid_ != getpid() && kill(pid_, SIGKILL) == 0;
    }

  private:
    // The windows of the process now.
    struct Windows {
        explicit Windows(int32_t pid) : desktop(currentDesktop()) {
            if (desktop) list = windowsOfProcess(*desktop->windows, pid);
        }
        std::shared_ptr<const Desktop> desktop;
        std::vector<const DesktopWindow*> list;
    };

    template <typename Question>
    std::string ofFirstWindow(Question question) const {
        const Windows windows(pid_);
        return windows.list.empty() ? std::string() : question(*windows.list.front());
    }

    const int32_t pid_;
};

}  // namespace

std::vector<std::shared_ptr<RunningApplication>> X11Workspace::runningApplications() {
    std::vector<std::shared_ptr<RunningApplication>> applications;
    const auto desktop = currentDesktop();
    if (!desktop) return applications;
    for (const int32_t pid : desktop->windows->processes) applications.push_back(std::make_shared<Application>(pid));
    return applications;
}

std::shared_ptr<RunningApplication> X11Workspace::application(int32_t pid) {
    const auto desktop = currentDesktop();
    if (!desktop) return nullptr;
    const auto& processes = desktop->windows->processes;
    if (std::find(processes.begin(), processes.end(), pid) == processes.end()) return nullptr;
    return std::make_shared<Application>(pid);
}

std::optional<std::string> X11Workspace::fullPathForApplication(const std::string& name) {
    const auto entry = entryByName(name);
    if (!entry) return std::nullopt;
    return entry->path;
}

std::optional<Picture> X11Workspace::iconForFile(const std::string& path) {
    const auto entry = entryByPath(path);
    return entry ? iconByName(entry->icon) : std::nullopt;
}

}  // namespace orvo::platform::x11
