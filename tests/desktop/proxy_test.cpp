// Windows and applications as the accessibility service describes them.
#include "ScreenCapture/thumbnail/OrvoAppProxy.h"
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

class Proxy : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        perform("application 50 Editor, open 7 50 10 20 300 200 Letter");
        heard = kConsole | kOrders | kPosted;
    }
    static OrvoWindowProxyRef window() { return OrvoAppProxy::initWithPID(50)->windowWithWindowId(7); }
};

// Nothing of it, without a crash.
TEST_F(Proxy, ToleratesWindowsThatAreGoneAndAnswersOfTheWrongKind) {
    const auto proxy = window();
    const auto expectNothing = [&](const Lines& lines) {
        EXPECT_EQ(proxy->frame(), platform::Rect{});
        EXPECT_EQ(proxy->title(), "");
        EXPECT_FALSE(proxy->isWindowMinimized() || proxy->isNormalWindow());
        EXPECT_EQ(take(), lines);
    };
    const platform::Attribute text{0, std::string("?"), 0}, point{0, platform::Point{1, 2}, 0};
    desk.window(7)->answers = {
        {"AXPosition", text}, {"AXSize", text}, {"AXTitle", point}, {"AXMinimized", point}, {"AXSubrole", point}};
    expectNothing({"could not decode topLeft", "could not decode size"});
    perform("close 7");
    expectNothing({"could not get window topLeft", "could not get window size"});
    EXPECT_FALSE(proxy->focusWindow() || proxy->focus());
    EXPECT_EQ(take(), (Lines{"ERROR: Could not change focus to window",
                             "Error: Could not set accessibility attribute “AXMain” with value “1” for element "
                             "<window 7>. (-25202)"}));
}

TEST_F(Proxy, TellsWhatIsVisible) {
    for (const char* unseen : {"", "minimize 7", "hide 50", "dialog 7"}) {
        vocabulary["dialog"] = [this](Arguments&) { desk.window(7)->subrole = "AXDialog"; };
        perform("restore 7, show 50");
        perform(unseen);
        const bool isVisible = !*unseen;
        const auto app = OrvoAppProxy::initWithPID(50);
        EXPECT_EQ(window()->isVisible(), isVisible) << unseen;
        EXPECT_EQ(app->visibleWindows().size(), isVisible) << unseen;
        EXPECT_EQ(app->windows(true).size(), isVisible) << unseen;
        EXPECT_EQ(app->windows(false).size(), !isVisible) << unseen;
    }
}

TEST_F(Proxy, CommandsAnApplicationAndStandsForNoProcessToo) {
    const auto app = window()->app();
    EXPECT_EQ(app->title() + " " + app->name(), "Editor Editor");
    EXPECT_EQ(app->mainWindow()->windowID(), 7u);
    EXPECT_TRUE(app->activate() && app->isActive() && app->focus() && app->hide() && app->isHidden() && app->show());
    EXPECT_TRUE(!app->isTerminated() && app->terminate(true) && app->isTerminated() && !app->terminate(false));
    EXPECT_EQ(take(), (Lines{"activate all 50", "activate 50", "hide 50", "unhide 50", "force terminate 50"}));
    const auto none = OrvoAppProxy::initWithPID(99);
    EXPECT_EQ(none->name() + none->title() + none->bundleIdentifier(), "");
    EXPECT_FALSE(none->isActive() || none->isHidden() || none->isTerminated() || none->activate() || none->hide());
    EXPECT_TRUE(none->windows().empty() && !none->mainWindow() && !none->valuesForAttribute("AXWindows", 0, 5));
    none->startObservingStuffWithWindow(1);
    none->stopObservingStuff();
    EXPECT_TRUE(desk.observers.empty());
}

// Which window is watched: the first whose identifier can be read, or is absent, or is of the given kind.
TEST_F(Proxy, WatchesOneWindowAndItsApplication) {
    const struct {
        const char *notification, *posted;
        bool ofWindow, hasContext;
    } events[] = {{"AXWindowCreated", "SD_EVENT_WINDOW_CREATED", true, true},
                  {"AXWindowMoved", "SD_EVENT_WINDOW_MOVED", true, true},
                  {"AXWindowResized", "SD_EVENT_WINDOW_RESIZED", true, false},
                  {"AXWindowMiniaturized", "SD_EVENT_WINDOW_MINIMIZED", true, false},
                  {"AXWindowDeminiaturized", "SD_EVENT_WINDOW_UNMINIMIZED", false, false},
                  {"AXApplicationHidden", "SD_EVENT_APP_HIDDEN", false, false},
                  {"AXApplicationShown", "SD_EVENT_APP_SHOWN", false, false},
                  {"AXFocusedWindowChanged", "SD_EVENT_FOCUS_CHANGED", true, false}};
    const platform::Attribute readable{0, std::string("main"), 7}, otherKind{-1, std::string("?"), 8},
        givenKind{-1, std::string("?"), 5}, absent{-1, {}, 0};
    const struct {
        std::vector<platform::Attribute> identifiers;  // front to back, of windows 1, 2, ...
        uint32_t watched;                              // 0: none
    } cases[] = {{{readable, absent}, 1},
                 {{otherKind, absent}, 2},
                 {{otherKind, givenKind, readable}, 2},
                 {{otherKind, otherKind}, 0}};
    for (const auto& c : cases) {
        perform("quit 50");
        for (auto number = static_cast<uint32_t>(c.identifiers.size()); number > 0; --number)
            desk.addWindow({.number = number, .pid = 50}).answers["AXIdentifier"] = c.identifiers[number - 1];
        const auto app = OrvoAppProxy::initWithPID(50);
        app->startObservingStuffWithWindow(5);
        const auto watch = desk.observers.back();
        Lines posted;
        size_t added = 0;
        take();
        for (const auto& event : events) {
            if (event.ofWindow && c.watched == 0) continue;
            const auto& observation = watch->observations.at(added++);
            EXPECT_EQ(observation.notification, event.notification);
            EXPECT_EQ(observation.window, event.ofWindow ? c.watched : 0) << event.notification;
            EXPECT_EQ(observation.context, event.hasContext ? app.get() : nullptr) << event.notification;
            posted.push_back(event.posted);
            desk.notifyObservers(observation.window, event.notification);
        }
        EXPECT_EQ(watch->observations.size(), added);
        watch->callback(window() ? window()->window() : nullptr, "AXTitleChanged", nullptr);
        EXPECT_EQ(take(), posted);
        if (const auto thing = std::static_pointer_cast<OrvoWindowProxy>(desk.postedThings.back()); c.watched) {
            EXPECT_EQ(thing->windowID(), c.watched);
        }
        app->stopObservingStuff();
        EXPECT_EQ(take(), Lines(8, "unobserve 0"));  // all of them from the application
        EXPECT_FALSE(watch->attached);
    }
}

}  // namespace
}  // namespace orvo::test
