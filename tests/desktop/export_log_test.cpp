// What every control export logs and answers: without the facade, before init, after init, and when its step runs.
#include <functional>
#include <regex>
#include <sstream>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

// One call and its lines. What stands in front of a line says when it comes: nothing: always; "+": with a session, in
// its place "Impl Capture Session not exists" without one; "*": with a session, else nothing; "~": when the step runs.
// "!": nothing with a session, without one as "+".
struct Export {
    const char* lines;
    std::function<void()> call;
};

unsigned int ids[] = {7, 4000000000};
constexpr int noAnswer = -1;
int answer = noAnswer;  // of the last call that has one

const Export exports[] = {
    {R"(SC orvo_screencapture_start_capture
Impl StartCapture
+CS -[OrvoCaptureSession startCapture]
+CS -[OrvoCaptureSession startCapture] no capture source.
Impl CaptureSession is started)",
     orvo_screencapture_start_capture},
    {R"(SC orvo_screencapture_stop_capture
Impl StopCapture
+CS -[OrvoCaptureSession stopCapture]
~CS no capture source)",
     orvo_screencapture_stop_capture},
    {R"(SC orvo_screencapture_is_capturing
Impl IsCapture
+CS -[OrvoCaptureSession isCapture]
+CS no capture source
Impl provider running state: 0)",
     [] { EXPECT_FALSE(orvo_screencapture_is_capturing()); }},
    {R"(SC orvo_screencapture_set_fps, fps: 5
Impl SetFPS fps: 5
+CS -[OrvoCaptureSession setFPS:] fps: 5)",
     [] { orvo_screencapture_set_fps(5); }},
    {R"(SC orvo_screencapture_set_fps, fps: 30
Impl SetFPS fps: 30
+CS -[OrvoCaptureSession setFPS:] fps: 30)",
     [] { orvo_screencapture_set_fps(30); }},
    {R"(SC orvo_screencapture_set_fps, fps: 4
Impl SetFPS fps: 4
Impl Fps out of range)",
     [] { orvo_screencapture_set_fps(4); }},
    {R"(SC orvo_screencapture_set_fps, fps: 31
Impl SetFPS fps: 31
Impl Fps out of range)",
     [] { orvo_screencapture_set_fps(31); }},
    {R"(SC orvo_screencapture_set_excluded_windows
+CS setExcludeWindows 7 is reduce
+CS setExcludeWindows 4000000000 is reduce)",
     [] { orvo_screencapture_set_excluded_windows(ids, 2, false); }},
    {R"(SC orvo_screencapture_set_excluded_windows
!)",
     [] { orvo_screencapture_set_excluded_windows(nullptr, -1, true); }},
    {R"(SC orvo_screencapture_set_timestamp_offset, 18446744073709551615
Impl SetTimeStampOffset, timestamp offset: 18446744073709551615
*CS -[OrvoCaptureSession setTimeStampOffset:], timestamp offset 18446744073709551615)",
     [] { orvo_screencapture_set_timestamp_offset(~0ull); }},
    {R"(SC orvo_screencapture_set_resolution,width 640 , height-1
Impl SetResolution,SetResolutionwidth 640 , height-1)",
     [] { orvo_screencapture_set_resolution(640, -1); }},
    {R"(SC orvo_screencapture_set_resolution_mode ADDRESS
Impl SetTargetWindowResolutionMode, ResolutionMode: 9
+CS -[OrvoCaptureSession setTargetWindowResolutionMode:], ResolutionMode: 9
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0)",
     [] { orvo_screencapture_set_resolution_mode(9); }},
    {R"(SC orvo_screencapture_set_target_window, 4000000000
Impl SetTargetWindow, window handle: 4000000000
+CS -[OrvoCaptureSession setTargetWindow:], window handle: -294967296
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0)",
     [] { answer = orvo_screencapture_set_target_window(4000000000); }},
    {R"(SC orvo_screencapture_set_target_window, 0
Impl SetTargetWindow, window handle: 1
+CS -[OrvoCaptureSession setTargetWindow:], window handle: 1
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0)",
     [] { answer = orvo_screencapture_set_target_window(0); }},
    {R"(SC orvo_screencapture_set_extra_target_windows, 2
+CS setExtraWindows 7 is add
+CS setExtraWindows 4000000000 is add)",
     [] { answer = orvo_screencapture_set_extra_target_windows(ids, 2, true); }},
    {R"(SC orvo_screencapture_set_target_window_mode, 5
Impl SetTargetWindowMode, window mode: 5
+CS -[OrvoCaptureSession setTargetWindowMode:], window mode: 5
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0)",
     [] { answer = orvo_screencapture_set_target_window_mode(5); }},
    {R"(SC orvo_screencapture_set_target_window_rect, left: -1, top: 2, width: 3, height: 4
+CS -[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:], pos: (-1, 2), size: (3, 4)
~CS second -[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:]_block_invoke, pos: (-1, 2), size: (3, 4)
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0)",
     [] { answer = orvo_screencapture_set_target_window_rect(-1, 2, 3, 4); }},
    {R"(SC orvo_screencapture_set_target_rect, screenID: 1, left: 10, top: 100, width: 800, height: 500
Impl SetTargetRect, screenID: 1, pos:(10, 100), size:(800, 500)
+CS -[OrvoCaptureSession setTargetScreen:], screen id: 1
+CS first -[OrvoCaptureSession setTargetRect:left:top:width:height:], screenID: 1, pos: (10, 100), size: (800, 500)
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0
~CS second -[OrvoCaptureSession setTargetRect:left:top:width:height:]_block_invoke, screenID: 1, pos: (10, 100), size: (800, 500)
~CS the screenSize is width:1920.000000 height:1080.000000
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0
~CS -[OrvoCaptureSession setTargetRect:left:top:width:height:]_block_invoke, screenID: 1,cropRect x:10.000000 y:480.000000 width:800.000000 height:500.000000)",
     [] { answer = orvo_screencapture_set_target_rect(1, 10, 100, 800, 500); }},
    {R"(SC orvo_screencapture_set_target_rect, screenID: 77, left: 1, top: 2, width: 3, height: 4
Impl SetTargetRect, screenID: 77, pos:(1, 2), size:(3, 4)
+CS -[OrvoCaptureSession setTargetWindow:], window handle: 77
+CS -[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:], pos: (1, 2), size: (3, 4)
+Impl screenID is not screen
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0
~CS second -[OrvoCaptureSession setTargetWindowRectLeft:top:width:height:]_block_invoke, pos: (1, 2), size: (3, 4)
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0)",
     [] { answer = orvo_screencapture_set_target_rect(77, 1, 2, 3, 4); }},
    {R"(SC orvo_screencapture_set_target_screen, 1
Impl SetTargetScreen, screen name: 1
+CS -[OrvoCaptureSession setTargetScreen:], screen id: 1
~CS -[OrvoCaptureSession isCapture]
~CS running state: 0)",
     [] { EXPECT_FALSE(orvo_screencapture_set_target_screen(1)) << "also on success"; }},
    {R"(SC orvo_screencapture_set_cursor_visible, 2
Impl SetCursorVisible, visible state: 1
+CS -[OrvoCaptureSession setCursorVisible:], visible state: 1)",
     [] { orvo_screencapture_set_cursor_visible(2); }},
    {R"(SC orvo_screencapture_enable_click_animation, 0
Impl EnableMouseClickAnimation, animation state: 0
+CS -[OrvoCaptureSession enableMouseClickAnimation:], animation state: 0)",
     [] { orvo_screencapture_enable_click_animation(0); }},
    {R"(SC orvo_screencapture_set_capture_video_pixel_format  7
!)",
     [] { orvo_screencapture_set_capture_video_pixel_format(7); }},
};

// Of an export's lines those that come at once, or those of its step.
Lines expected(const Export& each, bool session, bool step = false) {
    const std::string notExists = "Impl Capture Session not exists";
    Lines lines;
    std::istringstream text(each.lines);
    for (std::string line; std::getline(text, line);) {
        const char when = line[0];
        const bool marked = std::string("+*~!").find(when) != std::string::npos;
        if (step != (when == '~')) continue;
        if (!marked || step || (session && when != '!')) {
            lines.push_back(marked ? line.substr(1) : line);
        } else if (!session && when != '*' && lines.back() != notExists) {
            lines.push_back(notExists);
        }
    }
    return lines;
}

// What the call logs; the mode's line shows an address.
Lines logOf(const Export& each) {
    static const std::regex addressed("(SC orvo_screencapture_set_resolution_mode )-?[0-9]+");
    answer = noAnswer;
    each.call();
    Lines lines = takeLog();
    for (auto& line : lines) line = std::regex_replace(line, addressed, "$1ADDRESS");
    return lines;
}

class ExportLog : public DesktopTest {};

TEST_F(ExportLog, WithoutFacadeEachExportLogsItsNameAndAnswersNothing) {
    OrvoScreenCaptureImpl* facade = std::exchange(g_pScreenCaptureImpl, nullptr);
    for (const auto& each : exports) {
        EXPECT_EQ(logOf(each), Lines{expected(each, false)[0]});
        EXPECT_LE(answer, 0) << each.lines;
    }
    orvo_screencapture_init();
    orvo_screencapture_uninit();
    host.listen();
    g_pScreenCaptureImpl = facade;
    for (const auto& line : takeLog()) EXPECT_NE(line.rfind("Impl", 0), 0u) << line;
}

TEST_F(ExportLog, BeforeInitTheMissingSessionIsNamedAndTheAnswerIsNeutral) {
    for (const auto& each : exports) {
        EXPECT_EQ(logOf(each), expected(each, false));
        EXPECT_LE(answer, 0) << each.lines;
    }
    desk.stepper.settle();
    EXPECT_TRUE(desk.devices.empty());
}

TEST_F(ExportLog, AfterInitTheSessionAndItsStepsLog) {
    for (const auto& each : exports) {
        init();
        EXPECT_EQ(logOf(each), expected(each, true));
        EXPECT_NE(answer, 0) << each.lines;
        runSteps();
        EXPECT_EQ(takeLog(), expected(each, true, true));
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
    Lines lines;
    for (const char* name :
         {"SC orvo_screencapture_reg_capture_error_notify", "SC orvo_screencapture_reg_captured_window_moved_notify",
          "SC orvo_screencapture_reg_captured_frame_available_notify",
          "SC orvo_screencapture_reg_mutiple_captured_frame_available_notify",
          "SC orvo_screencapture_reg_captured_window_status_change_notify",
          "SC orvo_screencapture_reg_capture_process_window_change_notify",
          "Thumbnail orvo_windowthumbnail_reg_window_status_change_notify"}) {
        lines.insert(lines.end(), {name, "Impl registerCallback, callback:0x10 user data:0x20"});
    }
    EXPECT_EQ(takeLog(), lines);
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
