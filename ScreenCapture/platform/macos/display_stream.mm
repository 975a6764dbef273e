// The device path by a stream: samples on the main queue at a steady rate, settings changed in place.
#include "ScreenCapture/platform/macos/display_stream.h"

#include <dispatch/dispatch.h>

#include <atomic>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/pixel_buffer.h"
#include "ScreenCapture/platform/macos/shareable_content.h"
#include "ScreenCapture/platform/macos/stream.h"

// All of this needs 14.0; what others call asks for it. Inside lambdas the compiler loses sight of that.
#pragma clang diagnostic ignored "-Wunguarded-availability"
#pragma clang diagnostic ignored "-Wunguarded-availability-new"

namespace orvo::platform::macos {
namespace {

constexpr NSInteger kQueueDepth = 3;

// Hands what a stream brings to the delegate on the main queue. At most one job waits there: it finds the newest.
class Delivery : public std::enable_shared_from_this<Delivery> {
  public:
    explicit Delivery(std::weak_ptr<DisplayCaptureDelegate> delegate) : delegate_(std::move(delegate)) {}

    // On the stream's queue.
    void take(const StreamPictures& pictures) {
        {
            std::lock_guard guard(lock_);
            newest_ = pictures.newest();
            whyEnded_ = pictures.whyEnded();
        }
        if (isWaiting_.exchange(true)) {
            if (const auto delegate = delegate_.lock()) delegate->onDropped(NoImage::hostBusy);
            return;
        }
        const auto self = shared_from_this();
        dispatch_async(dispatch_get_main_queue(), ^{
            guarded([&] { self->deliver(); });
        });
    }
    void close() { isClosed_ = true; }
    bool hasEnded() {
        std::lock_guard guard(lock_);
        return whyEnded_ != NoImage::none;
    }

  private:
    void deliver() {
        isWaiting_ = false;
        std::optional<StreamPictures::Picture> newest;
        NoImage whyEnded = NoImage::none;
        {
            std::lock_guard guard(lock_);
            newest = newest_;
            whyEnded = whyEnded_;
        }
        const auto delegate = delegate_.lock();
        if (!delegate || isClosed_) return;
        if (whyEnded != NoImage::none) return delegate->onInterruption({"", describe(whyEnded)});
        if (newest) delegate->onSample(*makeCounted<MacPixelBuffer>(newest->buffer), newest->time, Changes());
    }

    const std::weak_ptr<DisplayCaptureDelegate> delegate_;
    std::atomic<bool> isWaiting_{false};
    std::atomic<bool> isClosed_{false};
    std::mutex lock_;
    std::optional<StreamPictures::Picture> newest_;
    NoImage whyEnded_ = NoImage::none;
};

}  // namespace

class API_AVAILABLE(macos(14.0)) RunningDisplayStream {
  public:
    RunningDisplayStream(SCDisplay* display, const DisplayStream::Settings& settings,
                         const std::weak_ptr<DisplayCaptureDelegate>& delegate)
        : display_(display),
          filter_(filterFor(display)),
          delivery_(std::make_shared<Delivery>(delegate)),
          stream_(filter_, configuration(settings),
                  [delivery = delivery_](const StreamPictures& pictures) { delivery->take(pictures); }) {}
    ~RunningDisplayStream() { delivery_->close(); }

    void apply(const DisplayStream::Settings& settings) { stream_.update(configuration(settings)); }
    bool hasEnded() { return delivery_->hasEnded(); }

  private:
    SCStreamConfiguration* configuration(const DisplayStream::Settings& settings) const {
        const CGRect bounds = CGDisplayBounds(display_.displayID);
        CGRect area = bounds;
        if (settings.crop.width > 0 && settings.crop.height > 0) {
            const Rect& crop = settings.crop;
            area = CGRectMake(bounds.origin.x + crop.x, bounds.origin.y + bounds.size.height - crop.y - crop.height,
                              crop.width, crop.height);
        }
        SCStreamConfiguration* configuration = configurationFor(filter_, display_, area);
        configuration.minimumFrameInterval = CMTimeMake(settings.duration.value, settings.duration.timescale);
        configuration.queueDepth = kQueueDepth;
        configuration.showsCursor = settings.showsCursor;
        if (@available(macOS 15.0, *)) configuration.showMouseClicks = settings.showsClicks;
        return configuration;
    }

    SCDisplay* const display_;
    SCContentFilter* const filter_;
    const std::shared_ptr<Delivery> delivery_;
    Stream stream_;
};

DisplayStream::DisplayStream(uint32_t display) : display_(display) {}
DisplayStream::~DisplayStream() {
    guarded([this] { stop(); });
}

bool DisplayStream::isAvailable() {
    if (@available(macOS 14.0, *)) return true;
    return false;
}

template <typename Change>
void DisplayStream::change(Change change) {
    std::lock_guard guard(lock_);
    change(settings_);
    if (@available(macOS 14.0, *)) {
        if (running_) translated([&] { running_->apply(settings_); });
    }
}

void DisplayStream::setMinFrameDuration(const MediaTime& duration) {
    change([&](Settings& settings) { settings.duration = duration; });
}
void DisplayStream::setCapturesCursor(bool captures) {
    change([&](Settings& settings) { settings.showsCursor = captures; });
}
void DisplayStream::setCapturesMouseClicks(bool captures) {
    change([&](Settings& settings) { settings.showsClicks = captures; });
}
void DisplayStream::setCropRect(const Rect& crop) {
    change([&](Settings& settings) { settings.crop = crop; });
}

void DisplayStream::start(const std::weak_ptr<DisplayCaptureDelegate>& delegate) {
    translated([&] {
        if (@available(macOS 14.0, *)) {
            const Content content = shareableContent();
            SCDisplay* display = content.list ? displayIn(content.list, display_) : nil;
            if (!display) throw PlatformException{"SCStream", describe(content.list ? NoImage::gone : content.why)};
            std::lock_guard guard(lock_);
            running_ = std::make_shared<RunningDisplayStream>(display, settings_, delegate);
        }
    });
}

void DisplayStream::stop() {
    std::lock_guard guard(lock_);
    if (@available(macOS 14.0, *)) running_ = nullptr;
}

bool DisplayStream::isRunning() const {
    std::lock_guard guard(lock_);
    if (@available(macOS 14.0, *)) return running_ && !running_->hasEnded();
    return false;
}

}  // namespace orvo::platform::macos
