// The device path: a capture session of AVFoundation with the screen input and a video data output.
#include <AVFoundation/AVFoundation.h>
#include <CoreMedia/CoreMedia.h>
#include <CoreVideo/CoreVideo.h>
#include <dispatch/dispatch.h>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/geometry.h"
#include "ScreenCapture/platform/macos/pixel_buffer.h"
#include "ScreenCapture/platform/macos/services.h"
#include "ScreenCapture/platform/macos/text.h"

using orvo::platform::CaptureFailure;
using orvo::platform::DisplayCaptureDelegate;

// AVFoundation leaves the sample method optional; without it no frame would ever come.
@protocol OrvoScreenCaptureSamples <AVCaptureVideoDataOutputSampleBufferDelegate>
@required
- (void)captureOutput:(AVCaptureOutput*)output
    didOutputSampleBuffer:(CMSampleBufferRef)sample
           fromConnection:(AVCaptureConnection*)connection;
@end

// Hands samples and failures of one session on to the delegate, which it holds weakly.
@interface OrvoScreenCaptureReceiver : NSObject <OrvoScreenCaptureSamples>
- (instancetype)initWithDelegate:(std::weak_ptr<DisplayCaptureDelegate>)delegate;
- (void)captureSessionRuntimeErrorDidOccur:(NSNotification*)notification;
@end

@implementation OrvoScreenCaptureReceiver {
    std::weak_ptr<DisplayCaptureDelegate> _delegate;
}

- (instancetype)initWithDelegate:(std::weak_ptr<DisplayCaptureDelegate>)delegate {
    self = [super init];
    if (self) _delegate = std::move(delegate);
    return self;
}

- (void)captureOutput:(AVCaptureOutput*)output
    didOutputSampleBuffer:(CMSampleBufferRef)sample
           fromConnection:(AVCaptureConnection*)connection {
    using namespace orvo::platform;
    static_cast<void>(output);
    static_cast<void>(connection);
    const auto delegate = _delegate.lock();
    if (!delegate) return;
    const CMTime time = CMSampleBufferGetPresentationTimeStamp(sample);
    auto image = macos::CFRef<CVPixelBufferRef>::retain(CMSampleBufferGetImageBuffer(sample));
    if (!image) return;
    const auto buffer = makeCounted<macos::MacPixelBuffer>(std::move(image));
    delegate->onSample(*buffer, {time.value, time.timescale}, Changes());
}

// Late samples are discarded by the output: the main queue was busy.
- (void)captureOutput:(AVCaptureOutput*)output
    didDropSampleBuffer:(CMSampleBufferRef)sample
         fromConnection:(AVCaptureConnection*)connection {
    static_cast<void>(output);
    static_cast<void>(sample);
    static_cast<void>(connection);
    if (const auto delegate = _delegate.lock()) delegate->onDropped(orvo::platform::NoImage::hostBusy);
}

// Comes on any thread, the delegate hears of it on the main queue.
- (void)captureSessionRuntimeErrorDidOccur:(NSNotification*)notification {
    NSError* error = notification.userInfo[AVCaptureSessionErrorKey];
    const CaptureFailure failure{orvo::platform::macos::textOf(error.localizedRecoverySuggestion),
                                 orvo::platform::macos::textOf(error.localizedFailureReason)};
    const bool isRuntimeError = [notification.name isEqualToString:AVCaptureSessionRuntimeErrorNotification];
    const std::weak_ptr<DisplayCaptureDelegate> receiver = _delegate;
    dispatch_async(dispatch_get_main_queue(), ^{
        const auto delegate = receiver.lock();
        if (!delegate) return;
        if (isRuntimeError) {
            delegate->onRuntimeError(failure);
        } else {
            delegate->onInterruption(failure);
        }
    });
}
@end

namespace orvo::platform::macos {
namespace {

CMTime timeOf(const MediaTime& time) {
    return CMTimeMake(time.value, time.timescale);
}

class MacDisplayInput final : public DisplayInput {
  public:
    explicit MacDisplayInput(AVCaptureScreenInput* input) : input_(input) {}

    void setMinFrameDuration(const MediaTime& duration) override {
        translated([&] { input_.minFrameDuration = timeOf(duration); });
    }
    void setCapturesCursor(bool captures) override {
        translated([&] { input_.capturesCursor = captures; });
    }
    void setCapturesMouseClicks(bool captures) override {
        translated([&] { input_.capturesMouseClicks = captures; });
    }
    void setCropRect(const Rect& crop) override {
        translated([&] { input_.cropRect = rectOf(crop); });
    }

    AVCaptureScreenInput* input() const { return input_; }

  private:
    AVCaptureScreenInput* input_;
};

AVCaptureScreenInput* screenInput(const std::shared_ptr<DisplayInput>& input) {
    return static_cast<const MacDisplayInput&>(*input).input();
}

class MacDisplayCapture final : public DisplayCapture {
  public:
    MacDisplayCapture() : session_([[AVCaptureSession alloc] init]) {
        if ([session_ canSetSessionPreset:AVCaptureSessionPresetHigh]) {
            session_.sessionPreset = AVCaptureSessionPresetHigh;
        }
    }

    // Clearing the delegate and stopping wait for the session's own threads, which may wait for the main queue: neither
    // happens on the thread that lets go, which may be the main one.
    ~MacDisplayCapture() override {
        if (failures_) [[NSNotificationCenter defaultCenter] removeObserver:failures_];
        AVCaptureSession* session = session_;
        AVCaptureVideoDataOutput* output = output_;
        dispatch_async(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0), ^{
            [output setSampleBufferDelegate:nil queue:nil];
            if (session.running) [session stopRunning];
        });
    }

    std::shared_ptr<DisplayInput> makeInput(uint32_t display) override {
        return translated([&]() -> std::shared_ptr<DisplayInput> {
            AVCaptureScreenInput* input = [[AVCaptureScreenInput alloc] initWithDisplayID:display];
            if (!input) return nullptr;
            return std::make_shared<MacDisplayInput>(input);
        });
    }
    bool canAddInput(const std::shared_ptr<DisplayInput>& input) override {
        return input && translated([&]() -> bool { return [session_ canAddInput:screenInput(input)]; });
    }
    void addInput(const std::shared_ptr<DisplayInput>& input) override {
        if (input) translated([&] { [session_ addInput:screenInput(input)]; });
    }
    void removeInput(const std::shared_ptr<DisplayInput>& input) override {
        if (input) translated([&] { [session_ removeInput:screenInput(input)]; });
    }

    void addOutput(const std::weak_ptr<DisplayCaptureDelegate>& delegate) override {
        translated([&] {
            output_ = [[AVCaptureVideoDataOutput alloc] init];
            samples_ = [[OrvoScreenCaptureReceiver alloc] initWithDelegate:delegate];
            [output_ setSampleBufferDelegate:samples_ queue:dispatch_get_main_queue()];
            output_.videoSettings = @{
                (__bridge NSString*)
                kCVPixelBufferPixelFormatTypeKey : [NSNumber numberWithUnsignedInt:kCVPixelFormatType_32BGRA]
            };
            if ([session_ canAddOutput:output_]) [session_ addOutput:output_];
        });
    }

    void observeFailures(const std::weak_ptr<DisplayCaptureDelegate>& delegate) override {
        NSNotificationCenter* center = [NSNotificationCenter defaultCenter];
        if (failures_) [center removeObserver:failures_];
        failures_ = [[OrvoScreenCaptureReceiver alloc] initWithDelegate:delegate];
        [center addObserver:failures_
                   selector:@selector(captureSessionRuntimeErrorDidOccur:)
                       name:AVCaptureSessionRuntimeErrorNotification
                     object:session_];
        if (@available(macOS 10.14, *)) {
            [center addObserver:failures_
                       selector:@selector(captureSessionRuntimeErrorDidOccur:)
                           name:AVCaptureSessionWasInterruptedNotification
                         object:session_];
        }
    }

    void beginConfiguration() override {
        translated([&] { [session_ beginConfiguration]; });
    }
    void commitConfiguration() override {
        translated([&] { [session_ commitConfiguration]; });
    }
    void startRunning() override {
        translated([&] { [session_ startRunning]; });
    }
    void stopRunning() override {
        translated([&] { [session_ stopRunning]; });
    }
    bool isRunning() override { return session_.running; }

  private:
    AVCaptureSession* const session_;
    AVCaptureVideoDataOutput* output_ = nil;
    OrvoScreenCaptureReceiver* samples_ = nil;  // the output does not hold its delegate
    OrvoScreenCaptureReceiver* failures_ = nil;
};

}  // namespace

std::shared_ptr<DisplayCapture> makeDisplayCapture() {
    return std::make_shared<MacDisplayCapture>();
}

}  // namespace orvo::platform::macos
