// Window lists and pictures of the scripted desktop.
#include <algorithm>
#include <cstring>
#include <sstream>

#include "ScreenCapture/platform/version.h"

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

// Everything that questions about displays, applications and windows are answered from. Nothing where a test has put
// answers of its own: what they depend on is not known here.
std::string factsOf(const Desktop& desktop) {
    std::ostringstream facts;
    for (const auto& d : desktop.displays) facts << d.number << ' ' << words(d.bounds) << ' ' << d.scale << '\n';
    for (const auto& a : desktop.applications)
        facts << a.pid << ' ' << a.name << '\t' << a.bundleIdentifier << '\t' << a.active << a.hidden << '\n';
    for (const auto& w : desktop.windows) {
        if (!w.answers.empty()) return {};
        facts << w.number << ' ' << w.pid << ' ' << w.identity << ' ' << w.title << '\t' << words(w.bounds) << ' '
              << w.layer << ' ' << w.alpha << ' ' << w.ownerName << '\t' << w.subrole << ' ' << w.isDesktopElement
              << w.minimized << w.fullScreen << w.accessible << '\n';
    }
    return facts.str();
}

platform::Ref<Bitmap> copyOf(const platform::Image& image) {
    auto copy = platform::makeCounted<Bitmap>(image.width(), image.height());
    std::memcpy(copy->paint({}), image.bytes(), image.bytesPerRow() * static_cast<size_t>(image.height()));
    return copy;
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
        return gone_ ? Shot(NoImage::gone) : numbered(shotOfWindow(desktop_, target_));
    }
    Shot area(const Rect& area) override {
        auto pass = desktop_.gate.enter("grabArea");
        if (!pass) return NoImage::failed;
        desktop_.pictures.push_back("area " + words(area));
        std::vector<uint32_t> numbers;
        for (const auto& window : desktop_.windows) {
            if (!window.isDesktopElement) numbers.push_back(window.number);
        }
        return numbered(compose(desktop_, area, numbers));
    }
    Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) override {
        auto pass = desktop_.gate.enter("grabComposed");
        if (!pass) return NoImage::failed;
        std::string asked = "composed " + words(bounds) + ":";
        for (uint32_t number : windows) asked += " " + std::to_string(number);
        desktop_.pictures.push_back(asked);
        return numbered(compose(desktop_, bounds, windows));
    }
    Shot display() override {
        auto pass = desktop_.gate.enter("grabDisplay");
        if (!pass) return NoImage::failed;
        desktop_.pictures.push_back("display " + std::to_string(target_));
        gone_ = gone_ || !desktop_.display(target_);
        return gone_ ? Shot(NoImage::gone) : numbered(shotOfDisplay(desktop_, target_));
    }

  private:
    // A picture that equals the one before has its version, as on a desktop that is told of damage.
    Shot numbered(Shot shot) {
        const auto& image = shot.image;
        if (!image || !image->bytes() || image->bitsPerPixel() != 32) return shot;
        const size_t size = image->bytesPerRow() * static_cast<size_t>(image->height());
        if (!last_ || last_->width() != image->width() || last_->height() != image->height() ||
            std::memcmp(last_->bytes(), image->bytes(), size) != 0) {
            last_ = copyOf(*image);
            last_->versionNumber = platform::nextVersion();
        }
        auto own = copyOf(*image);  // which the cursor may be painted into
        own->versionNumber = last_->versionNumber;
        return Shot(own);
    }

    platform::Ref<Bitmap> last_;  // picture, with its version
    Desktop& desktop_;
    const uint32_t target_;
    uint64_t identity_ = 0;
    bool gone_ = false;
};

class ScriptedWindowServer final : public platform::WindowServer {
  public:
    explicit ScriptedWindowServer(Desktop& desktop) : desktop_(desktop) {}

    uint64_t desktopVersion() override {
        auto pass = desktop_.gate.enter("desktopVersion");
        std::string facts = factsOf(desktop_);
        if (!pass || facts.empty()) return 0;
        if (facts != facts_) version_ = platform::nextVersion();
        facts_ = std::move(facts);
        return version_;
    }
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
    std::string facts_;  // at the last version
    uint64_t version_ = 0;
};

}  // namespace

std::unique_ptr<platform::WindowServer> makeScriptedWindowServer(Desktop& desktop) {
    return std::make_unique<ScriptedWindowServer>(desktop);
}

}  // namespace orvo::test
