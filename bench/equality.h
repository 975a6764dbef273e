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
    // What the frames show: an area of the root or of a window. hole: what they leave out, of the same area.
    Equality(xcb_window_t window, const Area& area, const Area& hole);

    // Called for each frame, from its callback.
    void check(const uint8_t* pixels, size_t bytesPerRow, int width, int height);

    uint64_t compared = 0;  // frames
    uint64_t wrong = 0;     // pixels
    uint64_t empty = 0;     // pixels
    char first[80] = {};    // the first wrong pixel

  private:
    void compare(const uint8_t* pixels, size_t bytesPerRow);
    bool inHole(int x, int y) const {
        return x >= hole_.x && y >= hole_.y && x < hole_.x + hole_.width && y < hole_.y + hole_.height;
    }

    Client client_;
    xcb_drawable_t from_;
    Area area_, hole_;
    std::unique_ptr<SharedPicture> grabs_[3];  // of the last three callbacks
    uint64_t count_ = 0;
};

}  // namespace bench
