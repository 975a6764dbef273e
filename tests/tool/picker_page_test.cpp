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
    const std::string page = pickerPage({screen, window, window});
    const std::pair<const char*, size_t> expected[] = {
        {"<article", 3},
        {"<script", 0},
        {"<b>", 0},
        {">&lt;script&gt;alert('x')&lt;/script&gt; &quot;quoted&quot; &amp; more</h3>", 2},
        {">程<", 2}};  // a whole character stands in for a missing icon
    for (const auto& [text, times] : expected) EXPECT_EQ(count(page, text), times) << text;
}

}  // namespace
}  // namespace orvocap
