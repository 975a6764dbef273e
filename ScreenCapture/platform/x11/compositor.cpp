// Pictures of layers over a rectangle, taken again and again.
#include "ScreenCapture/platform/x11/compositor.h"

#include <algorithm>
#include <utility>

#include "ScreenCapture/platform/version.h"

namespace orvo::platform::x11 {
namespace {

using software::Region;

// What of the picture these rectangles of a layer stand for, from its bounds' corner.
Region regionOf(const Layer& layer, const std::vector<PixelRect>& rects, const PixelRect& bounds) {
    Region region;
    for (const PixelRect& rect : rects)
        region.unite(software::intersection(software::moved(rect, layer.outer.x, layer.outer.y), layer.clip));
    region.move(-bounds.x, -bounds.y);
    return region;
}

// All of it.
Region regionOf(const Layer& layer, const PixelRect& bounds) {
    if (!layer.shape.empty()) return regionOf(layer, layer.shape, bounds);
    return Region(software::moved(layer.clip, -bounds.x, -bounds.y));
}

// What of the window lets show through what lies below it.
void setAlpha(Layer& layer, const DesktopWindow& window, bool hasAlpha) {
    if (!hasAlpha && window.alpha >= 1) return;
    layer.alpha = Layer::Alpha::blended;
    layer.opacity = truncated<uint16_t>(window.alpha * 0xFFFF);
    if (window.alpha < 1) return;
    const PixelRect all{0, 0, window.outer.width, window.outer.height};
    for (const PixelRect& rect : window.opaque)
        layer.opaque.push_back(software::moved(software::intersection(rect, all), window.outer.x - layer.outer.x,
                                               window.outer.y - layer.outer.y));
}

// What two shapes have in common; an empty one is no shape.
std::vector<PixelRect> commonShape(const std::vector<PixelRect>& a, const std::vector<PixelRect>& b) {
    if (a.empty() || b.empty()) return a.empty() ? b : a;
    Region common;
    for (const PixelRect& one : a)
        for (const PixelRect& other : b) common.unite(software::intersection(one, other));
    return common.empty() ? std::vector<PixelRect>(1) : common.rects();
}

}  // namespace

Layer layerOfRoot(const Connection& x) {
    const PixelRect all{0, 0, INT16_MAX, INT16_MAX};
    return {.kind = Layer::Kind::root, .id = x.root(), .outer = all, .clip = all};
}

PixelRect boundsOfClient(const DesktopWindow& window) {
    return {0, 0, window.bounds.width, window.bounds.height};
}

Layer layerOfClient(const DesktopWindow& window) {
    return {.id = window.number,
            .outer = software::moved(window.outer, -window.bounds.x, -window.bounds.y),
            .clip = boundsOfClient(window),
            .shape = window.clientShape,
            .border = window.border,
            .mapped = window.mapped};
}

Layer layerOfFrame(const DesktopWindow& window) {
    Layer layer{.id = window.frame,
                .outer = window.frameBounds,
                .clip = window.frameBounds,
                .shape = window.shape,
                .border = window.frame == window.number ? window.border : 0,
                .mapped = window.mapped};
    setAlpha(layer, window, window.frameHasAlpha);
    return layer;
}

Layer layerInFrame(const DesktopWindow& window) {
    Layer layer = layerOfClient(window);
    layer.outer = window.outer;
    layer.clip = software::intersection(window.outer, window.frameBounds);
    std::vector<PixelRect> shape = window.shape;
    for (PixelRect& rect : shape)
        rect = software::moved(rect, window.frameBounds.x - window.outer.x, window.frameBounds.y - window.outer.y);
    layer.shape = commonShape(shape, window.clientShape);
    layer.frame = window.frame;
    setAlpha(layer, window, window.hasAlpha);
    return layer;
}

Compositor::Compositor(Server& server, const Server::Use& x)
    : windows_(RedirectedWindows::of(server)), connection_(x.connection()), x_(*connection_) {
    changed_.reserve(software::Frame::kMaxChanged);
    const PictureFormats& formats = x_.formats();
    draws_ = x_.extensions().render && x_.extensions().xfixes && formats.argb32 && formats.root;
    if (!x_.extensions().xfixes) return;
    for (ServerRegion* region : {&damage_, &clip_}) {
        *region = ServerRegion(x_);
        xcb_xfixes_create_region(x_.raw(), region->id(), 0, nullptr);
    }
}

Compositor::~Compositor() = default;

bool Compositor::update(Server::Use& x, const PixelRect& bounds, const std::vector<Layer>& layers,
                        const WindowList& desktop) {
    if (slot_) finishFrame(x, refused_);  // nobody wanted it
    ++time_;
    refused_ = bounds.empty()                          ? NoImage::notOnScreen
               : !fitsPicture(bounds)                  ? NoImage::tooLarge
               : !canRead(x_, x_.screen()->root_depth) ? NoImage::pixelFormat
                                                       : NoImage::none;
    if (refused_ != NoImage::none) return true;
    if (layers != layers_) {
        layers_ = layers;
        sources_.clear();
        laidOutTime_ = 0;
    }
    if (updateWindows(x, desktop)) namePixmaps();
    if (!x) refused_ = NoImage::noServer;
    if (refused_ != NoImage::none) return true;
    if (!isLaidOut(bounds)) layOut(bounds);
    collectDamage();
    return laidOutTime_ == time_ || hasDamage_;
}

void Compositor::begin() {
    drawing_ = 0;
    hasUnknown_ = false;
    if (refused_ != NoImage::none) return;
    slot_ = frames_->acquire();
    if (!slot_) {
        refused_ = x_.lost() ? NoImage::noServer : frames_->full() ? NoImage::noBuffer : NoImage::failed;
        return;
    }
    if (!draws_) return;
    Canvas& canvas = frames_->canvasOf(*slot_);
    if (canvas.drawnTime >= std::max(laidOutTime_, damagedTime_)) return;
    draw(canvas);
    for (const auto& part : parts_) {
        if (!part->window || part->visible.empty() || !part->window->mayBeUnknown()) continue;
        part->window->requestUnknown();
        hasUnknown_ = true;
    }
    asksDamage_ = hasDamage_;
    drawing_ =
        asksDamage_ ? xcb_xfixes_fetch_region(x_.raw(), damage_.id()).sequence : xcb_get_input_focus(x_.raw()).sequence;
}

Shot Compositor::finish(Server::Use& x) {
    NoImage why = NoImage::none;
    auto frame = finishFrame(x, why);
    if (!frame) return why;
    const PixelRect all{0, 0, bounds_.width, bounds_.height};
    if (all == frames_->size()) return Ref<Image>(std::move(frame));
    return Ref<Image>(makeCounted<software::BitmapView>(std::move(frame), all));
}

Ref<software::Frame> Compositor::finishFrame(Server::Use& x, NoImage& why) {
    FramePool::Slot* const slot = std::exchange(slot_, nullptr);
    why = slot ? NoImage::none : std::exchange(refused_, NoImage::failed);
    if (!slot) return nullptr;
    const bool done = draws_ ? awaitDrawn(*slot) : fetchLayers(*slot);
    why = done ? NoImage::none : x_.lost() ? NoImage::noServer : NoImage::failed;
    // What was drawn from may have become another window's meanwhile, without a word before the answer.
    if (done && std::exchange(hasUnknown_, false)) {
        x.readEvents();
        for (const auto& part : parts_)
            if (part->window) part->window->settle();
        if (!isLaidOut(bounds_)) why = NoImage::failed;
    }
    if (why != NoImage::none) return nullptr;
    slot->frame->setVersion(version_, changedSince_, changed_);
    return slot->frame;
}

bool Compositor::awaitDrawn(FramePool::Slot& slot) {
    Canvas& canvas = frames_->canvasOf(slot);
    if (const unsigned drawing = std::exchange(drawing_, 0)) {
        canvas.drawnTime = 0;
        const auto reply = x_.await<xcb_generic_reply_t>(drawing);
        if (!reply) return false;
        for (const auto& part : parts_)
            if (hasUnknown_ && part->window) part->window->receiveUnknown();
        canvas.drawnTime = time_;
        if (asksDamage_) takeChanges(reinterpret_cast<const xcb_xfixes_fetch_region_reply_t&>(*reply));
    }
    return frames_->sharesPixmaps() || fetchStale(slot);
}

// Damage that is seen makes other pixels, and nothing else does but another layout.
void Compositor::takeChanges(const xcb_xfixes_fetch_region_reply_t& damage) {
    hasDamage_ = false;
    const xcb_rectangle_t& box = damage.extents;
    if (box.width == 0 || box.height == 0) return;
    changed_.clear();
    if (static_cast<size_t>(xcb_xfixes_fetch_region_rectangles_length(&damage)) <= software::Frame::kMaxChanged)
        appendRects(damage, changed_);
    else
        changed_.push_back({box.x, box.y, box.width, box.height});
    changedSince_ = std::exchange(version_, nextVersion());
    for (const auto& slot : frames_->slots())
        if (!frames_->sharesPixmaps())
            for (const PixelRect& rect : changed_) slot->stale.unite(rect);
}

bool Compositor::updateWindows(Server::Use& x, const WindowList& desktop) {
    const auto isWindow = [](const Layer& layer) { return layer.kind == Layer::Kind::window; };
    if (std::any_of(layers_.begin(), layers_.end(), isWindow)) followShapes(x, desktop);
    const bool isComplete = sources_.size() == layers_.size();
    const bool isAnyGone =
        std::any_of(sources_.begin(), sources_.end(), [](const auto& each) { return each && each->gone(); });
    if (!isComplete || isAnyGone) openWindows(x, desktop);
    for (const auto& window : sources_)
        if (window) window->repaintIfNeeded();
    return waitForRepaint(x);
}

void Compositor::openWindows(const Server::Use& x, const WindowList& desktop) {
    std::vector<std::shared_ptr<RedirectedWindow>> opened;
    for (const Layer& layer : layers_) {
        if (layer.kind == Layer::Kind::background) {
            opened.push_back(nullptr);
            continue;
        }
        auto window = windows_.find(x, layer.id);
        if (!window) {
            window = windows_.open(x, layer.id, desktop.frameOf(layer.id));
            if (layer.kind == Layer::Kind::window) {
                window->fit(layer.outer, layer.border, layer.mapped > *firstMappings_);
                if (!desktop.isSeenWhole(layer.id)) window->expectRepaint();
            }
        }
        opened.push_back(std::move(window));
    }
    sources_ = std::move(opened);
}

// A window that loses a part of its shape brings to light what is below, too. New ones are seen when they are mapped.
void Compositor::followShapes(const Server::Use& x, const WindowList& desktop) {
    if (firstMappings_ && followedMappings_ == desktop.mappings) return;
    if (!firstMappings_) firstMappings_ = desktop.mappings;
    followedMappings_ = desktop.mappings;
    std::vector<xcb_window_t> frames;
    for (const DesktopWindow& window : desktop.all) frames.push_back(window.frame);
    windows_.followShapes(x, frames);
}

// False when the server is not of use any more. All questions go before the first answer.
bool Compositor::waitForRepaint(Server::Use& x) {
    const auto awaits = [](const auto& window) { return window && window->awaitsRepaint(); };
    while (std::any_of(sources_.begin(), sources_.end(), awaits)) {
        for (const auto& window : sources_)
            if (awaits(window)) window->requestRepainted();
        for (const auto& window : sources_)
            if (awaits(window)) window->receiveUnknown();
        x.readEvents();
        for (const auto& window : sources_)
            if (awaits(window)) window->receiveRepainted();
        if (std::none_of(sources_.begin(), sources_.end(), awaits)) break;
        if (!x.waitForEvent(std::chrono::milliseconds(1))) return false;
    }
    return static_cast<bool>(x);
}

// All questions before the first answer, so that they travel together.
void Compositor::namePixmaps() {
    for (const auto& window : sources_)
        if (window) window->requestPixmap();
    for (const auto& window : sources_)
        if (window) window->receivePixmap();
    if (!draws_) return;
    for (const auto& window : sources_)
        if (window) window->usePixmap();
}

bool Compositor::isLaidOut(const PixelRect& bounds) const {
    return laidOutTime_ != 0 && bounds == bounds_ && parts_.size() == sources_.size() &&
           std::equal(parts_.begin(), parts_.end(), sources_.begin(), [](const auto& part, const auto& window) {
               return part->window == window && (!window || part->generation == window->generation());
           });
}

// Works out what of each layer is seen; everything has to be drawn afresh.
void Compositor::layOut(const PixelRect& bounds) {
    const bool fits = bounds.width <= room_.width && bounds.height <= room_.height;
    const PixelRect size = fits ? room_ : PixelRect{0, 0, bounds.width, bounds.height};
    if (!frames_ || frames_->size() != size) frames_ = std::make_unique<FramePool>(x_, size, draws_);
    bounds_ = bounds;
    std::vector<Region> regions, opaque;
    for (const Layer& layer : layers_) {
        Region region = x11::regionOf(layer, bounds);
        for (size_t i = 0; i < regions.size(); ++i)
            if (layers_[i].frame == layer.id) region.subtract(regions[i]);
        const bool blends = layer.alpha == Layer::Alpha::blended;
        opaque.push_back(blends ? x11::regionOf(layer, layer.opaque, bounds).intersected(region) : region);
        regions.push_back(std::move(region));
    }
    const PixelRect frame{0, 0, bounds.width, bounds.height};
    std::vector<Region> visible = software::visibleParts(frame, regions, opaque);
    parts_.clear();
    uncovered_ = Region(frame);
    Region mixed;  // by the layers so far
    for (size_t i = 0; i < layers_.size(); ++i) {
        auto part = makePart(layers_[i], sources_[i]);
        part->visible = visible[i].intersected(part->reach);
        if (draws_) part->region = regionOf(part->visible);
        const bool blends = part->alpha == Layer::Alpha::blended;
        part->mixes = blends || !mixed.intersected(part->visible).empty();
        if (blends) mixed.unite(part->visible);
        // A background may have gone meanwhile, and then draws nothing.
        if (part->isKnown() && !blends) uncovered_.subtract(part->visible);
        parts_.push_back(std::move(part));
    }
    mixes_ = !mixed.empty();
    if (draws_) uncoveredRegion_ = regionOf(uncovered_);
    laidOutTime_ = time_;
    hasDamage_ = false;
    version_ = nextVersion();
    changedSince_ = 0;
}

std::unique_ptr<Compositor::Part> Compositor::makePart(const Layer& layer,
                                                       const std::shared_ptr<RedirectedWindow>& window) {
    auto part = std::make_unique<Part>();
    const PixelRect frame{0, 0, bounds_.width, bounds_.height};
    if (layer.kind == Layer::Kind::background) {
        part->dx = -bounds_.x;
        part->dy = -bounds_.y;
        part->reach = draws_ ? frame : PixelRect();
        if (!draws_) return part;
        part->background = ServerPicture(x_);
        const uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
        xcb_render_create_picture(x_.raw(), part->background.id(), layer.id, x_.formats().root, XCB_RENDER_CP_REPEAT,
                                  &repeat);
        return part;
    }
    part->dx = layer.outer.x - bounds_.x;
    part->dy = layer.outer.y - bounds_.y;
    part->window = window;
    part->generation = window->generation();
    part->alpha = layer.alpha;
    if (draws_ && layer.alpha == Layer::Alpha::blended && layer.opacity != 0xFFFF) {
        part->mask = ServerPicture(x_);
        xcb_render_create_solid_fill(x_.raw(), part->mask.id(), {0, 0, 0, layer.opacity});
    }
    if (window->hasPixmap() && canRead(x_, window->depth()) && (!draws_ || window->picture() != 0))
        part->reach = software::intersection(frame, {part->dx, part->dy, window->size().width, window->size().height});
    if (!x_.extensions().xfixes) return part;
    part->damage.region = ServerRegion(x_);
    xcb_xfixes_create_region(x_.raw(), part->damage.region.id(), 0, nullptr);
    window->add(part->damage);
    return part;
}

// What was drawn since the last picture, where it is seen, becomes stale in every canvas. Damage that is not counted
// yet, for there was no frame to draw it into, is kept.
void Compositor::collectDamage() {
    for (const auto& part : parts_) {
        if (!part->window || part->visible.empty()) continue;
        part->window->collectDamage();
        Damage& damage = part->damage;
        if (!std::exchange(damage.any, false)) continue;
        part->damagedTime = damagedTime_ = time_;
        if (part->mixes) mixedTime_ = time_;
        const bool isFirst = !std::exchange(hasDamage_, true);
        if (!draws_) continue;
        const int border = part->window->border();
        xcb_xfixes_translate_region(x_.raw(), damage.region.id(), static_cast<int16_t>(part->dx + border),
                                    static_cast<int16_t>(part->dy + border));
        const auto seen = isFirst ? damage_.id() : damage.region.id();
        xcb_xfixes_intersect_region(x_.raw(), damage.region.id(), part->region.id(), seen);
        if (!isFirst) xcb_xfixes_union_region(x_.raw(), damage_.id(), seen, damage_.id());
        frames_->forEachCanvas([&](Canvas& canvas) {
            if (canvas.drawnTime >= laidOutTime_)
                xcb_xfixes_union_region(x_.raw(), canvas.stale.id(), seen, canvas.stale.id());
        });
    }
}

void Compositor::draw(Canvas& canvas) {
    const bool all = canvas.drawnTime < laidOutTime_;
    const bool drawsMixed = mixes_ && (all || mixedTime_ > canvas.drawnTime);
    if ((all || drawsMixed) && !uncovered_.empty()) {
        if (!all) xcb_xfixes_intersect_region(x_.raw(), uncoveredRegion_.id(), canvas.stale.id(), clip_.id());
        const xcb_rectangle_t whole = rectangle({0, 0, bounds_.width, bounds_.height});
        xcb_xfixes_set_picture_clip_region(x_.raw(), canvas.picture.id(), all ? uncoveredRegion_.id() : clip_.id(), 0,
                                           0);
        xcb_render_fill_rectangles(x_.raw(), XCB_RENDER_PICT_OP_SRC, canvas.picture.id(), {0, 0, 0, 0}, 1, &whole);
    }
    for (auto each = parts_.rbegin(); each != parts_.rend(); ++each) {
        const Part& part = **each;
        const bool isStale = part.damagedTime > canvas.drawnTime || (part.mixes && drawsMixed);
        if (part.visible.empty() || !(all || isStale)) continue;
        clipTo(part, canvas, all);
        drawPart(part, canvas);
    }
    xcb_xfixes_set_region(x_.raw(), canvas.stale.id(), 0, nullptr);
}

// Within the clip. What was blended counts as drawn, whatever its alpha.
void Compositor::drawPart(const Part& part, const Canvas& canvas) {
    const bool blends = part.alpha == Layer::Alpha::blended;
    const bool withAlpha = part.alpha != Layer::Alpha::ignored;
    const PixelRect& to = part.reach;
    xcb_render_composite(x_.raw(), blends ? XCB_RENDER_PICT_OP_OVER : XCB_RENDER_PICT_OP_SRC,
                         part.window ? part.window->picture(withAlpha) : part.background.id(), part.mask.id(),
                         canvas.picture.id(), static_cast<int16_t>(to.x - part.dx),
                         static_cast<int16_t>(to.y - part.dy), 0, 0, static_cast<int16_t>(to.x),
                         static_cast<int16_t>(to.y), static_cast<uint16_t>(to.width), static_cast<uint16_t>(to.height));
    if (!blends) return;
    const xcb_rectangle_t all = rectangle(to);
    xcb_render_fill_rectangles(x_.raw(), XCB_RENDER_PICT_OP_ADD, canvas.picture.id(), {0, 0, 0, 0xFFFF}, 1, &all);
}

// Has the server draw only what of the part is stale, and known. What is stale of a picture of one layer is its part.
void Compositor::clipTo(const Part& part, const Canvas& canvas, bool all) {
    const bool cuts = part.window && part.window->mayBeUnknown();
    xcb_xfixes_region_t clip = all ? part.region.id() : canvas.stale.id();
    if (cuts) {
        const int border = part.window->border();
        const auto dx = static_cast<int16_t>(part.dx + border), dy = static_cast<int16_t>(part.dy + border);
        xcb_xfixes_translate_region(x_.raw(), part.window->unknown(), dx, dy);
        xcb_xfixes_subtract_region(x_.raw(), part.region.id(), part.window->unknown(), clip_.id());
        xcb_xfixes_translate_region(x_.raw(), part.window->unknown(), static_cast<int16_t>(-dx),
                                    static_cast<int16_t>(-dy));
        if (!all) xcb_xfixes_intersect_region(x_.raw(), clip_.id(), canvas.stale.id(), clip_.id());
        clip = clip_.id();
    } else if (!all && parts_.size() > 1) {
        xcb_xfixes_intersect_region(x_.raw(), part.region.id(), canvas.stale.id(), clip_.id());
        clip = clip_.id();
    }
    xcb_xfixes_set_picture_clip_region(x_.raw(), canvas.picture.id(), clip, 0, 0);
}

NoImage Compositor::missing(size_t layer) const {
    if (layer >= parts_.size()) return NoImage::notOnScreen;
    const Part& part = *parts_[layer];
    if (!part.visible.empty()) return NoImage::none;
    if (!part.window) return NoImage::notOnScreen;
    if (part.window->hasPixmap() && !canRead(x_, part.window->depth())) return NoImage::pixelFormat;
    return part.window->tooLarge() ? NoImage::tooLarge : NoImage::notOnScreen;
}

ServerRegion Compositor::regionOf(const Region& region) {
    std::vector<xcb_rectangle_t> rects;
    for (const PixelRect& rect : region.rects()) rects.push_back(rectangle(rect));
    ServerRegion created(x_);
    xcb_xfixes_create_region(x_.raw(), created.id(), static_cast<uint32_t>(rects.size()), rects.data());
    return created;
}

}  // namespace orvo::platform::x11
