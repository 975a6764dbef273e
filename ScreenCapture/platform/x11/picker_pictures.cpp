// Pictures for a picker: of many windows, and of a display.
#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

#include "ScreenCapture/platform/x11/compositor.h"
#include "ScreenCapture/platform/x11/desktop.h"
#include "ScreenCapture/platform/x11/services.h"

namespace orvo::platform::x11 {
namespace {

constexpr int64_t kMaxPixels = 4 << 20;  // of the windows that are drawn together

// Windows side by side in one picture: the compositor draws all of them at once, and who asks for one gets its part.
struct Sheet {
    struct Item {
        uint32_t number = 0;
        PixelRect bounds;  // on the root
        PixelRect place;   // in the picture
        bool showsScreen = false;
        Layer layer;  // of the desktop that the sheet was made from: the window may be gone when it is drawn
        std::shared_ptr<RedirectedWindow> window;
        NoImage missing = NoImage::none;
    };
    std::vector<Item> items;
    PixelRect size;
    uint64_t version = 0;  // of the desktop that it was made from
    bool isBegun = false;
    Shot shot = NoImage::failed;

    Item* find(const DesktopWindow& window) {
        const auto found = std::find_if(items.begin(), items.end(), [&](const Item& item) {
            return item.number == window.number && item.bounds == window.bounds;
        });
        return found == items.end() ? nullptr : &*found;
    }
    // Puts the size into rows from left to right, within the room. False when it is full.
    bool place(const PixelRect& window, const PixelRect& room, PixelRect& placed) {
        if (x_ > 0 && x_ + window.width > room.width) {
            x_ = 0;
            y_ = size.height;
        }
        if (!items.empty() && y_ + window.height > room.height) return false;
        placed = {x_, y_, window.width, window.height};
        x_ += window.width;
        size.width = std::max(size.width, x_);
        size.height = std::max(size.height, y_ + window.height);
        return true;
    }

  private:
    int x_ = 0, y_ = 0;  // where the next one begins
};

// While one lives the second connection is open.
class PictureConnection {
  public:
    PictureConnection() { ++users; }
    ~PictureConnection() {
        if (--users == 0) pictureServer().close();
    }
    PictureConnection(const PictureConnection&) = delete;
    PictureConnection& operator=(const PictureConnection&) = delete;

  private:
    static inline std::atomic<int> users{0};
};

class X11PictureBatch final : public PictureBatch {
  public:
    explicit X11PictureBatch(std::vector<uint32_t> numbers) : numbers_(std::move(numbers)) {
        const auto desktop = numbers_.empty() ? nullptr : currentDesktop();
        if (!desktop) return;
        Server::Use x = pictureServer().use();
        if (!x || !hasWindowPictures(*x)) return;
        findRoom(*desktop->windows);
        epoch_ = pictureServer().epoch();
        compositor_ = std::make_unique<Compositor>(pictureServer(), x);
        compositor_->setRoom(room_);
        open(x, *desktop, true);
        x->flush();
    }
    ~X11PictureBatch() override {
        const Server::Use x = pictureServer().use();
        sheet_ = taken_ = {};
        compositor_ = nullptr;
    }

    Shot take(uint32_t number) override {
        std::lock_guard lock(mutex_);
        const auto desktop = currentDesktop();
        if (!desktop) return NoImage::noServer;
        const DesktopWindow* const window = desktop->windows->find(number);
        if (!window) return NoImage::gone;
        if (!window->onScreen) return NoImage::notOnScreen;
        if (!fitsPicture(window->outer)) return NoImage::tooLarge;
        const auto listed = std::find(numbers_.begin() + static_cast<ptrdiff_t>(first_), numbers_.end(), number);
        if (compositor_ && listed == numbers_.end() && !taken_.find(*window))  // not announced, or asked for again
            return makePictureBatch({number})->take(number);
        Server::Use x = pictureServer().use();
        if (!x) return NoImage::noServer;
        if (!hasWindowPictures(*x)) return whyNoWindowPictures(*x);
        if (!compositor_ || epoch_ != pictureServer().epoch()) return NoImage::failed;
        if (!taken_.find(*window)) {
            if (!sheet_.find(*window)) {
                next_ = static_cast<size_t>(listed - numbers_.begin());
                open(x, *desktop, true);
            }
            draw(x, *desktop);
        }
        Sheet::Item* const item = taken_.find(*window);
        const NoImage why = !item ? NoImage::failed : taken_.shot.image ? item->missing : taken_.shot.why;
        if (item) item->number = 0;  // the next time it is drawn again
        if (why != NoImage::none) return why;
        return Ref<Image>(makeCounted<software::BitmapView>(taken_.shot.image, item->place));
    }

  private:
    // How large a sheet becomes: rows are not filled to their ends.
    void findRoom(const WindowList& windows) {
        int64_t pixels = 0;
        for (const uint32_t number : numbers_) {
            const DesktopWindow* const window = windows.find(number);
            if (!window || !window->onScreen || !fitsPicture(window->outer)) continue;
            room_.width = std::max(room_.width, window->bounds.width);
            room_.height = std::max(room_.height, window->bounds.height);
            pixels += int64_t{window->bounds.width} * window->bounds.height;
        }
        if (room_.empty()) return;
        pixels = std::min(pixels + pixels / 4, kMaxPixels);
        room_.height = std::max(room_.height, static_cast<int>(pixels / room_.width));
    }

    // The next windows of the list that fit, watched from now on, and redirected but for those that show whole. Their
    // pictures on the screen cost the server no memory and their owners no repaint; under a compositing manager the
    // screen shows shadows and what lies below, and every window is redirected already.
    void open(Server::Use& x, const Desktop& desktop, bool mayShowScreen) {
        sheet_ = {};
        sheet_.version = desktop.version;
        for (first_ = next_; next_ < numbers_.size(); ++next_) {
            const DesktopWindow* const window = desktop.windows->find(numbers_[next_]);
            if (!window || !window->onScreen || !fitsPicture(window->outer)) continue;
            PixelRect place;
            if (!sheet_.place(boundsOfClient(*window), room_, place)) break;
            sheet_.items.emplace_back().number = window->number;
            sheet_.items.back().bounds = window->bounds;
            sheet_.items.back().place = place;
        }
        mayShowScreen &= !desktop.windows->isComposited && compositor_->drawsOnServer();
        auto& windows = RedirectedWindows::of(pictureServer());
        for (Sheet::Item& item : sheet_.items) {
            const DesktopWindow& window = *desktop.windows->find(item.number);
            const bool isWhole = desktop.windows->isSeenWhole(item.number);
            item.showsScreen = mayShowScreen && isWhole && window.clientShape.empty() && window.shape.empty() &&
                               !RedirectedWindow::isUnknown(item.number, window.frame);
            item.layer = item.showsScreen ? layerOfRoot(*x) : layerOfClient(window);
            if (item.showsScreen) continue;
            item.window = windows.open(x, item.number, window.frame);
            item.window->fit(window.outer, window.border, false);
            if (!isWhole) item.window->expectRepaint();
            item.window->requestPixmap();
        }
    }

    void begin(Server::Use& x, const Desktop& desktop) {
        if (std::exchange(sheet_.isBegun, true)) return;
        std::vector<Layer> layers;
        for (const Sheet::Item& item : sheet_.items) {
            const PixelRect& place = item.place;
            Layer layer = item.layer;
            const PixelRect origin = item.showsScreen ? item.bounds : PixelRect();
            layer.outer = software::moved(layer.outer, place.x - origin.x, place.y - origin.y);
            layer.clip = place;
            if (!item.showsScreen) layer.alpha = Layer::Alpha::kept;
            layers.push_back(std::move(layer));
        }
        compositor_->update(x, sheet_.size, layers, *desktop.windows);
        compositor_->begin();
    }

    void finish(Server::Use& x) {
        sheet_.shot = compositor_->finish(x);
        for (size_t i = 0; i < sheet_.items.size(); ++i) {
            sheet_.items[i].missing = compositor_->missing(i);
            sheet_.items[i].window = nullptr;
        }
    }

    // Something may have come over a window that was drawn as the screen showed it. Two connections have no common
    // order: what was sent on the other by the time of the picture has arrived there once that answers.
    bool isValid() const {
        const auto showsScreen = [](const Sheet::Item& item) { return item.showsScreen; };
        if (std::ranges::none_of(sheet_.items, showsScreen)) return true;
        if (Server::Use x = desktopServer().use()) x->sync();
        const auto after = latestDesktop();
        return after && after->version == sheet_.version;
    }

    // Draws the sheet, and has the server begin the next one.
    void draw(Server::Use& x, const Desktop& desktop) {
        taken_ = {};
        begin(x, desktop);
        finish(x);
        if (!isValid()) {
            sheet_ = {};
            if (const auto now = latestDesktop()) {
                next_ = first_;
                open(x, *now, false);
                begin(x, *now);
                finish(x);
            }
        }
        taken_ = std::move(sheet_);
        open(x, desktop, true);
        if (!sheet_.items.empty()) begin(x, desktop);
        x->flush();
    }

    const PictureConnection connection_;  // outlives what is made on it
    std::mutex mutex_;
    const std::vector<uint32_t> numbers_;
    PixelRect room_;
    uint64_t epoch_ = 0;
    std::unique_ptr<Compositor> compositor_;
    Sheet sheet_;                  // that will be asked for next
    size_t first_ = 0, next_ = 0;  // the windows of the list from that sheet on, and after it
    Sheet taken_;                  // whose pictures are handed out
};

bool canHalve(const PixelRect& area, int neededWidth) {
    return area.width % 2 == 0 && area.height % 2 == 0 && area.width / 2 >= neededWidth;
}

// Draws an area of one picture at half its width and height; in the middle of four pixels the filter gives their mean.
xcb_void_cookie_t drawHalf(Connection& x, const ServerPicture& from, const PixelRect& area, const ServerPicture& to) {
    constexpr xcb_render_fixed_t kOne = 1 << 16;
    constexpr char kFilter[] = "bilinear";
    xcb_render_set_picture_transform(x.raw(), from.id(),
                                     {2 * kOne, 0, area.x * kOne, 0, 2 * kOne, area.y * kOne, 0, 0, kOne});
    xcb_render_set_picture_filter(x.raw(), from.id(), sizeof kFilter - 1, kFilter, 0, nullptr);
    return xcb_render_composite_checked(x.raw(), XCB_RENDER_PICT_OP_SRC, from.id(), XCB_NONE, to.id(), 0, 0, 0, 0, 0, 0,
                                        static_cast<uint16_t>(area.width / 2), static_cast<uint16_t>(area.height / 2));
}

// Null when the server cannot, or refuses.
Ref<Image> halvedPicture(Connection& x, PixelRect area, int neededWidth) {
    const PictureFormats& formats = x.formats();
    if (!x.extensions().render || !hasSharedPixmaps(x) || !formats.root || !formats.opaque[32]) return nullptr;
    ServerPicture from = pictureOf(x, x.root(), formats.root);
    ServerPixmap between;
    while (true) {
        const PixelRect half{0, 0, area.width / 2, area.height / 2};
        if (!canHalve(half, neededWidth)) break;
        ServerPixmap pixmap(x);
        xcb_create_pixmap(x.raw(), 32, pixmap.id(), x.root(), static_cast<uint16_t>(half.width),
                          static_cast<uint16_t>(half.height));
        ServerPicture picture(x);
        xcb_render_create_picture(x.raw(), picture.id(), pixmap.id(), formats.opaque[32], 0, nullptr);
        // An error shows in the last step, which has nothing to draw from then.
        xcb_discard_reply(x.raw(), drawHalf(x, from, area, picture).sequence);
        from = std::move(picture);
        between = std::move(pixmap);
        area = half;
    }
    FramePool frames(x, {0, 0, area.width / 2, area.height / 2}, true);
    FramePool::Slot* const slot = frames.acquire();
    if (!slot || !frames.sharesPixmaps()) return nullptr;
    if (!x.succeeded(drawHalf(x, from, area, slot->canvas.picture))) return nullptr;
    slot->frame->makeOpaque();
    return Ref<Image>(slot->frame);
}

}  // namespace

std::unique_ptr<PictureBatch> makePictureBatch(std::vector<uint32_t> windows) {
    return std::make_unique<X11PictureBatch>(std::move(windows));
}

Shot pictureOfDisplay(Server& server, Server::Use& x, const PixelRect& area, int neededWidth) {
    if (canHalve(area, neededWidth))
        if (auto picture = halvedPicture(*x, area, neededWidth)) return picture;
    return Compositor(server, x).take(x, area, {layerOfRoot(*x)}, {});
}

}  // namespace orvo::platform::x11
