// The exported lists on a real server with a window manager: what a picker shows of windows, and does with them.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <memory>

#include "ScreenCapture/platform/linux/main_queue.h"
#include "orvo/screencapture_additions.h"
#include "support/found_windows.h"
#include "support/x11/x_server.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

// 0xAARRGGBB in the middle of a picture.
uint32_t middle(const OrvoThumbnailBitmapItem* item) {
    if (!item) return 0;
    uint32_t pixel = 0;
    std::memcpy(&pixel, item->data + (item->height / 2 * item->width + item->width / 2) * 4, 4);
    return pixel;
}

bool runUntil(const std::function<bool()>& condition) {
    return comesAbout([&] { return platform::linux::runMainQueue(2), condition(); });
}

class PickerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        server.start({"openbox"});
        ASSERT_TRUE(windows.awaitManager());
        covered =
            windows.make({.area = {100, 100, 200, 100}, .title = "Grüße", .className = "Orvo", .background = 0xCC2211});
        covering = windows.make({.area = {80, 80, 400, 300}, .title = "On top", .background = 0x1122CC});
        ASSERT_TRUE(windows.awaitMapped(covered) && windows.awaitMapped(covering));
        windows.painter().raise(covering);
        windows.awaitRepaint();
        orvo_screencapture_init();
    }
    void TearDown() override { orvo_screencapture_uninit(); }

    XServer server{"800x600x24"};
    Windows windows{server};
    xcb_window_t covered = 0;
    xcb_window_t covering = 0;
};

TEST_F(PickerTest, ListsWindowsWithTheirOwnPictures) {
    const auto list = findWindows();
    ASSERT_EQ(list.get_deleter().count, 3);
    EXPECT_EQ(list[0].isScreen, 1);
    EXPECT_STREQ(list[0].title, "desk 1");
    EXPECT_EQ(list[0].imageThumbnail->height, 300u);
    EXPECT_EQ(list[1].windowID, covering);
    EXPECT_EQ(middle(list[1].imageThumbnail), 0xFF1122CCu);
    EXPECT_EQ(list[2].windowID, covered);
    EXPECT_STREQ(list[2].title, "Grüße");
    EXPECT_EQ(middle(list[2].imageThumbnail), 0xFFCC2211u) << "whatever covers it";
    EXPECT_EQ(list[2].imageThumbnail->height, 200u);

    OrvoScreenCaptureRect rect{};
    EXPECT_TRUE(orvo_screencapture_get_window_rect(covered, &rect));
    const auto bounds = windows.rootBounds(covered);
    EXPECT_EQ((std::vector<double>{double(rect.left), double(rect.top), double(rect.right), double(rect.bottom)}),
              (std::vector<double>{bounds.x, bounds.y, bounds.x + bounds.width, bounds.y + bounds.height}));
    OrvoScreenCaptureWindowOwner owner = ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT;
    EXPECT_TRUE(orvo_screencapture_get_window_owner(covered, &owner));
    EXPECT_STREQ(owner.name, "Orvo");
    EXPECT_EQ(owner.processID, getpid());
}

TEST_F(PickerTest, BringsAWindowForwardAndTellsOfIconicOnes) {
    EXPECT_EQ(orvo_windowthumbnail_show_source_window(covered, ORVO_SHOW_WINDOW_FRONT), 1);
    EXPECT_TRUE(runUntil([this] { return findWindows()[1].windowID == covered; }));
    EXPECT_EQ(orvo_windowthumbnail_window_checkStatus(covered), 1);
    windows.iconify(covered);
    ASSERT_TRUE(windows.awaitUnmapped(covered));
    EXPECT_TRUE(runUntil([this] { return orvo_windowthumbnail_window_checkStatus(covered) == 0; }));
    EXPECT_EQ(findWindows().get_deleter().count, 2);
}

TEST_F(PickerTest, DeliversAPictureThatWasAskedFor) {
    OrvoThumbnailWindowInfo* received = nullptr;
    orvo_windowthumbnail_reg_window_status_change_notify(
        [](int status, OrvoThumbnailWindowInfo* info, void* userData) {
            if (status == ORVO_THUMBNAIL_PICTURE) *static_cast<OrvoThumbnailWindowInfo**>(userData) = info;
        },
        &received);
    EXPECT_EQ(orvo_windowthumbnail_register(covered), 1);
    EXPECT_EQ(orvo_windowthumbnail_register(covered + 1000), 0);
    ASSERT_TRUE(runUntil([&] { return received != nullptr; }));
    EXPECT_EQ(received->windowID, covered);
    EXPECT_EQ(middle(received->imageThumbnail), 0xFFCC2211u);
    orvo_windowthumbnail_free_windows(received, 1);
}

}  // namespace
}  // namespace orvo::testing
