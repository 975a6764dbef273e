// The device path: a capture session of AVFoundation with the screen input and a video data output.
#include <AVFoundation/AVFoundation.h>
#include <CoreMedia/CoreMedia.h>
#include <CoreVideo/CoreVideo.h>
#include <dispatch/dispatch.h>

#include <atomic>

#include "ScreenCapture/platform/macos/display_stream.h"
#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/pixel_buffer.h"
#include "ScreenCapture/platform/macos/services.h"
#include "common/utils/orvo_snapshot.h"

using orvo::platform::CaptureFailure;
using orvo::platform::DisplayCaptureDelegate;

// AVFoundation leaves the sample method optional; without it no frame would ever come.
@protocol OrvoScreenCaptureSamples <AVCaptureVideoDataOutputSampleBufferDelegate>
@required
- (void)captureOutput:(AVCaptureOutput*)output
    didOutputSampleBuffer:(CMSampleBufferRef)sample
           fromConnection:(AVCaptureConnection*)connection;
@end

// What a session and its receivers share.
struct SessionState {
    // From a start that has returned to the stop that ends it: a session that stands still meanwhile was stopped by the
    // system.
    std::atomic<bool> isWanted{false};
    std::atomic<bool> hasDelivered{false};  // since the start
    std::atomic<uint64_t> starts{0};
};
using SharedState = std::shared_ptr<SessionState>;

// Hands samples and failures of one session on to the delegate, which it holds weakly.
@interface OrvoScreenCaptureReceiver : NSObject <OrvoScreenCaptureSamples>
- (instancetype)initWithDelegate:(std::weak_ptr<DisplayCaptureDelegate>)delegate state:(SharedState)state;
- (void)captureSessionRuntimeErrorDidOccur:(NSNotification*)notification;
- (void)captureSessionDidStop:(NSNotification*)notification;
@end

@implementation OrvoScreenCaptureReceiver {
    std::weak_ptr<DisplayCaptureDelegate> _delegate;
    SharedState _state;
}

- (instancetype)initWithDelegate:(std::weak_ptr<DisplayCaptureDelegate>)delegate state:(SharedState)state {
    self = [super init];
    if (self) {
        _delegate = std::move(delegate);
        _state = std::move(state);
    }
    return self;
}

- (void)captureOutput:(AVCaptureOutput*)output
    didOutputSampleBuffer:(CMSampleBufferRef)sample
           fromConnection:(AVCaptureConnection*)connection {
    using namespace orvo::platform;
    static_cast<void>(output);
    static_cast<void>(connection);
    macos::guarded([&] {
        const CMTime time = CMSampleBufferGetPresentationTimeStamp(sample);
        auto image = macos::CFRef<CVPixelBufferRef>::retain(CMSampleBufferGetImageBuffer(sample));
        if (!image) return;
        _state->hasDelivered = true;
        const auto delegate = _delegate.lock();
        if (!delegate) return;
        const auto buffer = makeCounted<macos::MacPixelBuffer>(std::move(image));
        delegate->onSample(*buffer, {time.value, time.timescale}, Changes());
    });
}

// Late samples are discarded by the output: the main queue was busy.
- (void)captureOutput:(AVCaptureOutput*)output
    didDropSampleBuffer:(CMSampleBufferRef)sample
         fromConnection:(AVCaptureConnection*)connection {
    static_cast<void>(output);
    static_cast<void>(sample);
    static_cast<void>(connection);
    orvo::platform::macos::guarded([&] {
        if (const auto delegate = _delegate.lock()) delegate->onDropped(orvo::platform::NoImage::hostBusy);
    });
}

// Notifications come on any thread, the delegate gets them on the main queue.
- (void)captureSessionRuntimeErrorDidOccur:(NSNotification*)notification {
    using namespace orvo::platform::macos;
    CaptureFailure failure;
    bool isRuntimeError = true;
    guarded([&] {
        isRuntimeError = [notification.name isEqualToString:AVCaptureSessionRuntimeErrorNotification];
        NSError* error = notification.userInfo[AVCaptureSessionErrorKey];
        failure = {textOf(error.localizedRecoverySuggestion), textOf(error.localizedFailureReason)};
    });
    // The stop that follows an error is the same failure.
    if (isRuntimeError) _state->isWanted = false;
    const std::weak_ptr<DisplayCaptureDelegate> receiver = _delegate;
    dispatch_async(dispatch_get_main_queue(), ^{
        guarded([&] {
            const auto delegate = receiver.lock();
            if (!delegate) return;
            isRuntimeError ? delegate->onRuntimeError(failure) : delegate->onInterruption(failure);
        });
    });
}

- (void)captureSessionDidStop:(NSNotification*)notification {
    using namespace orvo::platform::macos;
    bool runsAgain = false;
    guarded([&] { runsAgain = static_cast<AVCaptureSession*>(notification.object).running; });
    if (runsAgain || !_state->isWanted.exchange(false)) return;
    const std::weak_ptr<DisplayCaptureDelegate> receiver = _delegate;
    dispatch_async(dispatch_get_main_queue(), ^{
        guarded([&] {
            if (const auto delegate = receiver.lock())
                delegate->onInterruption({"", "the system stopped the capture session"});
        });
    });
}
@end

namespace orvo::platform::macos {
namespace {

constexpr int64_t kPatience = 3 * static_cast<int64_t>(NSEC_PER_SEC);

CMTime timeOf(const MediaTime& time) {
    return CMTimeMake(time.value, time.timescale);
}

// An input of AVFoundation's with the stream that stands in for it; null where the system makes no such input.
class MacDisplayInput final : public DisplayInput {
  public:
    MacDisplayInput(AVCaptureScreenInput* input, uint32_t display)
        : input_(input), stream_(std::make_shared<DisplayStream>(display)) {}

    void setMinFrameDuration(const MediaTime& duration) override {
        translated([&] { input_.minFrameDuration = timeOf(duration); });
        stream_->setMinFrameDuration(duration);
    }
    void setCapturesCursor(bool captures) override {
        translated([&] { input_.capturesCursor = captures; });
        stream_->setCapturesCursor(captures);
    }
    void setCapturesMouseClicks(bool captures) override {
        translated([&] { input_.capturesMouseClicks = captures; });
        stream_->setCapturesMouseClicks(captures);
    }
    void setCropRect(const Rect& crop) override {
        translated([&] { input_.cropRect = rectOf(crop); });
        stream_->setCropRect(crop);
    }

    AVCaptureScreenInput* input() const { return input_; }
    const std::shared_ptr<DisplayStream>& stream() const { return stream_; }

  private:
    AVCaptureScreenInput* const input_;
    const std::shared_ptr<DisplayStream> stream_;
};

const MacDisplayInput& macInput(const std::shared_ptr<DisplayInput>& input) {
    return static_cast<const MacDisplayInput&>(*input);
}

class MacDisplayCapture final : public DisplayCapture, public std::enable_shared_from_this<MacDisplayCapture> {
  public:
    MacDisplayCapture() : session_([[AVCaptureSession alloc] init]) {
        guarded([this] {
            if ([session_ canSetSessionPreset:AVCaptureSessionPresetHigh])
                session_.sessionPreset = AVCaptureSessionPresetHigh;
        });
    }

    // Clearing the delegate and stopping wait for the session's own threads, which may wait for the main queue: neither
    // happens on the thread that lets go, which may be the main one. A sample may be on its way all the while, so that
    // the receiver goes last, behind all that the main queue holds by then.
    ~MacDisplayCapture() override {
        const bool isRemoved = answered(false, [this] {
            if (failures_) [[NSNotificationCenter defaultCenter] removeObserver:failures_];
            return true;
        });
        // One that could not be removed may be sent to at any time: it stays for good.
        if (!isRemoved) static_cast<void>((__bridge_retained void*)failures_);
        AVCaptureSession* session = session_;
        AVCaptureVideoDataOutput* output = output_;
        OrvoScreenCaptureReceiver* samples = samples_;
        dispatch_async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), ^{
            guarded([&] { [output setSampleBufferDelegate:nil queue:nil]; });
            guarded([&] {
                if (session.running) [session stopRunning];
            });
            dispatch_async(dispatch_get_main_queue(), ^{
                static_cast<void>(samples);
            });
        });
    }

    std::shared_ptr<DisplayInput> makeInput(uint32_t display) override {
        AVCaptureScreenInput* input = answered(
            (AVCaptureScreenInput*)nil, [&] { return [[AVCaptureScreenInput alloc] initWithDisplayID:display]; });
        const bool isDisplay = !CGRectIsEmpty(CGDisplayBounds(display));
        if (!input && !(isDisplay && DisplayStream::isAvailable())) return nullptr;
        return std::make_shared<MacDisplayInput>(input, display);
    }
    bool canAddInput(const std::shared_ptr<DisplayInput>& input) override {
        if (!input || !macInput(input).input()) return input != nullptr;
        return translated([&]() -> bool { return [session_ canAddInput:macInput(input).input()]; });
    }
    void addInput(const std::shared_ptr<DisplayInput>& input) override {
        if (!input) return;
        if (macInput(input).input()) translated([&] { [session_ addInput:macInput(input).input()]; });
        const Source source{macInput(input).input() != nil, macInput(input).stream()};
        source_.store(source);
    }
    void removeInput(const std::shared_ptr<DisplayInput>& input) override {
        if (!input) return;
        source_.store(Source());
        if (macInput(input).input()) translated([&] { [session_ removeInput:macInput(input).input()]; });
    }

    void addOutput(const std::weak_ptr<DisplayCaptureDelegate>& delegate) override {
        delegate_ = delegate;
        translated([&] {
            output_ = [[AVCaptureVideoDataOutput alloc] init];
            samples_ = [[OrvoScreenCaptureReceiver alloc] initWithDelegate:delegate state:state_];
            [output_ setSampleBufferDelegate:samples_ queue:dispatch_get_main_queue()];
            output_.videoSettings = @{
                (__bridge NSString*)
                kCVPixelBufferPixelFormatTypeKey : [NSNumber numberWithUnsignedInt:kCVPixelFormatType_32BGRA]
            };
            if ([session_ canAddOutput:output_]) [session_ addOutput:output_];
        });
    }

    void observeFailures(const std::weak_ptr<DisplayCaptureDelegate>& delegate) override {
        translated([&] {
            NSNotificationCenter* center = [NSNotificationCenter defaultCenter];
            if (failures_) [center removeObserver:failures_];
            failures_ = [[OrvoScreenCaptureReceiver alloc] initWithDelegate:delegate state:state_];
            observe(AVCaptureSessionRuntimeErrorNotification, @selector(captureSessionRuntimeErrorDidOccur:));
            observe(AVCaptureSessionDidStopRunningNotification, @selector(captureSessionDidStop:));
            if (@available(macOS 10.14, *))
                observe(AVCaptureSessionWasInterruptedNotification, @selector(captureSessionRuntimeErrorDidOccur:));
        });
    }

    void beginConfiguration() override {
        translated([&] { [session_ beginConfiguration]; });
    }
    void commitConfiguration() override {
        translated([&] { [session_ commitConfiguration]; });
    }
    void startRunning() override {
        ++state_->starts;
        state_->hasDelivered = false;
        const auto source = source_.load();
        if (source->stream && !source->hasInput) return source->stream->start(delegate_);
        translated([&] { [session_ startRunning]; });
        state_->isWanted = isSessionRunning();
        if (source->stream && DisplayStream::isAvailable()) watchForSamples(source->stream);
    }
    void stopRunning() override {
        ++state_->starts;
        state_->isWanted = false;
        if (const auto stream = source_.load()->stream) stream->stop();
        translated([&] { [session_ stopRunning]; });
    }
    bool isRunning() override {
        const auto stream = source_.load()->stream;
        return isSessionRunning() || (stream && stream->isRunning());
    }

  private:
    // What is recorded. Read on any thread.
    struct Source {
        bool hasInput = false;
        std::shared_ptr<DisplayStream> stream;
    };

    bool isSessionRunning() {
        return answered(false, [&] { return session_.running; });
    }

    // Samples come by way of the main queue: where that runs and has brought none, the input delivers nothing. The
    // stream takes its place.
    void watchForSamples(std::shared_ptr<DisplayStream> stream) {
        const std::weak_ptr<MacDisplayCapture> weak = weak_from_this();
        const SharedState state = state_;
        const uint64_t start = state->starts;
        dispatch_after(dispatch_time(DISPATCH_TIME_NOW, kPatience), dispatch_get_main_queue(), ^{
            if (state->hasDelivered || state->starts != start) return;
            dispatch_async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), ^{
                guarded([&] {
                    const auto self = weak.lock();
                    if (self && state->starts == start) self->replaceInput(*stream, start);
                });
            });
        });
    }

    void replaceInput(DisplayStream& stream, uint64_t start) {
        syslog_ex(1, ESYSLOG_WARN, "macos", __LINE__,
                  "the screen input has delivered nothing for 3 s: a stream of ScreenCaptureKit takes its place");
        state_->isWanted = false;
        guarded([&] { [session_ stopRunning]; });
        stream.start(delegate_);
        if (state_->starts != start) stream.stop();  // meanwhile the capture was stopped
    }

    void observe(NSNotificationName name, SEL selector) {
        [[NSNotificationCenter defaultCenter] addObserver:failures_ selector:selector name:name object:session_];
    }

    AVCaptureSession* const session_;
    AVCaptureVideoDataOutput* output_ = nil;
    OrvoScreenCaptureReceiver* samples_ = nil;  // the output does not hold its delegate
    OrvoScreenCaptureReceiver* failures_ = nil;
    std::weak_ptr<DisplayCaptureDelegate> delegate_;
    ORVO::BASE::Snapshot<Source> source_{Source()};
    const SharedState state_ = std::make_shared<SessionState>();
};

}  // namespace

std::shared_ptr<DisplayCapture> makeDisplayCapture() {
    return answered(std::shared_ptr<DisplayCapture>(), [] { return std::make_shared<MacDisplayCapture>(); });
}

}  // namespace orvo::platform::macos
