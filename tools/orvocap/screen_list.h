// The screens that can be captured.
#pragma once

#include <vector>

#include "orvo/screencapture.h"

namespace orvocap {

// Empty without a display.
std::vector<OrvoScreenCaptureScreenItem> listScreens();

// Throws a Failure that says what to do when there is no screen.
std::vector<OrvoScreenCaptureScreenItem> requireScreens();

}  // namespace orvocap
