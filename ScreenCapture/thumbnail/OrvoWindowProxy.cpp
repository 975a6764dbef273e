// Questions to one window, and commands.
#include "ScreenCapture/thumbnail/OrvoWindowProxy.h"

#include <algorithm>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/thumbnail/OrvoAppProxy.h"
#include "ScreenCapture/thumbnail/element_attributes.h"

using orvo::platform::AttributeValue;
using orvo::platform::ElementRef;
using orvo::platform::platform;
using orvo::platform::Point;
using orvo::platform::Rect;
using orvo::platform::Size;
using orvo::thumbnail::readAttributeAs;

namespace {

// Zero, with a console line that says which step failed; none when the window's process could not be asked.
template <typename T>
std::optional<T> readGeometry(const ElementRef& element, const char* attribute, const char* name) {
    const auto answer = platform().accessibility().copyAttribute(element, attribute);
    const T* const value = answer.error ? nullptr : std::get_if<T>(&answer.value);
    if (value) return *value;
    const std::string failure = answer.error ? "could not get window " : "could not decode ";
    platform().system().console(failure + name);
    return orvo::platform::couldNotAsk(answer.error) ? std::nullopt : std::optional(T());
}

}  // namespace

OrvoWindowProxyRef OrvoWindowProxy::initWithElement(ElementRef element) {
    if (!element) return nullptr;
    return OrvoWindowProxyRef(new OrvoWindowProxy(std::move(element)));
}

ElementRef OrvoWindowProxy::systemWideElement() {
    // Never released: questions may come while the process ends.
    static const ElementRef& element = *new ElementRef(platform().accessibility().systemWide());
    return element;
}

Point OrvoWindowProxy::topLeft() const {
    return readGeometry<Point>(element_, "AXPosition", "topLeft").value_or(Point());
}

Size OrvoWindowProxy::size() const {
    return readGeometry<Size>(element_, "AXSize", "size").value_or(Size());
}

Rect OrvoWindowProxy::frame() const {
    return answeredFrame().value_or(Rect());
}

std::optional<Rect> OrvoWindowProxy::answeredFrame() const {
    const auto origin = readGeometry<Point>(element_, "AXPosition", "topLeft");
    const auto extent = readGeometry<Size>(element_, "AXSize", "size");
    if (!origin || !extent) return std::nullopt;
    return Rect{origin->x, origin->y, extent->width, extent->height};
}

int32_t OrvoWindowProxy::processIdentifier() const {
    return platform().accessibility().processIdentifier(element_);
}

uint32_t OrvoWindowProxy::windowID() const {
    return platform().accessibility().windowNumber(element_);
}

OrvoAppProxyRef OrvoWindowProxy::app() const {
    return OrvoAppProxy::initWithPID(processIdentifier());
}

std::string OrvoWindowProxy::title() const {
    return readAttributeAs<std::string>(element_, "AXTitle", "");
}

std::string OrvoWindowProxy::subrole() const {
    return readAttributeAs<std::string>(element_, "AXSubrole", "");
}

bool OrvoWindowProxy::isWindowMinimized() const {
    return readAttributeAs(element_, "AXMinimized", false);
}

bool OrvoWindowProxy::isFullScreen() const {
    return readAttributeAs(element_, "AXFullScreen", false);
}

bool OrvoWindowProxy::isNormalWindow() const {
    return subrole() == "AXStandardWindow";
}

bool OrvoWindowProxy::isVisible() const {
    return !app()->isHidden() && isNormal() && !isWindowMinimized();
}

bool OrvoWindowProxy::isMatchScreen() const {
    const Size own = size();
    const auto screens = platform().displays().screens();
    return std::any_of(screens.begin(), screens.end(),
                       [&own](const auto& screen) { return screen.frame.size() == own; });
}

bool OrvoWindowProxy::focusWindow() const {
    auto& accessibility = platform().accessibility();
    if (accessibility.setAttribute(element_, "AXMain", true) != 0) {
        platform().system().console("ERROR: Could not change focus to window");
        return false;
    }
    return accessibility.bringToFront(processIdentifier());
}

bool OrvoWindowProxy::focus() const {
    return setAttribute("AXMain", true);
}

std::function<bool(const OrvoWindowProxy&)> OrvoWindowProxy::isVisible(bool visible) {
    return [visible](const OrvoWindowProxy& proxy) { return proxy.isVisible() == visible; };
}

AttributeValue OrvoWindowProxy::getWindowProperty(const char* attribute, AttributeValue defaultValue) const {
    return orvo::thumbnail::readAttribute(element_, attribute, std::move(defaultValue));
}

bool OrvoWindowProxy::setAttribute(const char* attribute, const AttributeValue& value) const {
    return orvo::thumbnail::writeAttribute(element_, attribute, value);
}
