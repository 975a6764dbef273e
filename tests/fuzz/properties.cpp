// Window properties of any format, encoding, length and content, up to the icon that a picker shows.
#include <string>

#include "ScreenCapture/platform/x11/properties.h"
#include "tests/fuzz/fuzz.h"
#include "xplatform/common/orvostream.h"

using namespace orvo::platform::x11;

namespace {

void isText(const std::string& text) {
    orvo::strutf16 wide;
    REQUIRE(orvoutf82utf16(text.data(), static_cast<unsigned int>(text.size()), wide));
    REQUIRE(text.find('\0') == std::string::npos);
}

void iconsAreWhole(const Property& property) {
    size_t used = 0;
    for (const IconBitmap& icon : decodeIcons(property)) {
        REQUIRE(icon.width > 0 && icon.height > 0);
        REQUIRE(icon.pixels.size() == static_cast<size_t>(icon.width) * static_cast<size_t>(icon.height));
        used += 2 + icon.pixels.size();
    }
    REQUIRE(used * 4 <= property.size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    Input input(bytes, size);
    Property property;
    const bool known = input.ConsumeBool();
    const uint8_t formats[] = {0, 8, 16, 32};
    property.format = known ? input.PickValueInArray(formats) : input.ConsumeIntegral<uint8_t>();
    property.encoding =
        input.PickValueInArray({TextEncoding::none, TextEncoding::latin1, TextEncoding::utf8, TextEncoding::compound});
    const bool absent = input.ConsumeIntegral<uint8_t>() == 0xFF;
    // A block of the exact size, so that reading beyond it is noticed.
    std::vector<uint8_t> content = input.ConsumeRemainingBytes<uint8_t>();
    content.shrink_to_fit();
    property.bytes = absent ? nullptr : content.data();
    property.size = content.size();

    isText(decodeText(property));
    const auto [instance, className] = decodeClass(property);
    isText(instance);
    isText(className);
    REQUIRE(decodeNumbers(property).size() <= property.size / 4);
    const double opacity = decodeOpacity(property);
    REQUIRE(opacity >= 0 && opacity <= 1);
    iconsAreWhole(property);
    return 0;
}
