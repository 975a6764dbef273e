// One window as the accessibility service sees it: plain questions and commands.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "ScreenCapture/platform/accessibility.h"
#include "ScreenCapture/platform/values.h"

class OrvoAppProxy;

// Asks again at every call; what is unknown answers "", false or zero. Callable from any thread.
class OrvoWindowProxy {
  public:
    // Null for a null element.
    static std::shared_ptr<OrvoWindowProxy> initWithElement(orvo::platform::ElementRef element);
    static orvo::platform::ElementRef systemWideElement();

    const orvo::platform::ElementRef& window() const { return element_; }
    const orvo::platform::ElementRef& win() const { return element_; }

    orvo::platform::Point topLeft() const;  // points, global, origin top-left
    orvo::platform::Size size() const;      // points
    orvo::platform::Rect frame() const;
    std::optional<orvo::platform::Rect> answeredFrame() const;  // none when the window's process cannot be asked
    int32_t processIdentifier() const;
    uint32_t windowID() const;
    std::shared_ptr<OrvoAppProxy> app() const;

    std::string title() const;
    std::string subrole() const;
    bool isWindowMinimized() const;
    bool isFullScreen() const;
    bool isNormalWindow() const;
    bool isNormal() const { return isNormalWindow(); }
    bool isVisible() const;      // a standard window, not minimised, of an application that is not hidden
    bool isMatchScreen() const;  // exactly as large as some display, wherever it is

    bool focusWindow() const;  // makes it the main window, then brings its process to the front
    bool focus() const;        // makes it the main window

    // Selects the proxies whose isVisible equals the argument.
    static std::function<bool(const OrvoWindowProxy&)> isVisible(bool visible);

    orvo::platform::AttributeValue getWindowProperty(const char* attribute,
                                                     orvo::platform::AttributeValue defaultValue) const;
    bool setAttribute(const char* attribute, const orvo::platform::AttributeValue& value) const;

  private:
    explicit OrvoWindowProxy(orvo::platform::ElementRef element) : element_(std::move(element)) {}

    const orvo::platform::ElementRef element_;
};

using OrvoWindowProxyRef = std::shared_ptr<OrvoWindowProxy>;
