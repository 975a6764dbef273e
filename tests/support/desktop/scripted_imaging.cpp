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
        auto pass = desktop_.gate.enter("crop");
        return pass ? imaging_.crop(image, area) : nullptr;
    }
    Ref<Image> draw(const Ref<Image>& image, uint32_t width, uint32_t height,
                    const platform::Rect& placement) override {
        auto pass = desktop_.gate.enter("draw");
        desktop_.placements.push_back(placement);
        return pass ? imaging_.draw(image, width, height, placement) : nullptr;
    }
    Ref<PixelBuffer> wrap(const Ref<Image>& image) override {
        auto pass = desktop_.gate.enter("wrap");
        return pass ? imaging_.wrap(image) : nullptr;
    }
    Picture picture(const Ref<Image>& image) override {
        auto pass = desktop_.gate.enter("picture");
        return pass ? imaging_.picture(image) : Picture{};
    }
    std::optional<Picture> scaled(const Picture& picture, const platform::Size& size) override {
        auto pass = desktop_.gate.enter("scaled");
        return pass ? imaging_.scaled(picture, size) : std::nullopt;
    }
    Ref<Image> flatten(const Picture& picture) override {
        auto pass = desktop_.gate.enter("flatten");
        return pass ? imaging_.flatten(picture) : nullptr;
    }
    Picture picture(PixelBuffer& buffer) override {
        auto pass = desktop_.gate.enter("pictureOfBuffer");
        return pass ? imaging_.picture(buffer) : Picture{};
    }
    Ref<PixelBuffer> scaledRGB(PixelBuffer& buffer, const platform::Rect& area, uint32_t width,
                               uint32_t height) override {
        auto pass = desktop_.gate.enter("scaledRGB");
        return pass ? imaging_.scaledRGB(buffer, area, width, height) : nullptr;
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
