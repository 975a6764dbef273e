// A running SCStream and the newest picture that it has brought.
#include "ScreenCapture/platform/macos/stream.h"

#include <dispatch/dispatch.h>

#include <atomic>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/shareable_content.h"
#include "ScreenCapture/platform/version.h"

using orvo::platform::macos::StreamPictures;

API_AVAILABLE(macos(14.0))
@interface OrvoScreenCaptureStreamReceiver : NSObject <SCStreamOutput, SCStreamDelegate>
- (instancetype)initWithPictures:(std::shared_ptr<StreamPictures>)pictures;
@end

@implementation OrvoScreenCaptureStreamReceiver {
    std::shared_ptr<StreamPictures> _pictures;
}

- (instancetype)initWithPictures:(std::shared_ptr<StreamPictures>)pictures {
    self = [super init];
    if (self) _pictures = std::move(pictures);
    return self;
}

- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sample ofType:(SCStreamOutputType)type {
    static_cast<void>(stream);
    if (type == SCStreamOutputTypeScreen) orvo::platform::macos::guarded([&] { _pictures->take(sample); });
}

- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error {
    static_cast<void>(stream);
    using namespace orvo::platform;
    macos::guarded([&] { _pictures->end(error ? macos::reasonOf(error) : NoImage::stopped); });
}
@end

namespace orvo::platform::macos {
namespace {

API_AVAILABLE(macos(14.0))
std::optional<SCFrameStatus> statusOf(CMSampleBufferRef sample) {
    CFArrayRef attachments = CMSampleBufferGetSampleAttachmentsArray(sample, 0);
    if (!attachments || CFArrayGetCount(attachments) == 0) return std::nullopt;
    NSDictionary* first = (__bridge NSDictionary*)CFArrayGetValueAtIndex(attachments, 0);
    NSNumber* status = first[SCStreamFrameInfoStatus];
    if (!status) return std::nullopt;
    return static_cast<SCFrameStatus>(status.intValue);
}

// The samples of an old filter that the queue holds come before.
void acceptBehindQueue(dispatch_queue_t queue, std::shared_ptr<StreamPictures> pictures, uint64_t turn) {
    dispatch_async(queue, ^{
        pictures->accept(turn);
    });
}

}  // namespace

// A complete sample is a new picture. An idle one says that nothing has changed; all others say nothing of pixels.
void StreamPictures::take(CMSampleBufferRef sample) {
    if (@available(macOS 14.0, *)) {
        const auto status = statusOf(sample);
        if (status != SCFrameStatusComplete && status != SCFrameStatusIdle) return;
        const CMTime time = CMSampleBufferGetPresentationTimeStamp(sample);
        {
            std::lock_guard guard(lock_);
            if (isRefusing_ || whyEnded_ != NoImage::none) return;
            if (status == SCFrameStatusComplete) {
                auto buffer = CFRef<CVPixelBufferRef>::retain(CMSampleBufferGetImageBuffer(sample));
                if (!buffer) return;
                newest_ = {std::move(buffer), nextVersion(), {}};
            }
            if (!newest_) return;
            newest_->time = {time.value, time.timescale};
        }
        if (listener_) listener_(*this);
    }
}

void StreamPictures::end(NoImage why) {
    {
        std::lock_guard guard(lock_);
        if (whyEnded_ != NoImage::none) return;
        whyEnded_ = why;
        newest_ = std::nullopt;
    }
    if (listener_) listener_(*this);
}

uint64_t StreamPictures::refuse() {
    std::lock_guard guard(lock_);
    isRefusing_ = true;
    newest_ = std::nullopt;
    return ++refusals_;
}

void StreamPictures::accept(uint64_t turn) {
    std::lock_guard guard(lock_);
    if (turn == refusals_) isRefusing_ = false;
}

std::optional<StreamPictures::Picture> StreamPictures::newest() const {
    std::lock_guard guard(lock_);
    return newest_;
}

NoImage StreamPictures::whyEnded() const {
    std::lock_guard guard(lock_);
    return whyEnded_;
}

// What the blocks hold that outlive the stream's owner.
struct API_AVAILABLE(macos(14.0)) Stream::State {
    SCStream* stream = nil;
    OrvoScreenCaptureStreamReceiver* receiver = nil;
    dispatch_queue_t queue = dispatch_queue_create("com.orvo.screencapture.stream", DISPATCH_QUEUE_SERIAL);

    // A stream that is still starting cannot be stopped: its start is followed by the stop.
    std::mutex lock;
    bool hasStarted = false;
    bool isUnwanted = false;

    // The receiver goes last, behind every sample that its queue holds by then: the stream does not hold it.
    static void stop(std::shared_ptr<State> state) {
        const bool isAsked = answered(false, [&] {
            const auto held = state;  // a block inside a lambda does not hold what the lambda refers to
            [state->stream stopCaptureWithCompletionHandler:^(NSError*) {
                dispatch_async(held->queue, ^{
                    static_cast<void>(held);
                });
            }];
            return true;
        });
        // One that could not be stopped may send samples at any time: its receiver stays for good.
        if (!isAsked) new std::shared_ptr<State>(state);
    }
};

Stream::Stream(SCContentFilter* filter, SCStreamConfiguration* configuration, StreamPictures::Listener listener)
    : pictures_(std::make_shared<StreamPictures>(std::move(listener))), state_(std::make_shared<State>()) {
    state_->receiver = [[OrvoScreenCaptureStreamReceiver alloc] initWithPictures:pictures_];
    state_->stream = [[SCStream alloc] initWithFilter:filter configuration:configuration delegate:state_->receiver];
    NSError* error = nil;
    if (![state_->stream addStreamOutput:state_->receiver
                                    type:SCStreamOutputTypeScreen
                      sampleHandlerQueue:state_->queue
                                   error:&error]) {
        pictures_->end(reasonOf(error));
        return;
    }
    const std::shared_ptr<State> state = state_;
    const std::shared_ptr<StreamPictures> pictures = pictures_;
    [state_->stream startCaptureWithCompletionHandler:^(NSError* failure) {
        guarded([&] {
            if (failure) return pictures->end(reasonOf(failure));
            bool isUnwanted = false;
            {
                std::lock_guard guard(state->lock);
                state->hasStarted = true;
                isUnwanted = state->isUnwanted;
            }
            if (isUnwanted) State::stop(state);
        });
    }];
}

Stream::~Stream() {
    bool hasStarted = false;
    {
        std::lock_guard guard(state_->lock);
        state_->isUnwanted = true;
        hasStarted = state_->hasStarted;
    }
    pictures_->end(NoImage::stopped);
    if (hasStarted) State::stop(state_);
}

void Stream::update(SCContentFilter* filter, bool refusesOld) {
    const uint64_t turn = refusesOld ? pictures_->refuse() : 0;
    const std::shared_ptr<State> state = state_;
    const std::shared_ptr<StreamPictures> pictures = pictures_;
    [state_->stream updateContentFilter:filter
                      completionHandler:^(NSError* error) {
                          guarded([&] {
                              if (error) return pictures->end(reasonOf(error));
                              if (turn == 0) return;
                              acceptBehindQueue(state->queue, pictures, turn);
                          });
                      }];
}

// A configuration that is refused leaves the one before.
void Stream::update(SCStreamConfiguration* configuration) {
    [state_->stream updateConfiguration:configuration
                      completionHandler:^(NSError* error) {
                          guarded([&] {
                              if (error)
                                  report("SCStream updateConfiguration", textOf(error.localizedFailureReason).c_str());
                          });
                      }];
}

}  // namespace orvo::platform::macos
