// What the host hears of a target, in which order, how often.
#include <algorithm>
#include <map>

#include "desktop/window_manager_fixture.h"

namespace orvo::test {
namespace {

class TargetTrackingTest : public WindowManagerTest {
  protected:
    void SetUp() override {
        WindowManagerTest::SetUp();
        desk.addApplication({.pid = 50, .name = "Editor"});
        desk.addWindow({.number = 7, .pid = 50, .title = "Letter", .bounds = {10, 20, 300, 200}});
        manager->setTargetWindow(7);
        host.listenTo(*settings);
    }
};

constexpr const char* kThere = "status 0 7 10,20,310,220";
const Lines kFine{"normal", kThere};

TEST_F(TargetTrackingTest, FollowsTheApplication) {
    EXPECT_EQ(check(7), kFine);
    desk.activateApplication(50);
    EXPECT_EQ(check(7), (Lines{"normal", "status 4 7 10,20,310,220", kThere}));
    EXPECT_EQ(check(7), kFine);
    desk.activateApplication(0);
    desk.hideApplication(50);
    EXPECT_EQ(check(7),
              (Lines{"not normal", "status 5 7 10,20,310,220", "thumbnail 2 7 Letter", "status 7 7 10,20,310,220"}));
    EXPECT_EQ(check(7), Lines{"not normal"}) << "told once";
    desk.hideApplication(50, false);
    EXPECT_EQ(check(7), (Lines{"normal", "status 6 7 10,20,310,220", kThere}));
    EXPECT_EQ(check(7), kFine);
}

TEST_F(TargetTrackingTest, FollowsMoves) {
    desk.moveWindow(7, {20.9, -30.9, 300, 200});
    EXPECT_EQ(check(7),
              (Lines{"normal", "moved 7 20,-30 300x200", "status 8 7 20,-30,320,169", "status 0 7 20,-30,320,169"}));
    EXPECT_TRUE(manager->getItemWithTargetWindow(7)->isWindowMoving);
    EXPECT_EQ(check(7), (Lines{"normal", "status 0 7 20,-30,320,169"}));
    EXPECT_FALSE(manager->getItemWithTargetWindow(7)->isWindowMoving);
}

TEST_F(TargetTrackingTest, RepeatsThatTheWindowIsMinimized) {
    desk.minimizeWindow(7);
    for (int tick = 0; tick < 2; ++tick) {
        EXPECT_EQ(check(7), (Lines{"not normal", "moved 7 0,0 0x0", "status 3 7 0,0,0,0"})) << tick;
    }
    EXPECT_TRUE(manager->getItemWithTargetWindow(7)->isWindowMinimized);
    desk.minimizeWindow(7, false);
    EXPECT_EQ(check(7), kFine) << "its own bounds were kept";
    EXPECT_FALSE(manager->getItemWithTargetWindow(7)->isWindowMinimized);
}

TEST_F(TargetTrackingTest, TellsAMissingWindowEveryThreeSeconds) {
    const Lines missing{"not normal", "status 1 7 10,20,310,220"};
    check(7);  // seen well now
    desk.closeWindow(7);
    const std::pair<double, bool> steps[] = {{0.5, false}, {2.5, false}, {0.25, true},
                                             {1, false},   {2, false},   {0.5, true}};
    for (const auto& [seconds, isTold] : steps) {
        desk.stepper.advance(seconds);
        EXPECT_EQ(check(7), isTold ? missing : Lines{"not normal"}) << seconds;
    }
}

TEST_F(TargetTrackingTest, TellsAMissingWindowAtOnceWhenItWasNeverSeen) {
    desk.quitApplication(50);
    EXPECT_EQ(check(7), (Lines{"not normal", "status 1 7 10,20,310,220"}));
    EXPECT_EQ(check(7), Lines{"not normal"});
}

TEST_F(TargetTrackingTest, TellsAnApplicationWithoutElement) {
    desk.gate.failEvery("applicationElement");
    desk.console.clear();
    EXPECT_EQ(check(7), (Lines{"not normal", "thumbnail 2 7 Letter", "status 1 7 10,20,310,220"}));
    EXPECT_EQ(desk.console, Lines{"Error: failed to obtain UIElement for appID : 50"});
    EXPECT_EQ(check(7, false), Lines{"not normal"});
}

TEST_F(TargetTrackingTest, DoesNotCallMissingWhatCouldNotBeAsked) {
    check(7);
    desk.stepper.advance(4);
    desk.activateApplication(50);
    desk.gate.failEvery("copyElements");
    EXPECT_EQ(check(7), (Lines{"not normal", "status 4 7 10,20,310,220"})) << "the application does not answer";
    desk.hideApplication(50);
    desk.gate.failEvery("canBeAsked");
    EXPECT_EQ(check(7), Lines{"not normal"}) << "nor does the system";
    EXPECT_EQ(check(7, false), Lines{"not normal"});
}

TEST_F(TargetTrackingTest, FollowsATargetFromItsFirstSightOn) {
    manager->setTargetWindow(9);
    EXPECT_EQ(check(9), Lines{"not normal"});
    desk.addWindow({.number = 9, .pid = 50, .title = "Late", .bounds = {1, 2, 30, 40}});
    EXPECT_EQ(check(9), (Lines{"normal", "status 0 9 1,2,31,42"}));
    desk.console.clear();
    desk.moveWindow(9, {5, 6, 30, 40});
    EXPECT_EQ(check(9), (Lines{"normal", "moved 9 5,6 30x40", "status 8 9 5,6,35,46", "status 0 9 5,6,35,46"}));
    EXPECT_EQ(desk.console, Lines{}) << "no list is printed for what is known";
}

TEST_F(TargetTrackingTest, KeepsUnregisteredTargetsToThemselves) {
    manager->removeTargerWindow(7);
    desk.activateApplication(50);
    for (int tick = 0; tick < 2; ++tick) {
        // Its record is a new one every time, so that being active is a change every time.
        EXPECT_EQ(check(7), (Lines{"normal", "status 4 7 10,20,310,220", kThere}));
    }
    desk.closeWindow(7);
    EXPECT_EQ(check(7), Lines{"not normal"});
}

TEST_F(TargetTrackingTest, TellsNothingWhenOnlyAsked) {
    desk.activateApplication(50);
    desk.moveWindow(7, {1, 2, 3, 4});
    EXPECT_EQ(check(7, false), Lines{"normal"});
    desk.window(7)->accessible = false;
    EXPECT_EQ(check(7, false), Lines{"not normal"}) << "seen a moment ago";
    desk.stepper.advance(4);
    EXPECT_EQ(check(7, false), (Lines{"not normal", "status 1 7 1,2,4,6"})) << "the one exception";
    for (const bool minimized : {true, false}) {
        desk.minimizeWindow(7, minimized);
        desk.hideApplication(50, !minimized);
        EXPECT_EQ(check(7, false), Lines{"not normal"});
    }
}

TEST_F(TargetTrackingTest, ChecksDisplays) {
    desk.addDisplay({.number = 2, .bounds = {1920, 0, 800, 600}});
    manager->setTargetWindow(2);
    EXPECT_EQ(check(2), Lines{"normal"});
    desk.removeDisplay(2);
    EXPECT_EQ(check(2), (Lines{"not normal", "error 3"}));
    EXPECT_EQ(check(2, false), Lines{"not normal"});
}

TEST_F(TargetTrackingTest, PostsOnlyWhatSomebodyListensTo) {
    manager = std::make_shared<OrvoWindowManager>(std::make_shared<OrvoCaptureSettings>());
    manager->setTargetWindow(7);
    desk.moveWindow(7, {1, 2, 3, 4});
    manager->checkTargetWindowStatusIsNormal(7, true);
    EXPECT_EQ(desk.stepper.pending(mainQueue), 0u);
}

TEST_F(TargetTrackingTest, HandsNothingOverAfterTheEnd) {
    desk.hideApplication(50);
    manager->checkTargetWindowStatusIsNormal(7, true);
    manager->notifyWindowPicture(*manager->getItemWithTargetWindow(7), true);
    EXPECT_GT(desk.stepper.pending(mainQueue), 0u);
    settings->shut();
    manager.reset();
    desk.stepper.settle();
    EXPECT_EQ(host.take(), Lines{});
}

TEST_F(TargetTrackingTest, ShowsAndHidesTheSource) {
    struct Case {
        uint32_t number;
        int cmd;
        bool isDone;
        Lines orders;
    };
    const Case cases[] = {
        {7, 1, true, {"main 7", "front 50", "activate 50"}},
        {7, 2, true, {"hide 50"}},
        {7, 3, false, {}},
        {99, 1, false, {}},
        {1, 1, false, {}},
    };
    for (const Case& entry : cases) {
        desk.hideApplication(50, false);
        desk.orders.clear();
        EXPECT_EQ(manager->showTargetWindow(entry.number, entry.cmd), entry.isDone) << entry.cmd;
        EXPECT_EQ(desk.orders, entry.orders) << entry.number << " " << entry.cmd;
    }
    desk.hideApplication(50, false);
    desk.window(7)->acceptsMain = false;
    desk.orders.clear();
    EXPECT_FALSE(manager->showTargetWindow(7, 1));
    EXPECT_EQ(desk.orders, Lines{"activate 50"}) << "the application comes forward all the same";
}

TEST_F(TargetTrackingTest, AnswersRectangles) {
    desk.addDisplay({.number = 2, .bounds = {1920, 100, 800, 600}});
    desk.moveWindow(7, {10.6, 20.6, 300.6, 200.6});
    const std::map<uint32_t, std::vector<int>> expected{
        {7, {10, 20, 311, 221}}, {2, {1920, 380, 800, 600}}, {99, {0, 0, 0, 0}}};
    for (const auto& [number, edges] : expected) {
        const OrvoScreenCaptureRect rect = manager->getRectWithTargetWindow(number);
        EXPECT_EQ((std::vector<int>{rect.left, rect.top, rect.right, rect.bottom}), edges) << number;
    }
}

struct ShowCase {
    const char* what;
    const char* application;
    ScriptedWindow show;
    bool isTold;
};

class SlideShowTest : public TargetTrackingTest, public ::testing::WithParamInterface<ShowCase> {};

TEST_P(SlideShowTest, ReplacesTheDocumentsWindow) {
    ShowCase entry = GetParam();
    desk.addApplication({.pid = 60, .name = entry.application});
    desk.addWindow({.number = 8, .pid = 60, .title = "Plan.pptx", .bounds = {0, 0, 300, 200}});
    manager->setTargetWindow(8);
    desk.closeWindow(8);
    entry.show.pid = 60;
    if (entry.show.number == 0) entry.show.number = 9;
    desk.addWindow(entry.show);
    const std::string told = "process 4 " + std::to_string(entry.show.number) + " " + entry.show.title;
    EXPECT_EQ(check(8), entry.isTold ? (Lines{"normal", told}) : (Lines{"not normal", "status 1 8 0,0,300,200"}));
}

const platform::Rect kScreen{0, 0, 1920, 1080};
INSTANTIATE_TEST_SUITE_P(
    Programs, SlideShowTest,
    ::testing::Values(
        ShowCase{"PowerPoint", "Microsoft PowerPoint", {.title = "Show - Plan.pptx", .bounds = kScreen}, true},
        ShowCase{"Wps", "WPS Office", {.title = "Plan", .bounds = kScreen}, true},
        ShowCase{"NoTitle", "WPS Office", {.title = "", .bounds = kScreen}, true},
        ShowCase{"Offset", "WPS Office", {.title = "", .bounds = {50, 50, 1920, 1080}}, true},
        ShowCase{"Keynote", "Keynote", {.title = "Plan.pptx", .bounds = kScreen}, true},
        ShowCase{"FullScreen", "Keynote", {.title = "Plan", .bounds = {0, 0, 9, 9}, .fullScreen = true}, true},
        ShowCase{"PointSmaller", "Keynote", {.title = "Plan", .bounds = {0, 0, 1919, 1080}}, false},
        ShowCase{"OtherTitle", "WPS Office", {.title = "Budget", .bounds = kScreen}, false},
        ShowCase{"OtherProgram", "Editor 2", {.title = "Plan.pptx", .bounds = kScreen}, false},
        ShowCase{"NotListed", "Keynote", {.title = "Plan", .bounds = kScreen, .alpha = 0.5}, false},
        ShowCase{"NotListedEither", "WPS Office", {.title = "Plan", .bounds = kScreen, .layer = 25}, false}),
    [](const auto& instance) { return std::string(instance.param.what); });

TEST_F(TargetTrackingTest, TheLastSlideShowWins) {
    desk.addApplication({.pid = 60, .name = "Keynote"});
    desk.addWindow({.number = 8, .pid = 60, .title = "Plan", .bounds = {0, 0, 300, 200}});
    manager->setTargetWindow(8);
    desk.addWindow({.number = 9, .pid = 60, .title = "Plan", .bounds = kScreen});
    desk.addWindow({.number = 10, .pid = 60, .title = "Plan 2", .bounds = kScreen});
    desk.addWindow({.number = 11, .pid = 60, .title = "", .bounds = kScreen, .alpha = 0.5});
    desk.console.clear();
    // Its own window is still there and told as such first.
    EXPECT_EQ(check(8), (Lines{"normal", "status 0 8 0,0,300,200", "process 4 9 Plan"}));
    const std::string line = "tempWindow title Plan, windowID : 9 ,\n windowTitle Plan ,windowID 8";
    EXPECT_EQ(std::count(desk.console.begin(), desk.console.end(), line), 1);
}

}  // namespace
}  // namespace orvo::test
