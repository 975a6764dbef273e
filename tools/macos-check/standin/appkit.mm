// AppKit: pictures, drawing, the cursor, applications.
#include <AppKit/AppKit.h>

#include <cstring>

#include "tools/macos-check/standin/desk.h"
#include "tools/macos-check/standin/runtime.h"
#include "tools/macos-check/standin/values.h"

using standin::desk;
using standin::note;

// Classes of AppKit's that are for the main thread alone.
static void mainThreadOnly(const char* what) {
    if ([NSThread isMainThread]) return;
    note(std::string("not on the main thread: ") + what);
}

@implementation NSScreen
+ (NSScreen*)mainScreen {
    mainThreadOnly("NSScreen");
    return desk().displays.empty() ? nil : [[self alloc] init];
}
- (CGFloat)backingScaleFactor {
    return desk().displays.front().scale;
}
@end
@implementation NSEvent
+ (NSPoint)mouseLocation {
    return desk().pointer;
}
@end

@interface NSImageRep () {
  @public
    CGImageRef bitmap;
    NSSize points;
}
@end
@implementation NSImageRep
- (NSSize)size {
    return points;
}
- (void)setSize:(NSSize)size {
    points = size;
}
- (CGImageRef)CGImageForProposedRect:(NSRect*)rect context:(NSGraphicsContext*)context hints:(NSDictionary*)hints {
    return bitmap;
}
- (void)dealloc {
    if (bitmap) CFRelease(bitmap);
}
@end
@implementation NSBitmapImageRep
- (instancetype)initWithCGImage:(CGImageRef)image {
    if (!image) standin::raise("NSInvalidArgumentException", "no image");
    bitmap = (CGImageRef)CFRetain(image);
    points = NSMakeSize(static_cast<double>(CGImageGetWidth(image)), static_cast<double>(CGImageGetHeight(image)));
    return self;
}
- (instancetype)initWithBitmapDataPlanes:(unsigned char**)planes
                              pixelsWide:(NSInteger)width
                              pixelsHigh:(NSInteger)height
                           bitsPerSample:(NSInteger)bitsPerSample
                         samplesPerPixel:(NSInteger)samplesPerPixel
                                hasAlpha:(BOOL)alpha
                                isPlanar:(BOOL)planar
                          colorSpaceName:(NSColorSpaceName)colorSpaceName
                             bytesPerRow:(NSInteger)bytesPerRow
                            bitsPerPixel:(NSInteger)bitsPerPixel {
    if (width < 1 || height < 1) return nil;
    bitmap = standin::createBitmap(static_cast<size_t>(width), static_cast<size_t>(height), 0, 0);
    points = NSMakeSize(static_cast<double>(width), static_cast<double>(height));
    return self;
}
@end
const NSColorSpaceName NSCalibratedRGBColorSpace = @"NSCalibratedRGBColorSpace";

@interface NSImage () {
  @public
    NSMutableArray<NSImageRep*>* reps;
    NSSize points;
}
@end
@implementation NSImage
- (instancetype)initWithSize:(NSSize)size {
    reps = [[NSMutableArray alloc] init];
    points = size;
    return self;
}
- (instancetype)initWithCGImage:(CGImageRef)image size:(NSSize)size {
    NSBitmapImageRep* rep = [[NSBitmapImageRep alloc] initWithCGImage:image];
    reps = [[NSMutableArray alloc] init];
    [reps addObject:rep];
    points = rep.size;
    return self;
}
- (id)copy {
    note("copy of a picture");
    NSImage* copy = [[NSImage alloc] initWithSize:points];
    copy->reps->items = reps->items;
    return copy;
}
- (NSSize)size {
    return points;
}
- (void)setSize:(NSSize)size {
    points = size;
}
- (BOOL)isValid {
    return !reps->items.empty();
}
- (NSArray<NSImageRep*>*)representations {
    return reps;
}
- (void)addRepresentation:(NSImageRep*)representation {
    [reps addObject:representation];
}
- (CGImageRef)CGImageForProposedRect:(NSRect*)rect context:(NSGraphicsContext*)context hints:(NSDictionary*)hints {
    return reps->items.empty() ? nullptr : ((NSImageRep*)reps->items.front())->bitmap;
}
- (NSData*)TIFFRepresentation {
    if (reps->items.empty()) return nil;
    NSData* data = [[NSData alloc] init];
    const CGImageRef bitmap = ((NSImageRep*)reps->items.front())->bitmap;
    data->bytes.resize(sizeof bitmap);
    std::memcpy(data->bytes.data(), &bitmap, sizeof bitmap);
    return data;
}
- (void)drawInRect:(NSRect)target
          fromRect:(NSRect)source
         operation:(NSCompositingOperation)operation
          fraction:(CGFloat)opacity {
    note("draw operation " + std::to_string(operation));
}
@end

@implementation NSGraphicsContext
+ (NSGraphicsContext*)currentContext {
    return nil;
}
+ (void)setCurrentContext:(NSGraphicsContext*)context {
}
+ (NSGraphicsContext*)graphicsContextWithBitmapImageRep:(NSBitmapImageRep*)bitmap {
    return [[self alloc] init];
}
+ (void)saveGraphicsState {
    ++desk().savedGraphicsStates;
}
+ (void)restoreGraphicsState {
    --desk().savedGraphicsStates;
}
@end

static NSImage* makeImage(size_t width) {
    const CGImageRef bitmap = standin::createBitmap(width, width, 255, 0);
    NSImage* image = [[NSImage alloc] initWithCGImage:bitmap size:NSZeroSize];
    CFRelease(bitmap);
    return image;
}

@implementation NSCursor
+ (NSCursor*)currentSystemCursor {
    return desk().cursorWidth > 0 ? [[self alloc] init] : nil;
}
// The same object as long as the cursor is the same.
- (NSImage*)image {
    static NSImage* image;
    const auto width = static_cast<double>(desk().cursorWidth);
    if (image.size.width != width) image = makeImage(desk().cursorWidth);
    return image;
}
- (NSPoint)hotSpot {
    return CGPointMake(4, 5);
}
@end

@implementation NSRunningApplication {
    standin::ApplicationState state;
}
+ (instancetype)runningApplicationWithProcessIdentifier:(pid_t)pid {
    std::lock_guard guard(desk().lock);
    for (const auto& application : desk().applications) {
        if (application.pid != pid) continue;
        NSRunningApplication* found = [[self alloc] init];
        found->state = application;
        return found;
    }
    return nil;
}
+ (NSRunningApplication*)currentApplication {
    return [[self alloc] init];
}
- (pid_t)processIdentifier {
    return state.pid;
}
- (NSString*)localizedName {
    return textOf(state.name);
}
- (NSString*)bundleIdentifier {
    return @"org.example.editor";
}
- (NSImage*)icon {
    return makeImage(16);
}
- (BOOL)isActive {
    return state.isActive;
}
- (BOOL)isHidden {
    return state.isHidden;
}
- (BOOL)isTerminated {
    return NO;
}
- (BOOL)activateWithOptions:(NSApplicationActivationOptions)options {
    note("activate " + std::to_string(state.pid) + " options " + std::to_string(options));
    return YES;
}
- (BOOL)activateFromApplication:(NSRunningApplication*)other options:(NSApplicationActivationOptions)options {
    note("activate " + std::to_string(state.pid) + " from " + std::to_string(other->state.pid));
    return YES;
}
- (BOOL)hide {
    note("hide");
    return YES;
}
- (BOOL)unhide {
    note("unhide");
    return YES;
}
- (BOOL)terminate {
    note("terminate");
    return YES;
}
- (BOOL)forceTerminate {
    note("force terminate");
    return YES;
}
@end

@implementation NSWorkspace
+ (NSWorkspace*)sharedWorkspace {
    static NSWorkspace* const workspace = [[self alloc] init];
    return workspace;
}
- (NSArray<NSRunningApplication*>*)runningApplications {
    std::vector<pid_t> numbers;
    {
        std::lock_guard guard(desk().lock);
        for (const auto& application : desk().applications) numbers.push_back(application.pid);
    }
    NSMutableArray* applications = [[NSMutableArray alloc] init];
    for (const pid_t pid : numbers)
        [applications addObject:[NSRunningApplication runningApplicationWithProcessIdentifier:pid]];
    return applications;
}
- (NSString*)fullPathForApplication:(NSString*)name {
    return textOf("/Applications/" + std::string(name.UTF8String) + ".app");
}
- (NSImage*)iconForFile:(NSString*)path {
    return makeImage(32);
}
@end
