// Pictures, icons and titles for the picker.
#include <sys/mman.h>

#include <algorithm>
#include <cstring>

#include "ScreenCapture/thumbnail/bitmap_memory.h"
#include "desktop/window_manager_fixture.h"

namespace orvo::test {
namespace {

class WindowPictureTest : public WindowManagerTest {
  protected:
    OrvoWindow record(uint32_t number, bool isScreen = false) {
        OrvoWindow record;
        record.windowID = number;
        record.isScreen = isScreen;
        record.windowName = "Letter";
        record.appName = "Editor";
        return record;
    }
};

TEST_F(WindowPictureTest, ScalesToTheWidth) {
    desk.addDisplay({.number = 2, .bounds = {1920, 0, 800, 600}});
    desk.addWindow({.number = 7, .pid = 50, .bounds = {0, 0, 1600, 1000}});
    desk.addWindow({.number = 8, .pid = 50, .bounds = {0, 0, 300, 200}});
    desk.addWindow({.number = 6, .pid = 50, .bounds = {0, 0, 2, 1000}});
    struct Case {
        OrvoWindow window;
        uint32_t height, width = 400;
    };
    // 400 x 200000 would be too much: the last one is made smaller in proportion.
    for (const Case& entry :
         {Case{record(7), 250}, Case{record(8), 266}, Case{record(2, true), 300}, Case{record(6), 91589, 183}}) {
        const auto item = manager->imageForAppname("", &entry.window);
        ASSERT_NE(item, nullptr);
        EXPECT_EQ(item->width, entry.width);
        EXPECT_EQ(item->height, entry.height);
        EXPECT_EQ(item->bitsPerPixel, 32u);
        EXPECT_EQ(item->length, entry.width * entry.height * 4);
        EXPECT_EQ(item->stride, entry.width * 4);
        EXPECT_EQ(item->data[2], entry.window.windowID) << "whose picture it is";
        EXPECT_EQ(item->data[item->length - 1], 0xFF);
    }
}

TEST_F(WindowPictureTest, SaysWhyThereIsNoPicture) {
    OrvoWindow window = record(99);
    OrvoWindow screen = record(98, true);
    EXPECT_EQ(manager->imageForAppname("", nullptr), nullptr);
    EXPECT_EQ(manager->imageForAppname("", &window), nullptr);
    EXPECT_EQ(manager->imageForAppname("", &screen), nullptr);
    const std::string name = "-[OrvoWindowManager imageForAppname:item:] ";
    EXPECT_EQ(desk.console, (Lines{name + "window image is nil windowtitle Letter",
                                   name + "screen image is nil windowtitle Letter"}));
    desk.addWindow({.number = 7, .pid = 50, .bounds = {0, 0, 30, 20}});
    for (const char* step : {"scaled", "flatten"}) {
        desk.gate.failEvery(step);
        window.windowID = 7;
        EXPECT_EQ(manager->imageForAppname("", &window), nullptr) << step;
    }
}

TEST_F(WindowPictureTest, CopiesTheStartOfPaddedRows) {
    // 5 pixels are 20 bytes in rows of 64; the copy does not skip the rest of a row.
    const auto image = pattern(9, 5, 3);
    const auto item = thumbnail::makeBitmapItem(*image);
    ASSERT_EQ(item->length, 60u);
    EXPECT_EQ(item->stride, image->bytesPerRow());
    EXPECT_EQ(std::memcmp(item->data, image->bytes(), 60), 0);
    image->hidesBytes = true;
    EXPECT_EQ(thumbnail::makeBitmapItem(*image), nullptr);
}

// How much of a piece of memory, freed or not, takes up room.
size_t residentBytes(const unsigned char* memory, size_t length) {
    constexpr size_t kPage = 4096;
    std::vector<unsigned char> pages(length / kPage);
    auto* const first = const_cast<unsigned char*>(memory) + (kPage - reinterpret_cast<uintptr_t>(memory) % kPage);
    if (mincore(first, (pages.size() - 1) * kPage, pages.data()) != 0) return 0;  // not mapped any more
    return static_cast<size_t>(std::count_if(pages.begin(), pages.end() - 1, [](auto page) { return page & 1; })) *
           kPage;
}

TEST_F(WindowPictureTest, MemoryThatComesBackServesTheNextPicturesUntilACaptureBegins) {
    constexpr size_t kMost = size_t{32} << 20;
    const auto image = pattern(9, 400, 300);
    // Once so much has been freed, such sizes are the heap's and no longer mapped one by one.
    thumbnail::giveMemory(thumbnail::takeMemory(kMost / 2), kMost / 2);
    thumbnail::freeKeptMemory();
    const unsigned char* const memory = thumbnail::makeBitmapItem(*image)->data;
    const auto second = thumbnail::makeBitmapItem(*image);
    EXPECT_EQ(second->data, memory);
    EXPECT_EQ(std::memcmp(second->data, image->bytes(), second->length), 0);
    EXPECT_NE(thumbnail::makeBitmapItem(*image)->data, memory) << "one is still the host's";
    std::vector<thumbnail::BitmapItemPtr> many;
    std::vector<const unsigned char*> memories;
    for (size_t bytes = 0; bytes < 3 * kMost; bytes += many.back()->length) {
        many.push_back(thumbnail::makeBitmapItem(*image));
        memories.push_back(many.back()->data);
    }
    const auto stays = std::make_unique<int>();  // so that the heap cannot shrink
    many.clear();
    size_t resident = 0;
    for (const unsigned char* each : memories) resident += residentBytes(each, second->length);
    EXPECT_LE(resident, kMost);
    const size_t kept = thumbnail::freeKeptMemory();
    EXPECT_LE(kept, kMost);
    EXPECT_GT(kept, kMost / 2);
    for (void (*const end)() : {orvo_screencapture_start_capture, orvo_screencapture_uninit}) {
        thumbnail::makeBitmapItem(*image);
        end();
        EXPECT_EQ(thumbnail::freeKeptMemory(), 0u);
    }
}

TEST_F(WindowPictureTest, FindsIcons) {
    const auto icon = [](int width, int height) { return pictureOf(pattern(3, width, height)); };
    desk.addApplication({.pid = 50, .name = "Editor", .icon = icon(512, 256)});
    desk.addApplication({.pid = 51, .name = "Plain"});
    desk.addApplication({.pid = 52, .name = "Plain", .icon = icon(64, 64)});
    desk.addApplication({.pid = 53, .name = "Bare"});
    desk.installed = {{"Plain", "/plain"}, {"Stored", "/stored"}, {"Lost", "/lost"}, {"", "/nameless"}};
    desk.files = {{"/plain", icon(32, 64)}, {"/stored", icon(64, 64)}, {"/nameless", icon(1, 1)}};
    const std::string absent = "Could not find an app with the name “";
    struct Case {
        const char* name;
        uint32_t height;  // 0: no icon
        Lines console;
    };
    const Case cases[] = {
        {"Editor", 200, {}},  // twice as wide as high gives twice as high as wide
        {"Plain", 50, {}},    // the first of the name has none, so that the stored one is taken
        {"Stored", 100, {}},
        {"Bare", 0, {absent + "Bare”."}},
        {"editor", 0, {absent + "editor”."}},
        {"Lost", 0, {"Error: " + absent + "Lost”."}},
        {"", 0, {"Error: " + absent + "”."}},
    };
    for (const Case& entry : cases) {
        desk.console.clear();
        const auto item = manager->iconForAppname(entry.name);
        ASSERT_EQ(item != nullptr, entry.height != 0) << entry.name;
        EXPECT_EQ(desk.console, entry.console);
        if (!item) continue;
        EXPECT_EQ(item->width, 100u);
        EXPECT_EQ(item->height, entry.height) << entry.name;
    }
}

TEST_F(WindowPictureTest, DeliversPicturesAskedFor) {
    desk.addApplication({.pid = 50, .name = "Editor", .icon = pictureOf(pattern(3, 8, 8))});
    desk.addWindow({.number = 7, .pid = 50, .title = "Letter", .bounds = {0, 0, 40, 20}});
    host.listenTo(*settings);
    EXPECT_TRUE(manager->registTargetWindow(7));
    EXPECT_EQ(desk.stepper.pending(mainQueue), 0u) << "built on the picture queue";
    EXPECT_EQ(desk.stepper.pending(windowQueue), 1u);
    EXPECT_FALSE(manager->registTargetWindow(99));
    EXPECT_TRUE(manager->unRegistTargetWindowId(99));
    desk.stepper.settle();
    EXPECT_EQ(host.take(), Lines{"thumbnail 5 7 Letter picture icon"});
    EXPECT_EQ(manager->getItemWithTargetWindow(7)->isActive, false);

    manager->notifyWindowPicture(record(99), true);
    manager->notifyWindowPicture(record(7), false);
    desk.stepper.settle();
    EXPECT_EQ(host.take(), Lines{"thumbnail 5 99 Letter icon"}) << "sent without a picture too";
}

TEST_F(WindowPictureTest, CutsTitlesBetweenCharacters) {
    const auto text = [](size_t letters, const std::string& end) { return std::string(letters, 'a') + end; };
    struct Case {
        std::string title;
        size_t length;
    };
    const Case cases[] = {
        {"", 0},
        {text(255, ""), 255},
        {text(256, ""), 255},
        {text(253, "é"), 255},
        {text(254, "é"), 254},
        {text(252, "程"), 255},
        {text(253, "程"), 253},
        {text(254, "程序"), 254},
        {text(252, "😀"), 252},
        {text(251, "😀"), 255},
        {std::string(300, '\x80'), 255},  // no UTF-8 at all
    };
    for (const Case& entry : cases) {
        char field[256];
        std::memset(field, 'x', sizeof field);
        thumbnail::copyTitle(field, entry.title);
        EXPECT_EQ(std::string(field), entry.title.substr(0, entry.length)) << entry.title.size();
        EXPECT_EQ(field[255], 0);
    }
}

}  // namespace
}  // namespace orvo::test
