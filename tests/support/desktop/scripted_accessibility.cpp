// Elements, attributes and observers of the scripted desktop.
#include <algorithm>

#include "support/desktop/desktop.h"

namespace orvo::test {
namespace {

using platform::Attribute;
using platform::AttributeValue;
using platform::ElementRef;

// The system's own codes.
constexpr int32_t invalidElement = -25202;
constexpr int32_t attributeUnsupported = -25205;
constexpr int32_t noValue = -25212;

struct ScriptedElement final : platform::Element {
    ScriptedElement(int32_t process, uint32_t number, uint64_t which) : pid(process), window(number), identity(which) {}
    const int32_t pid;
    const uint32_t window;    // 0: the application itself
    const uint64_t identity;  // of the window
};

const ScriptedElement& scripted(const ElementRef& element) {
    return static_cast<const ScriptedElement&>(*element);
}
uint32_t numberOf(const ElementRef& element) {
    return element ? scripted(element).window : 0;
}

Attribute answer(AttributeValue value) {
    return {0, std::move(value), 1};
}

class ScriptedObserver final : public platform::ElementObserver {
  public:
    ScriptedObserver(Desktop& desktop, platform::ElementObserverCallback callback)
        : desktop_(desktop), watch_(std::make_shared<ObserverWatch>()) {
        watch_->callback = std::move(callback);
        desktop_.observers.push_back(watch_);
    }
    ~ScriptedObserver() override { removeFromCurrentRunLoop(); }

    void add(const ElementRef& element, const char* notification, void* context) override {
        watch_->observations.push_back({numberOf(element), notification, context, element});
    }
    void remove(const ElementRef& element, const char* notification) override {
        std::erase_if(watch_->observations,
                      [&](const auto& o) { return o.window == numberOf(element) && o.notification == notification; });
        desktop_.gate.record(kOrders, "unobserve " + std::to_string(numberOf(element)));
    }
    void addToCurrentRunLoop() override { watch_->attached = true; }
    void removeFromCurrentRunLoop() override { watch_->attached = false; }

  private:
    Desktop& desktop_;
    std::shared_ptr<ObserverWatch> watch_;
};

class ScriptedAccessibility final : public platform::Accessibility {
  public:
    explicit ScriptedAccessibility(Desktop& desktop) : desktop_(desktop) {}

    ElementRef systemWide() override { return std::make_shared<ScriptedElement>(0, 0, 0); }
    ElementRef application(int32_t pid) override {
        return desktop_.gate.enter("applicationElement") ? std::make_shared<ScriptedElement>(pid, 0, 0) : nullptr;
    }

    Attribute copyAttribute(const ElementRef& element, const char* name) override {
        if (!desktop_.gate.enter("copyAttribute")) return {platform::kErrorCannotComplete, {}, 0};
        if (numberOf(element) == 0) return applicationAttribute(scripted(element).pid, name);
        const auto* window = windowOf(element);
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
        if (!desktop_.gate.enter("copyElements")) return platform::kErrorCannotComplete;
        const auto all = applicationAttribute(scripted(element).pid, name);
        const auto* list = std::get_if<std::vector<ElementRef>>(&all.value);
        if (!list) return all.error != 0 ? all.error : attributeUnsupported;
        for (size_t i = from; i < list->size() && elements.size() < count; ++i) elements.push_back((*list)[i]);
        return 0;
    }

    int32_t setAttribute(const ElementRef& element, const char* name, const AttributeValue& value) override {
        if (!desktop_.gate.enter("setAttribute")) return platform::kErrorCannotComplete;
        const auto* window = windowOf(element);
        if (!window) return invalidElement;
        if (std::string(name) != "AXMain" || value != AttributeValue(true) || !window->acceptsMain)
            return attributeUnsupported;
        desktop_.gate.record(kOrders, "main " + std::to_string(window->number));
        desktop_.raiseWindow(window->number);
        return 0;
    }

    int32_t processIdentifier(const ElementRef& element) override {
        return desktop_.gate.pass("processIdentifier", [&] { return scripted(element).pid; });
    }
    uint32_t windowNumber(const ElementRef& element) override {
        return desktop_.gate.pass("windowNumber", [&] { return windowOf(element) ? numberOf(element) : 0; });
    }
    std::string describe(const ElementRef& element) override {
        return "<window " + std::to_string(numberOf(element)) + ">";
    }

    bool bringToFront(int32_t pid) override {
        if (!desktop_.gate.enter("bringToFront") || !desktop_.application(static_cast<uint32_t>(pid))) return false;
        desktop_.gate.record(kOrders, "front " + std::to_string(pid));
        desktop_.activateApplication(pid);
        return true;
    }

    std::unique_ptr<platform::ElementObserver> makeObserver(int32_t pid,
                                                            platform::ElementObserverCallback callback) override {
        if (!desktop_.gate.enter("makeObserver") || !desktop_.application(static_cast<uint32_t>(pid))) return nullptr;
        return std::make_unique<ScriptedObserver>(desktop_, std::move(callback));
    }

  private:
    // Null when the window is gone.
    ScriptedWindow* windowOf(const ElementRef& element) {
        auto* window = desktop_.window(numberOf(element));
        return window && window->identity == scripted(element).identity ? window : nullptr;
    }
    Attribute applicationAttribute(int32_t pid, const std::string& name) {
        if (!desktop_.application(static_cast<uint32_t>(pid))) return {platform::kErrorCannotComplete, {}, 0};
        std::vector<ElementRef> elements;
        for (const auto& w : desktop_.windows) {
            if (w.pid == pid && w.accessible)
                elements.push_back(std::make_shared<ScriptedElement>(w.pid, w.number, w.identity));
        }
        if (name == "AXWindows") return answer(std::move(elements));
        if (name == "AXMainWindow") return elements.empty() ? Attribute{noValue, {}, 0} : answer(elements.front());
        return {attributeUnsupported, {}, 0};
    }

    Desktop& desktop_;
};

}  // namespace

std::unique_ptr<platform::Accessibility> makeScriptedAccessibility(Desktop& desktop) {
    return std::make_unique<ScriptedAccessibility>(desktop);
}

}  // namespace orvo::test
