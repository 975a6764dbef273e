// The device path of a system that has none of its own: settings, timer and delivery around a source of frames.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "ScreenCapture/platform/display_capture.h"
#include "ScreenCapture/platform/software/frame.h"

namespace orvo::platform::software {

// What a frame has to show, and how often.
struct DisplaySettings {
    uint32_t display = 0;            // its number
    uint64_t interval = 33'333'333;  // nanoseconds from tick to tick
    bool cursor = true;
    bool clicks = false;
    Rect crop;  // points, origin at the display's bottom-left corner; empty: none
    bool operator==(const DisplaySettings&) const = default;
};

struct FrameResult {
    enum class Outcome {
        frame,        // there is one; the same as before when nothing changed
        dropped,      // none this time
        sourceLost,   // the source will give no frame any more
        displayGone,  // there is no such display
    };
    Outcome outcome = Outcome::dropped;
    Ref<Frame> frame;             // not null for Outcome::frame; stays as it is while anybody holds it
    NoImage why = NoImage::none;  // for Outcome::dropped and Outcome::sourceLost
    Changes changes{};            // of the frame, since the one before of the same source
};

// Where the frames of one run come from. Made, asked and destroyed on the stream's queue; a run is from start to stop.
// A source that the system pushes frames to keeps the newest and answers with it.
class DisplaySource {
  public:
    virtual ~DisplaySource() = default;
    virtual FrameResult next(const DisplaySettings& settings) = 0;
    // What answers, on any thread and without waiting, whether next() would give the last frame again. It may outlive
    // the source. Null where only next() can tell.
    virtual std::function<bool()> stillness() { return nullptr; }
};

// Makes the source of a run; null with the reason when there cannot be one. May wait for the system.
using OpenDisplaySource = std::function<std::unique_ptr<DisplaySource>(NoImage& why)>;

// A capture with a queue of its own that asks its source at every tick. Frames go through the main queue, the newest
// only; one that replaces another there is reported as a drop. While nothing changes the ticks are the main queue's, so
// that one thread wakes for a frame, not two. The loss of the source is a runtime error, the loss of the display an
// interruption; each ends the run. Displays are known by Displays::screens().
std::shared_ptr<DisplayCapture> makeDisplayStream(OpenDisplaySource open);

}  // namespace orvo::platform::software
