// What window managers do to windows, and what is reported of it: the same under each of them, and without one.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <sstream>
#include <thread>

#include "ScreenCapture/platform/platform.h"
#include "ScreenCapture/platform/snapshot_scope.h"
#include "support/x11/managed_desktop.h"

namespace orvo::testing {
namespace {

using platform::Activation;
using platform::ElementRef;
using platform::NoImage;
using platform::Point;
using std::chrono::milliseconds;
using Steady = std::chrono::steady_clock;

std::optional<platform::WindowInfo> infoOf(xcb_window_t window) {
    for (const auto& info : windowServer().onScreenWindows())
        if (info.number == window) return info;
    return std::nullopt;
}

// All that is reported of a window, in one word when it is consistent.
std::string stateOf(xcb_window_t window) {
    const platform::SnapshotScope scope;
    const ElementRef element = elementOf(window);
    if (!element) return "gone";
    const bool isShown = infoOf(window).has_value();
    if (value<bool>(element, "AXMinimized")) return isShown ? "minimised and shown" : "minimised";
    return isShown ? "shown" : "off screen";
}

class Managers : public ManagedDesktop, public ::testing::TestWithParam<std::string> {
  protected:
    Managers() : ManagedDesktop(GetParam()) {}
    void tell(xcb_window_t window, const char* type, const std::vector<uint32_t>& data) {
        windows_.tellManager(window, type, data);
    }
};

class EachManager : public Managers {};

TEST_P(EachManager, TellsMinimisedWindowsFromOthersThatAreNotOnScreen) {
    const auto window = show({.area = {100, 100, 300, 200}, .title = "One"});
    const auto other = show({.area = {450, 300, 100, 80}, .title = "Other"});
    const xcb_window_t root = windows_.root();
    const uint32_t shaded = windows_.atom("_NET_WM_STATE_SHADED");
    ASSERT_TRUE(comesAbout([&] { return stateOf(window) == "shown"; }));
    windows_.awaitRepaint();
    const Point origin = value<Point>(elementOf(window), "AXPosition");
    struct Action {
        const char* what;
        xcb_window_t about;
        const char* message;  // to the manager; or what is done to the window
        std::vector<uint32_t> data;
        const char* state;
    };
    const Action actions[] = {
        {"minimised", window, "WM_CHANGE_STATE", {3}, "minimised"},
        {"brought back", window, "map", {}, "shown"},
        {"sent away", window, "_NET_WM_DESKTOP", {1, 2}, "off screen"},
        {"fetched", window, "_NET_WM_DESKTOP", {0, 2}, "shown"},
        {"left behind", root, "_NET_CURRENT_DESKTOP", {1}, "off screen"},
        {"visited", root, "_NET_CURRENT_DESKTOP", {0}, "shown"},
        {"shaded", window, "_NET_WM_STATE", {1, shaded, 0, 2}, "off screen"},
        {"unshaded", window, "_NET_WM_STATE", {0, shaded, 0, 2}, "shown"},
        {"desktop", root, "_NET_SHOWING_DESKTOP", {1}, "off screen"},
        {"desktop no more", root, "_NET_SHOWING_DESKTOP", {0}, "shown"},
        {"minimised again", window, "WM_CHANGE_STATE", {3}, "minimised"},
        {"a while later", window, "wait", {}, "minimised"},
        {"then the desktop", root, "_NET_SHOWING_DESKTOP", {1}, "minimised"},
        {"then its end", root, "_NET_SHOWING_DESKTOP", {0}, "minimised"},
        {"back", window, "map", {}, "shown"},
        {"closed", window, "destroy", {}, "gone"},
    };
    for (const Action& action : actions) {
        const std::string message = action.message, state = action.state;
        const NoImage why = state == "shown" ? NoImage::none : state == "gone" ? NoImage::gone : NoImage::notOnScreen;
        if (!action.data.empty()) tell(action.about, action.message, action.data);
        if (message == "map") windows_.map(window);
        if (message == "destroy") windows_.destroy(window);
        if (message == "wait") std::this_thread::sleep_for(milliseconds(600));
        if (std::string(action.what).starts_with("then")) {
            EXPECT_TRUE(comesAbout([&] { return infoOf(other).has_value() == (action.what[5] == 'i'); }));
        }
        EXPECT_TRUE(comesAbout([&] { return stateOf(window) == state; })) << action.what << stateOf(window);
        EXPECT_TRUE(comesAbout([&] { return windowServer().windowPicture(window).why == why; })) << action.what;
        if (elementOf(window)) {
            EXPECT_TRUE(comesAbout([&] { return value<Point>(elementOf(window), "AXPosition") == origin; }))
                << action.what;
        }
    }
}

TEST_P(EachManager, HidesApplicationsAndNeverCallsThatMinimised) {
    std::vector<xcb_window_t> all;
    for (int i = 0; i < 3; ++i) all.push_back(show({.area = {40 * i, 50 * i, 200, 100}}));
    const auto minimized = [&] {
        return std::count_if(all.begin(), all.end(),
                             [](xcb_window_t each) { return value<bool>(elementOf(each), "AXMinimized"); });
    };
    const auto mine = application();
    ASSERT_TRUE(mine && comesAbout([&] { return infoOf(all[2]).has_value(); }));
    std::atomic<bool> ends = false;
    int wrong = 0;
    std::thread watcher([&] {
        while (!ends) {
            const platform::SnapshotScope scope;
            wrong += minimized() > 0 && !mine->isHidden() ? 1 : 0;
        }
    });
    // A manager that is slow does it later than the call waits.
    int inTime = 0;
    const auto hides = [&](bool hidden) {
        inTime += hidden ? mine->hide() : mine->unhide();
        const auto count = hidden ? std::ssize(all) : 0;
        return comesAbout([&] { return minimized() == count; });
    };
    for (int round = 0; round < 15; ++round) {
        EXPECT_TRUE(hides(true));
        EXPECT_TRUE(mine->isHidden());
        EXPECT_TRUE(hides(false));
        EXPECT_FALSE(mine->isHidden());
    }
    EXPECT_GT(inTime, 2);
    EXPECT_TRUE(hides(true));
    ends = true;
    watcher.join();
    EXPECT_EQ(wrong, 0);
    // The user brings one back, or the application shows another.
    windows_.map(all[1]);
    EXPECT_TRUE(comesAbout([&] { return !mine->isHidden(); }));
    EXPECT_EQ(minimized(), 2);
    EXPECT_TRUE(hides(true));
    all.push_back(show({.area = {300, 300, 50, 50}}));
    EXPECT_TRUE(comesAbout([&] { return !mine->isHidden(); }));
    // A manager that is late is still the one that hides.
    kill(manager_, SIGSTOP);
    EXPECT_FALSE(mine->hide());
    EXPECT_TRUE(mine->isHidden());
    kill(manager_, SIGCONT);
    EXPECT_TRUE(comesAbout([&] { return minimized() == 4; }));
    EXPECT_TRUE(mine->isHidden());
}

TEST_P(EachManager, ThePickedWindowGetsTheFocusWhateverElseItsApplicationShows) {
    const xcb_window_t root = windows_.root();
    const auto window = show({.area = {50, 60, 300, 200}});
    const auto active = [&] { return windows_.number(root, "_NET_ACTIVE_WINDOW"); };
    // As the window manager of the library does it.
    const auto bringToFront = [&](xcb_window_t which) {
        const bool isDone = accessibility().setAttribute(elementOf(which), "AXMain", true) == 0 &&
                            accessibility().bringToFront(getpid());
        application()->activate(Activation::ignoringOthers);
        return isDone;
    };
    const auto sibling = show({.area = {100, 100, 300, 200}});
    const auto above = show({.area = {500, 60, 100, 100}});
    tell(above, "_NET_WM_STATE", {1, windows_.atom("_NET_WM_STATE_ABOVE"), 0, 1});
    const auto toolbox = show({.area = {500, 300, 100, 100}, .type = "_NET_WM_WINDOW_TYPE_UTILITY", .owner = window});
    const auto dialog = show({.area = {300, 300, 120, 80}, .type = "_NET_WM_WINDOW_TYPE_DIALOG", .owner = sibling});
    for (const xcb_window_t each : {window, sibling, above, window}) {
        EXPECT_TRUE(comesAbout([&] { return bringToFront(each); }));
        EXPECT_EQ(active(), each);
    }
    // Another application in between: its last active window, not the topmost.
    server_.start({"xlogo", "-geometry", "100x100+600+400"});
    EXPECT_TRUE(comesAbout([&] { return windowServer().onScreenWindows().size() == 6; }));
    const auto others = windowServer().onScreenWindows();
    const auto logo = std::find_if(others.begin(), others.end(), [](auto& each) { return each.ownerPID != getpid(); });
    ASSERT_NE(logo, others.end());
    const auto activate = [](int32_t pid, Activation how) {
        return comesAbout([=] { return application(pid)->activate(how); });
    };
    ASSERT_TRUE(activate(logo->ownerPID, Activation::ignoringOthers));
    EXPECT_TRUE(activate(getpid(), Activation::allWindows));
    EXPECT_EQ(active(), window);

    // A manager that does not answer is not awaited for every order, and does the last one when it can.
    ASSERT_TRUE(activate(logo->ownerPID, Activation::ignoringOthers));
    kill(manager_, SIGSTOP);
    const auto start = Steady::now();
    EXPECT_FALSE(bringToFront(sibling));
    EXPECT_LT(Steady::now() - start, milliseconds(550));  // awaited each time it would be 600
    kill(manager_, SIGCONT);
    EXPECT_TRUE(comesAbout([&] { return active() == sibling; }));
    EXPECT_NE(toolbox, dialog);
}

// More than those that the ordinary run has: ORVO_TEST_MANAGERS="metacity twm".
std::vector<std::string> managers() {
    const char* const named = std::getenv("ORVO_TEST_MANAGERS");
    std::istringstream words(named ? named : "openbox icewm");
    return {std::istream_iterator<std::string>(words), {}};
}
INSTANTIATE_TEST_SUITE_P(Of, EachManager, ::testing::ValuesIn(managers()),
                         [](const auto& instance) { return instance.param; });

class NoManager : public Managers {};
INSTANTIATE_TEST_SUITE_P(Of, NoManager, ::testing::Values("none"));

TEST_P(NoManager, NothingIsHiddenThatNobodyCouldBringBack) {
    const auto window = show({.area = {50, 60, 200, 100}});
    const ElementRef element = elementOf(window);
    ASSERT_TRUE(element);
    EXPECT_FALSE(application()->hide());
    EXPECT_NE(accessibility().setAttribute(element, "AXMinimized", true), 0);
    EXPECT_FALSE(application()->isHidden());
    EXPECT_EQ(stateOf(window), "shown");
}

TEST_P(NoManager, TheFocusTellsWhoIsActiveNotWhatADeadManagerSaid) {
    const auto first = show({.area = {50, 60, 200, 100}});
    const auto second = show({.area = {350, 60, 200, 100}});
    const auto gone = windows_.make({.area = {0, 0, 1, 1}});
    const xcb_window_t root = windows_.root();
    windows_.setNumber(root, "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW, first);
    windows_.setNumber(root, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, gone);
    windows_.destroy(gone);
    for (const xcb_window_t each : {second, first, second}) {
        EXPECT_EQ(accessibility().setAttribute(elementOf(each), "AXMain", true), 0);
        for (const xcb_window_t other : {first, second})
            EXPECT_EQ(value<bool>(elementOf(other), "AXMain"), other == each);
        EXPECT_TRUE(application()->isActive());
        EXPECT_TRUE(accessibility().bringToFront(getpid()));
    }
}

// A manager that announces itself and lists no clients, as that of weston's X server.
TEST_P(NoManager, WindowsAreListedWithoutAManagersListAndItsHelpersAreNot) {
    Windows manager(server_);
    const auto helper = manager.make({.area = {300, 300, 40, 40}, .overrideRedirect = true});
    manager.setNumber(helper, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, helper);
    manager.setNumber(windows_.root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, helper);
    const auto menu = manager.make({.area = {100, 100, 50, 50}, .overrideRedirect = true});
    const auto window = show({.area = {50, 60, 200, 100}});
    const auto outside = windows_.make({.area = {-100, -100, 1, 1}, .overrideRedirect = true});
    const auto tooltip = windows_.make({.area = {60, 70, 20, 20}, .overrideRedirect = true});
    std::vector<uint32_t> listed;
    for (const auto& info : windowServer().onScreenWindows()) listed.push_back(info.number);
    EXPECT_EQ(listed, (std::vector<uint32_t>{tooltip, window}));
    std::vector<uint32_t> numbers;
    windowServer().onScreenNumbers(numbers);  // what is on the screen belongs into its pictures
    EXPECT_TRUE(std::find(numbers.begin(), numbers.end(), menu) != numbers.end());
    EXPECT_EQ(elementOf(outside), nullptr);
}

TEST_P(NoManager, AnApplicationHasOneNameAndOneIconWhateverIsOnTop) {
    const auto document = windows_.make({.area = {10, 10, 100, 100}, .title = "Plan", .className = "WPS"});
    const auto second = windows_.make({.area = {50, 50, 100, 100}, .className = "Helper"});
    windows_.setNumbers(document, "_NET_WM_ICON", {1, 1, 0xFF00FF00});
    const auto show = windows_.make({.area = {0, 0, 800, 600}, .title = "Plan", .overrideRedirect = true});
    for (const xcb_window_t top : {show, second, document, show}) {
        windows_.raise(top);
        EXPECT_EQ(windowServer().onScreenWindows().front().number, top);
        for (const auto& info : windowServer().onScreenWindows()) EXPECT_EQ(info.ownerName, "WPS");
        EXPECT_EQ(application()->localizedName(), "WPS");
        EXPECT_TRUE(application()->icon());
    }
    // A slide show goes on when its document's window has gone.
    windows_.unmap(document);
    windows_.unmap(second);
    EXPECT_EQ(windowServer().onScreenWindows().size(), 1U);
    ASSERT_TRUE(application());
    EXPECT_EQ(application()->localizedName(), "WPS");
    EXPECT_TRUE(elementOf(show));
}

TEST_P(NoManager, ARemoteClientIsAProcessOfItsOwn) {
    const XServer server("640x480x24", {"-listen", "tcp", "-ac"});
    Windows mine(server);
    mine.make({.area = {300, 300, 50, 50}});
    XServer& starter = server_;
    starter.start({"xlogo", "-display", "127.0.0.1" + server.display(), "-geometry", "100x100+20+30"});
    const auto remote = [] {
        auto list = windowServer().onScreenWindows();
        std::erase_if(list, [](auto& each) { return each.ownerPID == getpid(); });
        return list.empty() ? platform::WindowInfo() : list.front();
    };
    ASSERT_TRUE(comesAbout([&] { return remote().number != 0; }));
    const int32_t pid = remote().ownerPID;
    const xcb_window_t window = remote().number;
    EXPECT_LT(pid, 0);
    EXPECT_EQ(remote().ownerName, "XLogo");
    ASSERT_TRUE(application(pid));
    EXPECT_FALSE(application(pid)->isTerminated());
    EXPECT_FALSE(application(pid)->forceTerminate());
    mine.move(window, 70, 80);
    EXPECT_EQ(value<Point>(elementOf(window, pid), "AXPosition"), mine.rootBounds(window).origin());
    // The number of a process counts on its own machine only.
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    mine.setNumber(window, "_NET_WM_PID", XCB_ATOM_CARDINAL, 1);
    for (const bool isHere : {false, true, false}) {
        mine.setText(window, "WM_CLIENT_MACHINE", "STRING", isHere ? host : "elsewhere");
        EXPECT_EQ(remote().ownerPID, isHere ? 1 : pid);
    }
}

}  // namespace
}  // namespace orvo::testing
