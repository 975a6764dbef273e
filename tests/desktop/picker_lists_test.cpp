// The exported lists: what they hold, who owns it, what they answer before the library is initialised.
#include <algorithm>
#include <iterator>
#include <memory>

#include "ScreenCapture/thumbnail/bitmap_item.h"
#include "orvo/screencapture_additions.h"
#include "support/desktop/host.h"
#include "support/found_windows.h"

namespace orvo::test {
namespace {

using testing::findWindows;
using testing::WindowsPtr;

class PickerListsTest : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        desk.addApplication({.pid = 50, .name = "Editor", .icon = pictureOf(pattern(3, 8, 8))});
        desk.addWindow({.number = 7, .pid = 50, .title = std::string(299, 'a'), .bounds = {10, 20, 80, 40}});
        desk.addWindow({.number = 8, .pid = 60, .title = "程序", .bounds = {1, 2, 30, 40}});
        orvo_screencapture_init();
    }
    void TearDown() override {
        orvo_windowthumbnail_find_windows_async(false);
        DesktopTest::TearDown();
    }
};

TEST_F(PickerListsTest, ListsDisplaysBeforeWindows) {
    const auto list = findWindows();
    ASSERT_EQ(list.get_deleter().count, 3);
    struct Case {
        uint32_t number;
        std::string title;
        bool isScreen;
        bool hasIcon;
    };
    const Case cases[] = {
        {1, "desk 1", true, false}, {8, "程序", false, false}, {7, std::string(255, 'a'), false, true}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(list[i].windowID, cases[i].number);
        EXPECT_EQ(list[i].itemID, cases[i].number);
        EXPECT_EQ(list[i].title, cases[i].title);
        EXPECT_EQ(list[i].isScreen, cases[i].isScreen);
        EXPECT_EQ(list[i].iconThumbnail != nullptr, cases[i].hasIcon);
        ASSERT_NE(list[i].imageThumbnail, nullptr);
        EXPECT_EQ(list[i].imageThumbnail->width, 400u);
    }
}

TEST_F(PickerListsTest, LeavesPicturesOutWhenAsked) {
    orvo_windowthumbnail_find_windows_async(true);
    const auto list = findWindows();
    ASSERT_EQ(list.get_deleter().count, 3);
    EXPECT_EQ(list[2].imageThumbnail, nullptr);
    EXPECT_NE(list[2].iconThumbnail, nullptr) << "icons are there all the same";
    EXPECT_EQ(desk.gate.calls("windowPicture"), 0u);
}

TEST_F(PickerListsTest, ListsWindowsPlainly) {
    for (const int isIncludeIconic : {0, 1}) {
        unsigned int count = 0;
        auto* const list = orvo_screencapture_enum_window_list(isIncludeIconic, &count);
        ASSERT_EQ(count, 2u) << "windows only, either way";
        EXPECT_EQ(list[0].windowID, 8u);
        EXPECT_STREQ(list[0].title, "程序");
        EXPECT_EQ(std::string(list[1].title), std::string(255, 'a'));
        EXPECT_EQ(std::count(std::begin(list[1].appName), std::end(list[1].appName), '\0'), 256);
        orvo_screencapture_free_window_list(list);
    }
    EXPECT_EQ(desk.gate.calls("windowPicture"), 0u);
}

TEST_F(PickerListsTest, ListsWindowsWithIconsThroughTheOverload) {
    int count = 0;
    OrvoThumbnailWindowInfo* list = orvo_screencapture_enum_window_list(1, &count);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(list[0].windowID, 8u);
    EXPECT_EQ(list[1].imageThumbnail, nullptr);
    ASSERT_NE(list[1].iconThumbnail, nullptr);
    // The overload that frees leaves the icon of every item but the first to the host.
    thumbnail::freeBitmapItem(list[1].iconThumbnail);
    orvo_screencapture_free_window_list(list);

    desk.windows.clear();
    list = orvo_screencapture_enum_window_list(0, &count);
    EXPECT_EQ(count, 0);
    EXPECT_NE(list, nullptr);
    orvo_screencapture_free_window_list(list);
}

TEST_F(PickerListsTest, FreesTheArrayAloneForACountOfZero) {
    auto list = findWindows();
    const OrvoThumbnailWindowInfo window = list[2];
    const OrvoThumbnailWindowInfo screen = list[0];
    auto* const other = list[1].imageThumbnail;
    orvo_windowthumbnail_free_windows(list.release(), 0);
    EXPECT_EQ(window.iconThumbnail->length, 40000u) << "still there";
    for (auto* item : {window.iconThumbnail, window.imageThumbnail, screen.imageThumbnail, other}) {
        thumbnail::freeBitmapItem(item);
    }
    orvo_windowthumbnail_free_windows(nullptr, 3);
}

TEST_F(PickerListsTest, AnswersAboutOneWindow) {
    EXPECT_EQ(orvo_windowthumbnail_register(99), 0);
    EXPECT_EQ(orvo_windowthumbnail_unregister(99), 1);
    EXPECT_EQ(orvo_windowthumbnail_window_checkStatus(99), 0);
    OrvoScreenCaptureRect rect{9, 9, 9, 9};
    EXPECT_TRUE(orvo_screencapture_get_window_rect(7, &rect));
    EXPECT_EQ((std::vector<int>{rect.left, rect.top, rect.right, rect.bottom}), (std::vector<int>{10, 20, 90, 60}));
    EXPECT_TRUE(orvo_screencapture_get_window_rect(99, &rect));
    EXPECT_EQ((std::vector<int>{rect.left, rect.top, rect.right, rect.bottom}), (std::vector<int>{0, 0, 0, 0}));
}

TEST_F(PickerListsTest, NamesTheOwner) {
    OrvoScreenCaptureWindowOwner owner{9, "x"};
    EXPECT_TRUE(orvo_screencapture_get_window_owner(7, &owner));
    EXPECT_EQ(owner.processID, 50);
    EXPECT_STREQ(owner.name, "Editor");
    EXPECT_FALSE(orvo_screencapture_get_window_owner(1, &owner)) << "a display";
    EXPECT_EQ(owner.processID, 0);
    EXPECT_STREQ(owner.name, "");
    EXPECT_FALSE(orvo_screencapture_get_window_owner(7, nullptr));
}

TEST_F(PickerListsTest, AnswersBeforeInitialisation) {
    orvo_screencapture_uninit();
    OrvoScreenCaptureRect rect{9, 9, 9, 9};
    EXPECT_TRUE(orvo_screencapture_get_window_rect(7, &rect));
    EXPECT_EQ(rect.right, 0);
    const auto list = findWindows();
    EXPECT_NE(list.get(), nullptr);
    EXPECT_EQ(list.get_deleter().count, 0);
    unsigned int count = 9;
    auto* const plain = orvo_screencapture_enum_window_list(1, &count);
    EXPECT_NE(plain, nullptr);
    EXPECT_EQ(count, 0u);
    orvo_screencapture_free_window_list(plain);
    auto* const screens = orvo_screencapture_enum_screen_list(&count);
    EXPECT_EQ(count, 1u) << "displays are listed all the same";
    orvo_screencapture_free_screen_list(screens);
}

}  // namespace
}  // namespace orvo::test
