// Where the services of this adapter are made: stateless, answered from the desktop's snapshot. Callable from any
// thread. A point is a pixel here; global coordinates begin at the main display.
#pragma once

#include "ScreenCapture/platform/accessibility.h"
#include "ScreenCapture/platform/displays.h"
#include "ScreenCapture/platform/pointer.h"
#include "ScreenCapture/platform/software/display_stream.h"
#include "ScreenCapture/platform/window_server.h"
#include "ScreenCapture/platform/workspace.h"
#include "ScreenCapture/platform/x11/server.h"

namespace orvo::platform::x11 {

std::unique_ptr<Displays> makeDisplays();
std::unique_ptr<Pointer> makePointer();
std::unique_ptr<WindowServer> makeWindowServer();
std::unique_ptr<Accessibility> makeAccessibility();
std::unique_ptr<Workspace> makeWorkspace();

// What an element of the accessibility interface stands for.
struct X11Element final : Element {
    X11Element(int32_t process, uint32_t number) : pid(process), window(number) {}
    const int32_t pid;      // 0: the whole system
    const uint32_t window;  // 0: the application itself
};

// Reports on the windows of a process from now on, on the thread whose run loop it is added to.
std::unique_ptr<ElementObserver> makeElementObserver(int32_t pid, ElementObserverCallback callback);

// Asks for the pictures of one target again and again.
std::unique_ptr<Grabber> makeGrabber(uint32_t target, bool isScreen);

// On the second connection, which is open while there is a batch: pictures wait for windows to repaint.
std::unique_ptr<PictureBatch> makePictureBatch(std::vector<uint32_t> windows);

// The area of the root window now, opaque, halved as often as that leaves the width at least needed. The server halves
// it: memory to share comes at its price, which is paid for each page that is touched first, here and there.
Shot pictureOfDisplay(Server& server, Server::Use& x, const PixelRect& area, int neededWidth);

// The root's rectangle that a crop (points, origin at the display's bottom-left corner) of a display means, cut to the
// display; the whole display for an empty crop. Empty when the two do not meet.
PixelRect captureArea(const PixelRect& display, const Rect& crop);

// Null with the reason when the server cannot be reached, or does not show the displays. A frame stays as it is while
// it is held outside; an unchanged scene gives the same frame again. The source is lost with the server's connection.
std::unique_ptr<software::DisplaySource> openDisplaySource(NoImage& why);

}  // namespace orvo::platform::x11
