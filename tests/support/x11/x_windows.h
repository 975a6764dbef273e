// Client windows as programs make them: with titles, types, borders; and a pattern that tells each pixel.
#pragma once

#include <xcb/xcb.h>

#include <functional>
#include <string>
#include <vector>

#include "ScreenCapture/platform/values.h"

#include "support/x11/x_server.h"

namespace orvo::testing {

struct Area {
    int x = 0, y = 0, width = 0, height = 0;
};

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

// A client. Calls return when the server has done what they ask; what a window manager does is awaited on its own.
class Windows {
  public:
    explicit Windows(const XServer& server);
    ~Windows();
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    xcb_connection_t* raw() const { return connection_; }
    xcb_window_t root() const { return root_; }
    void sync();  // until the server has done all that was asked

    xcb_window_t make(const WindowWish& wish);  // mapped
    // Without a manager's frame, mapped, painted in a colour (0xRRGGBB) that also is its background.
    xcb_window_t window(const Area& area, uint32_t colour, bool hasAlpha = false);
    void map(xcb_window_t window);
    void unmap(xcb_window_t window);
    void destroy(xcb_window_t window);
    void move(xcb_window_t window, int x, int y);
    void resize(xcb_window_t window, int width, int height);
    void raise(xcb_window_t window);
    void lower(xcb_window_t window);
    void shape(xcb_window_t window, const Area& area);  // leaves only that of it
    void redirect(xcb_window_t window);                 // into a pixmap of its own, painted on screen by the server
    void iconify(xcb_window_t window);
    void tellManager(xcb_window_t window, const char* type, const std::vector<uint32_t>& data);
    // To the root's window manager, or to the client that made the window.
    void message(xcb_window_t to, xcb_window_t window, const char* type, const std::vector<uint32_t>& data);

    void paintPattern(xcb_window_t window, int width, int height);
    void fill(xcb_drawable_t target, const Area& area, uint32_t colour);
    void clear(xcb_window_t window, const Area& area);  // to a new background
    void copy(xcb_drawable_t from, const Area& area, xcb_drawable_t to, int x, int y);
    void setRootBackground(uint32_t colour);      // and shows it everywhere
    xcb_pixmap_t setBackground(uint32_t colour);  // of the root, announced as programs do
    void warpPointer(int x, int y);
    // The root's pixels as the server has them, four bytes each, rows packed.
    std::vector<uint8_t> read(const Area& area);

    void setNumber(xcb_window_t window, const char* property, xcb_atom_t type, uint32_t value);
    void setNumbers(xcb_window_t window, const char* property, const std::vector<uint32_t>& values);
    void setText(xcb_window_t window, const char* property, const char* type, const std::string& text);
    xcb_atom_t atom(const char* name);
    std::vector<uint32_t> numbers(xcb_window_t window, const char* property);
    uint32_t number(xcb_window_t window, const char* property);  // 0 without
    platform::Rect rootBounds(xcb_window_t window);

    // False when it does not come about.
    bool awaitManager();
    bool awaitMapped(xcb_window_t window);
    void awaitRepaint();  // until nothing is drawn any more

  private:
    void configure(xcb_window_t window, uint16_t which, const std::vector<int>& values);
    xcb_gcontext_t context(xcb_drawable_t target, uint32_t colour);

    xcb_connection_t* connection_;
    xcb_screen_t* screen_;
    xcb_window_t root_;
    uint32_t colour_ = 0;  // that was cleared to last
};

}  // namespace orvo::testing
