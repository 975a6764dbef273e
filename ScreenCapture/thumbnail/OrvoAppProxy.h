// One process as the workspace and the accessibility service see it, with the observer of its window events.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ScreenCapture/platform/accessibility.h"
#include "ScreenCapture/platform/workspace.h"
#include "ScreenCapture/thumbnail/OrvoWindowProxy.h"

// There is one for every number, also without such a process: then its questions answer "", false or zero and its lists
// are empty. Callable from any thread; observing starts and stops on one thread, the one whose run loop delivers.
class OrvoAppProxy {
  public:
    static std::shared_ptr<OrvoAppProxy> initWithPID(int32_t pid);
    static std::shared_ptr<OrvoAppProxy> initWithElement(const orvo::platform::ElementRef& element);
    static std::shared_ptr<OrvoAppProxy> initWithRunningApp(orvo::platform::RunningApplication& application);
    static std::vector<std::shared_ptr<OrvoAppProxy>> runningApps();
    ~OrvoAppProxy();

    int32_t pid() const { return pid_; }
    const orvo::platform::ElementRef& app() const { return app_; }  // null when the service gives none

    std::string title() const;  // looked up again
    std::string name() const;
    int32_t processIdentifier() const;
    std::string bundleIdentifier() const;
    std::optional<orvo::platform::Picture> icon() const;
    bool canBeAsked() const;  // false while the system does not answer: what follows means nothing then
    bool isActive() const;
    bool isHidden() const;
    bool isTerminated() const;

    OrvoWindowProxyRef mainWindow() const;
    // At most 100, in the service's order.
    std::vector<OrvoWindowProxyRef> windows() const;
    std::vector<OrvoWindowProxyRef> allWindows() const { return windows(); }
    // visible: only those that are visible, or that are not; none: all.
    std::vector<OrvoWindowProxyRef> windows(std::optional<bool> visible) const;
    std::vector<OrvoWindowProxyRef> visibleWindows() const;
    OrvoWindowProxyRef windowWithWindowId(uint32_t windowId) const { return findWindow(windowId).proxy; }
    // The same, and whether that there is none can be believed: the running application may not have answered.
    struct WindowAnswer {
        OrvoWindowProxyRef proxy;
        bool isCertain = true;
    };
    WindowAnswer findWindow(uint32_t windowId) const;

    bool activate() const;  // all its windows
    bool focus() const;     // over other applications
    bool show() const;
    bool hide() const;
    bool terminate(bool force) const;

    orvo::platform::AttributeValue getProperty(const char* attribute,
                                               orvo::platform::AttributeValue defaultValue) const;
    bool setAttribute(const char* attribute, const orvo::platform::AttributeValue& value) const;
    // None when the attribute cannot be read.
    std::optional<std::vector<orvo::platform::ElementRef>> valuesForAttribute(const char* attribute, size_t fromIndex,
                                                                              size_t count) const;

    // Posts the process's window events under their "SD_EVENT_..." names, with the window's proxy. type: a number that
    // is compared with the kind of the windows' identifiers, to choose the window that is watched.
    void startObservingStuffWithWindow(int type);
    void stopObservingStuff();

  private:
    explicit OrvoAppProxy(int32_t pid);

    const int32_t pid_;
    const orvo::platform::ElementRef app_;
    const std::shared_ptr<orvo::platform::RunningApplication> runningApplication_;
    std::unique_ptr<orvo::platform::ElementObserver> observer_;
};

using OrvoAppProxyRef = std::shared_ptr<OrvoAppProxy>;
