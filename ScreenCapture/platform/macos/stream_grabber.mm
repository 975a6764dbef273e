// The pictures of one target by a stream: what has to be recorded for a question, and changing it in place.
#include "ScreenCapture/platform/macos/stream_grabber.h"

#include <algorithm>
#include <optional>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/pointer.h"
#include "ScreenCapture/platform/macos/screencapturekit.h"
#include "ScreenCapture/platform/macos/shareable_content.h"
#include "ScreenCapture/platform/macos/stream.h"

// All of this needs 14.0; what others call asks for it. Inside lambdas the compiler loses sight of that.
#pragma clang diagnostic ignored "-Wunguarded-availability"
#pragma clang diagnostic ignored "-Wunguarded-availability-new"

namespace orvo::platform::macos {
namespace {

constexpr NSInteger kQueueDepth = 3;

// All that a stream's filter is made from; equal keys are equal filters.
struct FilterKey {
    enum Kind { window, withoutDesktop, windows, display } kind = window;
    uint32_t number = 0;            // of the window or the display
    std::vector<uint32_t> numbers;  // sorted; what is shown, or for withoutDesktop what is left out
    bool operator==(const FilterKey&) const = default;

    // Whether the filter shows all that the other did: then the other's pictures are good until its own come.
    bool includes(const FilterKey& other) const {
        if (kind != other.kind || number != other.number) return false;
        const auto& more = kind == withoutDesktop ? other.numbers : numbers;
        const auto& less = kind == withoutDesktop ? numbers : other.numbers;
        return std::includes(more.begin(), more.end(), less.begin(), less.end());
    }
};

// What of a configuration changes while a stream runs.
struct Shape {
    size_t width = 0, height = 0;  // pixels
    Rect source;
    GrabberUse use;
    bool operator==(const Shape&) const = default;
};

class API_AVAILABLE(macos(14.0)) StreamGrabber final : public Grabber {
  public:
    explicit StreamGrabber(uint32_t target) : target_(target) {}
    ~StreamGrabber() override {
        guarded([this] { stream_.reset(); });
    }

    void setUse(const GrabberUse& use) override { use_ = {use.fps, use.showsCursor && !hasCursorPicture()}; }

    Shot window() override {
        return withContent([&](SCShareableContent* list) -> Shot {
            SCWindow* window = windowIn(list, target_);
            if (!window) return end(NoImage::gone);
            const CGSize size = window.frame.size;
            const FilterKey key{FilterKey::window, target_, {}};
            return record(
                key, [&]() { return filterFor(window); },
                [&](SCContentFilter* filter) {
                    SCStreamConfiguration* configuration = configurationFor(filter, size);
                    configuration.ignoreShadowsSingleWindow = YES;
                    return configuration;
                },
                [&] { return screencapturekit::pictureOfWindow(target_, kCGWindowImageBoundsIgnoreFraming); }, asItIs);
        });
    }

    Shot area(const Rect& area) override {
        return onDisplay(
            area, FilterKey::withoutDesktop, desktopNumbers,
            [](SCDisplay* display, SCShareableContent* list) { return filterWithoutDesktop(display, list); },
            [&] { return screencapturekit::pictureOfArea(rectOf(area)); });
    }

    Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) override {
        return onDisplay(
            bounds, FilterKey::windows, [&](SCShareableContent* list) { return shownNumbers(list, windows); },
            [&](SCDisplay* display, SCShareableContent* list) { return filterFor(display, list, windows); },
            [&] { return screencapturekit::pictureOfWindows(rectOf(bounds), windows); });
    }

    Shot display() override {
        return withContent([&](SCShareableContent* list) -> Shot {
            SCDisplay* display = displayIn(list, target_);
            if (!display) return end(NoImage::gone);
            return record(
                {FilterKey::display, target_, {}}, [&]() { return filterFor(display); },
                [&](SCContentFilter* filter) { return configurationFor(filter, filter.contentRect.size); },
                [&] { return screencapturekit::pictureOfDisplay(target_); }, asItIs);
        });
    }

  private:
    static Shot asItIs(Ref<Image> image) { return image; }

    template <typename Take>
    Shot withContent(Take take) {
        return answered(Shot(NoImage::failed), [&]() -> Shot {
            const Content content = shareableContent();
            return content.list ? take(content.list) : Shot(content.why);
        });
    }

    // A rectangle of the screen; numbersOf(list) is the filter's key. A stream shows what lies on its display.
    template <typename NumbersOf, typename MakeFilter, typename TakeOne>
    Shot onDisplay(const Rect& area, FilterKey::Kind kind, NumbersOf numbersOf, MakeFilter makeFilter,
                   TakeOne takeOne) {
        return withContent([&](SCShareableContent* list) -> Shot {
            const auto displays = displaysUnder(list, rectOf(area));
            if (displays.empty()) return end(NoImage::notOnScreen);
            if (displays.size() > 1) {
                stream_.reset();
                return takeOne();
            }
            SCDisplay* display = displays.front();
            return record(
                {kind, display.displayID, numbersOf(list)}, [&]() { return makeFilter(display, list); },
                [&](SCContentFilter* filter) { return configurationFor(filter, display, rectOf(area)); }, takeOne,
                [&](const Ref<Image>& image) {
                    const CGRect shown = CGRectIntersection(rectOf(area), CGDisplayBounds(display.displayID));
                    return screencapturekit::pictureInArea(image, shown, rectOf(area));
                });
        });
    }

    // The newest picture of the stream that records what the key says; the stream is started or changed for it.
    template <typename MakeFilter, typename MakeConfiguration, typename TakeOne, typename Complete>
    Shot record(const FilterKey& key, MakeFilter makeFilter, MakeConfiguration makeConfiguration, TakeOne takeOne,
                Complete completed) {
        if (ended_ != NoImage::none) return ended_;
        if (!stream_ || !(key == key_)) filter_ = makeFilter();
        SCStreamConfiguration* configuration = makeConfiguration(filter_);
        const Shape shape{configuration.width, configuration.height, rectFrom(configuration.sourceRect), use_};
        if (!stream_) {
            start(configuration);
        } else {
            if (!(key == key_)) stream_->update(filter_, !key.includes(key_));
            if (!(shape == shape_)) stream_->update(complete(configuration));
        }
        key_ = key;
        shape_ = shape;
        if (const auto newest = stream_->pictures().newest())
            return completed(Ref<Image>(makeCounted<MacImage>(newest->buffer, newest->version)));
        ended_ = stream_->pictures().whyEnded();
        return ended_ == NoImage::none ? takeOne() : Shot(ended_);
    }

    void start(SCStreamConfiguration* configuration) { stream_.emplace(filter_, complete(configuration)); }

    SCStreamConfiguration* complete(SCStreamConfiguration* configuration) const {
        configuration.minimumFrameInterval = CMTimeMake(1, std::max(use_.fps, 1));
        configuration.queueDepth = kQueueDepth;
        configuration.showsCursor = use_.showsCursor;
        return configuration;
    }

    // The target cannot be recorded now.
    Shot end(NoImage why) {
        stream_.reset();
        return why;
    }

    static std::vector<uint32_t> desktopNumbers(SCShareableContent* list) {
        std::vector<uint32_t> numbers;
        for (SCWindow* window in list.windows) {
            if (window.windowLayer < 0) numbers.push_back(window.windowID);
        }
        std::sort(numbers.begin(), numbers.end());
        return numbers;
    }
    static std::vector<uint32_t> shownNumbers(SCShareableContent* list, const std::vector<uint32_t>& windows) {
        std::vector<uint32_t> numbers;
        for (SCWindow* window in list.windows) {
            if (contains(windows, window.windowID)) numbers.push_back(window.windowID);
        }
        std::sort(numbers.begin(), numbers.end());
        return numbers;
    }

    const uint32_t target_;
    GrabberUse use_;
    std::optional<Stream> stream_;
    NoImage ended_ = NoImage::none;  // why the stream has ended for good
    // What the stream records.
    SCContentFilter* filter_ = nil;
    FilterKey key_;
    Shape shape_;
};

// Of systems without ScreenCaptureKit's streams.
class NoGrabber final : public Grabber {
  public:
    Shot window() override { return NoImage::failed; }
    Shot area(const Rect&) override { return NoImage::failed; }
    Shot composed(const Rect&, const std::vector<uint32_t>&) override { return NoImage::failed; }
    Shot display() override { return NoImage::failed; }
};

}  // namespace

std::unique_ptr<Grabber> makeStreamGrabber(uint32_t target) {
    if (@available(macOS 14.0, *)) return std::make_unique<StreamGrabber>(target);
    return std::make_unique<NoGrabber>();
}

}  // namespace orvo::platform::macos
