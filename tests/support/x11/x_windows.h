// Client windows as programs make them: with titles, types, borders; and a pattern that tells each pixel.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ScreenCapture/platform/values.h"

#include "support/x11/x_server.h"

namespace orvo::testing {

struct WindowWish {
    Area area;
    std::string title = {};
    std::string className = {};
    std::string type = {};  // the name of a _NET_WM_WINDOW_TYPE
    int border = 0;
    bool overrideRedirect = false;
    uint32_t background = 0x303030;
    bool hasBackground = true;  // else the server leaves what the screen shows until the client paints
    xcb_window_t number = 0;    // 0: a new one
    xcb_window_t owner = 0;     // it is a dialog or a toolbox of
    bool modal = false;
    bool hasAlpha = false;  // of 32 bits a pixel; the background is 0xAARRGGBB then
};

// Waits until it holds. False when it does not for so long that the machine's load is no reason any more.
bool comesAbout(const std::function<bool()>& condition);

// What paintPattern() paints, 0xRRGGBB.
inline uint32_t patternAt(int x, int y) {
    return static_cast<uint32_t>((x / 4 * 5 & 0xFF) << 16 | (y / 4 * 7 & 0xFF) << 8 | ((x + y) / 8 & 0xFF));
}

// Calls return when the server has done what they ask; what a window manager does is awaited on its own.
class Windows {
  public:
    explicit Windows(const XServer& server) : painter_(server) {}
    Painter& painter() { return painter_; }

    xcb_window_t make(const WindowWish& wish);  // mapped
    void paintPattern(xcb_window_t window, int width, int height);
    void map(xcb_window_t window);
    void unmap(xcb_window_t window);
    void resize(xcb_window_t window, int width, int height);
    void lower(xcb_window_t window);
    void iconify(xcb_window_t window);
    void tellManager(xcb_window_t window, const char* type, const std::vector<uint32_t>& data);
    void setNumber(xcb_window_t window, const char* property, xcb_atom_t type, uint32_t value);
    void setNumbers(xcb_window_t window, const char* property, const std::vector<uint32_t>& values);
    void setText(xcb_window_t window, const char* property, const char* type, const std::string& text);
    xcb_pixmap_t setBackground(uint32_t colour);  // of the root, announced as programs do
    xcb_atom_t atom(const char* name);
    std::vector<uint32_t> numbers(xcb_window_t window, const char* property);
    uint32_t number(xcb_window_t window, const char* property);  // 0 without
    platform::Rect rootBounds(xcb_window_t window);

    // False when it does not come about.
    bool awaitManager();
    bool awaitMapped(xcb_window_t window);
    bool awaitUnmapped(xcb_window_t window);
    void awaitRepaint();  // until nothing is drawn any more

  private:
    bool isViewable(xcb_window_t window);

    Painter painter_;
};

}  // namespace orvo::testing
