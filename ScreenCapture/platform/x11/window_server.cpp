// The windows on screen and their pictures.
#include "ScreenCapture/platform/x11/window_server.h"

#include <algorithm>
#include <utility>

#include "ScreenCapture/platform/x11/applications.h"
#include "ScreenCapture/platform/x11/asking.h"
#include "ScreenCapture/platform/x11/desktop_model.h"
#include "ScreenCapture/platform/x11/display_picture.h"
#include "ScreenCapture/platform/x11/window_facts.h"
#include "ScreenCapture/platform/x11/window_grabber.h"
#include "ScreenCapture/platform/x11/window_scenes.h"

namespace orvo::platform::x11 {
namespace {

Rect rectOf(const PixelRect& area) {
    return {static_cast<double>(area.x), static_cast<double>(area.y), static_cast<double>(area.width),
            static_cast<double>(area.height)};
}

}  // namespace

std::vector<WindowInfo> X11WindowServer::onScreenWindows() {
    std::vector<WindowInfo> infos;
    const auto desktop = currentDesktop();
    if (!desktop) return infos;
    for (const DesktopWindow& window : desktop->windows->all) {
        if (!window.onScreen || window.type == WindowType::desktop) continue;
        infos.push_back({window.number, window.pid, window.layer, window.alpha, rectOf(window.bounds),
                         applicationName(window), window.title});
    }
    return infos;
}

void X11WindowServer::onScreenNumbers(std::vector<uint32_t>& numbers) {
    numbers.clear();
    const auto desktop = currentDesktop();
    if (!desktop) return;
    for (const DesktopWindow& window : desktop->windows->all)
        if (window.onScreen) numbers.push_back(window.number);
}

uint64_t X11WindowServer::desktopVersion() {
    const auto desktop = currentDesktop();
    return desktop ? desktop->version : 0;
}

// Windows whose pictures will be asked for, on a connection of their own. While the caller is busy with one picture the
// server draws the next; those after it are redirected meanwhile, as many as the server may have memory for.
class X11WindowServer::Expected {
  public:
    Expected(std::unique_ptr<Connection> connection, const std::vector<uint32_t>& windows, const WindowList& list)
        : x_(std::move(connection)), scene_(std::make_unique<SceneGrabber>(*x_)), windows_(windows) {
        std::vector<ShapeRequest> shapes;
        PixelRect room;
        for (const uint32_t window : windows_) {
            shapes.emplace_back(*x_, window);
            const PixelRect& bounds = list.find(window)->bounds;
            room = {0, 0, std::max(room.width, bounds.width), std::max(room.height, bounds.height)};
        }
        scene_->setRoom(room.width, room.height);
        for (const ShapeRequest& shape : shapes) shapes_.push_back(shape.read(*x_));
        prepare(list);
        x_->flush();
    }
    ~Expected() {
        const PipeGuard guard;
        scene_.reset();
        x_.reset();
    }
    Expected(const Expected&) = delete;
    Expected& operator=(const Expected&) = delete;

    bool contains(uint32_t window) const {
        return std::find(windows_.begin(), windows_.end(), window) != windows_.end();
    }
    Shot take(const DesktopWindow& window, const WindowList& list) {
        std::lock_guard lock(mutex_);
        const PipeGuard guard;
        const size_t index =
            static_cast<size_t>(std::find(windows_.begin(), windows_.end(), window.number) - windows_.begin());
        if (begun_ != index || begunBounds_ != boundsOfClient(window)) begin(index, window, list);
        Shot shot = pictureOf(*scene_);
        scene_->readEvents();
        if (scene_->wasCovered(window.number)) {
            scene_->forget(window.number);
            begin(index, window, list);
            shot = pictureOf(*scene_);
        }
        begun_ = windows_.size();
        const DesktopWindow* next = index + 1 < windows_.size() ? list.find(windows_[index + 1]) : nullptr;
        if (next && next->onScreen) begin(index + 1, *next, list);
        scene_->forget(window.number);
        if (index < prepared_.size()) pixels_ -= std::exchange(prepared_[index], 0);
        prepare(list);
        x_->flush();
        return shot;
    }

    // Of the scene that was begun.
    static Shot pictureOf(SceneGrabber& scene) {
        Shot shot = scene.finish();
        if (shot.image && !scene.anyPicture()) return NoImage::notOnScreen;
        return shot;
    }

  private:
    void begin(size_t index, const DesktopWindow& window, const WindowList& list) {
        scene_->readEvents();
        begun_ = index;
        begunBounds_ = boundsOfClient(window);
        scene_->begin(begunBounds_, {layerOfClient(window, shapes_[index])}, list);
    }
    // Has the next windows redirected that are not yet.
    void prepare(const WindowList& list) {
        constexpr int64_t kMostPixels = 4 << 20;
        for (; prepared_.size() < windows_.size() && pixels_ < kMostPixels; pixels_ += prepared_.back()) {
            const DesktopWindow* window = list.find(windows_[prepared_.size()]);
            const bool shows = window && window->onScreen;
            prepared_.push_back(shows ? int64_t{window->bounds.width} * window->bounds.height : 0);
            if (shows) scene_->expect(*window, list);
        }
    }

    std::mutex mutex_;
    std::unique_ptr<Connection> x_;  // outlives what is made on it
    std::unique_ptr<SceneGrabber> scene_;
    const std::vector<uint32_t> windows_;
    std::vector<std::vector<PixelRect>> shapes_;  // of the windows
    std::vector<int64_t> prepared_;               // pixels of the windows from the first on that were prepared
    int64_t pixels_ = 0;                          // of those whose pictures were not taken yet
    size_t begun_ = SIZE_MAX;                     // the window whose picture the server draws
    PixelRect begunBounds_;
};

std::shared_ptr<void> X11WindowServer::expectPictures(const std::vector<uint32_t>& windows) {
    const auto desktop = currentDesktop();
    const PipeGuard guard;
    auto connection = desktop && windows.size() > 1 ? Connection::open() : nullptr;
    if (!connection || !connection->extensions().composite) return nullptr;
    std::vector<uint32_t> seen;
    for (const uint32_t number : windows) {
        const DesktopWindow* window = desktop->windows->find(number);
        if (window && window->onScreen) seen.push_back(number);
    }
    auto expected = std::make_shared<Expected>(std::move(connection), seen, *desktop->windows);
    std::lock_guard lock(mutex_);
    expected_ = expected;
    return expected;
}

Shot X11WindowServer::windowPicture(uint32_t window) {
    const auto desktop = currentDesktop();
    if (!desktop) return NoImage::noServer;
    const DesktopWindow* found = desktop->windows->find(window);
    if (!found) return NoImage::gone;
    if (!found->onScreen) return NoImage::notOnScreen;
    std::shared_ptr<Expected> expected;
    {
        std::lock_guard lock(mutex_);
        expected = expected_.lock();
    }
    if (expected && expected->contains(window)) return expected->take(*found, *desktop->windows);
    const Asking asking(Line::pictures);
    if (!asking) return NoImage::noServer;
    if (!asking->extensions().composite) return NoImage::failed;
    SceneGrabber scene(*asking);
    scene.begin(boundsOfClient(*found), {layerOfClient(*found, queryShape(*asking, window))}, *desktop->windows);
    return Expected::pictureOf(scene);
}

Shot X11WindowServer::displayPicture(uint32_t display, int width) {
    const auto desktop = currentDesktop();
    if (!desktop) return NoImage::noServer;
    const Monitor* monitor = desktop->monitors->find(display);
    if (!monitor) return NoImage::gone;
    const Asking asking(Line::pictures);
    if (!asking) return NoImage::noServer;
    return pictureOfDisplay(*asking, monitor->area, width);
}

std::unique_ptr<Grabber> X11WindowServer::grabber(uint32_t target, bool isScreen) {
    return std::make_unique<WindowGrabber>(target, isScreen);
}

}  // namespace orvo::platform::x11
