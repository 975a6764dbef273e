// Window lists and pictures of the scripted desktop.
#include <cstring>
#include <sstream>

#include "ScreenCapture/platform/version.h"
#include "support/desktop/desktop.h"

namespace orvo::test {
namespace {

using platform::NoImage;
using platform::PixelRect;
using platform::Rect;
using platform::Ref;
using platform::Shot;

int pixels(double points, double scale) {
    return platform::truncated<int>(points * scale);
}

// Pixels per point where a rectangle begins.
double scaleAt(const Desktop& desktop, const Rect& area) {
    for (const auto& display : desktop.displays) {
        const Rect& b = display.bounds;
        if (area.x >= b.x && area.x < b.x + b.width && area.y >= b.y && area.y < b.y + b.height) return display.scale;
    }
    return 1;
}

Ref<Bitmap> pictureOfWindow(const Desktop& desktop, const ScriptedWindow& window) {
    if (window.picture) return window.picture;
    const double scale = scaleAt(desktop, window.bounds);
    return pattern(window.number, pixels(window.bounds.width, scale), pixels(window.bounds.height, scale));
}

Shot shotOfWindow(Desktop& desktop, uint32_t number) {
    const auto* window = desktop.window(number);
    if (!window) return NoImage::gone;
    if (window->refuses != NoImage::none) return window->refuses;
    if (!desktop.isOnScreen(*window)) return NoImage::notOnScreen;
    return Shot(pictureOfWindow(desktop, *window));
}

Shot shotOfDisplay(Desktop& desktop, uint32_t number) {
    const auto* display = desktop.display(number);
    if (!display) return NoImage::gone;
    const Rect& b = display->bounds;
    return Shot(pattern(number, pixels(b.width, display->scale), pixels(b.height, display->scale)));
}

// Windows front to back over a rectangle.
Shot compose(Desktop& desktop, const Rect& area, const std::vector<uint32_t>& numbers) {
    struct Layer {
        int left, top;
        Ref<Bitmap> picture;
    };
    const double scale = scaleAt(desktop, area);
    std::vector<Layer> layers;
    for (const uint32_t number : numbers) {
        const auto* window = desktop.window(number);
        if (!window || !desktop.isOnScreen(*window)) continue;
        const Rect& b = window->bounds;
        layers.push_back({pixels(b.x - area.x, scale), pixels(b.y - area.y, scale), pictureOfWindow(desktop, *window)});
    }
    if (pixels(area.width, scale) <= 0 || pixels(area.height, scale) <= 0) return NoImage::notOnScreen;
    return Shot(painted(pixels(area.width, scale), pixels(area.height, scale), [&](int x, int y) {
        for (const auto& [left, top, picture] : layers) {
            const bool covers = x >= left && y >= top && x < left + picture->width() && y < top + picture->height();
            if (covers) return picture->at(x - left, y - top);
        }
        return Pixel{};
    }));
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

// A copy, which the cursor may be painted into.
Ref<Bitmap> copyOf(const platform::Image& image) {
    return painted(image.width(), image.height(), [&](int x, int y) {
        Pixel pixel;
        std::memcpy(pixel.data(), image.bytes() + static_cast<size_t>(y) * image.bytesPerRow() + size_t(x) * 4, 4);
        return pixel;
    });
}

// The columns that differ, a rectangle for each row.
std::vector<PixelRect> differingRows(const Bitmap& a, const Bitmap& b) {
    std::vector<PixelRect> rows;
    for (int y = 0; y < a.height(); y++) {
        int left = 0, right = a.width();
        while (left < right && a.at(left, y) == b.at(left, y)) left++;
        while (right > left && a.at(right - 1, y) == b.at(right - 1, y)) right--;
        if (left < right) rows.push_back({left, y, right - left, 1});
    }
    return rows;
}

class ScriptedGrabber final : public platform::Grabber {
  public:
    ScriptedGrabber(Desktop& desktop, uint32_t target, bool isScreen) : desktop_(desktop), target_(target) {
        const auto* found = isScreen ? nullptr : desktop.window(target);
        identity_ = found ? found->identity : 0;
        gone_ = isScreen ? !desktop.display(target) : !found;
    }
    Shot window() override {
        return grab("window " + std::to_string(target_), [&] {
            const auto* found = desktop_.window(target_);
            gone_ = gone_ || !found || found->identity != identity_;
            return gone_ ? Shot(NoImage::gone) : shotOfWindow(desktop_, target_);
        });
    }
    Shot area(const Rect& area) override {
        return grab("area " + words(area), [&] {
            std::vector<uint32_t> numbers;
            for (const auto& window : desktop_.windows) {
                if (!window.isDesktopElement) numbers.push_back(window.number);
            }
            return compose(desktop_, area, numbers);
        });
    }
    Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) override {
        std::string question = "composed " + words(bounds) + ":";
        for (uint32_t number : windows) question += " " + std::to_string(number);
        return grab(question, [&] { return compose(desktop_, bounds, windows); });
    }
    Shot display() override {
        return grab("display " + std::to_string(target_), [&] {
            gone_ = gone_ || !desktop_.display(target_);
            return gone_ ? Shot(NoImage::gone) : shotOfDisplay(desktop_, target_);
        });
    }

  private:
    template <typename Answer>
    Shot grab(std::string question, Answer answer) {
        if (!desktop_.gate.enter("grab")) return NoImage::failed;
        desktop_.gate.record(kPictures, std::move(question));
        return numbered(answer());
    }
    // A picture that equals the one before has its version, as on a desktop that is told of damage.
    Shot numbered(const Shot& shot) {
        const auto& image = shot.image;
        if (!image || !image->bytes() || image->bitsPerPixel() != 32) return shot;
        const auto own = copyOf(*image);
        own->versionNumber = last_ ? last_->versionNumber : 0;
        const bool sameSize = last_ && last_->width() == own->width() && last_->height() == own->height();
        if (sameSize) own->changes = differingRows(*last_, *own);
        if (!sameSize || !own->changes.empty()) {
            own->since = sameSize ? last_->versionNumber : 0;
            own->versionNumber = platform::nextVersion();
            last_ = copyOf(*own);
            last_->versionNumber = own->versionNumber;
        }
        return Shot(own);
    }

    Ref<Bitmap> last_;  // picture, with its version
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
            const auto& owner = desktop_.application(static_cast<uint32_t>(window.pid))->name;
            const auto& name = window.ownerName.empty() ? owner : window.ownerName;
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
    Shot windowPicture(uint32_t window) override { return picture("picture of window ", shotOfWindow, window); }
    Shot displayPicture(uint32_t display, int /*width*/) override {
        return picture("picture of display ", shotOfDisplay, display);
    }
    std::unique_ptr<platform::PictureBatch> pictures(const std::vector<uint32_t>& windows) override {
        std::string question = "pictures to come:";
        for (uint32_t number : windows) question += " " + std::to_string(number);
        desktop_.gate.record(kPictures, question);
        return WindowServer::pictures(windows);
    }
    std::unique_ptr<platform::Grabber> grabber(uint32_t target, bool isScreen) override {
        if (!desktop_.gate.enter("grabber")) throw platform::PlatformException{"NSGenericException", "no grabber"};
        return std::make_unique<ScriptedGrabber>(desktop_, target, isScreen);
    }

  private:
    Shot picture(const char* question, Shot (*take)(Desktop&, uint32_t), uint32_t number) {
        auto pass = desktop_.gate.enter("picture");
        desktop_.gate.record(kPictures, question + std::to_string(number));
        return pass ? take(desktop_, number) : Shot(NoImage::failed);
    }

    Desktop& desktop_;
    std::string facts_;  // at the last version
    uint64_t version_ = 0;
};

}  // namespace

std::unique_ptr<platform::WindowServer> makeScriptedWindowServer(Desktop& desktop) {
    return std::make_unique<ScriptedWindowServer>(desktop);
}

}  // namespace orvo::test
