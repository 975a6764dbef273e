// Window lists and pictures of the scripted desktop.
#include <algorithm>

#include "support/desktop/desktop.h"
#include "support/desktop/services.h"
#include "support/desktop/words.h"

namespace orvo::test {
namespace {

using platform::NoImage;
using platform::Rect;
using platform::Shot;

int pixels(double points, double scale) {
    return platform::truncated<int>(points * scale);
}

double scaleAt(Desktop& desktop, const Rect& area) {
    for (const auto& display : desktop.displays) {
        const Rect& b = display.bounds;
        if (area.x >= b.x && area.x < b.x + b.width && area.y >= b.y && area.y < b.y + b.height) return display.scale;
    }
    return 1;
}

platform::Ref<Bitmap> pictureOfWindow(Desktop& desktop, const ScriptedWindow& window) {
    if (window.picture) return window.picture;
    const double scale = scaleAt(desktop, window.bounds);
    auto image = pattern(window.number, pixels(window.bounds.width, scale), pixels(window.bounds.height, scale));
    image->versionNumber = window.version;
    return image;
}

Shot shotOfWindow(Desktop& desktop, uint32_t number) {
    auto* window = desktop.window(number);
    if (!window) return NoImage::gone;
    if (window->refuses != NoImage::none) return window->refuses;
    if (!desktop.isOnScreen(*window)) return NoImage::notOnScreen;
    return Shot(pictureOfWindow(desktop, *window));
}

Shot shotOfDisplay(Desktop& desktop, uint32_t number) {
    auto* display = desktop.display(number);
    if (!display) return NoImage::gone;
    return Shot(
        pattern(number, pixels(display->bounds.width, display->scale), pixels(display->bounds.height, display->scale)));
}

// Windows front to back over a rectangle, each with its pattern.
Shot compose(Desktop& desktop, const Rect& area, const std::vector<uint32_t>& numbers) {
    const double scale = scaleAt(desktop, area);
    const int width = pixels(area.width, scale);
    const int height = pixels(area.height, scale);
    if (width <= 0 || height <= 0) return NoImage::notOnScreen;
    auto image = platform::makeCounted<Bitmap>(width, height);
    for (auto number = numbers.rbegin(); number != numbers.rend(); ++number) {
        const auto* window = desktop.window(*number);
        if (!window || !desktop.isOnScreen(*window)) continue;
        const auto picture = pictureOfWindow(desktop, *window);
        const int left = pixels(window->bounds.x - area.x, scale);
        const int top = pixels(window->bounds.y - area.y, scale);
        for (int y = std::max(0, top); y < std::min(height, top + picture->height()); ++y) {
            for (int x = std::max(0, left); x < std::min(width, left + picture->width()); ++x) {
                image->set(x, y, picture->at(x - left, y - top));
            }
        }
    }
    return Shot(image);
}

class ScriptedGrabber final : public platform::Grabber {
  public:
    ScriptedGrabber(Desktop& desktop, uint32_t target, bool isScreen) : desktop_(desktop), target_(target) {
        const auto* found = isScreen ? nullptr : desktop.window(target);
        identity_ = found ? found->identity : 0;
        gone_ = isScreen ? !desktop.display(target) : !found;
    }
    Shot window() override {
        auto pass = desktop_.gate.enter("grabWindow");
        if (!pass) return NoImage::failed;
        desktop_.pictures.push_back("window " + std::to_string(target_));
        const auto* found = desktop_.window(target_);
        gone_ = gone_ || !found || found->identity != identity_;
        return gone_ ? Shot(NoImage::gone) : shotOfWindow(desktop_, target_);
    }
    Shot area(const Rect& area) override {
        auto pass = desktop_.gate.enter("grabArea");
        if (!pass) return NoImage::failed;
        desktop_.pictures.push_back("area " + words(area));
        std::vector<uint32_t> numbers;
        for (const auto& window : desktop_.windows) {
            if (!window.isDesktopElement) numbers.push_back(window.number);
        }
        return compose(desktop_, area, numbers);
    }
    Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) override {
        auto pass = desktop_.gate.enter("grabComposed");
        if (!pass) return NoImage::failed;
        std::string asked = "composed " + words(bounds) + ":";
        for (uint32_t number : windows) asked += " " + std::to_string(number);
        desktop_.pictures.push_back(asked);
        return compose(desktop_, bounds, windows);
    }
    Shot display() override {
        auto pass = desktop_.gate.enter("grabDisplay");
        if (!pass) return NoImage::failed;
        desktop_.pictures.push_back("display " + std::to_string(target_));
        gone_ = gone_ || !desktop_.display(target_);
        return gone_ ? Shot(NoImage::gone) : shotOfDisplay(desktop_, target_);
    }

  private:
    Desktop& desktop_;
    const uint32_t target_;
    uint64_t identity_ = 0;
    bool gone_ = false;
};

class ScriptedWindowServer final : public platform::WindowServer {
  public:
    explicit ScriptedWindowServer(Desktop& desktop) : desktop_(desktop) {}

    std::vector<platform::WindowInfo> onScreenWindows() override {
        auto pass = desktop_.gate.enter("onScreenWindows");
        std::vector<platform::WindowInfo> list;
        if (!pass) return list;
        for (const auto& window : desktop_.windows) {
            if (window.isDesktopElement || !desktop_.isOnScreen(window)) continue;
            const auto* owner = desktop_.application(window.pid);
            const std::string name = !window.ownerName.empty() || !owner ? window.ownerName : owner->name;
            list.push_back({window.number, window.pid, window.layer, window.alpha, window.bounds, name, window.title});
        }
        return list;
    }
    void onScreenNumbers(std::vector<uint32_t>& numbers) override {
        auto pass = desktop_.gate.enter("onScreenNumbers");
        numbers.clear();
        if (!pass) return;
        for (const auto& window : desktop_.windows) {
            if (desktop_.isOnScreen(window)) numbers.push_back(window.number);
        }
    }
    Shot windowPicture(uint32_t window) override {
        auto pass = desktop_.gate.enter("windowPicture");
        return pass ? shotOfWindow(desktop_, window) : Shot(NoImage::failed);
    }
    Shot displayPicture(uint32_t display, int /*width*/) override {
        auto pass = desktop_.gate.enter("displayPicture");
        return pass ? shotOfDisplay(desktop_, display) : Shot(NoImage::failed);
    }
    std::unique_ptr<platform::Grabber> grabber(uint32_t target, bool isScreen) override {
        auto pass = desktop_.gate.enter("grabber");
        if (!pass) throw platform::PlatformException{"NSGenericException", "no grabber"};
        return std::make_unique<ScriptedGrabber>(desktop_, target, isScreen);
    }

  private:
    Desktop& desktop_;
};

}  // namespace

std::unique_ptr<platform::WindowServer> makeScriptedWindowServer(Desktop& desktop) {
    return std::make_unique<ScriptedWindowServer>(desktop);
}

}  // namespace orvo::test
