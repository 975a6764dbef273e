// AVFoundation's capture session and ScreenCaptureKit.
#include <AVFoundation/AVFoundation.h>
#include <ScreenCaptureKit/ScreenCaptureKit.h>

#include <algorithm>

#include "tools/macos-check/standin/desk.h"
#include "tools/macos-check/standin/pictures.h"
#include "tools/macos-check/standin/runtime.h"
#include "tools/macos-check/standin/values.h"

using standin::desk;
using standin::note;

extern "C" {
AVCaptureSessionPreset const AVCaptureSessionPresetHigh = @"AVCaptureSessionPresetHigh";
NSNotificationName const AVCaptureSessionRuntimeErrorNotification = @"AVCaptureSessionRuntimeErrorNotification";
NSNotificationName const AVCaptureSessionDidStopRunningNotification = @"AVCaptureSessionDidStopRunningNotification";
NSNotificationName const AVCaptureSessionWasInterruptedNotification = @"AVCaptureSessionWasInterruptedNotification";
NSString* const AVCaptureSessionErrorKey = @"AVCaptureSessionErrorKey";
NSString* const SCStreamFrameInfoStatus = @"SCStreamUpdateFrameStatus";
}

@implementation AVCaptureInput
@end
@implementation AVCaptureOutput
@end
@implementation AVCaptureConnection
@end

@implementation AVCaptureScreenInput
@synthesize minFrameDuration = _minFrameDuration, cropRect = _cropRect;
@synthesize capturesMouseClicks = _capturesMouseClicks, capturesCursor = _capturesCursor;
- (instancetype)initWithDisplayID:(CGDirectDisplayID)display {
    if (!desk().hasScreenInput || CGRectIsEmpty(CGDisplayBounds(display))) return nil;
    note("input " + std::to_string(display));
    return self;
}
- (void)setMinFrameDuration:(CMTime)duration {
    _minFrameDuration = duration;
    note("duration " + std::to_string(duration.value) + "/" + std::to_string(duration.timescale));
}
- (void)setCropRect:(CGRect)rect {
    if (rect.size.width < 0) standin::raise("NSInvalidArgumentException", "negative crop");
    _cropRect = rect;
    note("crop " + std::to_string(static_cast<int>(rect.origin.y)));
}
- (void)setCapturesMouseClicks:(BOOL)captures {
    _capturesMouseClicks = captures;
    note(captures ? "clicks on" : "clicks off");
}
- (void)setCapturesCursor:(BOOL)captures {
    _capturesCursor = captures;
    note(captures ? "cursor on" : "cursor off");
}
@end

// The delegate is neither held nor cleared when it goes: the worst that the system may do.
@interface AVCaptureVideoDataOutput () {
  @public
    __unsafe_unretained id<AVCaptureVideoDataOutputSampleBufferDelegate> receiver;
    dispatch_queue_t queue;
}
@end
static __unsafe_unretained AVCaptureVideoDataOutput* lastOutput;
static std::mutex& outputLock = *new std::mutex;  // outputs go on any thread
static __unsafe_unretained AVCaptureSession* lastSession;
@implementation AVCaptureVideoDataOutput
@synthesize videoSettings = _videoSettings;
- (instancetype)init {
    std::lock_guard guard(outputLock);
    lastOutput = self;
    return self;
}
- (void)setVideoSettings:(NSDictionary<NSString*, id>*)settings {
    _videoSettings = settings;
    note("settings " + std::to_string([settings[@"kCVPixelBufferPixelFormatTypeKey"] unsignedIntValue]));
}
- (void)setSampleBufferDelegate:(id<AVCaptureVideoDataOutputSampleBufferDelegate>)delegate
                          queue:(dispatch_queue_t)target {
    {
        std::lock_guard guard(outputLock);
        receiver = delegate;
        queue = target;
    }
    note(!delegate ? "no delegate" : target == dispatch_get_main_queue() ? "delegate on main" : "delegate elsewhere");
}
- (void)dealloc {
    std::lock_guard guard(outputLock);
    if (lastOutput == self) lastOutput = nil;
}
@end

@interface AVCaptureSession () {
  @public
    NSMutableArray* parts;
    BOOL isRunning;
}
@end
@implementation AVCaptureSession
- (instancetype)init {
    lastSession = self;
    parts = [[NSMutableArray alloc] init];
    return self;
}
- (BOOL)canSetSessionPreset:(AVCaptureSessionPreset)preset {
    return YES;
}
- (AVCaptureSessionPreset)sessionPreset {
    return AVCaptureSessionPresetHigh;
}
- (void)setSessionPreset:(AVCaptureSessionPreset)preset {
    note(preset.UTF8String);
}
- (BOOL)canAddInput:(AVCaptureInput*)input {
    return YES;
}
- (void)addInput:(AVCaptureInput*)input {
    [parts addObject:input];
    note("add input");
}
- (void)removeInput:(AVCaptureInput*)input {
    std::erase(parts->items, input);
    note("remove input");
}
- (BOOL)canAddOutput:(AVCaptureOutput*)output {
    return YES;
}
- (void)addOutput:(AVCaptureOutput*)output {
    [parts addObject:output];
    note("add output");
}
- (void)beginConfiguration {
    note("begin");
}
- (void)commitConfiguration {
    note("commit");
}
- (void)startRunning {
    isRunning = YES;
    note("start");
}
- (void)stopRunning {
    const BOOL wasRunning = isRunning;
    isRunning = NO;
    note("stop");
    if (wasRunning) postNotification(AVCaptureSessionDidStopRunningNotification, self, @{});
}
- (BOOL)isRunning {
    return isRunning;
}
- (void)dealloc {
    if (lastSession == self) lastSession = nil;
    note("session gone");
}
@end

// ScreenCaptureKit answers on a queue of its own.
static dispatch_queue_t answers() {
    static const dispatch_queue_t queue = dispatch_queue_create("answers", nullptr);
    return queue;
}
static NSError* sharingError() {
    std::lock_guard guard(desk().lock);
    return desk().sharingError ? errorOf(desk().sharingError, @"refused") : nil;
}
static CGRect boundsOf(SCDisplay* display) {
    return CGDisplayBounds(display.displayID);
}

@interface SCDisplay () {
  @public
    uint32_t number;
}
@end
@implementation SCDisplay
- (CGDirectDisplayID)displayID {
    return number;
}
@end
@interface SCWindow () {
  @public
    standin::WindowState state;
}
@end
@implementation SCWindow
- (CGWindowID)windowID {
    return state.number;
}
- (NSInteger)windowLayer {
    return state.layer;
}
- (CGRect)frame {
    return state.bounds;
}
@end
@implementation SCShareableContent
@synthesize windows = _windows, displays = _displays;
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludeDesktop
                               onScreenWindowsOnly:(BOOL)onScreenOnly
                                 completionHandler:(void (^)(SCShareableContent*, NSError*))handler {
    note(onScreenOnly ? "content on screen" : "content");
    dispatch_async(answers(), ^{
        if (NSError* error = sharingError()) return handler(nil, error);
        SCShareableContent* content = [[SCShareableContent alloc] init];
        NSMutableArray* windows = [[NSMutableArray alloc] init];
        NSMutableArray* displays = [[NSMutableArray alloc] init];
        {
            std::lock_guard guard(desk().lock);
            for (const auto& window : desk().windows) {
                if (onScreenOnly && !window.isOnScreen) continue;
                SCWindow* shared = [[SCWindow alloc] init];
                shared->state = window;
                [windows addObject:shared];
            }
            for (const auto& display : desk().displays) {
                SCDisplay* shared = [[SCDisplay alloc] init];
                shared->number = display.number;
                [displays addObject:shared];
            }
        }
        content->_windows = windows;
        content->_displays = displays;
        handler(content, nil);
    });
}
@end

@interface SCContentFilter () {
  @public
    CGRect rect;
    uint8_t value;
    std::string words;
}
@end
@implementation SCContentFilter
@synthesize includeMenuBar = _includeMenuBar;
static std::string numbersOf(NSArray<SCWindow*>* windows) {
    std::string numbers;
    for (SCWindow* window in windows) numbers += " " + std::to_string(window.windowID);
    return numbers;
}
- (instancetype)initWithDesktopIndependentWindow:(SCWindow*)window {
    rect = window.frame;
    value = static_cast<uint8_t>(window.windowID);
    words = "window " + std::to_string(window.windowID);
    return self;
}
- (instancetype)initWithDisplay:(SCDisplay*)display excludingWindows:(NSArray<SCWindow*>*)excluded {
    rect = boundsOf(display);
    value = static_cast<uint8_t>(display.displayID);
    words = "display " + std::to_string(display.displayID) + " without" + numbersOf(excluded);
    return self;
}
- (instancetype)initWithDisplay:(SCDisplay*)display includingWindows:(NSArray<SCWindow*>*)included {
    rect = boundsOf(display);
    value = static_cast<uint8_t>(100 + display.displayID);
    words = "display " + std::to_string(display.displayID) + " with" + numbersOf(included);
    return self;
}
- (CGRect)contentRect {
    return rect;
}
- (float)pointPixelScale {
    std::lock_guard guard(desk().lock);
    for (const auto& display : desk().displays)
        if (!CGRectIsEmpty(CGRectIntersection(display.bounds, rect))) return static_cast<float>(display.scale);
    return 1;
}
@end
@implementation SCStreamConfiguration
@synthesize width, height, minimumFrameInterval, pixelFormat, scalesToFit, showsCursor, sourceRect, queueDepth,
    colorSpaceName, ignoreShadowsSingleWindow, captureResolution, includeChildWindows, showMouseClicks;
@end
static std::string wordsOf(SCContentFilter* filter, SCStreamConfiguration* configuration) {
    const CGPoint corner = configuration.sourceRect.origin;
    return filter->words + ", " + std::to_string(configuration.width) + "x" + std::to_string(configuration.height) +
           " from " + std::to_string(static_cast<int>(corner.x)) + "," + std::to_string(static_cast<int>(corner.y)) +
           (configuration.showsCursor ? ", cursor" : "");
}
@implementation SCScreenshotManager
+ (void)captureImageWithFilter:(SCContentFilter*)filter
                 configuration:(SCStreamConfiguration*)configuration
             completionHandler:(void (^)(CGImageRef, NSError*))handler {
    note("shot of " + wordsOf(filter, configuration));
    const size_t width = configuration.width, height = configuration.height;
    dispatch_async(answers(), ^{
        if (NSError* error = sharingError()) return handler(nullptr, error);
        const CGImageRef image = standin::createBitmap(width, height, filter->value, 0);
        handler(image, nil);
        CFRelease(image);
    });
}
@end

@interface SCStream () {
  @public
    SCContentFilter* filter;
    SCStreamConfiguration* configuration;
    __unsafe_unretained id<SCStreamDelegate> receiver;
    __unsafe_unretained id<SCStreamOutput> output;
    dispatch_queue_t queue;
}
@end
static std::mutex& streamLock = *new std::mutex;
static std::vector<SCStream*>& streams = *new std::vector<SCStream*>;  // those that run
@implementation SCStream
- (instancetype)initWithFilter:(SCContentFilter*)content
                 configuration:(SCStreamConfiguration*)settings
                      delegate:(id<SCStreamDelegate>)delegate {
    filter = content;
    configuration = settings;
    receiver = delegate;
    note("stream of " + wordsOf(content, settings) + ", every " + std::to_string(settings.minimumFrameInterval.value) +
         "/" + std::to_string(settings.minimumFrameInterval.timescale) + ", depth " +
         std::to_string(settings.queueDepth));
    return self;
}
- (BOOL)addStreamOutput:(id<SCStreamOutput>)target
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(dispatch_queue_t)targetQueue
                  error:(NSError**)error {
    output = target;
    queue = targetQueue;
    return YES;
}
- (void)startCaptureWithCompletionHandler:(void (^)(NSError*))handler {
    dispatch_async(answers(), ^{
        NSError* const error = sharingError();
        if (!error) {
            std::lock_guard guard(streamLock);
            streams.push_back(self);
        }
        handler(error);
        if (desk().deliversSamples && !error) standin::deliverStreamSamples(SCFrameStatusComplete);
    });
}
- (void)stopCaptureWithCompletionHandler:(void (^)(NSError*))handler {
    dispatch_async(answers(), ^{
        note("stream stopped");
        {
            std::lock_guard guard(streamLock);
            std::erase(streams, self);
        }
        handler(nil);
    });
}
- (void)updateConfiguration:(SCStreamConfiguration*)settings completionHandler:(void (^)(NSError*))handler {
    dispatch_async(answers(), ^{
        note("now " + wordsOf(self->filter, settings));
        self->configuration = settings;
        handler(nil);
        if (desk().deliversSamples) standin::deliverStreamSamples(SCFrameStatusComplete);
    });
}
- (void)updateContentFilter:(SCContentFilter*)content completionHandler:(void (^)(NSError*))handler {
    dispatch_async(answers(), ^{
        note("now filtered to " + content->words);
        self->filter = content;
        handler(nil);
        if (desk().deliversSamples) standin::deliverStreamSamples(SCFrameStatusComplete);
    });
}
@end

extern "C" CFArrayRef CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef reference, Boolean create) {
    StandInSample* sample = (__bridge StandInSample*)reference;
    sample->attachments = @[ @{SCStreamFrameInfoStatus : numberOf(sample->status)} ];
    return (__bridge CFArrayRef)sample->attachments;
}

namespace standin {

bool deliverSample(int64_t value) {
    std::lock_guard guard(outputLock);
    if (!lastOutput || !lastOutput->receiver) return false;
    __unsafe_unretained id<AVCaptureVideoDataOutputSampleBufferDelegate> receiver = lastOutput->receiver;
    StandInSample* sample = [[StandInSample alloc] init];
    sample->buffer = makeBuffer(20, 10, 5);
    sample->time = value;
    dispatch_async(lastOutput->queue, ^{
        [receiver captureOutput:nil didOutputSampleBuffer:(__bridge CMSampleBufferRef)sample fromConnection:nil];
    });
    return true;
}
void stopSessionBySystem(bool announce) {
    lastSession->isRunning = NO;
    if (announce) postNotification(AVCaptureSessionDidStopRunningNotification, lastSession, @{});
}
void postRuntimeError(const char* reason) {
    postNotification(AVCaptureSessionRuntimeErrorNotification, lastSession,
                     @{AVCaptureSessionErrorKey : errorOf(-11800, textOf(std::string(reason)))});
}
size_t runningStreams() {
    std::lock_guard guard(streamLock);
    return streams.size();
}
// A stream that has stopped delivers nothing any more.
void deliverStreamSamples(int status) {
    static int64_t time = 0;
    std::lock_guard guard(streamLock);
    for (SCStream* stream : streams) {
        StandInSample* sample = [[StandInSample alloc] init];
        sample->status = status;
        sample->time = ++time;
        if (status == SCFrameStatusComplete)
            sample->buffer =
                makeBuffer(stream->configuration.width, stream->configuration.height, stream->filter->value);
        __unsafe_unretained id<SCStreamOutput> output = stream->output;
        dispatch_async(stream->queue, ^{
            [output stream:stream
                didOutputSampleBuffer:(__bridge CMSampleBufferRef)sample
                               ofType:SCStreamOutputTypeScreen];
        });
    }
}
void stopStreams(long code) {
    std::vector<SCStream*> running;
    {
        std::lock_guard guard(streamLock);
        running.swap(streams);
    }
    for (SCStream* stream : running) {
        __unsafe_unretained id<SCStreamDelegate> receiver = stream->receiver;
        dispatch_async(answers(), ^{
            [receiver stream:stream didStopWithError:errorOf(code, @"stopped")];
        });
    }
}

}  // namespace standin
