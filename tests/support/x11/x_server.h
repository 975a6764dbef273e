// A private X server and a client that paints on it.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <string>
#include <vector>

namespace orvo::testing {

// An Xvfb of its own, set as DISPLAY while it lives. Dies with the object, and with the test's process.
class XServer {
  public:
    // screen: "WIDTHxHEIGHTxDEPTH"; arguments go to the server as they are.
    explicit XServer(const std::string& screen = "640x480x24", const std::vector<std::string>& arguments = {});
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    void kill();     // ends it at once
    void restart();  // ends it and starts it anew, without its windows, under the same number
    void suspend();  // it stops answering
    void resume();

    // Starts a program on this server; it ends with the object, or before. Answers its number.
    int start(const std::vector<std::string>& command);
    void end(int client);
    // Runs a program on this server to its end; answers its exit code.
    int run(const std::vector<std::string>& command);

    int pid() const { return pid_; }
    const std::string& display() const { return display_; }

  private:
    void launch();

    int pid_ = -1;
    std::vector<std::string> arguments_;
    std::string display_;
    std::vector<int> clients_;
};

struct Area {
    int x = 0, y = 0, width = 0, height = 0;
};

// A client that draws with plain core requests; each call returns when the server has drawn.
class Painter {
  public:
    explicit Painter(const XServer& server);
    ~Painter();
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;

    xcb_connection_t* raw() const { return connection_; }
    xcb_window_t root() const { return root_; }

    // An override-redirect window, mapped, painted in a colour (0xRRGGBB) that also is its background.
    // hasAlpha: of 32 bits a pixel, 0xAARRGGBB, where the server has such windows.
    xcb_window_t window(const Area& area, uint32_t colour, bool hasAlpha = false);
    // Any, not mapped.
    xcb_window_t create(xcb_window_t number, const Area& area, int border, uint32_t mask,
                        xcb_create_window_value_list_t values, bool hasAlpha);
    xcb_window_t map(xcb_window_t window);
    void fill(xcb_drawable_t target, const Area& area, uint32_t colour);
    void clear(xcb_window_t window, const Area& area);   // to a new background
    void scroll(xcb_window_t window, const Area& area);  // copies the part to the window's top
    void shape(xcb_window_t window, const Area& area);   // leaves only that of it
    void setRootBackground(uint32_t colour);             // and shows it everywhere
    void move(xcb_window_t window, int x, int y);
    void raise(xcb_window_t window);
    void destroy(xcb_window_t window);
    void redirect(xcb_window_t window);  // into a pixmap of its own, painted on screen by the server
    void warpPointer(int x, int y);
    // The root's pixels as the server has them, four bytes each, rows packed.
    std::vector<uint8_t> read(const Area& area);
    void sync();

  private:
    xcb_connection_t* connection_;
    xcb_window_t root_ = 0;
    xcb_gcontext_t context_ = 0;
    uint32_t colour_ = 0;  // that was cleared to last
};

}  // namespace orvo::testing
