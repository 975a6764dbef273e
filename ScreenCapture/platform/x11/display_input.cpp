// One display as a source of the device path, and its settings.
#include "ScreenCapture/platform/x11/display_input.h"

#include <utility>

namespace orvo::platform::x11 {

template <typename Change>
void X11DisplayInput::change(Change&& apply) {
    std::function<void()> changed;
    {
        std::lock_guard lock(mutex_);
        apply(settings_);
        changed = changed_;
    }
    if (changed) changed();
}

void X11DisplayInput::setMinFrameDuration(const MediaTime& duration) {
    if (duration.value <= 0 || duration.timescale <= 0) return;
    const double seconds = static_cast<double>(duration.value) / duration.timescale;
    change([&](InputSettings& settings) { settings.interval = truncated<uint64_t>(seconds * 1e9); });
}

void X11DisplayInput::setCapturesCursor(bool captures) {
    change([&](InputSettings& settings) { settings.cursor = captures; });
}

void X11DisplayInput::setCapturesMouseClicks(bool captures) {
    change([&](InputSettings& settings) { settings.clicks = captures; });
}

void X11DisplayInput::setCropRect(const Rect& crop) {
    change([&](InputSettings& settings) { settings.crop = crop; });
}

InputSettings X11DisplayInput::settings() const {
    std::lock_guard lock(mutex_);
    return settings_;
}

void X11DisplayInput::onChange(std::function<void()> changed) {
    std::lock_guard lock(mutex_);
    changed_ = std::move(changed);
}

}  // namespace orvo::platform::x11
