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
    : number_(number),
      isScreen_(isScreen),
      grabber_(platform().windowServer().grabber(number, isScreen)),
      scaled_(platform().imaging().scaledOutput()) {}

// What of a picture, with what was painted on it, differs from the one of the tick before.
Changes TargetFrame::changesOf(const Image& image, const Key& key) {
    Changes changes = pictures_.next(image);
    if (key.options != key_.options) return {};
    if (key.cursor == key_.cursor) return changes;
    for (const CursorMark& mark : {key_.cursor, key.cursor})
        if (mark) changes.add({mark.x, image.height() - mark.y - mark.h, mark.w, mark.h});
    return changes;
}

// The result of the tick before serves again when it would come out the same. That is known from three numbers, the
// whole of what a result is made from: the picture's version (equal versions are equal pixels, whichever grabber made
// them; 0 means that the adapter does not know), the cursor's picture and place, which are painted into the picture
// after its version was given, and the sequence of the options. No flag says that a result is out of date: whatever
// changes any input changes its number.
//
// Only a picture of its own is kept. Without crop and scale the result is the grabber's own frame, and holding that
// would keep the grabber from writing its memory again.
Shot TargetFrame::cropAndScale(const Ref<Image>& image, const CaptureOptions& options, const CursorMark& cursor) {
    const Key key{image->version(), cursor, options.sequence};
    if (result_ && key == key_) return result_;
    result_ = nullptr;
    Changes changes = changesOf(*image, key);
    // Until all is done it is unknown what the next picture has to be compared with.
    const ChangeFollower pictures = std::exchange(pictures_, {});
    const Ref<Image> cropped = getCropWithCGImage(image, options, changes);
    Shot result = getResoulutionImage(cropped, options, *scaled_, changes);
    pictures_ = pictures;
    key_ = key;
    undelivered_.add(changes);
    if (key.picture != 0 && result.image.get() != image.get()) result_ = result.image;
    return result;
}

const std::vector<uint32_t>& TargetFrame::applicationWindows(OrvoWindowManager& manager) {
    const uint64_t version = platform().windowServer().desktopVersion();
    if (version == 0 || version != askedAt_) applicationWindows_ = manager.getAllWindowWithWindowID(number_);
    askedAt_ = version;
    return applicationWindows_;
}

Ref<Image> getCropWithCGImage(const Ref<Image>& image, const CaptureOptions& options, Changes& changes) {
    if (options.cropRect == Rect()) return image;
    const PixelRect kept = touchedPixels(options.cropRect, image->width(), image->height());
    if (changes.isKnown()) {
        const Changes whole = std::exchange(changes, Changes::nothing());
        for (const PixelRect& rect : whole) changes.add(moved(intersection(rect, kept), -kept.x, -kept.y));
    }
    return platform().imaging().crop(image, options.cropRect);
}

Shot getResoulutionImage(const Ref<Image>& image, const CaptureOptions& options, ScaledOutput& output,
                         Changes& changes) {
    const Size size = options.resolutionSize;
    if (!image || size.width == 0 || size.height == 0) return image;
    const Size source{static_cast<double>(image->width()), static_cast<double>(image->height())};
    return output.draw(image, truncated<uint32_t>(size.width), truncated<uint32_t>(size.height),
                       placementOf(options.resolutionMode, size, source), changes);
}
