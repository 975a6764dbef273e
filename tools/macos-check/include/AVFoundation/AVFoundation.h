// AVFoundation, as far as the adapter uses it.
#pragma once

#include <CoreMedia/CoreMedia.h>
#include <Foundation/Foundation.h>
#include <dispatch/dispatch.h>

typedef NSString* AVCaptureSessionPreset;
CHECK_C AVCaptureSessionPreset const AVCaptureSessionPresetHigh;
CHECK_C NSNotificationName const AVCaptureSessionRuntimeErrorNotification;
CHECK_C NSNotificationName const AVCaptureSessionDidStopRunningNotification;
CHECK_C NSNotificationName const AVCaptureSessionWasInterruptedNotification CHECK_SINCE(10.14);
CHECK_C NSString* const AVCaptureSessionErrorKey;

@interface AVCaptureInput : NSObject
@end
@interface AVCaptureOutput : NSObject
@end
@interface AVCaptureConnection : NSObject
@end

@interface AVCaptureScreenInput : AVCaptureInput
- (instancetype)initWithDisplayID:(CGDirectDisplayID)display;
@property(nonatomic) CMTime minFrameDuration;
@property(nonatomic) CGRect cropRect;
@property(nonatomic) BOOL capturesMouseClicks;
@property(nonatomic) BOOL capturesCursor;
@end

@protocol AVCaptureVideoDataOutputSampleBufferDelegate <NSObject>
@optional
- (void)captureOutput:(AVCaptureOutput*)output
    didOutputSampleBuffer:(CMSampleBufferRef)sample
           fromConnection:(AVCaptureConnection*)connection;
- (void)captureOutput:(AVCaptureOutput*)output
    didDropSampleBuffer:(CMSampleBufferRef)sample
         fromConnection:(AVCaptureConnection*)connection;
@end

@interface AVCaptureVideoDataOutput : AVCaptureOutput
@property(nonatomic, copy) NSDictionary<NSString*, id>* videoSettings;
- (void)setSampleBufferDelegate:(id<AVCaptureVideoDataOutputSampleBufferDelegate>)delegate
                          queue:(dispatch_queue_t)queue;
@end

@interface AVCaptureSession : NSObject
- (BOOL)canSetSessionPreset:(AVCaptureSessionPreset)preset;
@property(nonatomic, copy) AVCaptureSessionPreset sessionPreset;
- (BOOL)canAddInput:(AVCaptureInput*)input;
- (void)addInput:(AVCaptureInput*)input;
- (void)removeInput:(AVCaptureInput*)input;
- (BOOL)canAddOutput:(AVCaptureOutput*)output;
- (void)addOutput:(AVCaptureOutput*)output;
- (void)beginConfiguration;
- (void)commitConfiguration;
- (void)startRunning;
- (void)stopRunning;
@property(nonatomic, readonly, getter=isRunning) BOOL running;
@end
