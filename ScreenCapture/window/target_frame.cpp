// What the window capture session remembers of one target from tick to tick.
#include "ScreenCapture/window/target_frame.h"

#include <algorithm>

using namespace orvo::platform;

namespace {

// Where a picture goes inside the output size, in pixels from the output's corner, negative where it overflows. Mode 0
// fits it in and centres it, 1 fills the output and centres what overflows, any other stretches.
Rect placementOf(uint32_t resolutionMode, Size output, Size source) {
    if (resolutionMode > 1) return {0, 0, output.width, output.height};
    const double across = output.width / source.width;
    const double down = output.height / source.height;
    const double scale = resolutionMode == 0 ? std::min(across, down) : std::max(across, down);
    const double width = scale * source.width;
    const double height = scale * source.height;
    return {(output.width - width) * 0.5, (output.height - height) * 0.5, width, height};
}

}  // namespace

TargetFrame::TargetFrame(uint32_t number, bool isScreen)
    : number_(number), isScreen_(isScreen), grabber_(platform().windowServer().grabber(number, isScreen)) {}

Ref<Image> TargetFrame::cropAndScale(const Ref<Image>& image, const CaptureOptions& options, const CursorMark& cursor) {
    const Key key{image->version(), cursor, options.sequence};
    if (result_ && key == key_) return result_;
    result_ = nullptr;
    Ref<Image> result = getResoulutionImage(getCropWithCGImage(image, options), options);
    // Of a picture without a version nobody knows whether the next is the same. An untouched picture is not kept: as
    // long as somebody holds it, the grabber cannot write its memory again.
    if (key.picture != 0 && result.get() != image.get()) {
        key_ = key;
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
