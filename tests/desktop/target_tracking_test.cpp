// What the host hears of a target, in which order, how often.
#include "desktop/window_manager_fixture.h"

namespace orvo::test {
namespace {

class TargetTracking : public WindowManagerTest {
  protected:
    void SetUp() override {
        WindowManagerTest::SetUp();
        perform("application 50 Editor, open 7 50 10 20 300 200 Letter, target 7");
    }
};

TEST_F(TargetTracking, FollowsTheApplication) {
    follow(R"(
        check 7 -> normal, status 0 7 10,20,310,220
        activate 50, check 7 -> normal, status 4 7 10,20,310,220, status 0 7 10,20,310,220
        check 7 -> normal, status 0 7 10,20,310,220
        activate 0, hide 50, check 7 -> gone, status 5 7 10,20,310,220, thumbnail 2 7 Letter, status 7 7 10,20,310,220
        check 7 -> gone
        show 50, check 7 -> normal, status 6 7 10,20,310,220, status 0 7 10,20,310,220
        check 7 -> normal, status 0 7 10,20,310,220
    )");
}

TEST_F(TargetTracking, FollowsTheWindow) {
    follow(R"(
        move 7 20.9 -30.9 300 200, check 7 -> normal, moved 7 20,-30 300x200, status 8 7 20,-30,320,169, status 0 7 20,-30,320,169
        moving? 7, check 7, moving? 7 -> moving, normal, status 0 7 20,-30,320,169, still
        minimize 7, check 7, check 7 -> gone, moved 7 0,0 0x0, status 3 7 0,0,0,0, gone, moved 7 0,0 0x0, status 3 7 0,0,0,0
        restore 7, check 7 -> normal, status 0 7 20,-30,320,169
        plug 2 1920 0 800 600, target 2, check 2, check 2 -> normal, normal
        unplug 2, check 2, ask 2 -> gone, error 3, gone
        plug 2 1920 0 800 600, check 2 -> normal
    )");
}

TEST_F(TargetTracking, ReportsAMissingWindowEveryThreeSeconds) {
    follow(R"(
        check 7, close 7, wait 500, check 7 -> normal, status 0 7 10,20,310,220, gone
        wait 2500, check 7 -> gone
        wait 250, check 7 -> gone, status 1 7 10,20,310,220
        wait 1000, check 7, wait 2000, check 7 -> gone, gone
        wait 500, check 7 -> gone, status 1 7 10,20,310,220
        open 8 60 1 1 9 9 Never seen, target 8, wait 4000, quit 60, check 8, check 8 -> gone, status 1 8 1,1,10,10, gone
    )");
}

// What cannot be told from a missing window is not called one.
TEST_F(TargetTracking, DoesNotCallMissingWhatCouldNotBeAsked) {
    follow(R"(
        check 7, wait 4000, activate 50, fail copyElements, check 7 -> normal, status 0 7 10,20,310,220, gone, status 4 7 10,20,310,220
        hide 50, fail canBeAsked, check 7, ask 7 -> gone, gone
        show 50, wait 4000, fail applicationElement, check 7 -> gone, thumbnail 2 7 Letter, status 1 7 10,20,310,220
        ask 7 -> gone
        fail, wait 4000, check 7 -> normal, status 0 7 10,20,310,220
    )");
}

TEST_F(TargetTracking, FollowsATargetFromItsFirstSightOn) {
    heard |= kConsole;
    follow(R"(
        target 9 -> [***] screenID: 1, name Letter  windowID 7
        check 9 -> [***] screenID: 1, name Letter  windowID 7, gone
        check 9 -> gone
        open 9 50 1 2 30 40 Late, check 9 -> [***] screenID: 1, name Late  windowID 9, name Letter  windowID 7, normal, status 0 9 1,2,31,42
        move 9 5 6 30 40, check 9 -> normal, moved 9 5,6 30x40, status 8 9 5,6,35,46, status 0 9 5,6,35,46
    )");
}

// Its record is a new one every time, so that being active is a change every time.
TEST_F(TargetTracking, KeepsUnregisteredTargetsToThemselves) {
    follow(R"(
        forget 7, activate 50, check 7 -> normal, status 4 7 10,20,310,220, status 0 7 10,20,310,220
        check 7 -> normal, status 4 7 10,20,310,220, status 0 7 10,20,310,220
        close 7, check 7 -> gone
    )");
}

TEST_F(TargetTracking, ReportsHardlyAnythingWhenOnlyAsked) {
    follow(R"(
        activate 50, move 7 1 2 3 4, ask 7 -> normal
        unknown 7, ask 7 -> gone
        wait 4000, ask 7 -> gone, status 1 7 1,2,4,6
        minimize 7, ask 7 -> gone
        restore 7, hide 50, ask 7 -> gone
    )");
}

// A version says that nothing has changed; where there is none every check asks.
TEST_F(TargetTracking, ChecksAllWhileTheDesktopHasNoVersion) {
    follow(
        "check 7, fail desktopVersion, check 7 -> normal, status 0 7 10,20,310,220, normal, status 0 7 10,20,310,220");
    const size_t asked = desk.gate.calls("copyElements");
    perform("check 7, minimize 7");
    EXPECT_GT(desk.gate.calls("copyElements"), asked);
    follow("check 7 -> gone, moved 7 0,0 0x0, status 3 7 0,0,0,0");
    perform("restore 7, fail, check 7");
    const size_t before = desk.gate.calls("copyElements");
    perform("check 7");
    EXPECT_EQ(desk.gate.calls("copyElements"), before);
    // The version of before comes back; what was seen meanwhile has to be corrected.
    desk.window(7)->answers["AXPosition"] = {0, platform::Point{50, 60}, 1};
    follow("check 7 -> normal, moved 7 50,60 300x200, status 8 7 50,60,350,260, status 0 7 50,60,350,260");
    desk.window(7)->answers.clear();
    follow("check 7 -> normal, moved 7 10,20 300x200, status 8 7 10,20,310,220, status 0 7 10,20,310,220");
}

TEST_F(TargetTracking, PostsOnlyWhatSomebodyListensToAndNothingAfterTheEnd) {
    perform("hide 50");
    manager->checkTargetWindowStatusIsNormal(7, true);
    manager->notifyWindowPicture(*manager->getItemWithTargetWindow(7), true);
    EXPECT_GT(desk.stepper.pending(mainQueue), 0u);
    settings->shut();
    manager.reset();
    follow("settle");
    manager = std::make_shared<OrvoWindowManager>(std::make_shared<OrvoCaptureSettings>());
    perform("target 7, move 7 1 2 3 4");
    manager->checkTargetWindowStatusIsNormal(7, true);
    EXPECT_EQ(desk.stepper.pending(mainQueue), 0u);
}

TEST_F(TargetTracking, ShowsAndHidesTheSource) {
    heard |= kOrders;
    follow(R"(
        bring 7 1 -> main 7, front 50, activate 50, done
        bring 7 2 -> hide 50, done
        show 50, bring 7 3 -> refused
        bring 99 1, bring 1 1 -> refused, refused
    )");
    desk.window(7)->acceptsMain = false;
    follow("bring 7 1 -> activate 50, refused");  // the application comes forward all the same
}

TEST_F(TargetTracking, ReplacesTheWindowOfADocumentByItsSlideShow) {
    const platform::Rect screen{0, 0, 1920, 1080};
    const struct {
        const char* application;
        ScriptedWindow show;
        bool isTold;
    } cases[] = {
        {"Microsoft PowerPoint", {.title = "Show - Plan.pptx", .bounds = screen}, true},
        {"WPS Office", {.title = "Plan", .bounds = screen}, true},
        {"WPS Office", {.title = "", .bounds = screen}, true},
        {"WPS Office", {.title = "", .bounds = {50, 50, 1920, 1080}}, true},
        {"Keynote", {.title = "Plan.pptx", .bounds = screen}, true},
        {"Keynote", {.title = "Plan", .bounds = {0, 0, 9, 9}, .fullScreen = true}, true},
        {"Keynote", {.title = "Plan", .bounds = {0, 0, 1919, 1080}}, false},
        {"WPS Office", {.title = "Budget", .bounds = screen}, false},
        {"Editor 2", {.title = "Plan.pptx", .bounds = screen}, false},
        {"Keynote", {.title = "Plan", .bounds = screen, .alpha = 0.5}, false},
        {"WPS Office", {.title = "Plan", .bounds = screen, .layer = 25}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.application) + " " + c.show.title);
        TearDown();
        SetUp();
        perform(std::string("application 60 ") + c.application +
                ", open 8 60 0 0 300 200 Plan.pptx, target 8, close 8");
        ScriptedWindow show = c.show;
        show.number = 9;
        show.pid = 60;
        desk.addWindow(show);
        follow("check 8 -> " +
               (c.isTold ? "normal, process 4 9 " + show.title : std::string("gone, status 1 8 0,0,300,200")));
    }
}

TEST_F(TargetTracking, TheLastSlideShowThatIsListedWins) {
    perform("application 60 Keynote, open 8 60 0 0 300 200 Plan, target 8, open 9 60 0 0 1920 1080 Plan");
    perform("open 10 60 0 0 1920 1080 Plan 2, open 11 60 0 0 1920 1080");
    desk.window(11)->alpha = 0.5;
    // Its own window is still there and told as such first, each time.
    follow(R"(
        check 8 -> normal, status 0 8 0,0,300,200, process 4 9 Plan
        check 8 -> normal, status 0 8 0,0,300,200, process 4 9 Plan
    )");
}

}  // namespace
}  // namespace orvo::test
