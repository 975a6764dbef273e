// What the window capture session remembers of one target from tick to tick.
#include "ScreenCapture/window/target_frame.h"

#include "ScreenCapture/window/placement.h"

using namespace orvo::platform;

TargetFrame::TargetFrame(uint32_t number, bool isScreen)
    : number_(number), isScreen_(isScreen), grabber_(platform().windowServer().grabber(number, isScreen)) {}

Ref<Image> TargetFrame::cropAndScale(const Ref<Image>& image, const CaptureOptions& options, const CursorMark& cursor) {
    const Source source{image->version(), cursor, options.cropRect, options.resolutionSize, options.resolutionMode};
    if (result_ && source.version != 0 && source == source_) return result_;
    result_ = nullptr;
    Ref<Image> result = getResoulutionImage(getCropWithCGImage(image, options), options);
    // An untouched picture is not kept: its memory is the grabber's to write again.
    if (source.version != 0 && result.get() != image.get()) {
        source_ = source;
        result_ = result;
    }
    return result;
}

const std::vector<uint32_t>& TargetFrame::applicationWindows(OrvoWindowManager& manager) {
    const uint64_t version = platform().windowServer().desktopVersion();
    if (version == 0 || version != askedAt_) applicationWindows_ = manager.getAllWindowWithWindowID(number_);
    askedAt_ = version;
    return applicationWindows_;
}

Ref<Image> getCropWithCGImage(const Ref<Image>& image, const CaptureOptions& options) {
    return options.cropRect == Rect() ? image : platform().imaging().crop(image, options.cropRect);
}

Ref<Image> getResoulutionImage(const Ref<Image>& image, const CaptureOptions& options) {
    const Size output = options.resolutionSize;
    if (!image || output.width == 0 || output.height == 0) return image;
    const Size source{static_cast<double>(image->width()), static_cast<double>(image->height())};
    return platform().imaging().draw(image, truncated<uint32_t>(output.width), truncated<uint32_t>(output.height),
                                     placementOf(options.resolutionMode, output, source));
}
