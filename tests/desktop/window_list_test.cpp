// Which displays and windows are listed, and what their records say.
#include "desktop/window_manager_fixture.h"

namespace orvo::test {
namespace {

class WindowListTest : public WindowManagerTest {};

std::vector<uint32_t> numbers(const std::vector<OrvoWindowRef>& records) {
    std::vector<uint32_t> list;
    for (const auto& record : records) list.push_back(record->windowID);
    return list;
}

TEST_F(WindowListTest, ListsWhatAUserCanChoose) {
    struct Case {
        const char* what;
        ScriptedWindow window;
        bool isListed;
    };
    const platform::Rect box{10, 20, 300, 200};
    const Case cases[] = {
        {"opaque", {.alpha = 1.0}, true},
        {"half transparent", {.alpha = 0.5}, false},
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
    desk.addApplication({.pid = 50, .name = "Editor"});
    desk.addApplication({.pid = 77, .name = ""});
    for (Case entry : cases) {
        SCOPED_TRACE(entry.what);
        entry.window.number = 7;
        if (entry.window.pid == 0) entry.window.pid = 50;
        if (entry.window.bounds == platform::Rect{}) entry.window.bounds = box;
        desk.windows.clear();
        desk.addWindow(entry.window);
        EXPECT_EQ(manager->allWindow().size(), entry.isListed ? 2u : 1u);
        EXPECT_EQ(manager->allWindowWithIncludeIconic(false).size(), entry.isListed ? 1u : 0u);
    }
}

TEST_F(WindowListTest, FillsRecordsAndPrintsThem) {
    desk.displays.front().scale = 2;  // 2160 pixels high, the unit that is mixed in on purpose
    desk.addDisplay({.number = 2, .bounds = {1920, -300, 1280, 800}, .scale = 2});
    desk.addApplication({.pid = 50, .name = "Editor"});
    desk.addWindow({.number = 7, .pid = 50, .title = "Letter", .bounds = {1, 2, 30, 40}});
    desk.addWindow({.number = 8, .pid = 50, .bounds = {5, 6, 70, 80}});

    const auto records = manager->allWindow();
    ASSERT_EQ(numbers(records), (std::vector<uint32_t>{1, 2, 8, 7}));
    const OrvoWindow& screen = *records[1];
    EXPECT_EQ(screen.windowName, "desk 2");
    EXPECT_EQ(screen.appName, "");
    EXPECT_TRUE(screen.isScreen);
    EXPECT_EQ(screen.backingScaleFactor, 2);
    EXPECT_EQ(screen.windowBounds, (platform::Rect{1920, 580, 1280, 800}));
    EXPECT_EQ(screen.deskBounds(), (platform::Rect{1920, 780, 1280, 800}));
    EXPECT_EQ(records[0]->deskBounds(), records[0]->windowBounds);
    EXPECT_TRUE(records[0]->isMainScreen() && !screen.isMainScreen());
    EXPECT_EQ(records[2]->windowName, "Editor") << "the owner stands in for a missing title";
    const OrvoWindow& window = *records[3];
    EXPECT_EQ(window.windowName, "Letter");
    EXPECT_EQ(window.appName, "Editor");
    EXPECT_EQ(window.ownerPID, 50);
    EXPECT_FALSE(window.isScreen);
    EXPECT_EQ(window.windowBounds, (platform::Rect{1, 2, 30, 40}));
    EXPECT_EQ(window.deskBounds(), window.windowBounds);
    EXPECT_EQ(desk.console,
              (Lines{"[***] screenID: 1", "[***] screenID: 2", "name Editor  windowID 8", "name Letter  windowID 7"}));
}

TEST_F(WindowListTest, FindsRecordsByNumber) {
    desk.addWindow({.number = 1, .pid = 50, .title = "Namesake of the display", .bounds = {0, 0, 10, 10}});
    desk.addWindow({.number = 7, .pid = 50, .title = "Letter", .bounds = {0, 0, 10, 10}});
    EXPECT_TRUE(manager->getOrvoWindowWithWindowId(1)->isScreen) << "displays come first";
    EXPECT_EQ(manager->getOrvoWindowWithWindowId(99), nullptr);

    manager->setTargetWindow(7);
    const auto registered = manager->getItemWithTargetWindow(7);
    EXPECT_EQ(manager->getItemWithTargetWindow(7), registered) << "the same record while it is registered";
    manager->setTargetWindow(7);
    EXPECT_NE(manager->getItemWithTargetWindow(7), registered) << "registering again replaces it";
    desk.minimizeWindow(7);
    EXPECT_EQ(manager->getOrvoWindowWithWindowId(7), nullptr);
    EXPECT_NE(manager->getItemWithTargetWindow(7), nullptr);
    manager->removeTargerWindow(7);
    EXPECT_EQ(manager->getItemWithTargetWindow(7), nullptr);
}

TEST_F(WindowListTest, ListsTheWindowsOfAProcess) {
    for (uint32_t number = 100; number < 250; ++number) {
        desk.addWindow({.number = number, .pid = 50, .bounds = {0, 0, 10, 10}});
    }
    desk.addWindow({.number = 7, .pid = 60, .bounds = {0, 0, 10, 10}});
    EXPECT_EQ(manager->getAllWindowWithWindowID(7), std::vector<uint32_t>{7});
    const auto all = manager->getAllWindowWithWindowID(200);
    ASSERT_EQ(all.size(), 100u) << "never more than that";
    EXPECT_EQ(all.front(), 249u);
    EXPECT_TRUE(manager->getAllWindowWithWindowID(99).empty());
}

TEST_F(WindowListTest, LooksForMinimizedWindowsUnderTheirNumberAsProcess) {
    // A process whose number is one of its windows' is the one case in which the minimised test finds anything.
    desk.addWindow({.number = 70, .pid = 70, .bounds = {0, 0, 10, 10}}).answers["AXMinimized"] = {0, true, 0};
    desk.addWindow({.number = 71, .pid = 70, .bounds = {0, 0, 10, 10}}).answers["AXMinimized"] = {0, true, 0};
    EXPECT_EQ(numbers(manager->allWindowWithIncludeIconic(false)), std::vector<uint32_t>{71});
    EXPECT_EQ(numbers(manager->allWindowWithIncludeIconic(true)), (std::vector<uint32_t>{71, 70}));
}

TEST_F(WindowListTest, AnswersWithoutAServer) {
    desk.addWindow({.number = 7, .pid = 50, .bounds = {0, 0, 10, 10}});
    desk.gate.failEvery("onScreenWindows");
    EXPECT_EQ(numbers(manager->allWindow()), std::vector<uint32_t>{1});
    desk.displays.clear();
    EXPECT_TRUE(manager->allWindow().empty());
    EXPECT_TRUE(manager->allWindowWithIncludeIconic(true).empty());
}

}  // namespace
}  // namespace orvo::test
