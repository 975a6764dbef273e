// The picker's page: what a card says, that no title can break it, that its pictures can be read.
#include "tools/orvocap/picker.h"

#include <gtest/gtest.h>
#include <png.h>

namespace orvocap {
namespace {

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

Frame frame(int width, int height) {
    Frame result;
    result.width = width;
    result.height = height;
    for (size_t i = 0; i < result.bytesPerRow() * static_cast<size_t>(height); ++i) {
        result.pixels.push_back(i % 4 == 3 ? 255 : static_cast<uint8_t>(i * 7));
    }
    return result;
}

TEST(PickerPage, EscapesWhatProgramsCallThemselves) {
    ListedItem window;
    window.title = "<script>alert('x')</script> \"quoted\" & more";
    window.owner = "</p><b>";
    const std::string page = pickerPage({window});
    EXPECT_EQ(count(page, "<script"), 0u);
    EXPECT_EQ(count(page, "<b>"), 0u);
    EXPECT_NE(page.find("&lt;script&gt;alert('x')&lt;/script&gt; &quot;quoted&quot; &amp; more</h3>"),
              std::string::npos);
    EXPECT_NE(page.find("&lt;/p&gt;&lt;b&gt;</p>"), std::string::npos);
}

TEST(PickerPage, HasACardForEachItem) {
    ListedItem screen;
    screen.isScreen = true;
    screen.number = 63;
    screen.title = "desk 1";
    ListedItem window;
    window.number = 7;
    window.title = "Letter";
    window.owner = "程序";
    window.left = -5;
    window.width = 300;
    window.height = 200;
    window.picture = frame(40, 25);
    const std::string page = pickerPage({screen, window, window});
    EXPECT_EQ(count(page, "<article"), 3u);
    EXPECT_EQ(count(page, "Window 7<"), 2u);
    EXPECT_EQ(count(page, "300 × 200 at -5, 0<"), 2u);
    EXPECT_EQ(count(page, ">程<"), 2u) << "a whole character stands in for a missing icon";
    EXPECT_EQ(count(page, "No picture"), 1u);
    EXPECT_NE(page.find("1 screen, 2 windows"), std::string::npos);
    EXPECT_EQ(count(pickerPage({screen}), "<section>"), 1u) << "no heading without cards";
}

TEST(PickerPage, EmbedsPicturesWhole) {
    for (const int width : {1, 2, 3, 4, 5}) {  // every remainder of three bytes comes up
        ListedItem window;
        window.icon = frame(width, 3);
        const std::string page = pickerPage({window});
        const std::string begin = "src=\"data:image/png;base64,";
        const size_t from = page.find(begin) + begin.size();
        const std::string text = page.substr(from, page.find('"', from) - from);
        std::string bytes;
        ASSERT_EQ(text.size() % 4, 0u);
        const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (size_t i = 0; i < text.size(); i += 4) {
            unsigned int group = 0;
            for (size_t k = 0; k < 4; ++k) group = group << 6 | (static_cast<unsigned>(digits.find(text[i + k])) & 63);
            for (const int shift : {16, 8, 0}) bytes += static_cast<char>(group >> shift & 255);
        }
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        ASSERT_TRUE(png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()));
        image.format = PNG_FORMAT_BGRA;
        std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
        ASSERT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
        EXPECT_EQ(pixels, window.icon->pixels) << width;
    }
}

}  // namespace
}  // namespace orvocap
