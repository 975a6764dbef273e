// The port's services as the X11 adapter fills them: stateless, answered from the desktop's snapshot. Callable from any
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

class X11Displays final : public Displays {
  public:
    std::vector<Display> screens() override;
    uint32_t mainDisplay() override;
    Rect bounds(uint32_t display) override;
    uint32_t mainDisplayPixelsHigh() override;
    double focusedScreenScale() override;
};

class X11Pointer final : public Pointer {
  public:
    std::shared_ptr<const Cursor> currentCursor() override;
    Point location() override;
};

class X11WindowServer final : public WindowServer {
  public:
    std::vector<WindowInfo> onScreenWindows() override;
    void onScreenNumbers(std::vector<uint32_t>& numbers) override;
    uint64_t desktopVersion() override;
    NoImage whyUnreachable() override;
    Shot windowPicture(uint32_t window) override;
    std::unique_ptr<PictureBatch> pictures(const std::vector<uint32_t>& windows) override;
    Shot displayPicture(uint32_t display, int width) override;
    std::unique_ptr<Grabber> grabber(uint32_t target, bool isScreen) override;
};

// What an element of the accessibility interface stands for.
struct X11Element final : Element {
    X11Element(int32_t process, uint32_t number) : pid(process), window(number) {}
    const int32_t pid;      // 0: the whole system
    const uint32_t window;  // 0: the application itself
};

class X11Accessibility final : public Accessibility {
  public:
    ElementRef systemWide() override;
    ElementRef application(int32_t pid) override;
    Attribute copyAttribute(const ElementRef& element, const char* name) override;
    int32_t copyElements(const ElementRef& element, const char* name, size_t from, size_t count,
                         std::vector<ElementRef>& elements) override;
    int32_t setAttribute(const ElementRef& element, const char* name, const AttributeValue& value) override;
    int32_t processIdentifier(const ElementRef& element) override;
    uint32_t windowNumber(const ElementRef& element) override;
    std::string describe(const ElementRef& element) override;
    bool bringToFront(int32_t pid) override;
    std::unique_ptr<ElementObserver> makeObserver(int32_t pid, ElementObserverCallback callback) override;
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

// Running applications are the processes that own windows.
class X11Workspace final : public Workspace {
  public:
    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override;
    std::shared_ptr<RunningApplication> application(int32_t pid) override;
    // An application's path is that of its desktop entry.
    std::optional<std::string> fullPathForApplication(const std::string& name) override;
    std::optional<Picture> iconForFile(const std::string& path) override;
};

}  // namespace orvo::platform::x11
