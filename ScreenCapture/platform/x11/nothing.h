// Services that have nothing to tell yet.
#pragma once

#include "ScreenCapture/platform/platform.h"

namespace orvo::platform::x11 {

class NoAccessibility final : public Accessibility {
  public:
    ElementRef systemWide() override { return std::make_shared<Element>(); }
    ElementRef application(int32_t /*pid*/) override { return std::make_shared<Element>(); }
    Attribute copyAttribute(const ElementRef& /*element*/, const char* /*name*/) override {
        return {kCannotComplete, {}, 0};
    }
    int32_t copyElements(const ElementRef& /*element*/, const char* /*name*/, size_t /*from*/, size_t /*count*/,
                         std::vector<ElementRef>& /*elements*/) override {
        return kCannotComplete;
    }
    int32_t setAttribute(const ElementRef& /*element*/, const char* /*name*/,
                         const AttributeValue& /*value*/) override {
        return kCannotComplete;
    }
    int32_t processIdentifier(const ElementRef& /*element*/) override { return 0; }
    uint32_t windowNumber(const ElementRef& /*element*/) override { return 0; }
    std::string describe(const ElementRef& /*element*/) override { return {}; }
    bool bringToFront(int32_t /*pid*/) override { return false; }
    std::unique_ptr<ElementObserver> makeObserver(int32_t /*pid*/, ElementObserverCallback /*callback*/) override {
        return nullptr;
    }

  private:
    static constexpr int32_t kCannotComplete = -25204;
};

class NoWorkspace final : public Workspace {
  public:
    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override { return {}; }
    std::shared_ptr<RunningApplication> application(int32_t /*pid*/) override { return nullptr; }
    std::optional<std::string> fullPathForApplication(const std::string& /*name*/) override { return std::nullopt; }
    std::optional<Picture> iconForFile(const std::string& /*path*/) override { return std::nullopt; }
};

}  // namespace orvo::platform::x11
