// Elements, attributes and observers of the scripted desktop.
#include <algorithm>

#include "support/desktop/desktop.h"
#include "support/desktop/services.h"

namespace orvo::test {
namespace {

using platform::Attribute;
using platform::AttributeValue;
using platform::ElementRef;

// The system's own codes.
constexpr int32_t invalidElement = -25202;
constexpr int32_t cannotComplete = -25204;
constexpr int32_t attributeUnsupported = -25205;
constexpr int32_t noValue = -25212;

struct ScriptedElement final : platform::Element {
    int32_t pid = 0;
    uint32_t window = 0;    // 0: the application itself
    uint64_t identity = 0;  // of the window
};

const ScriptedElement& scripted(const ElementRef& element) {
    return static_cast<const ScriptedElement&>(*element);
}

ElementRef elementOf(const ScriptedWindow& window) {
    auto element = std::make_shared<ScriptedElement>();
    element->pid = window.pid;
    element->window = window.number;
    element->identity = window.identity;
    return element;
}

// Null when the window is gone.
ScriptedWindow* windowOf(Desktop& desktop, const ElementRef& element) {
    auto* window = desktop.window(scripted(element).window);
    return window && window->identity == scripted(element).identity ? window : nullptr;
}

Attribute answer(AttributeValue value) {
    return {0, std::move(value), 1};
}

class ScriptedAccessibility final : public platform::Accessibility {
  public:
    explicit ScriptedAccessibility(Desktop& desktop) : desktop_(desktop) {}

    ElementRef systemWide() override { return std::make_shared<ScriptedElement>(); }
    ElementRef application(int32_t pid) override {
        auto pass = desktop_.gate.enter("applicationElement");
        if (!pass) return nullptr;
        auto element = std::make_shared<ScriptedElement>();
        element->pid = pid;
        return element;
    }

    Attribute copyAttribute(const ElementRef& element, const char* name) override {
        auto pass = desktop_.gate.enter("copyAttribute");
        if (!pass) return {cannotComplete, {}, 0};
        if (scripted(element).window == 0) return applicationAttribute(scripted(element).pid, name);
        const auto* window = windowOf(desktop_, element);
        if (!window) return {invalidElement, {}, 0};
        if (auto set = window->answers.find(name); set != window->answers.end()) return set->second;
        const std::string attribute = name;
        if (attribute == "AXPosition") return answer(window->bounds.origin());
        if (attribute == "AXSize") return answer(window->bounds.size());
        if (attribute == "AXTitle") return answer(window->title);
        if (attribute == "AXSubrole") return answer(window->subrole);
        if (attribute == "AXMinimized") return answer(window->minimized);
        if (attribute == "AXFullScreen") return answer(window->fullScreen);
        return {attributeUnsupported, {}, 0};
    }

    int32_t copyElements(const ElementRef& element, const char* name, size_t from, size_t count,
                         std::vector<ElementRef>& elements) override {
        auto pass = desktop_.gate.enter("copyElements");
        if (!pass) return cannotComplete;
        const auto all = applicationAttribute(scripted(element).pid, name);
        const auto* list = std::get_if<std::vector<ElementRef>>(&all.value);
        if (!list) return all.error != 0 ? all.error : attributeUnsupported;
        const size_t first = std::min(from, list->size());
        elements.assign(list->begin() + static_cast<ptrdiff_t>(first),
                        list->begin() + static_cast<ptrdiff_t>(first + std::min(count, list->size() - first)));
        return 0;
    }

    int32_t setAttribute(const ElementRef& element, const char* name, const AttributeValue& value) override {
        auto pass = desktop_.gate.enter("setAttribute");
        if (!pass) return cannotComplete;
        const auto* window = windowOf(desktop_, element);
        if (!window) return invalidElement;
        const auto* flag = std::get_if<bool>(&value);
        if (std::string(name) != "AXMain" || !flag || !*flag || !window->acceptsMain) return attributeUnsupported;
        desktop_.orders.push_back("main " + std::to_string(window->number));
        desktop_.raiseWindow(window->number);
        return 0;
    }

    int32_t processIdentifier(const ElementRef& element) override {
        auto pass = desktop_.gate.enter("processIdentifier");
        return pass ? scripted(element).pid : 0;
    }
    uint32_t windowNumber(const ElementRef& element) override {
        auto pass = desktop_.gate.enter("windowNumber");
        return pass && windowOf(desktop_, element) ? scripted(element).window : 0;
    }
    std::string describe(const ElementRef& element) override {
        const auto& e = scripted(element);
        return e.window ? "<window " + std::to_string(e.window) + ">" : "<application " + std::to_string(e.pid) + ">";
    }

    bool bringToFront(int32_t pid) override {
        auto pass = desktop_.gate.enter("bringToFront");
        const auto* application = desktop_.application(pid);
        if (!pass || !application || !application->obeys) return false;
        desktop_.orders.push_back("front " + std::to_string(pid));
        desktop_.activateApplication(pid);
        return true;
    }

    std::unique_ptr<platform::ElementObserver> makeObserver(int32_t pid,
                                                            platform::ElementObserverCallback callback) override;

  private:
    Attribute applicationAttribute(int32_t pid, const std::string& name) {
        if (!desktop_.application(pid)) return {cannotComplete, {}, 0};
        std::vector<ElementRef> elements;
        for (const auto& window : desktop_.windows) {
            if (window.pid == pid && window.accessible) elements.push_back(elementOf(window));
        }
        if (name == "AXWindows") return answer(std::move(elements));
        if (name == "AXMainWindow") return elements.empty() ? Attribute{noValue, {}, 0} : answer(elements.front());
        return {attributeUnsupported, {}, 0};
    }

    Desktop& desktop_;
};

class ScriptedObserver final : public platform::ElementObserver {
  public:
    ScriptedObserver(Desktop& desktop, int32_t pid, platform::ElementObserverCallback callback)
        : desktop_(desktop), watch_(std::make_shared<ObserverWatch>()) {
        watch_->pid = pid;
        watch_->callback = std::move(callback);
        desktop_.observers.push_back(watch_);
    }
    ~ScriptedObserver() override { removeFromCurrentRunLoop(); }

    void add(const ElementRef& element, const char* notification, void* context) override {
        auto pass = desktop_.gate.enter("observe");
        watch_->observations.push_back({element ? scripted(element).window : 0, notification, context, element});
    }
    void remove(const ElementRef& element, const char* notification) override {
        auto pass = desktop_.gate.enter("unobserve");
        const uint32_t window = element ? scripted(element).window : 0;
        std::erase_if(watch_->observations,
                      [&](const auto& o) { return o.window == window && o.notification == notification; });
    }
    void addToCurrentRunLoop() override {
        auto pass = desktop_.gate.enter("addToRunLoop");
        watch_->attached = true;
    }
    void removeFromCurrentRunLoop() override {
        auto pass = desktop_.gate.enter("removeFromRunLoop");
        watch_->attached = false;
    }

  private:
    Desktop& desktop_;
    std::shared_ptr<ObserverWatch> watch_;
};

std::unique_ptr<platform::ElementObserver> ScriptedAccessibility::makeObserver(
    int32_t pid, platform::ElementObserverCallback callback) {
    auto pass = desktop_.gate.enter("makeObserver");
    if (!pass || !desktop_.application(pid)) return nullptr;
    return std::make_unique<ScriptedObserver>(desktop_, pid, std::move(callback));
}

}  // namespace

std::unique_ptr<platform::Accessibility> makeScriptedAccessibility(Desktop& desktop) {
    return std::make_unique<ScriptedAccessibility>(desktop);
}

}  // namespace orvo::test
