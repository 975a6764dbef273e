// Services that have nothing to tell yet.
#pragma once

#include "ScreenCapture/platform/platform.h"

namespace orvo::platform::x11 {

class NoGrabber final : public Grabber {
  public:
    Shot window() override { return NoImage::failed; }
    Shot area(const Rect& /*area*/) override { return NoImage::failed; }
    Shot composed(const Rect& /*bounds*/, const std::vector<uint32_t>& /*windows*/) override { return NoImage::failed; }
    Shot display() override { return NoImage::failed; }
};

class NoWindowServer final : public WindowServer {
  public:
    std::vector<WindowInfo> onScreenWindows() override { return {}; }
    std::vector<uint32_t> onScreenNumbers() override { return {}; }
    Shot windowPicture(uint32_t /*window*/) override { return NoImage::failed; }
    Shot displayPicture(uint32_t /*display*/) override { return NoImage::failed; }
    std::unique_ptr<Grabber> grabber(uint32_t /*target*/, bool /*isScreen*/) override {
        return std::make_unique<NoGrabber>();
    }
};

class NoImaging final : public Imaging {
  public:
    Ref<Image> crop(const Ref<Image>& /*image*/, const Rect& /*area*/) override { return nullptr; }
    Ref<Image> draw(const Ref<Image>& /*image*/, uint32_t /*width*/, uint32_t /*height*/,
                    const Rect& /*placement*/) override {
        return nullptr;
    }
    Ref<PixelBuffer> wrap(const Ref<Image>& /*image*/) override { return nullptr; }
    Picture picture(const Ref<Image>& /*image*/) override { return {}; }
    std::optional<Picture> scaled(const Picture& /*picture*/, const Size& /*size*/) override { return std::nullopt; }
    Ref<Image> flatten(const Picture& /*picture*/) override { return nullptr; }
    Picture picture(PixelBuffer& /*buffer*/) override { return {}; }
    Ref<PixelBuffer> scaledRGB(PixelBuffer& /*buffer*/, const Rect& /*area*/, uint32_t /*width*/,
                               uint32_t /*height*/) override {
        return nullptr;
    }
};

class NoPointer final : public Pointer {
  public:
    std::optional<Cursor> currentCursor() override { return std::nullopt; }
    Point location() override { return {}; }
};

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
