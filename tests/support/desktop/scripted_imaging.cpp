// The imaging of the adapters that work on the CPU, behind the gate.
#include "ScreenCapture/platform/software/imaging.h"
#include "support/desktop/desktop.h"
#include "support/desktop/services.h"

namespace orvo::test {
namespace {

using platform::Image;
using platform::Picture;
using platform::PixelBuffer;
using platform::Ref;
using platform::software::SoftwareImaging;

class ScriptedImaging final : public platform::Imaging {
  public:
    explicit ScriptedImaging(Desktop& desktop) : desktop_(desktop) {}

    Ref<Image> crop(const Ref<Image>& image, const platform::Rect& area) override {
        return desktop_.gate.pass("crop", [&] { return imaging_.crop(image, area); });
    }
    Ref<Image> draw(const Ref<Image>& image, uint32_t width, uint32_t height,
                    const platform::Rect& placement) override {
        auto pass = desktop_.gate.enter("draw");
        desktop_.placements.push_back(placement);
        return pass ? imaging_.draw(image, width, height, placement) : nullptr;
    }
    Ref<PixelBuffer> wrap(const Ref<Image>& image) override {
        return desktop_.gate.pass("wrap", [&] { return imaging_.wrap(image); });
    }
    Picture picture(const Ref<Image>& image) override {
        return desktop_.gate.pass("picture", [&] { return imaging_.picture(image); });
    }
    std::optional<Picture> scaled(const Picture& picture, const platform::Size& size) override {
        return desktop_.gate.pass("scaled", [&] { return imaging_.scaled(picture, size); });
    }
    Ref<Image> flatten(const Picture& picture) override {
        return desktop_.gate.pass("flatten", [&] { return imaging_.flatten(picture); });
    }
    Picture picture(PixelBuffer& buffer) override {
        return desktop_.gate.pass("pictureOfBuffer", [&] { return imaging_.picture(buffer); });
    }
    Ref<PixelBuffer> scaledRGB(PixelBuffer& buffer, const platform::Rect& area, uint32_t width,
                               uint32_t height) override {
        return desktop_.gate.pass("scaledRGB", [&] { return imaging_.scaledRGB(buffer, area, width, height); });
    }

  private:
    Desktop& desktop_;
    SoftwareImaging imaging_;
};

}  // namespace

std::unique_ptr<platform::Imaging> makeScriptedImaging(Desktop& desktop) {
    return std::make_unique<ScriptedImaging>(desktop);
}

}  // namespace orvo::test
