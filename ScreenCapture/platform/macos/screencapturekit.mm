// One-shot pictures by ScreenCaptureKit: the shareable content of the moment, a filter over it, a screenshot.
#include "ScreenCapture/platform/macos/screencapturekit.h"

#include <Foundation/Foundation.h>
#include <ScreenCaptureKit/ScreenCaptureKit.h>
#include <dispatch/dispatch.h>

#include <algorithm>
#include <memory>
#include <mutex>

#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/image.h"

namespace orvo::platform::macos::screencapturekit {
namespace {

constexpr int64_t kLongestWait = NSEC_PER_SEC;  // for each of the two questions

// What a completion handler answers, on whatever thread that is. An answer that comes too late goes with its handler.
template <typename Value>
class Answer {
  public:
    void give(Value value, NSError* error) {
        {
            std::lock_guard guard(lock_);
            value_ = std::move(value);
            error_ = error;
        }
        dispatch_semaphore_signal(given_);
    }
    // False when no answer came in time.
    bool wait() { return dispatch_semaphore_wait(given_, dispatch_time(DISPATCH_TIME_NOW, kLongestWait)) == 0; }
    Value value() {
        std::lock_guard guard(lock_);
        return value_;
    }
    API_AVAILABLE(macos(14.0)) NoImage why() {
        std::lock_guard guard(lock_);
        return error_ && error_.code == SCStreamErrorUserDeclined ? NoImage::notPermitted : NoImage::failed;
    }

  private:
    dispatch_semaphore_t given_ = dispatch_semaphore_create(0);
    std::mutex lock_;
    Value value_{};
    NSError* error_ = nil;
};

API_AVAILABLE(macos(14.0))
Shot captured(SCContentFilter* filter, SCStreamConfiguration* configuration) {
    auto answer = std::make_shared<Answer<CFRef<CGImageRef>>>();
    [SCScreenshotManager captureImageWithFilter:filter
                                  configuration:configuration
                              completionHandler:^(CGImageRef picture, NSError* error) {
                                  answer->give(CFRef<CGImageRef>::retain(picture), error);
                              }];
    if (!answer->wait()) return NoImage::noServer;
    CFRef<CGImageRef> picture = answer->value();
    if (!picture) return answer->why();
    return Ref<Image>(makeCounted<MacImage>(std::move(picture)));
}

// size: points.
API_AVAILABLE(macos(14.0))
SCStreamConfiguration* configurationFor(CGSize size, SCContentFilter* filter) {
    SCStreamConfiguration* configuration = [[SCStreamConfiguration alloc] init];
    const double scale = static_cast<double>(filter.pointPixelScale);
    configuration.width = truncated<size_t>(size.width * scale);
    configuration.height = truncated<size_t>(size.height * scale);
    configuration.pixelFormat = kCVPixelFormatType_32BGRA;
    configuration.showsCursor = NO;
    return configuration;
}

// What can be captured now; no content comes with its reason.
struct API_AVAILABLE(macos(14.0)) Content {
    SCShareableContent* all = nil;
    NoImage why = NoImage::none;
};

API_AVAILABLE(macos(14.0))
Content contentNow() {
    // The answers may come by the main queue, so nobody waits for them there.
    if ([NSThread isMainThread]) return {nil, NoImage::failed};
    auto answer = std::make_shared<Answer<SCShareableContent*>>();
    [SCShareableContent getShareableContentExcludingDesktopWindows:NO
                                               onScreenWindowsOnly:YES
                                                 completionHandler:^(SCShareableContent* content, NSError* error) {
                                                     answer->give(content, error);
                                                 }];
    if (!answer->wait()) return {nil, NoImage::noServer};
    SCShareableContent* content = answer->value();
    return {content, content ? NoImage::none : answer->why()};
}

API_AVAILABLE(macos(14.0))
SCWindow* windowOf(SCShareableContent* content, CGWindowID number) {
    for (SCWindow* window in content.windows) {
        if (window.windowID == number) return window;
    }
    return nil;
}

// The display that shows most of a rectangle; nil when none shows any of it.
API_AVAILABLE(macos(14.0))
SCDisplay* displayUnder(SCShareableContent* content, CGRect area) {
    SCDisplay* best = nil;
    double most = 0;
    for (SCDisplay* display in content.displays) {
        const CGRect shown = CGRectIntersection(area, CGDisplayBounds(display.displayID));
        const double pixels = CGRectIsEmpty(shown) ? 0 : shown.size.width * shown.size.height;
        if (pixels <= most) continue;
        most = pixels;
        best = display;
    }
    return best;
}

// The part of a rectangle that the display shows.
API_AVAILABLE(macos(14.0))
Shot capturedPart(SCDisplay* display, CGRect area, SCContentFilter* filter) {
    const CGRect bounds = CGDisplayBounds(display.displayID);
    const CGRect shown = CGRectIntersection(area, bounds);
    SCStreamConfiguration* configuration = configurationFor(shown.size, filter);
    configuration.sourceRect = CGRectMake(shown.origin.x - bounds.origin.x, shown.origin.y - bounds.origin.y,
                                          shown.size.width, shown.size.height);
    return captured(filter, configuration);
}

// Making two filters for windows at a time is reported to crash, and so is one before the process knows its displays.
API_AVAILABLE(macos(14.0))
SCContentFilter* filterForWindow(SCWindow* window) {
    static constinit std::mutex one;
    std::lock_guard guard(one);
    static_cast<void>(CGMainDisplayID());
    return [[SCContentFilter alloc] initWithDesktopIndependentWindow:window];
}

}  // namespace

Shot pictureOfWindow(CGWindowID number, CGWindowImageOption options) {
    if (@available(macOS 14.0, *)) {
        const Content content = contentNow();
        if (!content.all) return content.why;
        SCWindow* window = windowOf(content.all, number);
        if (!window) return NoImage::notOnScreen;
        SCContentFilter* filter = filterForWindow(window);
        SCStreamConfiguration* configuration = configurationFor(filter.contentRect.size, filter);
        configuration.ignoreShadowsSingleWindow = (options & kCGWindowImageBoundsIgnoreFraming) != 0;
        return captured(filter, configuration);
    }
    return NoImage::failed;
}

Shot pictureOfArea(CGRect area) {
    if (@available(macOS 14.0, *)) {
        const Content content = contentNow();
        if (!content.all) return content.why;
        SCDisplay* display = displayUnder(content.all, area);
        if (!display) return NoImage::notOnScreen;
        NSMutableArray<SCWindow*>* desktop = [NSMutableArray array];
        for (SCWindow* window in content.all.windows) {
            if (window.windowLayer < 0) [desktop addObject:window];
        }
        SCContentFilter* filter = [[SCContentFilter alloc] initWithDisplay:display excludingWindows:desktop];
        return capturedPart(display, area, filter);
    }
    return NoImage::failed;
}

Shot pictureOfWindows(CGRect bounds, const std::vector<uint32_t>& windows) {
    if (@available(macOS 14.0, *)) {
        const Content content = contentNow();
        if (!content.all) return content.why;
        SCDisplay* display = displayUnder(content.all, bounds);
        if (!display) return NoImage::notOnScreen;
        NSMutableArray<SCWindow*>* included = [NSMutableArray array];
        for (SCWindow* window in content.all.windows) {
            if (std::find(windows.begin(), windows.end(), window.windowID) != windows.end())
                [included addObject:window];
        }
        SCContentFilter* filter = [[SCContentFilter alloc] initWithDisplay:display includingWindows:included];
        return capturedPart(display, bounds, filter);
    }
    return NoImage::failed;
}

Shot pictureOfDisplay(CGDirectDisplayID number) {
    if (@available(macOS 14.0, *)) {
        const Content content = contentNow();
        if (!content.all) return content.why;
        for (SCDisplay* display in content.all.displays) {
            if (display.displayID != number) continue;
            SCContentFilter* filter = [[SCContentFilter alloc] initWithDisplay:display excludingWindows:@[]];
            return captured(filter, configurationFor(filter.contentRect.size, filter));
        }
        return NoImage::gone;
    }
    return NoImage::failed;
}

}  // namespace orvo::platform::macos::screencapturekit
