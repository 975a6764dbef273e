// What a user can choose from: which displays and windows are listed, with which titles, pictures and icons, who owns
// the lists, and what is answered about one window.
#include <cstring>
#include <random>

#include "ScreenCapture/thumbnail/window_info.h"
#include "common/utils/orvo_pixel_memory.h"
#include "desktop/window_manager_fixture.h"

namespace orvo::test {
namespace {

using platform::Rect;

// The picker's list, freed by the library with the count that came with it.
struct FreeWindows {
    int count = 0;
    void operator()(OrvoThumbnailWindowInfo* list) const { orvo_windowthumbnail_free_windows(list, count); }
};
std::unique_ptr<OrvoThumbnailWindowInfo[], FreeWindows> findWindows() {
    int count = -1;
    auto* const list = orvo_windowthumbnail_find_windows(&count);
    return {list, {count}};
}

// A display and two windows, listed by a manager of its own or by the exports.
class Picker : public WindowManagerTest {
  protected:
    void SetUp() override {
        WindowManagerTest::SetUp();
        perform("open 8 60 1 2 30 40 程序");
        desk.addApplication({.pid = 50, .name = "Editor", .icon = pictureOf(pattern(3, 8, 8))});
        desk.addWindow({.number = 7, .pid = 50, .title = std::string(299, 'a'), .bounds = {10, 20, 80, 40}});
    }
    void TearDown() override {
        orvo_windowthumbnail_find_windows_async(false);
        WindowManagerTest::TearDown();
    }
    static std::vector<uint32_t> numbers(const std::vector<OrvoWindowRef>& records) {
        std::vector<uint32_t> list;
        for (const auto& record : records) list.push_back(record->windowID);
        return list;
    }
};

TEST_F(Picker, ListsWhatAUserCanChoose) {
    const struct {
        const char* what;
        ScriptedWindow window;
        bool isListed;
    } cases[] = {
        {"opaque", {.alpha = 1.0}, true},
        {"almost opaque", {.alpha = 0.999}, false},
        {"below the docks", {.layer = 19}, true},
        {"a dock", {.layer = 20}, false},
        {"below normal windows", {.layer = -1}, true},
        {"no width", {.bounds = {0, 0, 0, 10}}, false},
        {"no height", {.bounds = {0, 0, 10, 0}}, false},
        {"the login window", {.ownerName = "loginwindow"}, false},
        {"the login window's namesake", {.ownerName = "LoginWindow"}, true},
        {"the Dock in Chinese", {.ownerName = "程序坞"}, false},
        {"the Dock in English", {.ownerName = "Dock"}, true},
        {"nobody's", {.pid = 77}, false},
    };
    desk.addApplication({.pid = 77, .name = ""});
    for (const auto& c : cases) {
        ScriptedWindow window = c.window;
        window.number = 7;
        if (window.pid == 0) window.pid = 50;
        if (window.bounds == Rect{}) window.bounds = {10, 20, 300, 200};
        desk.windows.clear();
        desk.addWindow(window);
        EXPECT_EQ(manager->allWindow().size(), c.isListed ? 2u : 1u) << c.what;
        EXPECT_EQ(manager->allWindowWithIncludeIconic(false).size(), c.isListed ? 1u : 0u) << c.what;
    }
}

TEST_F(Picker, FillsRecordsAndPrintsThem) {
    perform("scale 1 2, plug 2 1920 -300 1280 800, open 9 50 5 6 70 80, close 7");
    const auto records = manager->allWindow();
    EXPECT_EQ(desk.gate.take(kConsole),
              (Lines{"[***] screenID: 1", "[***] screenID: 2", "name Editor  windowID 9", "name 程序  windowID 8"}));
    const struct {
        uint32_t number;
        const char *name, *owner;
        int32_t pid;
        Rect bounds, desk;  // of a display: the first from the bottom, the second from its height in pixels, 2160
        double scale;
        bool isMain;
    } expected[] = {{1, "desk 1", "", 0, {0, 0, 1920, 1080}, {0, 0, 1920, 1080}, 2, true},
                    {2, "desk 2", "", 0, {1920, 580, 1280, 800}, {1920, 780, 1280, 800}, 1, false},
                    {9, "Editor", "Editor", 50, {5, 6, 70, 80}, {5, 6, 70, 80}, 0, false},  // without a title
                    {8, "程序", "App60", 60, {1, 2, 30, 40}, {1, 2, 30, 40}, 0, false}};
    ASSERT_EQ(records.size(), std::size(expected));
    for (size_t i = 0; i < records.size(); ++i) {
        const OrvoWindow& record = *records[i];
        const auto& e = expected[i];
        EXPECT_EQ(record.windowID, e.number);
        EXPECT_EQ(record.windowName, e.name);
        EXPECT_EQ(record.appName, e.owner);
        EXPECT_EQ(record.ownerPID, e.pid);
        EXPECT_EQ(record.isScreen, i < 2);
        EXPECT_EQ(record.isScreen && record.isMainScreen(), e.isMain);
        EXPECT_EQ(record.windowBounds, e.bounds) << e.number;
        EXPECT_EQ(record.deskBounds(), e.desk) << e.number;
        EXPECT_EQ(record.isScreen ? record.backingScaleFactor : 0, e.scale);
    }
}

TEST_F(Picker, FindsRecordsByNumber) {
    perform("open 1 50 0 0 10 10 Namesake of the display");
    EXPECT_TRUE(manager->getOrvoWindowWithWindowId(1)->isScreen);  // displays come first
    EXPECT_EQ(manager->getOrvoWindowWithWindowId(99), nullptr);
    perform("target 7");
    const auto registered = manager->getItemWithTargetWindow(7);
    EXPECT_EQ(manager->getItemWithTargetWindow(7), registered);  // the same one while it is registered
    perform("target 7");
    EXPECT_NE(manager->getItemWithTargetWindow(7), registered);
    perform("minimize 7");
    EXPECT_EQ(manager->getOrvoWindowWithWindowId(7), nullptr);
    EXPECT_NE(manager->getItemWithTargetWindow(7), nullptr);
    perform("forget 7");
    EXPECT_EQ(manager->getItemWithTargetWindow(7), nullptr);
}

TEST_F(Picker, ListsTheWindowsOfAProcess) {
    for (int number = 100; number < 250; ++number) perform("open " + std::to_string(number) + " 70 0 0 10 10");
    EXPECT_EQ(manager->getAllWindowWithWindowID(8), std::vector<uint32_t>{8});
    const auto all = manager->getAllWindowWithWindowID(200);
    ASSERT_EQ(all.size(), 100u);  // never more than that
    EXPECT_EQ(all.front(), 249u);
    EXPECT_TRUE(manager->getAllWindowWithWindowID(99).empty());
    // A process whose number is one of its windows' is the one case in which the minimised test finds anything.
    desk.windows.clear();
    for (const uint32_t number : {70, 71})
        desk.addWindow({.number = number, .pid = 70, .bounds = {0, 0, 9, 9}}).answers["AXMinimized"] = {0, true, 0};
    EXPECT_EQ(numbers(manager->allWindowWithIncludeIconic(false)), std::vector<uint32_t>{71});
    EXPECT_EQ(numbers(manager->allWindowWithIncludeIconic(true)), (std::vector<uint32_t>{71, 70}));
}

TEST_F(Picker, ExportsListDisplaysBeforeWindowsWithPicturesUnlessLeftOut) {
    orvo_screencapture_init();
    const struct {
        uint32_t number;
        std::string title;
        bool hasIcon;
    } expected[] = {{1, "desk 1", false}, {7, std::string(255, 'a'), true}, {8, "程序", false}};
    for (const bool leftOut : {false, true}) {
        orvo_windowthumbnail_find_windows_async(leftOut);
        const auto list = findWindows();
        ASSERT_EQ(list.get_deleter().count, 3);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(list[i].windowID, expected[i].number);
            EXPECT_EQ(list[i].itemID, expected[i].number);
            EXPECT_EQ(list[i].title, expected[i].title);
            EXPECT_EQ(list[i].isScreen, i == 0);
            EXPECT_EQ(list[i].iconThumbnail != nullptr, expected[i].hasIcon);
            EXPECT_EQ(list[i].imageThumbnail ? list[i].imageThumbnail->width : 0, leftOut ? 0u : 400u);
        }
        const Lines asked{"pictures to come: 7 8", "picture of display 1", "picture of window 7",
                          "picture of window 8"};
        EXPECT_EQ(desk.gate.take(kPictures), leftOut ? Lines() : asked);
    }
}

// Who frees a list may free less than all of it; the rest is the host's.
TEST_F(Picker, ListsAreFreedAsFarAsTheCallSays) {
    orvo_screencapture_init();
    int count = 0;
    OrvoThumbnailWindowInfo* list = orvo_screencapture_enum_window_list(1, &count);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(list[0].imageThumbnail, nullptr);
    EXPECT_EQ(list[0].title, std::string(255, 'a'));
    EXPECT_STREQ(list[1].title, "程序");
    EXPECT_EQ(list[1].windowID, 8u);
    std::swap(list[0].iconThumbnail, list[1].iconThumbnail);
    thumbnail::freeBitmapItem(list[1].iconThumbnail);  // the overload that frees takes the first item's only
    orvo_screencapture_free_window_list(list);

    auto found = findWindows();
    std::vector<OrvoThumbnailBitmapItem*> kept;
    for (int i = 0; i < 3; ++i) kept.insert(kept.end(), {found[i].iconThumbnail, found[i].imageThumbnail});
    orvo_windowthumbnail_free_windows(found.release(), 0);  // the array alone
    EXPECT_EQ(kept[2]->length, 40000u);
    for (auto* item : kept) thumbnail::freeBitmapItem(item);
    orvo_windowthumbnail_free_windows(nullptr, 3);

    desk.windows.clear();
    list = orvo_screencapture_enum_window_list(0, &count);
    EXPECT_EQ(count, 0);
    ASSERT_NE(list, nullptr);
    orvo_screencapture_free_window_list(list);
}

TEST_F(Picker, AnswersAboutOneWindowAndTheDisplays) {
    OrvoScreenCaptureRect rect{9, 9, 9, 9};
    EXPECT_TRUE(orvo_screencapture_get_window_rect(7, &rect));
    EXPECT_EQ(rect.right, 0) << "before init";
    perform("plug 2 1920 100 800 600, move 7 10.6 20.6 300.6 200.6");
    desk.mainDisplay = 2;
    unsigned int count = 0;
    auto* const screens = orvo_screencapture_enum_screen_list(&count);
    ASSERT_EQ(count, 2u) << "displays are listed all the same";
    EXPECT_TRUE(screens[0].screenID == 1 && !screens[0].isPrimary && screens[1].isPrimary);
    orvo_screencapture_free_screen_list(screens);
    orvo_screencapture_init();
    EXPECT_TRUE(orvo_screencapture_get_window_rect(7, &rect));
    EXPECT_EQ(rect.right, 311);
    EXPECT_TRUE(orvo_screencapture_get_window_rect(1, &rect));
    EXPECT_EQ(rect.right, 1920);
    OrvoScreenCaptureWindowOwner owner{sizeof(owner), 9, "x"};
    EXPECT_TRUE(orvo_screencapture_get_window_owner(7, &owner));
    EXPECT_EQ(owner.processID, 50);
    EXPECT_STREQ(owner.name, "Editor");
    EXPECT_FALSE(orvo_screencapture_get_window_owner(1, &owner));  // a display
    EXPECT_EQ(owner.processID + owner.name[0], 0);
    EXPECT_FALSE(orvo_screencapture_get_window_owner(7, nullptr));
}

TEST_F(Picker, PicturesAreScaledToTheWidth) {
    perform("plug 2 1920 0 800 600, open 5 50 0 0 1600 1000, open 4 50 0 0 300 200, open 3 50 0 0 2 1000");
    perform("open 6 50 0 0 5 1000, open 9 50 0 0 2000 1");
    const struct {
        uint32_t number, width, height;  // 0: no picture
    } cases[] = {{5, 400, 250},
                 {4, 400, 266},
                 {2, 400, 300},
                 {9, 0, 0},
                 {99, 0, 0},
                 // An area beyond 16 million pixels is made smaller in proportion.
                 {3, 183, 91589},
                 {6, 289, 57926}};
    for (const auto& c : cases) {
        OrvoWindow window;
        window.windowID = c.number;
        window.isScreen = c.number == 2;
        const auto item = manager->imageForAppname("", &window);
        ASSERT_EQ(item != nullptr, c.width != 0) << c.number;
        if (!item) continue;
        EXPECT_EQ(item->width, c.width);
        EXPECT_EQ(item->height, c.height) << c.number;
        EXPECT_EQ(item->bitsPerPixel, 32u);
        EXPECT_EQ(item->length, c.width * c.height * 4);
        EXPECT_EQ(item->stride, c.width * 4);
        EXPECT_EQ(item->data[2], c.number);  // whose picture it is
        EXPECT_EQ(item->data[item->length - 1], 0xFF);
    }
    EXPECT_EQ(manager->imageForAppname("", nullptr), nullptr);
    const Lines console = desk.gate.take(kConsole);
    EXPECT_EQ(console, Lines{"-[OrvoWindowManager imageForAppname:item:] window image is nil windowtitle "});
}

TEST_F(Picker, MemoryThatComesBackServesTheNextPicturesUntilACaptureBegins) {
    constexpr size_t kMost = size_t{32} << 20;
    const auto image = pattern(9, 401, 300);  // of padded rows: what is copied is the start of them all
    // Once so much has been freed, such sizes are the heap's and no longer mapped one by one.
    ORVO::BASE::givePixelMemory(ORVO::BASE::takePixelMemory(kMost / 2), kMost / 2);
    ORVO::BASE::freeKeptPixelMemory();
    const unsigned char* const memory = thumbnail::makeBitmapItem(*image)->data;
    const auto second = thumbnail::makeBitmapItem(*image);
    EXPECT_EQ(thumbnail::makeBitmapItem(Bitmap(4, 4, 32, 8, true)), nullptr);
    EXPECT_EQ(second->data, memory);
    EXPECT_EQ(std::memcmp(second->data, image->bytes(), second->length), 0);
    EXPECT_NE(thumbnail::makeBitmapItem(*image)->data, memory) << "one is still the host's";
    std::vector<thumbnail::BitmapItemPtr> many;
    for (size_t bytes = 0; bytes < 3 * kMost; bytes += many.back()->length)
        many.push_back(thumbnail::makeBitmapItem(*image));
    many.clear();
    const size_t kept = ORVO::BASE::freeKeptPixelMemory();
    EXPECT_LE(kept, kMost);
    EXPECT_GT(kept, kMost / 2);
    for (void (*const end)() : {orvo_screencapture_start_capture, orvo_screencapture_uninit}) {
        thumbnail::makeBitmapItem(*image);
        end();
        EXPECT_EQ(ORVO::BASE::freeKeptPixelMemory(), 0u);
    }
}

TEST_F(Picker, FindsIcons) {
    const auto icon = [](int width, int height) { return pictureOf(pattern(3, width, height)); };
    desk.applications = {{.pid = 50, .name = "Editor", .icon = icon(512, 256)},
                         {.pid = 51, .name = "Plain"},
                         {.pid = 52, .name = "Plain", .icon = icon(64, 64)},
                         {.pid = 53, .name = "Bare"}};
    desk.installed = {{"Plain", "/plain"}, {"Stored", "/stored"}, {"Lost", "/lost"}, {"", "/nameless"}};
    desk.files = {{"/plain", icon(32, 64)}, {"/stored", icon(64, 64)}, {"/nameless", icon(1, 1)}};
    const std::string absent = "Could not find an app with the name “";
    const struct {
        const char* name;
        uint32_t height;  // 0: no icon
        Lines console;
    } cases[] = {
        {"Editor", 200, {}},  // twice as wide as high gives twice as high as wide
        {"Plain", 50, {}},    // the first of the name has none, so that the stored one is taken
        {"Stored", 100, {}},
        {"Bare", 0, {absent + "Bare”."}},
        {"editor", 0, {absent + "editor”."}},
        {"Lost", 0, {"Error: " + absent + "Lost”."}},
        {"", 0, {"Error: " + absent + "”."}},
    };
    for (const auto& c : cases) {
        const auto item = manager->iconForAppname(c.name);
        EXPECT_EQ(item ? item->height : 0, c.height) << c.name;
        EXPECT_TRUE(!item || item->width == 100u);
        EXPECT_EQ(desk.gate.take(kConsole), c.console);
    }
}

TEST_F(Picker, DeliversPicturesAskedFor) {
    EXPECT_TRUE(manager->registTargetWindow(7));
    EXPECT_EQ(desk.stepper.pending(mainQueue), 0u);  // built on the picture queue
    EXPECT_EQ(desk.stepper.pending(windowQueue), 1u);
    EXPECT_FALSE(manager->registTargetWindow(99));
    EXPECT_TRUE(manager->unRegistTargetWindowId(99));
    follow("settle -> thumbnail 5 7 " + std::string(255, 'a') + " picture icon");
    EXPECT_EQ(manager->getItemWithTargetWindow(7)->isActive, false);
    OrvoWindow missing;
    missing.windowID = 99;
    missing.appName = "Editor";
    manager->notifyWindowPicture(missing, true);
    manager->notifyWindowPicture(missing, false);
    follow("settle -> thumbnail 5 99  icon");  // sent without a picture too, once
}

TEST_F(Picker, CutsTitlesBetweenCharacters) {
    std::mt19937 random(5);
    const std::string characters[] = {"a", "é", "程", "😀"};
    for (int round = 0; round < 500; ++round) {
        std::string title(random() % 280, 'a'), whole = title.substr(0, 255);
        for (int more = 0; more < 12; ++more) {
            const auto& next = characters[random() % 4];
            if (whole.size() == title.size() && title.size() + next.size() <= 255) whole += next;
            title += next;
        }
        char field[256];
        std::memset(field, 'x', sizeof field);
        thumbnail::copyTitle(field, title);
        EXPECT_EQ(std::string(field), whole);
        EXPECT_EQ(field[255], 0);
        thumbnail::copyTitle(field, std::string(300, '\x80'));  // no UTF-8 at all
        EXPECT_EQ(std::string(field).size(), 255u);
    }
}

}  // namespace
}  // namespace orvo::test
