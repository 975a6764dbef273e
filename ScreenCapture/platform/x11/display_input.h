// One display as a source of the device path, and its settings.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "ScreenCapture/platform/display_capture.h"

namespace orvo::platform::x11 {

struct InputSettings {
    uint64_t interval = 33'333'333;  // nanoseconds
    bool cursor = true;
    bool clicks = false;
    Rect crop;  // points, origin at the display's bottom-left corner; empty: none
};

class X11DisplayInput final : public DisplayInput {
  public:
    explicit X11DisplayInput(uint32_t display) : display_(display) {}

    void setMinFrameDuration(const MediaTime& duration) override;
    void setCapturesCursor(bool captures) override;
    void setCapturesMouseClicks(bool captures) override;
    void setCropRect(const Rect& crop) override;

    uint32_t display() const { return display_; }
    InputSettings settings() const;
    // Called after each change, on the thread that made it.
    void onChange(std::function<void()> changed);

  private:
    template <typename Change>
    void change(Change&& apply);

    const uint32_t display_;
    mutable std::mutex mutex_;
    InputSettings settings_;
    std::function<void()> changed_;
};

}  // namespace orvo::platform::x11
