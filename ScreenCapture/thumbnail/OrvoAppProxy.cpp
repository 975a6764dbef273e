// Questions to one process, its lists of windows, and commands.
#include "ScreenCapture/thumbnail/OrvoAppProxy.h"

#include <utility>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/thumbnail/element_attributes.h"

using orvo::platform::Activation;
using orvo::platform::AttributeValue;
using orvo::platform::ElementRef;
using orvo::platform::Picture;
using orvo::platform::platform;
using orvo::platform::RunningApplication;

namespace {

constexpr size_t kMaxWindows = 100;

template <typename Accept>
std::vector<OrvoWindowProxyRef> filtered(std::vector<OrvoWindowProxyRef> proxies, Accept accept) {
    std::erase_if(proxies, [&accept](const OrvoWindowProxyRef& proxy) { return !accept(*proxy); });
    return proxies;
}

}  // namespace

OrvoAppProxy::OrvoAppProxy(int32_t pid)
    : pid_(pid),
      app_(platform().accessibility().application(pid)),
      runningApplication_(platform().workspace().application(pid)) {}

OrvoAppProxy::~OrvoAppProxy() = default;

OrvoAppProxyRef OrvoAppProxy::initWithPID(int32_t pid) {
    return OrvoAppProxyRef(new OrvoAppProxy(pid));
}

OrvoAppProxyRef OrvoAppProxy::initWithElement(const ElementRef& element) {
    return initWithPID(element ? platform().accessibility().processIdentifier(element) : 0);
}

OrvoAppProxyRef OrvoAppProxy::initWithRunningApp(RunningApplication& application) {
    return initWithPID(application.processIdentifier());
}

std::vector<OrvoAppProxyRef> OrvoAppProxy::runningApps() {
    std::vector<OrvoAppProxyRef> proxies;
    for (const auto& application : platform().workspace().runningApplications()) {
        proxies.push_back(initWithRunningApp(*application));
    }
    return proxies;
}

std::string OrvoAppProxy::title() const {
    const auto application = platform().workspace().application(pid_);
    return application ? application->localizedName() : "";
}

std::string OrvoAppProxy::name() const {
    return runningApplication_ ? runningApplication_->localizedName() : "";
}

int32_t OrvoAppProxy::processIdentifier() const {
    return runningApplication_ ? runningApplication_->processIdentifier() : 0;
}

std::string OrvoAppProxy::bundleIdentifier() const {
    return runningApplication_ ? runningApplication_->bundleIdentifier() : "";
}

std::optional<Picture> OrvoAppProxy::icon() const {
    return runningApplication_ ? runningApplication_->icon() : std::nullopt;
}

bool OrvoAppProxy::canBeAsked() const {
    return !runningApplication_ || runningApplication_->canBeAsked();
}

bool OrvoAppProxy::isActive() const {
    return runningApplication_ && runningApplication_->isActive();
}

bool OrvoAppProxy::isHidden() const {
    return runningApplication_ && runningApplication_->isHidden();
}

bool OrvoAppProxy::isTerminated() const {
    return runningApplication_ && runningApplication_->isTerminated();
}

OrvoWindowProxyRef OrvoAppProxy::mainWindow() const {
    return OrvoWindowProxy::initWithElement(
        orvo::thumbnail::readAttributeAs<ElementRef>(app_, "AXMainWindow", nullptr));
}

std::vector<OrvoWindowProxyRef> OrvoAppProxy::windows() const {
    std::vector<OrvoWindowProxyRef> proxies;
    const auto elements = valuesForAttribute("AXWindows", 0, kMaxWindows);
    if (!elements) return proxies;
    for (const ElementRef& element : *elements) {
        if (auto proxy = OrvoWindowProxy::initWithElement(element)) proxies.push_back(std::move(proxy));
    }
    return proxies;
}

std::vector<OrvoWindowProxyRef> OrvoAppProxy::windows(std::optional<bool> visible) const {
    return visible ? filtered(windows(), OrvoWindowProxy::isVisible(*visible)) : windows();
}

std::vector<OrvoWindowProxyRef> OrvoAppProxy::visibleWindows() const {
    return filtered(allWindows(), [this](const OrvoWindowProxy& proxy) {
        return !isHidden() && !proxy.isWindowMinimized() && proxy.isNormalWindow();
    });
}

OrvoAppProxy::WindowAnswer OrvoAppProxy::findWindow(uint32_t windowId) const {
    if (!app_) return {};
    auto& accessibility = platform().accessibility();
    std::vector<ElementRef> elements;
    const int32_t error = accessibility.copyElements(app_, "AXWindows", 0, kMaxWindows, elements);
    // An application that has ended does not answer either.
    if (orvo::platform::couldNotAsk(error)) return {nullptr, !runningApplication_ || isTerminated()};
    for (const ElementRef& element : elements) {
        if (element && accessibility.windowNumber(element) == windowId)
            return {OrvoWindowProxy::initWithElement(element)};
    }
    return {};
}

bool OrvoAppProxy::activate() const {
    return runningApplication_ && runningApplication_->activate(Activation::allWindows);
}

bool OrvoAppProxy::focus() const {
    return runningApplication_ && runningApplication_->activate(Activation::ignoringOthers);
}

bool OrvoAppProxy::show() const {
    return runningApplication_ && runningApplication_->unhide();
}

bool OrvoAppProxy::hide() const {
    return runningApplication_ && runningApplication_->hide();
}

bool OrvoAppProxy::terminate(bool force) const {
    if (!runningApplication_) return false;
    return force ? runningApplication_->forceTerminate() : runningApplication_->terminate();
}

AttributeValue OrvoAppProxy::getProperty(const char* attribute, AttributeValue defaultValue) const {
    return orvo::thumbnail::readAttribute(app_, attribute, std::move(defaultValue));
}

bool OrvoAppProxy::setAttribute(const char* attribute, const AttributeValue& value) const {
    return orvo::thumbnail::writeAttribute(app_, attribute, value);
}

std::optional<std::vector<ElementRef>> OrvoAppProxy::valuesForAttribute(const char* attribute, size_t fromIndex,
                                                                        size_t count) const {
    std::vector<ElementRef> elements;
    if (!app_ || platform().accessibility().copyElements(app_, attribute, fromIndex, count, elements) != 0) {
        return std::nullopt;
    }
    return elements;
}
