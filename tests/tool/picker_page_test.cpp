// The picker's page: what a card says, that no title can break it, that its pictures can be read.
#include "tools/orvocap/picker.h"

#include <gtest/gtest.h>
#include <png.h>

#include "support/tool/frames.h"

namespace orvocap {
namespace {

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

// The first picture of the page.
std::vector<uint8_t> firstPicture(const std::string& page) {
    const std::string begin = "src=\"data:image/png;base64,";
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned int group = 1;
    for (size_t at = page.find(begin) + begin.size(); page[at] != '"'; ++at) {
        group = group << 6 | (static_cast<unsigned>(digits.find(page[at])) & 63);
        if (group < 1 << 24) continue;
        for (const int shift : {16, 8, 0}) bytes += static_cast<char>(group >> shift & 255);
        group = 1;
    }
    return readPng(
        [&](png_image& image) { return png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()); });
}

TEST(PickerPage, ShowsACardForEachItemAndItsPicturesWhole) {
    ListedItem screen, window;
    screen.isScreen = true;
    window.title = "<script>alert('x')</script> \"quoted\" & more";
    window.owner = "程序</p><b>";
    window.left = -5;
    window.width = 300;
    window.height = 200;
    const std::string page = pickerPage({screen, window, window});
    const std::pair<const char*, size_t> expected[] = {
        {"<article", 3},
        {"<section>", 2},
        {"<script", 0},
        {"<b>", 0},
        {"1 screen, 2 windows", 1},
        {"No picture", 3},
        {">&lt;script&gt;alert('x')&lt;/script&gt; &quot;quoted&quot; &amp; more</h3>", 2},
        {"300 × 200 at -5, 0<", 2},
        {">程<", 2}};  // a whole character stands in for a missing icon
    for (const auto& [text, times] : expected) EXPECT_EQ(count(page, text), times) << text;
    EXPECT_EQ(count(pickerPage({screen}), "<section>"), 1u) << "no heading without cards";
    for (const int width : {1, 2, 3, 4, 5}) {  // every remainder of three bytes comes up
        window.icon = solidFrame(width, 3, {}, 0);
        for (int i = 0; i < 3 * width; ++i) setPixel(*window.icon, i % width, i / width, {static_cast<uint8_t>(i * 7)});
        EXPECT_EQ(firstPicture(pickerPage({window})), window.icon->pixels) << width;
    }
}

}  // namespace
}  // namespace orvocap
