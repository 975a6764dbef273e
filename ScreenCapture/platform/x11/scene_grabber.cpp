// Pictures of windows composed over a rectangle, taken again and again.
#include "ScreenCapture/platform/x11/scene_grabber.h"

#include <poll.h>
#include <xcb/shape.h>

#include <algorithm>
#include <utility>

#include "ScreenCapture/platform/software/compose.h"
#include "ScreenCapture/platform/version.h"
#include "ScreenCapture/platform/x11/repaint_request.h"

namespace orvo::platform::x11 {
namespace {

// One being delivered, one waiting, one being written, and five that a host may keep.
constexpr size_t kMostFrames = 8;

xcb_rectangle_t rectangle(const PixelRect& area) {
    return {static_cast<int16_t>(area.x), static_cast<int16_t>(area.y), static_cast<uint16_t>(area.width),
            static_cast<uint16_t>(area.height)};
}

PixelRect moved(const PixelRect& area, int dx, int dy) {
    return {area.x + dx, area.y + dy, area.width, area.height};
}

}  // namespace

SceneGrabber::SceneGrabber(Connection& x, Heard others) : x_(x), others_(std::move(others)) {
    // Of all top-level windows: what moves or goes brings to light what was not drawn.
    const uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(x_.raw(), x_.root(), XCB_CW_EVENT_MASK, &events);
    const Extensions& extensions = x_.extensions();
    if (!extensions.sharedPixmaps || !extensions.render || !extensions.xfixes) return;
    const PictureFormats& formats = x_.formats();
    onServer_ = formats.argb32 && formats.opaque24 && formats.opaque32;
    if (!onServer_) return;
    for (ServerRegion* region : {&newsRegion_, &layerNews_, &clip_}) {
        *region = ServerRegion(x_);
        xcb_xfixes_create_region(x_.raw(), region->id(), 0, nullptr);
    }
}

SceneGrabber::~SceneGrabber() {
    const uint32_t none = 0;
    xcb_change_window_attributes(x_.raw(), x_.root(), XCB_CW_EVENT_MASK, &none);
    for (const xcb_window_t window : followed_) xcb_shape_select_input(x_.raw(), window, 0);
}

bool SceneGrabber::pin(xcb_window_t window, xcb_window_t frame) {
    kept_.push_back(window);
    pinned_ = sources_.emplace(window, std::make_unique<SceneSource>(x_, window, frame)).first->second.get();
    const auto size = x_.await<xcb_get_geometry_reply_t>(xcb_get_geometry(x_.raw(), window).sequence);
    if (!size) return false;
    const int border = size->border_width;
    pinned_->fit({0, 0, size->width + 2 * border, size->height + 2 * border}, border, false);
    x_.sync();  // whatever is drawn from here on goes into its picture
    return true;
}

void SceneGrabber::handle(const xcb_generic_event_t& event) {
    if (const xcb_window_t exposed = repaintRequestedByOther(x_, event))
        for (auto& [window, source] : sources_)
            if (source->isAbout(exposed)) source->handleRestacking(event);
    if ((event.response_type & 0x80) != 0) return;  // not the server's own word
    const uint8_t type = event.response_type;
    const bool isShape = x_.extensions().shape && type == x_.extensions().shapeEvent + XCB_SHAPE_NOTIFY;
    if (isShape || (type >= XCB_DESTROY_NOTIFY && type <= XCB_CIRCULATE_NOTIFY && type != XCB_MAP_REQUEST))
        for (auto& [window, source] : sources_) source->handleRestacking(event);
    for (auto& [window, source] : sources_)
        if (source->handle(event)) return;
}

void SceneGrabber::readEvents() {
    while (const Event event = x_.nextEvent()) {
        handle(*event);
        if (others_) others_(*event);
    }
}

Shot SceneGrabber::take(const PixelRect& bounds, const std::vector<SceneLayer>& layers, const WindowList& windows) {
    begin(bounds, layers, windows);
    return finish();
}

void SceneGrabber::begin(const PixelRect& bounds, const std::vector<SceneLayer>& layers, const WindowList& windows) {
    if (slot_) finish();  // nobody wanted it
    begun_ = ask(bounds, layers, windows);
}

Shot SceneGrabber::finish() {
    Ring::Slot* const slot = std::exchange(slot_, nullptr);
    if (!slot) return std::exchange(begun_, NoImage::failed);
    if (!awaitRefreshed(*slot)) return x_.lost() ? NoImage::noServer : NoImage::failed;
    // What was drawn from may have become another window's meanwhile, without a word before the answer.
    if (std::exchange(anyUnknown_, false) && isContentLost()) return NoImage::failed;
    const PixelRect all{0, 0, bounds_.width, bounds_.height};
    if (all == frameSize_) return Ref<Image>(slot->frame);
    return Ref<Image>(makeCounted<software::BitmapView>(slot->frame, all));
}

// The result, or anything when there is a slot that the server draws into.
Shot SceneGrabber::ask(const PixelRect& bounds, const std::vector<SceneLayer>& layers, const WindowList& windows) {
    if (bounds.empty()) return NoImage::notOnScreen;
    if (!fitsPicture(bounds)) return NoImage::tooLarge;
    const bool otherWindows = updateSources(layers, windows);
    const bool otherPictures = namePictures(layers);
    if (x_.lost()) return NoImage::noServer;
    dropLostContent();
    if (!onServer_) return composeHere(bounds, layers);
    if (!laidOut_ || otherWindows || otherPictures || bounds != bounds_ || layers != layers_) layOut(bounds, layers);
    const bool news = collectNews();
    Ring::Slot* slot = ring_->idle([this] { return makeSlot(); });
    if (!slot && x_.lost()) return NoImage::noServer;
    if (!slot && ring_->full()) return NoImage::noBuffer;
    if (!slot) {  // memory cannot be shared, or not any more
        onServer_ = false;
        return composeHere(bounds, layers);
    }
    refresh(*slot, news);
    slot_ = slot;
    return NoImage::failed;
}

// True when the scene has other windows than the last time.
bool SceneGrabber::updateSources(const std::vector<SceneLayer>& layers, const WindowList& windows) {
    const auto wanted = [&](xcb_window_t window) {
        if (contains(kept_, window)) return true;
        return std::any_of(layers.begin(), layers.end(),
                           [=](const SceneLayer& layer) { return layer.window == window; });
    };
    bool changed = std::erase_if(sources_, [&](const auto& each) {
                       return !wanted(each.first) || (each.second->gone() && each.second.get() != pinned_);
                   }) > 0;
    followShapes(windows);
    for (const SceneLayer& layer : layers) {
        if (layer.window == 0) continue;
        auto& source = sources_[layer.window];
        if (!source) {
            source = std::make_unique<SceneSource>(x_, layer.window, windows.frameOf(layer.window));
            source->fit(layer.outer, layer.border, layer.mapped > *mappings_);
            if (!windows.isSeenWhole(layer.window)) source->expectRepaint();
            changed = true;
        }
        if (source->needsRepaint() && source->requestRepaint()) changed = true;
    }
    waitForRepaint(layers);
    if (changed) laidOut_ = false;
    return changed;
}

void SceneGrabber::expect(const DesktopWindow& window, const WindowList& windows) {
    auto& source = sources_[window.number];
    if (source) return;
    const bool shows = windows.isSeenWhole(window.number);
    // What the screen shows needs no repaint and costs the server no memory.
    const xcb_window_t frame = windows.frameOf(window.number);
    const bool asShown = shows && onServer_ && window.border == 0 && !SceneSource::isUnknown(window.number, frame);
    source = std::make_unique<SceneSource>(x_, window.number, frame,
                                           asShown ? SceneSource::Way::shown : SceneSource::Way::redirected);
    const int borders = 2 * window.border;
    source->fit({0, 0, window.bounds.width + borders, window.bounds.height + borders}, window.border, false);
    if (!shows) source->expectRepaint();
    source->askPicture();
    kept_.push_back(window.number);
}

void SceneGrabber::forget(xcb_window_t window) {
    std::erase(kept_, window);
    if (sources_.erase(window) > 0) laidOut_ = false;
}

bool SceneGrabber::wasCovered(xcb_window_t window, const WindowList& windows) const {
    const auto found = sources_.find(window);
    if (found == sources_.end() || !found->second->isShown()) return false;
    // What came over it before it was watched made no event, but is in the list.
    return found->second->covered() || !windows.isSeenWhole(window);
}

void SceneGrabber::waitForRepaint(const std::vector<SceneLayer>& layers) {
    const auto isRepainted = [this](const SceneLayer& layer) {
        return layer.window == 0 || sources_[layer.window]->isRepainted();
    };
    while (!std::all_of(layers.begin(), layers.end(), isRepainted) && !x_.lost()) {
        x_.flush();
        pollfd socket{x_.descriptor(), POLLIN, 0};
        poll(&socket, 1, 1);
        readEvents();
    }
}

// A window that loses a part of its shape brings to light what is below, too. New ones are seen when they are mapped.
void SceneGrabber::followShapes(const WindowList& windows) {
    if (mappings_ && followedMappings_ == windows.mappings) return;
    followedMappings_ = windows.mappings;
    if (!mappings_) mappings_ = windows.mappings;
    followed_.clear();
    if (!x_.extensions().shape) return;
    for (const DesktopWindow& window : windows.all) followed_.push_back(window.frame);
    for (const xcb_window_t window : followed_) xcb_shape_select_input(x_.raw(), window, 1);
}

// Whether what of some window counts as drawn may be another's after all, as the events tell that have come.
bool SceneGrabber::isContentLost() {
    readEvents();
    return dropLostContent();
}

// Lays out again without what of some window has become unknown. True when there was any.
bool SceneGrabber::dropLostContent() {
    bool isLost = false;
    for (const auto& [window, source] : sources_) isLost |= source->takeLost();
    if (isLost) laidOut_ = false;
    return isLost;
}

bool SceneGrabber::namePictures(const std::vector<SceneLayer>& layers) {
    bool changed = false;
    const auto each = [&](auto&& act) {
        for (const SceneLayer& layer : layers)
            if (layer.window != 0) act(*sources_[layer.window]);
    };
    each([](SceneSource& source) { source.askPicture(); });
    each([&](SceneSource& source) { changed |= source.readPicture(); });
    // After all answers: what is asked in between would be sent one by one.
    if (changed) each([](SceneSource& source) { source.usePicture(); });
    return changed;
}

ServerRegion SceneGrabber::regionOf(const software::Region& region) {
    std::vector<xcb_rectangle_t> rects;
    for (const PixelRect& rect : region.rects()) rects.push_back(rectangle(rect));
    ServerRegion created(x_);
    xcb_xfixes_create_region(x_.raw(), created.id(), static_cast<uint32_t>(rects.size()), rects.data());
    return created;
}

ServerPicture SceneGrabber::backgroundPicture(xcb_pixmap_t pixmap) {
    ServerPicture picture(x_);
    const uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    xcb_render_create_picture(x_.raw(), picture.id(), pixmap, x_.formats().root, XCB_RENDER_CP_REPEAT, &repeat);
    return picture;
}

// Works out what of each window is seen, and makes all buffers stale.
void SceneGrabber::layOut(const PixelRect& bounds, const std::vector<SceneLayer>& layers) {
    const bool fits = bounds.width <= room_.width && bounds.height <= room_.height;
    const PixelRect frameSize = fits ? room_ : PixelRect{0, 0, bounds.width, bounds.height};
    if (!ring_ || frameSize != frameSize_) ring_ = std::make_unique<Ring>(kMostFrames);
    frameSize_ = frameSize;
    bounds_ = bounds;
    layers_ = layers;
    const PixelRect frame{0, 0, bounds.width, bounds.height};
    std::vector<software::Layer> shapes;
    for (const SceneLayer& layer : layers) {
        // A window's shape is relative to all of it, the composition's to the part that counts.
        software::Layer shape{moved(layer.clip, -bounds.x, -bounds.y), layer.shape, nullptr};
        for (PixelRect& rect : shape.shape)
            rect = moved(rect, layer.outer.x - layer.clip.x, layer.outer.y - layer.clip.y);
        shapes.push_back(std::move(shape));
    }
    std::vector<software::Region> visible = software::visibleParts(frame, shapes);

    parts_.clear();
    background_ = {};
    uncovered_ = software::Region(frame);
    for (size_t i = 0; i < layers.size(); ++i) {
        const SceneLayer& layer = layers[i];
        Part part;
        PixelRect reach = frame;
        if (layer.window != 0) {
            part.source = sources_[layer.window].get();
            const PixelRect& size = part.source->size();
            reach = {layer.outer.x - bounds.x, layer.outer.y - bounds.y, size.width, size.height};
            if (!part.source->hasPicture() || !part.source->picture()) reach = {};
        } else {
            background_ = backgroundPicture(layer.background);
        }
        part.drawn = software::intersection(frame, reach);
        part.visible = visible[i].intersected(part.drawn);
        part.region = regionOf(part.visible);
        // The background may have gone meanwhile, and then draws nothing.
        if (part.source && !part.source->mayBeUnknown()) uncovered_.subtract(part.visible);
        parts_.push_back(std::move(part));
    }
    uncoveredRegion_ = regionOf(uncovered_);
    noteMissing(layers,
                std::any_of(parts_.begin(), parts_.end(), [](const Part& part) { return !part.visible.empty(); }));
    for (const auto& slot : ring_->slots()) slot->backing.all = slot->backing.isStale = true;
    laidOut_ = true;
    version_ = nextVersion();
}

// What was drawn since the last picture, where it is seen, becomes stale in every buffer. True when something was
// drawn: the pictures have another version then, also when none is made now, until the server says that nothing of it
// is seen.
bool SceneGrabber::collectNews() {
    bool any = false;
    for (size_t i = 0; i < parts_.size(); ++i) {
        Part& part = parts_[i];
        if (!part.source || part.source->isShown() || part.visible.empty() || !part.source->takeNews()) continue;
        if (!std::exchange(any, true)) xcb_xfixes_set_region(x_.raw(), newsRegion_.id(), 0, nullptr);
        part.source->subtractDamage(layerNews_.id());
        const int border = part.source->border();
        xcb_xfixes_translate_region(x_.raw(), layerNews_.id(),
                                    static_cast<int16_t>(layers_[i].outer.x + border - bounds_.x),
                                    static_cast<int16_t>(layers_[i].outer.y + border - bounds_.y));
        xcb_xfixes_intersect_region(x_.raw(), layerNews_.id(), part.region.id(), layerNews_.id());
        xcb_xfixes_union_region(x_.raw(), newsRegion_.id(), layerNews_.id(), newsRegion_.id());
        for (const auto& slot : ring_->slots()) {
            Backing& backing = slot->backing;
            if (backing.all) continue;
            xcb_xfixes_union_region(x_.raw(), backing.stale.id(), layerNews_.id(), backing.stale.id());
            backing.layers[i] = backing.isStale = true;
        }
    }
    if (any) versionBeforeNews_ = std::exchange(version_, nextVersion());
    return any;
}

SceneGrabber::Ring::Slot SceneGrabber::makeSlot() {
    Ring::Slot slot;
    slot.frame = makeSharedFrame(x_, frameSize_.width, frameSize_.height, x_.formats().argb32, slot.backing);
    slot.backing.stale = ServerRegion(x_);
    xcb_xfixes_create_region(x_.raw(), slot.backing.stale.id(), 0, nullptr);
    return slot;
}

void SceneGrabber::refresh(Ring::Slot& slot, bool asksNews) {
    drawn_ = 0;
    if (!slot.backing.isStale) return;
    draw(slot);
    for (const Part& part : parts_) {
        if (!part.source || part.visible.empty() || !part.source->mayBeUnknown()) continue;
        part.source->askUnknown();
        anyUnknown_ = true;
    }
    // One wait: until the server has drawn, and to learn whether the news were seen at all.
    asksNews_ = asksNews;
    drawn_ = asksNews_ ? xcb_xfixes_fetch_region(x_.raw(), newsRegion_.id()).sequence
                       : xcb_get_input_focus(x_.raw()).sequence;
}

bool SceneGrabber::awaitRefreshed(Ring::Slot& slot) {
    if (drawn_ != 0) {
        const auto reply = x_.await<xcb_generic_reply_t>(drawn_);
        if (!reply) return false;
        if (anyUnknown_)
            for (const auto& [window, source] : sources_) source->readUnknown();
        const auto& news = reinterpret_cast<const xcb_xfixes_fetch_region_reply_t&>(*reply);
        if (asksNews_ && (news.extents.width == 0 || news.extents.height == 0)) version_ = versionBeforeNews_;
        slot.backing.isStale = false;
    }
    slot.frame->setVersion(version_);
    return true;
}

void SceneGrabber::draw(Ring::Slot& slot) {
    Backing& backing = slot.backing;
    if (backing.all) {
        xcb_xfixes_set_picture_clip_region(x_.raw(), backing.picture.id(), uncoveredRegion_.id(), 0, 0);
        const xcb_rectangle_t whole = rectangle({0, 0, bounds_.width, bounds_.height});
        if (!uncovered_.empty())
            xcb_render_fill_rectangles(x_.raw(), XCB_RENDER_PICT_OP_SRC, backing.picture.id(), {0, 0, 0, 0}, 1, &whole);
        backing.layers.assign(parts_.size(), true);
    }
    for (size_t i = 0; i < parts_.size(); ++i) {
        const Part& part = parts_[i];
        if (!backing.layers[i] || part.visible.empty()) continue;
        backing.layers[i] = false;
        clipTo(part, layers_[i], backing);
        const int x = part.drawn.x + bounds_.x - (part.source ? layers_[i].outer.x : 0);
        const int y = part.drawn.y + bounds_.y - (part.source ? layers_[i].outer.y : 0);
        xcb_render_composite(x_.raw(), XCB_RENDER_PICT_OP_SRC, part.source ? part.source->picture() : background_.id(),
                             XCB_NONE, backing.picture.id(), static_cast<int16_t>(x), static_cast<int16_t>(y), 0, 0,
                             static_cast<int16_t>(part.drawn.x), static_cast<int16_t>(part.drawn.y),
                             static_cast<uint16_t>(part.drawn.width), static_cast<uint16_t>(part.drawn.height));
    }
    xcb_xfixes_set_region(x_.raw(), backing.stale.id(), 0, nullptr);
    backing.all = false;
}

void SceneGrabber::noteMissing(const std::vector<SceneLayer>& layers, bool anyPicture) {
    const bool isWindow = layers.size() == 1 && layers.front().window != 0;
    const bool tooLarge = isWindow && sources_[layers.front().window]->tooLarge();
    missing_ = anyPicture ? NoImage::none : tooLarge ? NoImage::tooLarge : NoImage::notOnScreen;
}

// Has the server draw only what is stale of the part and known.
void SceneGrabber::clipTo(const Part& part, const SceneLayer& layer, const Backing& backing) {
    const bool cuts = part.source && part.source->mayBeUnknown();
    if (!backing.all)
        xcb_xfixes_intersect_region(x_.raw(), part.region.id(), backing.stale.id(), clip_.id());
    else if (cuts)
        xcb_xfixes_copy_region(x_.raw(), part.region.id(), clip_.id());
    if (cuts) {
        const int border = part.source->border();
        xcb_xfixes_copy_region(x_.raw(), part.source->unknown(), layerNews_.id());
        xcb_xfixes_translate_region(x_.raw(), layerNews_.id(), static_cast<int16_t>(layer.outer.x + border - bounds_.x),
                                    static_cast<int16_t>(layer.outer.y + border - bounds_.y));
        xcb_xfixes_subtract_region(x_.raw(), clip_.id(), layerNews_.id(), clip_.id());
    }
    const xcb_xfixes_region_t clip = backing.all && !cuts ? part.region.id() : clip_.id();
    xcb_xfixes_set_picture_clip_region(x_.raw(), backing.picture.id(), clip, 0, 0);
}

// Each window's picture as the server sends it; needs nothing but Composite.
Shot SceneGrabber::composeHere(const PixelRect& bounds, const std::vector<SceneLayer>& layers) {
    std::vector<unsigned> cookies(layers.size());
    const auto ask = [&](xcb_drawable_t drawable, int width, int height) {
        return xcb_get_image(x_.raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, 0, 0, static_cast<uint16_t>(width),
                             static_cast<uint16_t>(height), ~0U)
            .sequence;
    };
    std::vector<software::Layer> parts;
    bool anyPicture = false, anyUnknown = false;
    for (size_t i = 0; i < layers.size(); ++i) {
        if (layers[i].window == 0) continue;
        SceneSource& source = *sources_[layers[i].window];
        if (source.takeNews()) source.takeDamage();
        source.askUnknown();
        anyUnknown |= source.mayBeUnknown();
        if (source.hasPicture()) cookies[i] = ask(source.drawable(), source.size().width, source.size().height);
    }
    for (size_t i = 0; i < layers.size(); ++i) {
        const SceneLayer& layer = layers[i];
        software::Layer part{layer.clip, layer.shape, nullptr};
        for (PixelRect& rect : part.shape)
            rect = moved(rect, layer.outer.x - layer.clip.x, layer.outer.y - layer.clip.y);
        if (cookies[i] != 0) {
            SceneSource& source = *sources_[layer.window];
            const PixelRect& size = source.size();
            const std::vector<PixelRect> unknown = source.readUnknown();
            const auto reply = x_.await<xcb_get_image_reply_t>(cookies[i]);
            const auto bitmap =
                software::MemoryBitmap::make(size.width, size.height, static_cast<size_t>(size.width) * 4);
            const size_t bytes = bitmap ? bitmap->bytesPerRow() * static_cast<size_t>(size.height) : 0;
            if (bitmap && reply && static_cast<size_t>(xcb_get_image_data_length(reply.get())) >= bytes) {
                for (size_t at = 0; at < bytes; at += 4) {
                    std::copy_n(xcb_get_image_data(reply.get()) + at, 3, bitmap->data() + at);
                    bitmap->data()[at + 3] = 0xFF;
                }
                for (const PixelRect& rect : unknown) bitmap->clear(moved(rect, source.border(), source.border()));
                const PixelRect inside = software::intersection(moved(layer.clip, -layer.outer.x, -layer.outer.y),
                                                                {0, 0, size.width, size.height});
                if (!inside.empty()) part.image = makeCounted<software::BitmapView>(bitmap, inside);
                anyPicture = true;
            }
        }
        parts.push_back(std::move(part));
    }
    noteMissing(layers, anyPicture);
    const Ref<Image> result = software::compose(bounds, parts);
    if (x_.lost()) return NoImage::noServer;
    if (anyUnknown && isContentLost()) return NoImage::failed;
    return result ? Shot(result) : Shot(NoImage::failed);
}

}  // namespace orvo::platform::x11
