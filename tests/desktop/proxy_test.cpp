// Windows and applications as the accessibility service describes them.
#include "ScreenCapture/thumbnail/OrvoAppProxy.h"
#include "desktop/window_manager_fixture.h"

namespace orvo::test {
namespace {

using platform::Rect;

class ProxyTest : public WindowManagerTest {
  protected:
    void SetUp() override {
        WindowManagerTest::SetUp();
        desk.addApplication({.pid = 50, .name = "Editor", .bundleIdentifier = "org.editor"});
        desk.addWindow({.number = 7, .pid = 50, .title = "Letter", .bounds = {10, 20, 300, 200}});
    }
    OrvoWindowProxyRef window(uint32_t number = 7) { return OrvoAppProxy::initWithPID(50)->windowWithWindowId(number); }
};

TEST_F(ProxyTest, AnswersDefaultsOnceTheWindowIsGone) {
    const auto proxy = window();
    desk.closeWindow(7);
    EXPECT_EQ(proxy->title(), "");
    EXPECT_FALSE(proxy->isWindowMinimized());
    EXPECT_FALSE(proxy->isNormalWindow());
    EXPECT_EQ(proxy->frame(), Rect{});
    EXPECT_FALSE(proxy->focusWindow());
    EXPECT_FALSE(proxy->focus());
    ASSERT_EQ(desk.console.size(), 4u);
    EXPECT_EQ(desk.console[0], "could not get window topLeft");
    EXPECT_EQ(desk.console[1], "could not get window size");
    EXPECT_EQ(desk.console[2], "ERROR: Could not change focus to window");
    EXPECT_EQ(desk.console[3],
              "Error: Could not set accessibility attribute “AXMain” with value “1” for element <window 7>. (-25202)");
    EXPECT_EQ(desk.orders, Lines{}) << "the process is not brought forward then";
}

TEST_F(ProxyTest, ToleratesAnswersOfTheWrongKind) {
    auto& answers = desk.window(7)->answers;
    answers["AXPosition"] = answers["AXSize"] = {0, std::string("?"), 0};
    answers["AXTitle"] = answers["AXMinimized"] = {0, platform::Point{1, 2}, 0};
    EXPECT_EQ(window()->frame(), Rect{});
    EXPECT_EQ(desk.console, (Lines{"could not decode topLeft", "could not decode size"}));
    EXPECT_EQ(window()->title(), "");
    EXPECT_FALSE(window()->isWindowMinimized());
}

TEST_F(ProxyTest, TellsWhatIsVisible) {
    struct Case {
        const char* what;
        ScriptedWindow window;
        bool hidden;
        bool isVisible;
    };
    const Case cases[] = {
        {"standard", {}, false, true},
        {"dialog", {.subrole = "AXDialog"}, false, false},
        {"minimized", {.minimized = true}, false, false},
        {"hidden", {}, true, false},
    };
    for (Case entry : cases) {
        SCOPED_TRACE(entry.what);
        entry.window.number = 8;
        entry.window.pid = 60;
        desk.quitApplication(60);
        desk.addWindow(entry.window);
        desk.hideApplication(60, entry.hidden);
        const auto app = OrvoAppProxy::initWithPID(60);
        EXPECT_EQ(app->windowWithWindowId(8)->isVisible(), entry.isVisible);
        EXPECT_EQ(app->visibleWindows().size(), entry.isVisible ? 1u : 0u);
        EXPECT_EQ(app->windows(true).size(), entry.isVisible ? 1u : 0u);
        EXPECT_EQ(app->windows(false).size(), entry.isVisible ? 0u : 1u);
        EXPECT_EQ(app->windows(std::nullopt).size(), 1u);
    }
}

TEST_F(ProxyTest, DescribesAndCommandsAnApplication) {
    const auto app = OrvoWindowProxy::initWithElement(window()->window())->app();
    EXPECT_EQ(app->title(), "Editor");
    EXPECT_EQ(app->bundleIdentifier(), "org.editor");
    EXPECT_EQ(app->mainWindow()->windowID(), 7u);
    ASSERT_EQ(OrvoAppProxy::runningApps().size(), 1u);
    EXPECT_EQ(OrvoAppProxy::runningApps()[0]->pid(), 50);
    EXPECT_TRUE(app->activate() && app->isActive());
    EXPECT_TRUE(app->focus() && app->hide() && app->isHidden() && app->show() && !app->isHidden());
    EXPECT_FALSE(app->isTerminated());
    EXPECT_TRUE(app->terminate(true));
    EXPECT_FALSE(app->terminate(false));
    EXPECT_TRUE(app->isTerminated());
    EXPECT_EQ(desk.orders, (Lines{"activate all 50", "activate 50", "hide 50", "unhide 50", "force terminate 50"}));
}

TEST_F(ProxyTest, StandsForNoProcessToo) {
    const auto app = OrvoAppProxy::initWithPID(99);
    EXPECT_EQ(app->pid(), 99);
    EXPECT_EQ(app->processIdentifier(), 0);
    EXPECT_EQ(app->name() + app->title() + app->bundleIdentifier(), "");
    EXPECT_FALSE(app->isActive() || app->isHidden() || app->isTerminated() || app->activate() || app->hide());
    EXPECT_TRUE(app->windows().empty());
    EXPECT_EQ(app->mainWindow(), nullptr);
    EXPECT_FALSE(app->valuesForAttribute("AXWindows", 0, 5).has_value());
    app->startObservingStuffWithWindow(1);
    app->stopObservingStuff();
    EXPECT_TRUE(desk.observers.empty());
}

// Which window is watched: the first whose identifier can be read, or is absent, or is of the given kind.
TEST_F(ProxyTest, ChoosesTheWindowThatItObserves) {
    const platform::Attribute readable{0, std::string("main"), 7};
    const platform::Attribute otherKind{-1, std::string("?"), 8};
    const platform::Attribute givenKind{-1, std::string("?"), 5};
    const platform::Attribute absent{-1, {}, 0};
    struct Case {
        std::vector<platform::Attribute> identifiers;  // front to back, of windows 1, 2, ...
        uint32_t watched;                              // 0: none
    };
    const Case cases[] = {{{readable, absent}, 1},
                          {{otherKind, absent}, 2},
                          {{otherKind, givenKind, readable}, 2},
                          {{otherKind, otherKind}, 0}};
    for (const Case& entry : cases) {
        desk.quitApplication(50);
        for (auto number = static_cast<uint32_t>(entry.identifiers.size()); number > 0; --number) {
            desk.addWindow({.number = number, .pid = 50}).answers["AXIdentifier"] = entry.identifiers[number - 1];
        }
        const auto app = OrvoAppProxy::initWithPID(50);
        app->startObservingStuffWithWindow(5);
        Lines watched;
        for (const auto& observation : desk.observers.back()->observations) {
            watched.push_back(observation.notification + " " + std::to_string(observation.window) +
                              (observation.context == app.get() ? " with context" : ""));
        }
        const std::string on = " " + std::to_string(entry.watched);
        Lines expected{"AXWindowCreated" + on + " with context",
                       "AXWindowMoved" + on + " with context",
                       "AXWindowResized" + on,
                       "AXWindowMiniaturized" + on,
                       "AXWindowDeminiaturized 0",
                       "AXApplicationHidden 0",
                       "AXApplicationShown 0",
                       "AXFocusedWindowChanged" + on};
        if (entry.watched == 0) {
            expected = {"AXWindowDeminiaturized 0", "AXApplicationHidden 0", "AXApplicationShown 0"};
        }
        EXPECT_EQ(watched, expected);
    }
}

TEST_F(ProxyTest, PostsWindowEventsByName) {
    desk.window(7)->answers["AXIdentifier"] = {0, std::string("main"), 7};
    const auto app = OrvoAppProxy::initWithPID(50);
    app->startObservingStuffWithWindow(0);
    const std::pair<uint32_t, const char*> events[] = {{7, "AXWindowCreated"},        {7, "AXWindowMoved"},
                                                       {7, "AXWindowResized"},        {7, "AXWindowMiniaturized"},
                                                       {0, "AXWindowDeminiaturized"}, {0, "AXApplicationHidden"},
                                                       {0, "AXApplicationShown"},     {7, "AXFocusedWindowChanged"}};
    for (const auto& [number, name] : events) desk.notifyObservers(number, name);
    desk.observers[0]->callback(window()->window(), "AXTitleChanged", nullptr);
    EXPECT_EQ(desk.posted, (Lines{"SD_EVENT_WINDOW_CREATED", "SD_EVENT_WINDOW_MOVED", "SD_EVENT_WINDOW_RESIZED",
                                  "SD_EVENT_WINDOW_MINIMIZED", "SD_EVENT_WINDOW_UNMINIMIZED", "SD_EVENT_APP_HIDDEN",
                                  "SD_EVENT_APP_SHOWN", "SD_EVENT_FOCUS_CHANGED"}));
    ASSERT_EQ(desk.postedThings.size(), 8u);
    EXPECT_EQ(std::static_pointer_cast<OrvoWindowProxy>(desk.postedThings[0])->windowID(), 7u);
    app->stopObservingStuff();
    EXPECT_FALSE(desk.observers[0]->attached);
    desk.notifyObservers(7, "AXWindowMoved");
    EXPECT_EQ(desk.posted.size(), 8u);
}

}  // namespace
}  // namespace orvo::test
