// A client of the X server that DISPLAY names, with memory that both share.
#pragma once

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>

namespace bench {

struct Area {
    int x = 0, y = 0, width = 0, height = 0;
};

// A server's answer, freed with the object.
template <typename T>
class Reply {
  public:
    explicit Reply(T* reply) : reply_(reply) {}
    ~Reply() { free(reply_); }
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;
    explicit operator bool() const { return reply_ != nullptr; }
    T* operator->() const { return reply_; }
    T* get() const { return reply_; }

  private:
    T* reply_;
};

// Has agreed with the server on composite, fixes and damage. The program ends with a message when there is no server,
// or none with these and shared memory.
class Client {
  public:
    Client();
    ~Client() { xcb_disconnect(connection); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void sync();  // returns when the server has done everything
    Area windowArea(xcb_window_t window);

    xcb_connection_t* connection;
    xcb_screen_t* screen = nullptr;
    xcb_window_t root = 0;
};

// A picture of 32-bit pixels in shared memory, rows packed.
class SharedPicture {
  public:
    SharedPicture(Client& client, int width, int height);
    ~SharedPicture();
    SharedPicture(const SharedPicture&) = delete;
    SharedPicture& operator=(const SharedPicture&) = delete;

    // Fetches an area into the first rows, packed to the area's width. False when the server refuses.
    bool grab(xcb_drawable_t from, const Area& area);
    // Puts a part of the picture on a drawable.
    void put(xcb_drawable_t on, xcb_gcontext_t context, const Area& part, int x, int y);

    uint32_t* row(int y) { return pixels + static_cast<size_t>(y) * static_cast<size_t>(width); }
    uint8_t* bytes() { return reinterpret_cast<uint8_t*>(pixels); }
    size_t bytesPerRow() const { return static_cast<size_t>(width) * 4; }

    Client& client;
    const int width;
    const int height;
    xcb_shm_seg_t segment;
    uint32_t* pixels;
};

}  // namespace bench
