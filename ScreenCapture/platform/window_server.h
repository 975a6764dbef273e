// The windows on screen and their pictures.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/values.h"

namespace orvo::platform {

struct WindowInfo {
    uint32_t number = 0;
    int32_t ownerPID = 0;
    int32_t layer = 0;      // desktop below 0, normal 0, docks 20 and above
    double alpha = 1;       // 0 to 1
    Rect bounds;            // points, global, origin top-left
    std::string ownerName;  // UTF-8; empty when the system has none
    std::string name;       // title, UTF-8; empty when it has none
};

// What the pictures of a target are for.
struct GrabberUse {
    int fps = 0;              // how many a second
    bool showsCursor = true;  // whether the host wants the cursor in them
    bool operator==(const GrabberUse&) const = default;
};

// Asks for the pictures of one target again and again, from one thread. It may remember what its system needs. Once its
// target is gone it never shows anything again, even if the number returns.
class Grabber {
  public:
    virtual ~Grabber() = default;

    // For a system that records all the time instead of taking a picture when asked.
    virtual void setUse(const GrabberUse& /*use*/) {}

    // The target window alone, whatever covers it, without frame and shadow.
    virtual Shot window() = 0;
    // The screen area (points, global, origin top-left) with every window there but desktop elements.
    virtual Shot area(const Rect& area) = 0;
    // The windows of the list (front to back), frames included, over a rectangle (points, global, origin top-left).
    // What no window covers is four zero bytes a pixel.
    virtual Shot composed(const Rect& bounds, const std::vector<uint32_t>& windows) = 0;
    // The target display.
    virtual Shot display() = 0;
};

// The pictures of a list of windows, as WindowServer::windowPicture() would take them. From any thread.
class PictureBatch {
  public:
    virtual ~PictureBatch() = default;
    // At its time or before, but not before the batch was made. Of any window; fastest in the order of the list, once
    // each.
    virtual Shot take(uint32_t window) = 0;
};

// Callable from any thread.
class WindowServer {
  public:
    virtual ~WindowServer() = default;

    // On-screen windows but desktop elements, front to back; empty when the server cannot be asked.
    virtual std::vector<WindowInfo> onScreenWindows() = 0;
    // The numbers of all on-screen windows, desktop elements included, front to back, in place of what the list held.
    virtual void onScreenNumbers(std::vector<uint32_t>& numbers) = 0;

    // A number for what windows, applications and displays are like now (see nextVersion()): as long as it stays the
    // same, so do the answers to questions about them. 0 when that is unknown.
    virtual uint64_t desktopVersion() { return 0; }

    // Why questions have no answers now; NoImage::none when they have.
    virtual NoImage whyUnreachable() { return NoImage::none; }

    // Why pictures lack what other applications show, in words; null when they do not. A system that refuses may still
    // answer pictures, of the desktop alone.
    virtual const char* whyIncomplete() { return nullptr; }

    // One-off pictures for the picker: a window alone, with its frame and shadow where the system has them; a display,
    // which may be reduced in proportion to no less than the width in pixels.
    virtual Shot windowPicture(uint32_t window) = 0;
    virtual Shot displayPicture(uint32_t display, int width) = 0;
    // For pictures of many windows: what takes time is done for all of them at once. May wait.
    virtual std::unique_ptr<PictureBatch> pictures(const std::vector<uint32_t>& windows);

    virtual std::unique_ptr<Grabber> grabber(uint32_t target, bool isScreen) = 0;
};

inline std::unique_ptr<PictureBatch> WindowServer::pictures(const std::vector<uint32_t>&) {
    class OneByOne final : public PictureBatch {
      public:
        explicit OneByOne(WindowServer& server) : server_(server) {}
        Shot take(uint32_t window) override { return server_.windowPicture(window); }

      private:
        WindowServer& server_;
    };
    return std::make_unique<OneByOne>(*this);
}

}  // namespace orvo::platform
