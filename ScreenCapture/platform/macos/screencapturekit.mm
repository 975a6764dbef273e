// One-shot pictures by ScreenCaptureKit: a filter over what can be captured, a screenshot.
#include "ScreenCapture/platform/macos/screencapturekit.h"

#include <Foundation/Foundation.h>
#include <ScreenCaptureKit/ScreenCaptureKit.h>

#include <memory>

#include "ScreenCapture/platform/macos/answer.h"
#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/shareable_content.h"

// All of this needs 14.0; what others call asks for it. Inside lambdas the compiler loses sight of that.
#pragma clang diagnostic ignored "-Wunguarded-availability"
#pragma clang diagnostic ignored "-Wunguarded-availability-new"

namespace orvo::platform::macos::screencapturekit {
namespace {

constexpr size_t kBytesPerPixel = 4;
constexpr CGBitmapInfo kBGRA =
    static_cast<CGBitmapInfo>(kCGImageAlphaPremultipliedFirst) | static_cast<CGBitmapInfo>(kCGBitmapByteOrder32Little);

// A bitmap, or why there is none.
struct Bitmap {
    CFRef<CGImageRef> image;
    NoImage why = NoImage::failed;
};

API_AVAILABLE(macos(14.0))
Bitmap captured(SCContentFilter* filter, SCStreamConfiguration* configuration) {
    auto answer = std::make_shared<Answer<CFRef<CGImageRef>>>();
    [SCScreenshotManager captureImageWithFilter:filter
                                  configuration:configuration
                              completionHandler:^(CGImageRef picture, NSError* error) {
                                  guarded([&] { answer->give(CFRef<CGImageRef>::retain(picture), error); });
                              }];
    if (!answer->wait()) return {nullptr, NoImage::noServer};
    return {answer->value(), reasonOf(answer->error())};
}

Shot shotOf(Bitmap bitmap) {
    if (!bitmap.image) return bitmap.why;
    return Ref<Image>(makeCounted<MacImage>(std::move(bitmap.image)));
}

struct Part {
    CGRect place;  // points, global, origin top-left
    CFRef<CGImageRef> image;
};

bool isWhole(const Part& part, CGRect area) {
    return part.place.size.width == area.size.width && part.place.size.height == area.size.height;
}

// What no part shows of the area is four zero bytes a pixel. scale: pixels per point of the result.
Bitmap drawnTogether(const std::vector<Part>& parts, CGRect area, double scale) {
    const auto width = truncated<size_t>(area.size.width * scale);
    const auto height = truncated<size_t>(area.size.height * scale);
    const auto space = CFRef<CGColorSpaceRef>::adopt(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
    const auto context = CFRef<CGContextRef>::adopt(
        CGBitmapContextCreate(nullptr, width, height, 8, width * kBytesPerPixel, space.get(), kBGRA));
    if (!context) return {};
    for (const auto& [place, image] : parts) {
        const double bottom = area.origin.y + area.size.height - place.origin.y - place.size.height;
        CGContextDrawImage(context.get(),
                           CGRectMake((place.origin.x - area.origin.x) * scale, bottom * scale,
                                      place.size.width * scale, place.size.height * scale),
                           image.get());
    }
    return {CFRef<CGImageRef>::adopt(CGBitmapContextCreateImage(context.get()))};
}

// A rectangle that reaches beyond one display is drawn together from the parts of each, in the pixels of the finest.
template <typename MakeFilter>
Bitmap composed(CGRect area, const std::vector<SCDisplay*>& displays, MakeFilter makeFilter) {
    std::vector<Part> parts;
    double scale = 0;
    for (SCDisplay* display : displays) {
        SCContentFilter* filter = makeFilter(display);
        Bitmap shown = captured(filter, configurationFor(filter, display, area));
        if (!shown.image) return shown;
        scale = std::max(scale, static_cast<double>(filter.pointPixelScale));
        parts.push_back({CGRectIntersection(area, CGDisplayBounds(display.displayID)), std::move(shown.image)});
    }
    if (parts.size() == 1 && isWhole(parts.front(), area)) return {std::move(parts.front().image)};
    return drawnTogether(parts, area, scale);
}

// take(content) answers the shot.
template <typename Take>
Shot withContent(Take take) {
    return answered(Shot(NoImage::failed), [&]() -> Shot {
        if (@available(macOS 14.0, *)) {
            const Content content = shareableContent();
            return content.list ? take(content.list) : Shot(content.why);
        }
        return NoImage::failed;
    });
}

}  // namespace

Shot pictureOfWindow(CGWindowID number, CGWindowImageOption options) {
    return withContent([&](SCShareableContent* list) -> Shot {
        SCWindow* window = windowIn(list, number);
        if (!window) return NoImage::gone;
        SCContentFilter* filter = filterFor(window);
        SCStreamConfiguration* configuration = configurationFor(filter, filter.contentRect.size);
        configuration.ignoreShadowsSingleWindow = (options & kCGWindowImageBoundsIgnoreFraming) != 0;
        return shotOf(captured(filter, configuration));
    });
}

Shot pictureOfArea(CGRect area) {
    return withContent([&](SCShareableContent* list) -> Shot {
        const auto displays = displaysUnder(list, area);
        if (displays.empty()) return NoImage::notOnScreen;
        return shotOf(
            composed(area, displays, [&](SCDisplay* display) { return filterWithoutDesktop(display, list); }));
    });
}

Shot pictureOfWindows(CGRect bounds, const std::vector<uint32_t>& windows) {
    return withContent([&](SCShareableContent* list) -> Shot {
        const auto displays = displaysUnder(list, bounds);
        if (displays.empty()) return NoImage::notOnScreen;
        return shotOf(
            composed(bounds, displays, [&](SCDisplay* display) { return filterFor(display, list, windows); }));
    });
}

Shot pictureOfDisplay(CGDirectDisplayID number) {
    return withContent([&](SCShareableContent* list) -> Shot {
        SCDisplay* display = displayIn(list, number);
        if (!display) return NoImage::gone;
        SCContentFilter* filter = filterFor(display);
        return shotOf(captured(filter, configurationFor(filter, filter.contentRect.size)));
    });
}

Shot pictureInArea(const Ref<Image>& image, CGRect place, CGRect area) {
    const Part part{place, macImage(image).bitmap()};
    if (!part.image || isWhole(part, area)) return image;
    return shotOf(drawnTogether({part}, area, image->width() / place.size.width));
}

}  // namespace orvo::platform::macos::screencapturekit
