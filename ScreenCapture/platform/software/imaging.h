// Imaging on the CPU, for every adapter whose images hand out their bytes.
#pragma once

#include <optional>
#include <vector>

#include "ScreenCapture/platform/imaging.h"
#include "ScreenCapture/platform/software/bitmap.h"
#include "ScreenCapture/platform/software/region.h"
#include "ScreenCapture/platform/software/scale.h"

namespace orvo::platform::software {

// Answers null for images without bytes or of other than 32 bits a pixel. Pictures hold BGRA with colours multiplied by
// alpha, rows without padding. A scaled picture is drawn from the smallest representation that is large enough.
class SoftwareImaging final : public Imaging {
  public:
    Ref<Image> crop(const Ref<Image>& image, const Rect& area) override;
    Ref<Image> draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement) override;
    std::unique_ptr<ScaledOutput> scaledOutput() override;
    Ref<PixelBuffer> wrap(const Ref<Image>& image) override;
    Picture picture(const Ref<Image>& image) override;
    std::optional<Picture> scaled(const Picture& picture, const Size& size) override;
    Ref<Image> flatten(const Picture& picture) override;
    Picture picture(PixelBuffer& buffer) override;
    Ref<PixelBuffer> scaledRGB(PixelBuffer& buffer, const Rect& area, uint32_t width, uint32_t height) override;
};

// Draws only what has changed, into one of a few pictures that each know what of them is behind.
class SoftwareScaledOutput final : public ScaledOutput {
  public:
    Shot draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement,
              Changes& changes) override;

  private:
    // So many results may be held at a time.
    static constexpr size_t kMaxOutputs = 8;
    // What a result's shape is made from.
    struct Key {
        int sourceWidth = 0;
        int sourceHeight = 0;
        size_t bytesPerRow = 0;
        uint32_t width = 0;
        uint32_t height = 0;
        Rect placement;
        bool operator==(const Key&) const = default;
    };
    struct Output {
        Ref<MemoryBitmap> bitmap;
        Region behind;
    };

    Output* freeOutput();

    Key key_;
    std::optional<Scaling> scaling_;
    std::vector<Output> outputs_;  // the last one first
};

}  // namespace orvo::platform::software
