// The picker's page: what a card says; no title can break it.
#include "tools/orvocap/picker.h"

#include <gtest/gtest.h>

namespace orvocap {
namespace {

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
}

TEST(PickerPage, ShowsACardForEachItemWhateverItsTitle) {
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
}

}  // namespace
}  // namespace orvocap
