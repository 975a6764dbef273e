// The computed values of a window record.
#include "ScreenCapture/window/OrvoWindow.h"

#include "ScreenCapture/platform/platform.h"

using orvo::platform::platform;
using orvo::platform::Rect;

bool OrvoWindow::isMainScreen() const {
    return platform().displays().mainDisplay() == windowID;
}

Rect OrvoWindow::deskBounds() const {
    Rect bounds = windowBounds;
    if (isScreen && !isMainScreen()) {
        bounds.y = platform().displays().mainDisplayPixelsHigh() - bounds.y - bounds.height;
    }
    return bounds;
}
