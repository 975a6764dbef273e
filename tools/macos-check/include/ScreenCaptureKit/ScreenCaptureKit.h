// ScreenCaptureKit, as far as the adapter uses it.
#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <CoreVideo/CoreVideo.h>
#include <Foundation/Foundation.h>

CHECK_SINCE(12.3) @interface SCDisplay : NSObject
@property(readonly) CGDirectDisplayID displayID;
@end

CHECK_SINCE(12.3) @interface SCWindow : NSObject
@property(readonly) CGWindowID windowID;
@property(readonly) NSInteger windowLayer;
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
@end

CHECK_SINCE(12.3) @interface SCStreamConfiguration : NSObject
@property(nonatomic) size_t width;
@property(nonatomic) size_t height;
@property(nonatomic) OSType pixelFormat;
@property(nonatomic) BOOL showsCursor;
@property(nonatomic) CGRect sourceRect;
@property(nonatomic) BOOL ignoreShadowsSingleWindow CHECK_SINCE(14.0);
@end

CHECK_SINCE(14.0) @interface SCScreenshotManager : NSObject
+ (void)captureImageWithFilter:(SCContentFilter*)filter
                 configuration:(SCStreamConfiguration*)configuration
             completionHandler:(void (^)(CGImageRef image, NSError* error))handler;
@end

enum CHECK_SINCE(12.3) SCStreamErrorCode : NSInteger { SCStreamErrorUserDeclined = -3801 };
