// Compares frames with full grabs of the same screen, pixel by pixel.
#pragma once

#include <cstdint>
#include <memory>

#include "x11_client.h"

namespace bench {

// A frame is compared when the screen looked the same before its tick began and after it came: then nothing else can be
// right. Where nothing covers a composed frame it is four zero bytes a pixel; those are counted, not compared.
class Equality {
  public:
    // What frames show.
    struct Frames {
        xcb_window_t window = 0;   // 0: the root
        Area area = {};            // of it; empty: all
        xcb_window_t without = 0;  // what stands there is not compared
        bool cursor = false;       // whole displays only
    };
    explicit Equality(const Frames& frames);

    // Called for each frame, from its callback.
    void check(const uint8_t* pixels, size_t bytesPerRow, int width, int height);

    uint64_t compared = 0;  // frames
    uint64_t wrong = 0;     // pixels
    uint64_t empty = 0;     // pixels
    char first[80] = {};    // the first wrong pixel

  private:
    bool grab(SharedPicture& picture);
    void blendCursor(SharedPicture& picture);
    void compare(const uint8_t* pixels, size_t bytesPerRow);

    Client client_;
    xcb_drawable_t from_;
    Area area_, hole_ = {}, pointer_ = {};
    bool cursor_;
    std::unique_ptr<SharedPicture> grabs_[3];  // of the last three callbacks
    uint64_t count_ = 0;
};

}  // namespace bench
