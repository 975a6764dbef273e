// What ScreenCaptureKit can capture now, and filters and configurations over it.
#include "ScreenCapture/platform/macos/shareable_content.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>

#include "ScreenCapture/platform/macos/answer.h"
#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/values.h"

namespace orvo::platform::macos {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kServes{300};

// The last list, asked for by one thread at a time.
class API_AVAILABLE(macos(14.0)) ContentList {
  public:
    Content now() {
        if ([NSThread isMainThread]) return onMainThread();
        std::lock_guard guard(asking_);
        if (Clock::now() - askedAt_.load() < kServes) return last();
        auto answer = ask();
        if (!answer->wait()) return {nil, NoImage::noServer};
        return last();
    }

  private:
    using ListAnswer = Answer<SCShareableContent*>;

    Content onMainThread() {
        const bool isStale = Clock::now() - askedAt_.load() >= kServes;
        const auto answer = isStale ? ask() : nullptr;
        const Content known = last();
        if (known.list || !answer) return known;
        return answer->wait() ? last() : Content{nil, NoImage::noServer};
    }

    std::shared_ptr<ListAnswer> ask() {
        auto answer = std::make_shared<ListAnswer>();
        [SCShareableContent getShareableContentExcludingDesktopWindows:NO
                                                   onScreenWindowsOnly:NO
                                                     completionHandler:^(SCShareableContent* list, NSError* error) {
                                                         guarded([&] {
                                                             keep(list, error);
                                                             answer->give(list, error);
                                                         });
                                                     }];
        return answer;
    }

    void keep(SCShareableContent* list, NSError* error) {
        const NoImage why = list ? NoImage::none : reasonOf(error);
        std::lock_guard guard(lock_);
        last_ = {list, why};
        askedAt_ = Clock::now();
    }

    Content last() {
        std::lock_guard guard(lock_);
        return last_;
    }

    std::mutex asking_;
    std::atomic<Clock::time_point> askedAt_{Clock::time_point()};
    std::mutex lock_;
    Content last_{nil, NoImage::failed};
};

// Never destroyed: an answer may come while the process ends.
API_AVAILABLE(macos(14.0))
ContentList& contentList() {
    static ContentList* const list = new ContentList;
    return *list;
}

}  // namespace

Content shareableContent() {
    return contentList().now();
}

SCWindow* windowIn(SCShareableContent* list, CGWindowID number) {
    for (SCWindow* window in list.windows) {
        if (window.windowID == number) return window;
    }
    return nil;
}

SCDisplay* displayIn(SCShareableContent* list, CGDirectDisplayID number) {
    for (SCDisplay* display in list.displays) {
        if (display.displayID == number) return display;
    }
    return nil;
}

std::vector<SCDisplay*> displaysUnder(SCShareableContent* list, CGRect area) {
    std::vector<SCDisplay*> under;
    for (SCDisplay* display in list.displays) {
        if (!CGRectIsEmpty(CGRectIntersection(area, CGDisplayBounds(display.displayID)))) under.push_back(display);
    }
    return under;
}

// Making two filters for windows at a time is reported to crash, and so is one before the process knows its displays.
SCContentFilter* filterFor(SCWindow* window) {
    static constinit std::mutex one;
    std::lock_guard guard(one);
    static_cast<void>(CGMainDisplayID());
    return [[SCContentFilter alloc] initWithDesktopIndependentWindow:window];
}

SCContentFilter* filterWithoutDesktop(SCDisplay* display, SCShareableContent* list) {
    NSMutableArray<SCWindow*>* desktop = [NSMutableArray array];
    for (SCWindow* window in list.windows) {
        if (window.windowLayer < 0) [desktop addObject:window];
    }
    return [[SCContentFilter alloc] initWithDisplay:display excludingWindows:desktop];
}

SCContentFilter* filterFor(SCDisplay* display) {
    return [[SCContentFilter alloc] initWithDisplay:display excludingWindows:@[]];
}

// The desktop picture is a window of the list like others; the menu bar is none, and belongs to lists that have one.
SCContentFilter* filterFor(SCDisplay* display, SCShareableContent* list, const std::vector<uint32_t>& windows) {
    NSMutableArray<SCWindow*>* included = [NSMutableArray array];
    bool isDesktop = false;
    for (SCWindow* window in list.windows) {
        if (!contains(windows, window.windowID)) continue;
        [included addObject:window];
        isDesktop = isDesktop || window.windowLayer < 0;
    }
    SCContentFilter* filter = [[SCContentFilter alloc] initWithDisplay:display includingWindows:included];
    if (@available(macOS 14.2, *)) filter.includeMenuBar = isDesktop;
    return filter;
}

SCStreamConfiguration* configurationFor(SCContentFilter* filter, CGSize size) {
    SCStreamConfiguration* configuration = [[SCStreamConfiguration alloc] init];
    const double scale = static_cast<double>(filter.pointPixelScale);
    configuration.width = truncated<size_t>(size.width * scale);
    configuration.height = truncated<size_t>(size.height * scale);
    configuration.pixelFormat = kCVPixelFormatType_32BGRA;
    configuration.colorSpaceName = kCGColorSpaceSRGB;
    configuration.captureResolution = SCCaptureResolutionBest;
    configuration.scalesToFit = YES;
    configuration.showsCursor = NO;
    if (@available(macOS 14.2, *)) configuration.includeChildWindows = NO;
    return configuration;
}

SCStreamConfiguration* configurationFor(SCContentFilter* filter, SCDisplay* display, CGRect area) {
    const CGRect bounds = CGDisplayBounds(display.displayID);
    const CGRect shown = CGRectIntersection(area, bounds);
    SCStreamConfiguration* configuration = configurationFor(filter, shown.size);
    configuration.sourceRect = CGRectMake(shown.origin.x - bounds.origin.x, shown.origin.y - bounds.origin.y,
                                          shown.size.width, shown.size.height);
    return configuration;
}

NoImage reasonOf(NSError* error) {
    switch (error.code) {
        case SCStreamErrorUserDeclined:
            return NoImage::notPermitted;
        case SCStreamErrorUserStopped:
        case SCStreamErrorSystemStopped:
            return NoImage::stopped;
        default:
            return NoImage::failed;
    }
}

}  // namespace orvo::platform::macos
