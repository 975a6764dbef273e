// One frame of a target.
#pragma once

#include <functional>
#include <optional>

#include "capture.h"
#include "frame_sink.h"

namespace orvocap {

// Captures until a frame is wanted, at most five seconds. choose: hands the target to the library. Result: the last
// frame, nothing when none came. Throws a Failure when capture fails before the first frame.
std::optional<Frame> takeStill(Capture::Path path, const std::function<void()>& choose,
                               const std::function<bool(const Frame&)>& isWanted);

}  // namespace orvocap
