// Running applications: the processes that own windows.
#include "ScreenCapture/platform/x11/services.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ScreenCapture/platform/linux/icon_files.h"
#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/properties.h"
#include "ScreenCapture/platform/x11/server.h"
#include "ScreenCapture/platform/x11/window_control.h"

namespace orvo::platform::x11 {
namespace {

constexpr uint32_t kMaxIconProperty = 1U << 20;  // in units of 4 bytes

Ref<Image> bitmapOf(const IconBitmap& icon) {
    const auto bitmap = software::MemoryBitmap::make(icon.width, icon.height, static_cast<size_t>(icon.width) * 4);
    if (!bitmap) return nullptr;
    uint8_t* out = bitmap->data();
    for (const uint32_t pixel : icon.pixels) {
        const uint32_t value =
            software::premultiplied(pixel >> 24, pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF);
        std::memcpy(out, &value, 4);
        out += 4;
    }
    return bitmap;
}

// _NET_WM_ICON with all its sizes, the largest as the picture's own bitmap; none when the window has none.
std::optional<Picture> iconOfWindow(xcb_window_t window) {
    std::vector<IconBitmap> icons;
    if (const Server::Use x = desktopServer().use(); x) {
        const auto cookie =
            xcb_get_property(x->raw(), 0, window, x->atoms().NET_WM_ICON, XCB_ATOM_CARDINAL, 0, kMaxIconProperty);
        const auto reply = x->await<xcb_get_property_reply_t>(cookie.sequence);
        icons = decodeIcons(x->atoms().property(reply.get()));
    }
    std::vector<Ref<Image>> bitmaps;
    for (const IconBitmap& icon : icons)
        if (Ref<Image> bitmap = bitmapOf(icon)) bitmaps.push_back(std::move(bitmap));
    if (bitmaps.empty()) return std::nullopt;
    return software::pictureOf(bitmaps);
}

// None without a desktop.
std::shared_ptr<const WindowList> currentWindows() {
    const auto desktop = currentDesktop();
    return desktop ? desktop->windows : std::make_shared<const WindowList>();
}

// Asks again each time; remembers its process only.
class Application final : public RunningApplication {
  public:
    explicit Application(int32_t pid) : pid_(pid) {}

    int32_t processIdentifier() override { return pid_; }

    bool canBeAsked() override { return currentDesktop() != nullptr; }

    std::string localizedName() override { return applicationName(*currentWindows(), pid_); }
    std::string bundleIdentifier() override {
        const auto windows = currentWindows();
        const Process* const process = windows->process(pid_);
        const auto entry = process ? entryOfProcess(*process) : nullptr;
        return entry ? entry->id : "";
    }
    // That of its oldest window that has one.
    std::optional<Picture> icon() override {
        const auto windows = currentWindows();
        std::vector<xcb_window_t> numbers;
        for (const DesktopWindow& window : windows->all)
            if (window.pid == pid_ && window.hasIcon) numbers.push_back(window.number);
        std::ranges::sort(numbers);
        for (const xcb_window_t number : numbers)
            if (auto icon = iconOfWindow(number)) return icon;
        return std::nullopt;
    }

    bool isActive() override { return pid_ != 0 && currentWindows()->activeProcess() == pid_; }
    bool isHidden() override { return currentWindows()->isHidden(pid_); }
    bool isTerminated() override {
        if (pid_ > 0) return kill(pid_, 0) != 0 && errno == ESRCH;
        const auto desktop = currentDesktop();
        return desktop && !desktop->windows->process(pid_);
    }

    bool activate(Activation how) override {
        const Windows windows(pid_);
        if (how == Activation::allWindows)
            windows.order([](const Server::Use& x, const DesktopWindow& window) {
                return window.minimized || raiseWindow(x, window.number);
            });
        return activateProcess(pid_);
    }
    bool hide() override { return hideApplication(pid_); }
    bool unhide() override { return showApplication(pid_); }

    bool terminate() override {
        const Windows windows(pid_);
        return windows.order(
            [](const Server::Use& x, const DesktopWindow& window) { return requestClose(x, window.number); });
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
        explicit Windows(int32_t pid) : all(currentWindows()), list(windowsOfProcess(*all, pid)) {}
        // Back to front. False when there is none, or one of them could not be sent its order.
        template <typename Order>
        bool order(Order send) const {
            const Server::Use x = desktopServer().use();
            bool isSent = !list.empty();
            for (auto window = list.rbegin(); window != list.rend(); ++window) isSent &= send(x, **window);
            return isSent;
        }
        const std::shared_ptr<const WindowList> all;
        const std::vector<const DesktopWindow*> list;
    };

    const int32_t pid_;
};

class X11Workspace final : public Workspace {
  public:
    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override {
        std::vector<std::shared_ptr<RunningApplication>> applications;
        const auto windows = currentWindows();
        for (const Process& process : windows->processes)
            applications.push_back(std::make_shared<Application>(process.pid));
        return applications;
    }

    std::shared_ptr<RunningApplication> application(int32_t pid) override {
        const auto desktop = currentDesktop();
        if (desktop && !desktop->windows->process(pid)) return nullptr;
        return std::make_shared<Application>(pid);
    }

    std::optional<std::string> fullPathForApplication(const std::string& name) override {
        const auto entry = linux::entryByName(name);
        if (!entry) return std::nullopt;
        return entry->path;
    }

    std::optional<Picture> iconForFile(const std::string& path) override {
        const auto entry = linux::entryByPath(path);
        return entry ? linux::iconByName(entry->icon) : std::nullopt;
    }
};

}  // namespace

std::unique_ptr<Workspace> makeWorkspace() {
    return std::make_unique<X11Workspace>();
}

}  // namespace orvo::platform::x11
