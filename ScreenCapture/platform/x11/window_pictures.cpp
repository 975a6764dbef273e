// Pictures of windows for a picker.
#include "ScreenCapture/platform/x11/window_pictures.h"

#include <algorithm>
#include <utility>

#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/window_properties.h"

namespace orvo::platform::x11 {
namespace {

constexpr int64_t kMostPixels = 4 << 20;  // of windows that are redirected ahead

// That was begun.
Shot finished(Compositor& compositor) {
    Shot shot = compositor.finish();
    return shot.image && compositor.missing() != NoImage::none ? Shot(compositor.missing()) : shot;
}

}  // namespace

Shot pictureOfWindow(Connection& x, const DesktopWindow& window, const WindowList& windows) {
    if (!hasWindowPictures(x)) return NoImage::failed;
    RedirectedWindows redirected(x);
    Compositor compositor(redirected);
    compositor.update(boundsOfClient(window), {layerOfClient(window, queryShape(x, window.number))}, windows);
    compositor.begin();
    return finished(compositor);
}

WindowPictures::WindowPictures(std::unique_ptr<Connection> connection, std::vector<uint32_t> numbers,
                               const WindowList& windows)
    : x_(std::move(connection)),
      windows_(std::make_unique<RedirectedWindows>(*x_)),
      compositor_(std::make_unique<Compositor>(*windows_)),
      numbers_(std::move(numbers)) {
    std::vector<ShapeRequest> shapes;
    PixelRect room;
    for (const uint32_t number : numbers_) {
        shapes.emplace_back(*x_, number);
        const PixelRect& bounds = windows.find(number)->bounds;
        if (fitsPicture(bounds))
            room = {0, 0, std::max(room.width, bounds.width), std::max(room.height, bounds.height)};
    }
    compositor_->setRoom(room);
    for (const ShapeRequest& shape : shapes) shapes_.push_back(shape.read(*x_));
    prepare(windows);
    x_->flush();
}

WindowPictures::~WindowPictures() {
    const PipeGuard guard;
    compositor_.reset();
    ahead_.clear();
    windows_.reset();
    x_.reset();
}

size_t WindowPictures::indexOf(uint32_t window) const {
    return static_cast<size_t>(std::find(numbers_.begin(), numbers_.end(), window) - numbers_.begin());
}

bool WindowPictures::contains(uint32_t window) const {
    return indexOf(window) < numbers_.size();
}

Shot WindowPictures::take(const DesktopWindow& window, const WindowList& windows) {
    std::lock_guard lock(mutex_);
    const PipeGuard guard;
    const size_t index = indexOf(window.number);
    if (begun_ != index || begunBounds_ != boundsOfClient(window)) begin(index, window, windows);
    Shot shot = finished(*compositor_);
    begun_ = numbers_.size();
    const DesktopWindow* next = index + 1 < numbers_.size() ? windows.find(numbers_[index + 1]) : nullptr;
    if (next && next->onScreen) begin(index + 1, *next, windows);
    ahead_.erase(window.number);
    if (index < prepared_.size()) pixels_ -= std::exchange(prepared_[index], 0);
    prepare(windows);
    x_->flush();
    return shot;
}

void WindowPictures::begin(size_t index, const DesktopWindow& window, const WindowList& windows) {
    windows_->readEvents();
    begun_ = index;
    begunBounds_ = boundsOfClient(window);
    compositor_->update(begunBounds_, {layerOfClient(window, shapes_[index])}, windows);
    compositor_->begin();
}

// Has the next windows redirected that are not yet.
void WindowPictures::prepare(const WindowList& windows) {
    for (; prepared_.size() < numbers_.size() && pixels_ < kMostPixels; pixels_ += prepared_.back()) {
        const DesktopWindow* window = windows.find(numbers_[prepared_.size()]);
        const bool shows = window && window->onScreen && fitsPicture(window->bounds);
        prepared_.push_back(shows ? int64_t{window->bounds.width} * window->bounds.height : 0);
        if (!shows) continue;
        auto& ahead = ahead_[window->number];
        ahead = windows_->open(window->number, windows.frameOf(window->number));
        const int borders = 2 * window->border;
        ahead->fit({0, 0, window->bounds.width + borders, window->bounds.height + borders}, window->border, false);
        if (!windows.isSeenWhole(window->number)) ahead->expectRepaint();
        ahead->requestPixmap();
    }
}

}  // namespace orvo::platform::x11
