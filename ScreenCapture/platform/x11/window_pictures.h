// Pictures of windows for a picker.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "ScreenCapture/platform/x11/compositor.h"

namespace orvo::platform::x11 {

Shot pictureOfWindow(Connection& x, const DesktopWindow& window, const WindowList& windows);

// Pictures that will be asked for one after the other, on a connection of their own. While the caller is busy with one
// the server draws the next; those after it are redirected meanwhile, as many as the server may have memory for.
class WindowPictures {
  public:
    // The server has Composite; the windows are in the list and on screen.
    WindowPictures(std::unique_ptr<Connection> connection, std::vector<uint32_t> numbers, const WindowList& windows);
    ~WindowPictures();
    WindowPictures(const WindowPictures&) = delete;
    WindowPictures& operator=(const WindowPictures&) = delete;

    bool contains(uint32_t window) const;
    // Of a window that it contains, which is on screen; fastest in the order of the numbers. From any thread.
    Shot take(const DesktopWindow& window, const WindowList& windows);

  private:
    size_t indexOf(uint32_t window) const;
    void begin(size_t index, const DesktopWindow& window, const WindowList& windows);
    void prepare(const WindowList& windows);

    std::mutex mutex_;
    std::unique_ptr<Connection> x_;  // outlives what is made on it
    std::unique_ptr<RedirectedWindows> windows_;
    std::unique_ptr<Compositor> compositor_;
    std::map<uint32_t, std::shared_ptr<RedirectedWindow>> ahead_;
    const std::vector<uint32_t> numbers_;
    std::vector<std::vector<PixelRect>> shapes_;  // of the windows
    std::vector<int64_t> prepared_;               // pixels of the windows from the first on that were prepared
    int64_t pixels_ = 0;                          // of those whose pictures were not taken yet
    size_t begun_ = SIZE_MAX;                     // the window whose picture the server draws
    PixelRect begunBounds_;
};

}  // namespace orvo::platform::x11
