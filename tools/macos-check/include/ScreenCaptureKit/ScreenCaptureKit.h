// ScreenCaptureKit, as far as the adapter uses it.
#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <CoreMedia/CoreMedia.h>
#include <CoreVideo/CoreVideo.h>
#include <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

CHECK_SINCE(12.3) @interface SCDisplay : NSObject
@property(readonly) CGDirectDisplayID displayID;
@end

CHECK_SINCE(12.3) @interface SCWindow : NSObject
@property(readonly) CGWindowID windowID;
@property(readonly) NSInteger windowLayer;
@property(readonly) CGRect frame;
@end

CHECK_SINCE(12.3) @interface SCShareableContent : NSObject
+ (void)getShareableContentExcludingDesktopWindows:(BOOL)excludeDesktop
                               onScreenWindowsOnly:(BOOL)onScreenOnly
                                 completionHandler:(void (^)(SCShareableContent* content, NSError* error))handler;
@property(readonly) NSArray<SCWindow*>* windows;
@property(readonly) NSArray<SCDisplay*>* displays;
@end

CHECK_SINCE(12.3) @interface SCContentFilter : NSObject
- (instancetype)initWithDesktopIndependentWindow:(SCWindow*)window;
- (instancetype)initWithDisplay:(SCDisplay*)display excludingWindows:(NSArray<SCWindow*>*)excluded;
- (instancetype)initWithDisplay:(SCDisplay*)display includingWindows:(NSArray<SCWindow*>*)included;
@property(readonly) CGRect contentRect CHECK_SINCE(14.0);
@property(readonly) float pointPixelScale CHECK_SINCE(14.0);
@property(nonatomic) BOOL includeMenuBar CHECK_SINCE(14.2);
@end

typedef enum SCCaptureResolutionType : NSInteger {
    SCCaptureResolutionAutomatic = 0,
    SCCaptureResolutionBest = 1,
    SCCaptureResolutionNominal = 2,
} SCCaptureResolutionType;
CHECK_SINCE(12.3) @interface SCStreamConfiguration : NSObject
@property(nonatomic) size_t width;
@property(nonatomic) size_t height;
@property(nonatomic) CMTime minimumFrameInterval;
@property(nonatomic) OSType pixelFormat;
@property(nonatomic) BOOL scalesToFit;
@property(nonatomic) BOOL showsCursor;
@property(nonatomic) CGRect sourceRect;
@property(nonatomic) NSInteger queueDepth;
@property(nonatomic) CFStringRef colorSpaceName;
@property(nonatomic) BOOL ignoreShadowsSingleWindow CHECK_SINCE(14.0);
@property(nonatomic) SCCaptureResolutionType captureResolution CHECK_SINCE(14.0);
@property(nonatomic) BOOL includeChildWindows CHECK_SINCE(14.2);
@property(nonatomic) BOOL showMouseClicks CHECK_SINCE(15.0);
@end

CHECK_SINCE(14.0) @interface SCScreenshotManager : NSObject
+ (void)captureImageWithFilter:(SCContentFilter*)filter
                 configuration:(SCStreamConfiguration*)configuration
             completionHandler:(void (^)(CGImageRef image, NSError* error))handler;
@end

typedef enum SCStreamOutputType : NSInteger { SCStreamOutputTypeScreen = 0 } SCStreamOutputType;
typedef enum SCFrameStatus : NSInteger {
    SCFrameStatusComplete = 0,
    SCFrameStatusIdle = 1,
    SCFrameStatusStopped = 5,
} SCFrameStatus;
CHECK_C NSString* const SCStreamFrameInfoStatus CHECK_SINCE(12.3);

@class SCStream;
CHECK_SINCE(12.3) @protocol SCStreamOutput<NSObject>
@optional
- (void)stream:(SCStream*)stream didOutputSampleBuffer:(CMSampleBufferRef)sample ofType:(SCStreamOutputType)type;
@end
CHECK_SINCE(12.3) @protocol SCStreamDelegate<NSObject>
@optional
- (void)stream:(SCStream*)stream didStopWithError:(NSError*)error;
@end
CHECK_SINCE(12.3) @interface SCStream : NSObject
- (instancetype)initWithFilter:(SCContentFilter*)filter
                 configuration:(SCStreamConfiguration*)configuration
                      delegate:(id<SCStreamDelegate>)delegate;
- (BOOL)addStreamOutput:(id<SCStreamOutput>)output
                   type:(SCStreamOutputType)type
     sampleHandlerQueue:(dispatch_queue_t)queue
                  error:(NSError**)error;
- (void)startCaptureWithCompletionHandler:(void (^)(NSError* error))handler;
- (void)stopCaptureWithCompletionHandler:(void (^)(NSError* error))handler;
- (void)updateConfiguration:(SCStreamConfiguration*)configuration completionHandler:(void (^)(NSError* error))handler;
- (void)updateContentFilter:(SCContentFilter*)filter completionHandler:(void (^)(NSError* error))handler;
@end

enum SCStreamErrorCode : NSInteger {
    SCStreamErrorUserDeclined = -3801,
    SCStreamErrorUserStopped = -3817,
    SCStreamErrorSystemStopped = -3821,
};
