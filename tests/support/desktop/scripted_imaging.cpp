// Work on pictures for the scripted desktop: nearest pixel, small pictures only.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "support/desktop/desktop.h"
#include "support/desktop/services.h"

namespace orvo::test {
namespace {

using platform::Picture;
using platform::PixelBuffer;
using platform::Ref;
using Base = platform::Image;

const Bitmap& bitmap(const Ref<Base>& image) {
    return static_cast<const Bitmap&>(*image);
}

class ScriptedImaging final : public platform::Imaging {
  public:
    explicit ScriptedImaging(Desktop& desktop) : desktop_(desktop) {}

    Ref<Base> crop(const Ref<Base>& image, const platform::Rect& area) override {
        auto pass = desktop_.gate.enter("crop");
        if (!pass || !image) return nullptr;
        const int left = static_cast<int>(std::max(0.0, area.x));
        const int top = static_cast<int>(std::max(0.0, area.y));
        const int right = static_cast<int>(std::min<double>(image->width(), area.x + area.width));
        const int bottom = static_cast<int>(std::min<double>(image->height(), area.y + area.height));
        if (right <= left || bottom <= top) return nullptr;
        return platform::makeCounted<Bitmap>(bitmap(image), platform::PixelRect{left, top, right - left, bottom - top});
    }
    Ref<Base> draw(const Ref<Base>& image, uint32_t width, uint32_t height, const platform::Rect& placement) override {
        auto pass = desktop_.gate.enter("draw");
        if (!pass || !image || width == 0 || height == 0 || width * size_t{4} > image->bytesPerRow()) return nullptr;
        return scaledInto(bitmap(image), static_cast<int>(width), static_cast<int>(height), placement);
    }
    Ref<PixelBuffer> wrap(const Ref<Base>& image) override {
        auto pass = desktop_.gate.enter("wrap");
        return pass && image ? Ref<PixelBuffer>(platform::makeCounted<FrameBuffer>(image)) : nullptr;
    }
    Picture picture(const Ref<Base>& image) override { return image ? pictureOf(image) : Picture{}; }
    std::optional<Picture> scaled(const Picture& picture, const platform::Size& size) override {
        auto pass = desktop_.gate.enter("scaled");
        const int width = platform::truncated<int>(size.width);
        const int height = platform::truncated<int>(size.height);
        if (!pass || !picture.image || width <= 0 || height <= 0) return std::nullopt;
        const Ref<Base> result = scaledInto(bitmap(picture.image), width, height, {0, 0, size.width, size.height});
        return Picture{size, result, {{size, result}}};
    }
    Ref<Base> flatten(const Picture& picture) override {
        auto pass = desktop_.gate.enter("flatten");
        return pass ? picture.image : nullptr;
    }
    Picture picture(PixelBuffer& buffer) override {
        auto copy = platform::makeCounted<Bitmap>(buffer.width(), buffer.height());
        const auto* bytes = static_cast<const uint8_t*>(buffer.baseAddress());
        for (int row = 0; row < buffer.height(); ++row) {
            const auto y = static_cast<size_t>(row);
            std::memcpy(copy->paint({}) + y * copy->bytesPerRow(), bytes + y * buffer.bytesPerRow(),
                        static_cast<size_t>(buffer.width()) * 4);
        }
        return pictureOf(copy);
    }
    Ref<PixelBuffer> scaledRGB(PixelBuffer&, const platform::Rect&, uint32_t, uint32_t) override { return nullptr; }

  private:
    static Ref<Base> scaledInto(const Bitmap& source, int width, int height, const platform::Rect& placement) {
        auto result = platform::makeCounted<Bitmap>(width, height);
        const double top = height - placement.y - placement.height;  // the placement's origin is at the bottom
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const double u = (x + 0.5 - placement.x) * source.width() / placement.width;
                const double v = (y + 0.5 - top) * source.height() / placement.height;
                if (u < 0 || v < 0 || u >= source.width() || v >= source.height()) continue;
                result->set(x, y, source.at(static_cast<int>(u), static_cast<int>(v)));
            }
        }
        return result;
    }

    Desktop& desktop_;
};

}  // namespace

std::unique_ptr<platform::Imaging> makeScriptedImaging(Desktop& desktop) {
    return std::make_unique<ScriptedImaging>(desktop);
}

}  // namespace orvo::test
