// What the window capture session remembers of one target from tick to tick: how it is asked for pictures, and the
// cropped and scaled result of a picture that has not changed since.
#pragma once

#include <cstdint>
#include <memory>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/thumbnail/OrvoWindowManager.h"
#include "ScreenCapture/window/OrvoWindowCursor.h"
#include "ScreenCapture/window/capture_options.h"

// Belongs to the capture queue.
class TargetFrame {
  public:
    TargetFrame(uint32_t number, bool isScreen);

    bool isScreen() const { return isScreen_; }
    orvo::platform::Grabber& grabber() { return *grabber_; }

    // Crops and scales a picture as the options say; the result of the tick before serves again when neither the
    // picture nor the options have changed. cursor: what was painted into the picture, which its version does not
    // cover.
    orvo::platform::Shot cropAndScale(const orvo::platform::Ref<orvo::platform::Image>& image,
                                      const CaptureOptions& options, const CursorMark& cursor);

    // What of the last result differs from the one that was last delivered.
    const orvo::platform::Changes& changes() const { return undelivered_; }
    void delivered() { undelivered_ = orvo::platform::Changes::nothing(); }

    // The windows of the target's application; asked for again when anything on the desktop has changed.
    const std::vector<uint32_t>& applicationWindows(OrvoWindowManager& manager);

  private:
    // All that a cropped and scaled picture is made from. Results of equal keys are equal pixels.
    struct Key {
        uint64_t picture = 0;  // its version
        CursorMark cursor;
        uint64_t options = 0;  // their sequence
        bool operator==(const Key&) const = default;
    };

    orvo::platform::Changes changesOf(const orvo::platform::Image& image, const Key& key);

    uint32_t number_;
    bool isScreen_;
    std::unique_ptr<orvo::platform::Grabber> grabber_;
    std::unique_ptr<orvo::platform::ScaledOutput> scaled_;
    Key key_;                                            // of the last result
    orvo::platform::ChangeFollower pictures_;            // up to that
    orvo::platform::Ref<orvo::platform::Image> result_;  // null: it is not kept
    orvo::platform::Changes undelivered_;
    uint64_t askedAt_ = 0;  // the desktop's version when the application's windows were asked for; 0: never, or unknown
    std::vector<uint32_t> applicationWindows_;
};

// The two steps by themselves; no picture when nothing is left. changes: of the picture, before and afterwards.
orvo::platform::Ref<orvo::platform::Image> getCropWithCGImage(const orvo::platform::Ref<orvo::platform::Image>& image,
                                                              const CaptureOptions& options,
                                                              orvo::platform::Changes& changes);
orvo::platform::Shot getResoulutionImage(const orvo::platform::Ref<orvo::platform::Image>& image,
                                         const CaptureOptions& options, orvo::platform::ScaledOutput& output,
                                         orvo::platform::Changes& changes);
