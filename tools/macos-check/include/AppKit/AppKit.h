// AppKit, as far as the adapter uses it.
#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>

@interface NSScreen : NSObject
@property(class, readonly, strong) NSScreen* mainScreen;
@property(readonly) CGFloat backingScaleFactor;
@end

@interface NSEvent : NSObject
@property(class, readonly) NSPoint mouseLocation;
@end

// Pictures.
@class NSGraphicsContext;
@interface NSImageRep : NSObject <NSCopying>
@property NSSize size;
- (CGImageRef)CGImageForProposedRect:(NSRect*)rect
                             context:(NSGraphicsContext*)context
                               hints:(NSDictionary<NSString*, id>*)hints __attribute__((cf_returns_not_retained));
@end

typedef NSString* NSColorSpaceName;
CHECK_C const NSColorSpaceName NSCalibratedRGBColorSpace;
@interface NSBitmapImageRep : NSImageRep
- (instancetype)initWithBitmapDataPlanes:(unsigned char**)planes
                              pixelsWide:(NSInteger)width
                              pixelsHigh:(NSInteger)height
                           bitsPerSample:(NSInteger)bitsPerSample
                         samplesPerPixel:(NSInteger)samplesPerPixel
                                hasAlpha:(BOOL)alpha
                                isPlanar:(BOOL)planar
                          colorSpaceName:(NSColorSpaceName)colorSpaceName
                             bytesPerRow:(NSInteger)bytesPerRow
                            bitsPerPixel:(NSInteger)bitsPerPixel;
- (instancetype)initWithCGImage:(CGImageRef)image;
@end

typedef enum NSCompositingOperation : NSUInteger {
    NSCompositingOperationClear = 0,
    NSCompositingOperationCopy = 1,
    NSCompositingOperationSourceOver = 2,
} NSCompositingOperation;
@interface NSImage : NSObject <NSCopying>
- (instancetype)initWithSize:(NSSize)size;
- (instancetype)initWithCGImage:(CGImageRef)image size:(NSSize)size;
- (id)copy;
@property NSSize size;
@property(getter=isValid, readonly) BOOL valid;
@property(readonly, copy) NSArray<NSImageRep*>* representations;
@property(readonly, copy) NSData* TIFFRepresentation;
- (void)addRepresentation:(NSImageRep*)representation;
- (void)drawInRect:(NSRect)target
          fromRect:(NSRect)source
         operation:(NSCompositingOperation)operation
          fraction:(CGFloat)opacity;
- (CGImageRef)CGImageForProposedRect:(NSRect*)rect
                             context:(NSGraphicsContext*)context
                               hints:(NSDictionary<NSString*, id>*)hints __attribute__((cf_returns_not_retained));
@end

@interface NSGraphicsContext : NSObject
@property(class, strong) NSGraphicsContext* currentContext;
+ (NSGraphicsContext*)graphicsContextWithBitmapImageRep:(NSBitmapImageRep*)bitmap;
+ (void)saveGraphicsState;
+ (void)restoreGraphicsState;
@end

@interface NSCursor : NSObject
@property(class, readonly, strong) NSCursor* currentSystemCursor CHECK_DEPRECATED(10.6, 15.0);
@property(readonly, strong) NSImage* image;
@property(readonly) NSPoint hotSpot;
@end

// Applications.
typedef NSUInteger NSApplicationActivationOptions;
enum : NSApplicationActivationOptions {
    NSApplicationActivateAllWindows = 1,
    NSApplicationActivateIgnoringOtherApps CHECK_DEPRECATED(10.6, 14.0) = 2,
};
@interface NSRunningApplication : NSObject
+ (instancetype)runningApplicationWithProcessIdentifier:(pid_t)pid;
@property(readonly) pid_t processIdentifier;
@property(readonly, copy) NSString* localizedName;
@property(readonly, copy) NSString* bundleIdentifier;
@property(readonly, strong) NSImage* icon;
@property(readonly, getter=isActive) BOOL active;
@property(readonly, getter=isHidden) BOOL hidden;
@property(readonly, getter=isTerminated) BOOL terminated;
+ (NSRunningApplication*)currentApplication;
- (BOOL)activateFromApplication:(NSRunningApplication*)application
                        options:(NSApplicationActivationOptions)options CHECK_SINCE(14.0);
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options;
- (BOOL)hide;
- (BOOL)unhide;
- (BOOL)terminate;
- (BOOL)forceTerminate;
@end

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
@property(readonly, copy) NSArray<NSRunningApplication*>* runningApplications;
- (NSString*)fullPathForApplication:(NSString*)name CHECK_DEPRECATED(10.0, 11.0);
- (NSImage*)iconForFile:(NSString*)path;
@end
