// Pictures and pixel buffers as the logic sees them; an adapter's objects stand behind them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ScreenCapture/platform/counted.h"
#include "ScreenCapture/platform/values.h"

namespace orvo::platform {

class PixelBuffer;

// A bitmap with row 0 on top. Its pixels do not change while anybody but its maker holds it, except through paint().
class Image : public virtual Counted {
  public:
    virtual int width() const = 0;   // pixels
    virtual int height() const = 0;  // pixels
    virtual size_t bytesPerRow() const = 0;
    virtual int bitsPerPixel() const { return 32; }
    virtual int bitsPerComponent() const { return 8; }

    // The first byte of the top row; valid while the image lives. Null when the system does not hand the bytes out.
    virtual const uint8_t* bytes() const = 0;

    // Makes the pixels of a rectangle (inside the image) this image's own and answers the first byte of the image's top
    // row, writable within that rectangle; null when they cannot be written. What is painted stays in this image only:
    // the next picture of the same target does not show it.
    virtual uint8_t* paint(const PixelRect& area) = 0;

    // Pictures with equal versions other than 0 are equal in size and pixels, whoever made them (see nextVersion());
    // what was painted does not count. 0: unknown.
    virtual uint64_t version() const { return 0; }

    // The rectangles outside of which this picture equals that of version changedSince(), painting aside; null: all of
    // it may differ. A maker's next picture is relative to the one that it handed out before, so whoever takes all of
    // them, and compares changedSince() with the version that it saw last, misses nothing.
    virtual const std::vector<PixelRect>* changed() const { return nullptr; }
    virtual uint64_t changedSince() const { return 0; }

    // The same object as memory to hand over, or null when it is an image only.
    virtual PixelBuffer* pixelBuffer() { return nullptr; }
};

// Memory that a frame is handed over in. One object may be both an image and a pixel buffer, with one count.
class PixelBuffer : public virtual Counted {
  public:
    virtual int width() const = 0;   // pixels
    virtual int height() const = 0;  // pixels
    virtual Size displaySize() const { return {static_cast<double>(width()), static_cast<double>(height())}; }
    virtual size_t bytesPerRow() const = 0;
    virtual size_t planeCount() const { return 0; }

    // Read-only lock; the addresses are valid between the two calls.
    virtual void lock() = 0;
    virtual void unlock() = 0;
    virtual const void* baseAddress() const = 0;
    virtual const void* baseAddressOfPlane(size_t /*plane*/) const { return nullptr; }

    // What a host that asked for the system's own buffer receives.
    virtual const void* hostHandle() const = 0;
};

// A picture such as an icon or a cursor: a size in points with one or more bitmaps of it.
struct PictureRepresentation {
    Size size;  // points
    Ref<Image> image;
};
struct Picture {
    Size size;         // points
    Ref<Image> image;  // the picture's own bitmap
    std::vector<PictureRepresentation> representations;
};

// Why a question for an image had none as its answer.
enum class NoImage {
    none,          // there is an image
    gone,          // the target does not exist, or no longer
    notOnScreen,   // it exists but shows nothing now: minimised, unmapped, empty
    tooLarge,      // the window server has no picture of that size
    pixelFormat,   // its pixels are of a kind that cannot be read
    notPermitted,  // the system refuses
    noServer,      // the window server cannot be reached
    noXServer,     // there is no X server to ask
    xServerHangs,  // it did not answer in time, and has not since
    wayland,       // screens are not this window server's to show, only windows of its own programs are
    stopped,       // the system or its user ended the capture
    noBuffer,      // every buffer of the pool is in use
    hostBusy,      // the host had not taken the picture before
    failed,        // anything else
};
// A few words for logs.
inline const char* describe(NoImage why) {
    switch (why) {
        case NoImage::none:
            return "there is an image";
        case NoImage::gone:
            return "the target is gone";
        case NoImage::notOnScreen:
            return "the target is not on screen";
        case NoImage::tooLarge:
            return "the target is larger than a picture can be";
        case NoImage::pixelFormat:
            return "the screen's colours cannot be read: it needs 15 bits a pixel or more";
        case NoImage::notPermitted:
            return "the system does not permit it";
        case NoImage::noServer:
            return "the window server cannot be reached";
        case NoImage::noXServer:
            return "the X server cannot be reached";
        case NoImage::xServerHangs:
            return "the X server does not answer";
        case NoImage::wayland:
            return "this is a Wayland session: only windows of X11 programs can be seen";
        case NoImage::stopped:
            return "the system or its user stopped the capture";
        case NoImage::noBuffer:
            return "every buffer is in use";
        case NoImage::hostBusy:
            return "the host's main queue is busy";
        case NoImage::failed:
            break;
    }
    return "the picture could not be taken";
}

// The answer to a question for an image.
struct Shot {
    Ref<Image> image;
    NoImage why = NoImage::none;

    Shot(Ref<Image> picture) : image(std::move(picture)), why(image ? NoImage::none : NoImage::failed) {}
    Shot(NoImage reason) : why(reason) {}
};

}  // namespace orvo::platform
