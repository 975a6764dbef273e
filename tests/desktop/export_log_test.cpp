// What every control export logs and answers: without the facade, before init, after init, and when its step runs.
#include <functional>
#include <regex>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

struct Export {
    std::string sc;             // its own line
    Lines impl;                 // the facade's
    bool needsSession;          // it says so when there is none
    Lines session;              // the session's at once
    Lines steps;                // the session's when its step runs
    std::function<int()> call;  // answers the result, or -1
    int initialised = -1;       // the result after init; before it 0
    Lines after{};              // the facade's last
};

unsigned int ids[] = {7, 4000000000};

template <typename Call>
std::function<int()> nothingFrom(Call call) {
    return [call] {
        call();
        return -1;
    };
}

std::vector<Export> exports() {
    const Lines isCapture{"CS -[OrvoCaptureSession isCapture]", "CS running state: 0"};
    return {
        {"orvo_screencapture_start_capture",
         {"Impl StartCapture"},
         true,
         {"CS -[OrvoCaptureSession startCapture]", "CS -[OrvoCaptureSession startCapture] no capture source."},
         {},
         nothingFrom(orvo_screencapture_start_capture),
         -1,
         {"Impl CaptureSession is started"}},
        {"orvo_screencapture_stop_capture",
         {"Impl StopCapture"},
         true,
         {"CS -[OrvoCaptureSession stopCapture]"},
         {"CS no capture source"},
         nothingFrom(orvo_screencapture_stop_capture)},
        {"orvo_screencapture_is_capturing",
         {"Impl IsCapture"},
         true,
         {"CS -[OrvoCaptureSession isCapture]", "CS no capture source"},
         {},
         orvo_screencapture_is_capturing,
         0,
         {"Impl provider running state: 0"}},
        {"orvo_screencapture_set_fps, fps: 5",
         {"Impl SetFPS fps: 5"},
         true,
         {"CS -[OrvoCaptureSession setFPS:] fps: 5"},
         {},
         nothingFrom([] { orvo_screencapture_set_fps(5); })},
        {"orvo_screencapture_set_fps, fps: 30",
         {"Impl SetFPS fps: 30"},
         true,
         {"CS -[OrvoCaptureSession setFPS:] fps: 30"},
         {},
         nothingFrom([] { orvo_screencapture_set_fps(30); })},
        {"orvo_screencapture_set_fps, fps: 4",
         {"Impl SetFPS fps: 4", "Impl Fps out of range"},
         false,
         {},
         {},
         nothingFrom([] { orvo_screencapture_set_fps(4); })},
        {"orvo_screencapture_set_fps, fps: 31",
         {"Impl SetFPS fps: 31", "Impl Fps out of range"},
         false,
         {},
         {},
         nothingFrom([] { orvo_screencapture_set_fps(31); })},
        {"orvo_screencapture_set_excluded_windows",
         {},
         true,
         {"CS setExcludeWindows 7 is reduce", "CS setExcludeWindows 4000000000 is reduce"},
         {},
         nothingFrom([] { orvo_screencapture_set_excluded_windows(ids, 2, false); })},
        {"orvo_screencapture_set_excluded_windows", {}, true, {}, {}, nothingFrom([] {
             orvo_screencapture_set_excluded_windows(nullptr, -1, true);
         })},
        {"orvo_screencapture_set_timestamp_offset, 18446744073709551615",
         {"Impl SetTimeStampOffset, timestamp offset: 18446744073709551615"},
         false,
         {"CS -[OrvoCaptureSession setTimeStampOffset:], timestamp offset 18446744073709551615"},
         {},
         nothingFrom([] { orvo_screencapture_set_timestamp_offset(~0ull); })},
        {"orvo_screencapture_set_resolution,width 640 , height-1",
         {"Impl SetResolution,SetResolutionwidth 640 , height-1"},
         false,
         {},
         {},
         nothingFrom([] { orvo_screencapture_set_resolution(640, -1); })},
        {"orvo_screencapture_set_resolution_mode ADDRESS",
         {"Impl SetTargetWindowResolutionMode, ResolutionMode: 9"},
         true,
         {"CS -[OrvoCaptureSession setTargetWindowResolutionMode:], ResolutionMode: 9"},
         isCapture,
         nothingFrom([] { orvo_screencapture_set_resolution_mode(9); })},
        {"orvo_screencapture_set_target_window, 4000000000",
         {"Impl SetTargetWindow, window handle: 4000000000"},
         true,
         {"CS -[OrvoCaptureSession setTargetWindow:], window handle: -294967296"},
         isCapture,
         [] { return orvo_screencapture_set_target_window(4000000000); },
         1},
        {"orvo_screencapture_set_target_window, 0",
         {"Impl SetTargetWindow, window handle: 1"},
         true,
         {"CS -[OrvoCaptureSession setTargetWindow:], window handle: 1"},
         isCapture,
         [] { return orvo_screencapture_set_target_window(0); },
         1},
        {"orvo_screencapture_set_extra_target_windows, 2",
         {},
         true,
         {"CS setExtraWindows 7 is add", "CS setExtraWindows 4000000000 is add"},
         {},
         [] { return orvo_screencapture_set_extra_target_windows(ids, 2, true); },
         1},
        {"orvo_screencapture_set_target_window_mode, 5",
         {"Impl SetTargetWindowMode, window mode: 5"},
         true,
         {"CS -[OrvoCaptureSession setTargetWindowMode:], window mode: 5"},
         isCapture,
         [] { return orvo_screencapture_set_target_window_mode(5); },
         1},
        {"orvo_screencapture_set_target_window_rect, left: -1, top: 2, width: 3, height: 4",
         {},
         true,
         {"CS -[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:], pos: (-1, 2), size: (3, 4)"},
         {"CS second -[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:]_block_invoke, pos: (-1, 2), "
          "size: (3, 4)",
          isCapture[0], isCapture[1]},
         [] { return orvo_screencapture_set_target_window_rect(-1, 2, 3, 4); },
         1},
        {"orvo_screencapture_set_target_rect, screenID: 1, left: 10, top: 100, width: 800, height: 500",
         {"Impl SetTargetRect, screenID: 1, pos:(10, 100), size:(800, 500)"},
         true,
         {"CS -[OrvoCaptureSession setTargetScreen:], screen id: 1",
          "CS first -[OrvoCaptureSession setTargetRect:left:top:width:height:], screenID: 1, pos: (10, 100), size: "
          "(800, 500)"},
         {isCapture[0], isCapture[1],
          "CS second -[OrvoCaptureSession setTargetRect:left:top:width:height:]_block_invoke, screenID: 1, pos: (10, "
          "100), size: (800, 500)",
          "CS the screenSize is width:1920.000000 height:1080.000000", isCapture[0], isCapture[1],
          "CS -[OrvoCaptureSession setTargetRect:left:top:width:height:]_block_invoke, screenID: 1,cropRect "
          "x:10.000000 y:480.000000 width:800.000000 height:500.000000"},
         [] { return orvo_screencapture_set_target_rect(1, 10, 100, 800, 500); },
         1},
        {"orvo_screencapture_set_target_rect, screenID: 77, left: 1, top: 2, width: 3, height: 4",
         {"Impl SetTargetRect, screenID: 77, pos:(1, 2), size:(3, 4)"},
         true,
         {"CS -[OrvoCaptureSession setTargetWindow:], window handle: 77",
          "CS -[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:], pos: (1, 2), size: (3, 4)"},
         {isCapture[0], isCapture[1],
          "CS second -[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:]_block_invoke, pos: (1, 2), size: "
          "(3, 4)",
          isCapture[0], isCapture[1]},
         [] { return orvo_screencapture_set_target_rect(77, 1, 2, 3, 4); },
         1,
         {"Impl screenID is not screen"}},
        {"orvo_screencapture_set_target_screen, 1",
         {"Impl SetTargetScreen, screen name: 1"},
         true,
         {"CS -[OrvoCaptureSession setTargetScreen:], screen id: 1"},
         isCapture,
         [] { return orvo_screencapture_set_target_screen(1); },
         0},  // false, also on success
        {"orvo_screencapture_set_cursor_visible, 2",
         {"Impl SetCursorVisible, visible state: 1"},
         true,
         {"CS -[OrvoCaptureSession setCursorVisible:], visible state: 1"},
         {},
         nothingFrom([] { orvo_screencapture_set_cursor_visible(2); })},
        {"orvo_screencapture_enable_click_animation, 0",
         {"Impl EnableMouseClickAnimation, animation state: 0"},
         true,
         {"CS -[OrvoCaptureSession enableMouseClickAnimation:], animation state: 0"},
         {},
         nothingFrom([] { orvo_screencapture_enable_click_animation(0); })},
        {"orvo_screencapture_set_capture_video_pixel_format  7", {}, true, {}, {}, nothingFrom([] {
             orvo_screencapture_set_capture_video_pixel_format(7);
         })},
    };
}

void append(Lines& lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

// The export's log, its own line in front; the mode's line shows an address.
Lines logOf(const Export& each, int& result) {
    result = each.call();
    Lines lines = takeLog();
    static const std::regex addressed("(SC orvo_screencapture_set_resolution_mode )-?[0-9]+");
    for (auto& line : lines) line = std::regex_replace(line, addressed, "$1ADDRESS");
    return lines;
}

class ExportLog : public DesktopTest {};

TEST_F(ExportLog, WithoutFacadeEachExportLogsItsNameAndAnswersNothing) {
    OrvoScreenCaptureImpl* facade = std::exchange(g_pScreenCaptureImpl, nullptr);
    for (const auto& each : exports()) {
        int result = 0;
        EXPECT_EQ(logOf(each, result), Lines{"SC " + each.sc});
        EXPECT_LE(result, 0) << each.sc;
    }
    orvo_screencapture_init();
    orvo_screencapture_uninit();
    host.listen();
    g_pScreenCaptureImpl = facade;
    for (const auto& line : takeLog()) EXPECT_NE(line.rfind("Impl", 0), 0u) << line;
}

TEST_F(ExportLog, BeforeInitTheMissingSessionIsNamedAndTheAnswerIsNeutral) {
    for (const auto& each : exports()) {
        Lines expected{"SC " + each.sc};
        append(expected, each.impl);
        if (each.needsSession) expected.push_back("Impl Capture Session not exists");
        if (each.needsSession && each.after != Lines{"Impl screenID is not screen"}) append(expected, each.after);
        int result = 0;
        EXPECT_EQ(logOf(each, result), expected);
        EXPECT_LE(result, 0) << each.sc;
    }
    desk.stepper.settle();
    EXPECT_TRUE(desk.devices.empty());
}

TEST_F(ExportLog, AfterInitTheSessionAndItsStepsLog) {
    for (const auto& each : exports()) {
        init();
        Lines expected{"SC " + each.sc};
        append(expected, each.impl);
        append(expected, each.session);
        append(expected, each.after);
        int result = 0;
        EXPECT_EQ(logOf(each, result), expected);
        EXPECT_EQ(result, each.initialised) << each.sc;
        runSteps();
        EXPECT_EQ(takeLog(), each.steps) << each.sc;
        orvo_screencapture_uninit();
        desk.stepper.settle();
    }
}

TEST_F(ExportLog, LifeIsToldStepByStep) {
    orvo_screencapture_init();
    EXPECT_EQ(takeLog(),
              (Lines{"SC orvo_screencapture_init", "Impl Init", "CS -[OrvoCaptureSession initWithSettings:]",
                     "CS -[OrvoCaptureSession initCaptureSession]", "CS -[OrvoCaptureSession setFPS:] fps: 15",
                     "CS -[OrvoCaptureSession setCursorVisible:], visible state: 1",
                     "CS -[OrvoCaptureSession enableMouseClickAnimation:], animation state: 0"}));
    orvo_screencapture_init();
    EXPECT_EQ(takeLog(), (Lines{"SC orvo_screencapture_init", "Impl Init", "Impl Init already init"}));
    EXPECT_EQ(desk.devices.size(), 1u);
    orvo_screencapture_uninit();
    EXPECT_EQ(takeLog(),
              (Lines{"SC orvo_screencapture_uninit", "Impl UnInit", "Impl StopCapture",
                     "CS -[OrvoCaptureSession stopCapture]", "CS -[OrvoCaptureSession unInitCaptureSession]"}));
    orvo_screencapture_activate_window_when_capturing(1);
    EXPECT_EQ(takeLog(), Lines{"SC this method is abandon，use orvo_windowthumbnail_show_source_window instead "
                               "orvo_screencapture_activate_window_when_capturing, 1"});
}

TEST_F(ExportLog, ExcludedWindowsTurnDisplaysIntoWindowTargets) {
    init();
    orvo_screencapture_set_excluded_windows(ids, 1, true);
    takeLog();
    EXPECT_FALSE(orvo_screencapture_set_target_screen(1));
    EXPECT_EQ(takeLog(), (Lines{"SC orvo_screencapture_set_target_screen, 1", "Impl SetTargetScreen, screen name: 1",
                                "CS -[OrvoCaptureSession setTargetWindow:], window handle: 1",
                                "Impl excludeWindows count is exists"}));
    EXPECT_TRUE(orvo_screencapture_set_target_rect(1, 1, 2, 3, 4));
    const Lines log = takeLog();
    ASSERT_EQ(log.size(), 5u);
    EXPECT_EQ(log[2], "CS -[OrvoCaptureSession setTargetWindow:], window handle: 1");
    EXPECT_EQ(log[4], "Impl excludeWindows count is exists");
    runSteps();
    EXPECT_TRUE(desk.device().journal.empty());
}

TEST_F(ExportLog, RegistrationsShowBothPointers) {
    // Before init they are lost, so that nobody calls these.
    const auto callback = [](auto type) { return reinterpret_cast<decltype(type)>(0x10); };
    void* const user = reinterpret_cast<void*>(0x20);
    orvo_screencapture_reg_capture_error_notify(callback(orvo_capture_error_callback{}), user);
    orvo_screencapture_reg_captured_window_moved_notify(callback(orvo_window_moved_callback{}), user);
    orvo_screencapture_reg_captured_frame_available_notify(callback(orvo_frame_callback{}), user);
    orvo_screencapture_reg_mutiple_captured_frame_available_notify(callback(orvo_window_frame_callback{}), user);
    orvo_screencapture_reg_captured_window_status_change_notify(callback(orvo_window_status_callback{}), user);
    orvo_screencapture_reg_capture_process_window_change_notify(callback(orvo_process_window_callback{}), user);
    orvo_windowthumbnail_reg_window_status_change_notify(callback(orvo_thumbnail_callback{}), user);
    Lines expected;
    for (const char* name :
         {"SC orvo_screencapture_reg_capture_error_notify", "SC orvo_screencapture_reg_captured_window_moved_notify",
          "SC orvo_screencapture_reg_captured_frame_available_notify",
          "SC orvo_screencapture_reg_mutiple_captured_frame_available_notify",
          "SC orvo_screencapture_reg_captured_window_status_change_notify",
          "SC orvo_screencapture_reg_capture_process_window_change_notify",
          "Thumbnail orvo_windowthumbnail_reg_window_status_change_notify"}) {
        append(expected, {name, "Impl registerCallback, callback:0x10 user data:0x20"});
    }
    EXPECT_EQ(takeLog(), expected);
}

TEST_F(ExportLog, ListsTellWhatTheyFound) {
    desk.addDisplay({.number = 2, .bounds = {1920, 0, 8, 6}});
    desk.addWindow({.number = 7, .pid = 100, .title = "Letter", .bounds = {0, 0, 40, 30}});
    init();
    unsigned int count = 0;
    int windowCount = 0;
    OrvoScreenCaptureScreenItem* screens = nullptr;
    OrvoThumbnailWindowInfo* windows = nullptr;
    OrvoScreenCaptureWindowItem* plain = nullptr;
    OrvoScreenCaptureRect rect;
    const Lines windowList{"Impl EnumWindowList", "Impl find out window 7, title: Letter",
                           "Impl find out window time 0.000000 ms", "Impl window list ptr: Nll, count: 1"};
    const struct {
        std::function<void()> call;
        Lines lines;
    } cases[] = {
        {[&] { screens = orvo_screencapture_enum_screen_list(&count); },
         {"SC orvo_screencapture_enum_screen_list", "Impl EnumScreenList", "Impl find out screen: 1, is primary: 1",
          "Impl find out screen: 2, is primary: 0", "Impl screen list ptr: Nll, count: 2"}},
        {[&] { orvo_screencapture_free_screen_list(screens); },
         {"SC orvo_screencapture_free_screen_list", "Impl FreeScreenList, screen list ptr: Nll"}},
        {[&] { windows = orvo_windowthumbnail_find_windows(&windowCount); },
         {"Thumbnail orvo_windowthumbnail_find_windows", "Impl EnumWindowList", "Impl find out window 1, title: desk 1",
          "Impl find out window 2, title: desk 2", "Impl find out window 7, title: Letter",
          "Impl find out window time 0.000000 ms", "Impl window list ptr: Nll, count: 3"}},
        {[&] { orvo_windowthumbnail_free_windows(windows, windowCount); },
         {"Thumbnail orvo_windowthumbnail_free_windows", "Impl FreeWindowList, window list ptr: Nll"}},
        {[&] { plain = orvo_screencapture_enum_window_list(1, &count); },
         {"SC orvo_screencapture_enum_window_list", windowList[0], windowList[1], windowList[2], windowList[3]}},
        {[&] { orvo_screencapture_free_window_list(plain); }, {"SC orvo_screencapture_free_window_list"}},
        {[&] { windows = orvo_screencapture_enum_window_list(1, &windowCount); },
         {"SC orvo_screencapture_enum_window_list", windowList[0], windowList[1], windowList[2], windowList[3]}},
        {[&] { orvo_screencapture_free_window_list(windows); },
         {"SC orvo_screencapture_free_window_list", "Impl FreeWindowList, window list ptr: Nll"}},
        {[&] { orvo_windowthumbnail_find_windows_async(false); }, {}},
        {[] { orvo_screencapture_get_virtual_desktop_rect(); }, {"SC orvo_screencapture_get_virtual_desktop_rect"}},
        {[&] { orvo_screencapture_get_window_rect(7, &rect); }, {"SC orvo_screencapture_get_window_rect"}},
        {[] { orvo_windowthumbnail_register(7); },
         {"Thumbnail orvo_windowthumbnail_register", "Impl RegistTargetWindow"}},
        {[] { orvo_windowthumbnail_unregister(7); },
         {"Thumbnail orvo_windowthumbnail_unregister", "Impl UnRegistTargetWindow"}},
        {[] { orvo_windowthumbnail_show_source_window(7, 3); },
         {"Thumbnail orvo_windowthumbnail_show_source_window", "Impl ShowTargetWindow"}},
        {[] { orvo_windowthumbnail_window_checkStatus(7); },
         {"Thumbnail orvo_windowthumbnail_window_checkStatus", "Impl CheckTargetWindow"}},
        {[&] { orvo_windowthumbnail_register(7, 0, &rect); }, {"Thumbnail orvo_windowthumbnail_register"}},
        {[&] { orvo_windowthumbnail_update(0, &rect); }, {"Thumbnail orvo_windowthumbnail_update"}},
    };
    const std::regex address("ptr: [0-9]+ll");
    for (const auto& each : cases) {
        each.call();
        Lines lines = takeLog();
        for (auto& line : lines) line = std::regex_replace(line, address, "ptr: Nll");
        EXPECT_EQ(lines, each.lines);
    }
    EXPECT_EQ(rect.right, 40);
}

}  // namespace
}  // namespace orvo::test
