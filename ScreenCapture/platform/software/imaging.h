// Imaging on the CPU, for every adapter whose images hand out their bytes.
#pragma once

#include "ScreenCapture/platform/imaging.h"

namespace orvo::platform::software {

// Answers null for images without bytes or of other than 32 bits a pixel. Pictures hold BGRA with colours multiplied by
// alpha, rows without padding. A scaled picture is drawn from the smallest representation that is large enough.
class SoftwareImaging final : public Imaging {
  public:
    Ref<Image> crop(const Ref<Image>& image, const Rect& area) override;
    Ref<Image> draw(const Ref<Image>& image, uint32_t width, uint32_t height, const Rect& placement) override;
    Ref<PixelBuffer> wrap(const Ref<Image>& image) override;
    Picture picture(const Ref<Image>& image) override;
    std::optional<Picture> scaled(const Picture& picture, const Size& size) override;
    Ref<Image> flatten(const Picture& picture) override;
    Picture picture(PixelBuffer& buffer) override;
    Ref<PixelBuffer> scaledRGB(PixelBuffer& buffer, const Rect& area, uint32_t width, uint32_t height) override;
};

}  // namespace orvo::platform::software
