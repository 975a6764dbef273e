// The exported control functions: each writes its line and passes the call on.
#include <cstdint>

#include "ScreenCapture/api/facade_call.h"

#define SC_LOG(...) COMPONENT_LOG("SC", __VA_ARGS__)

using orvo::api::ask;
using orvo::api::call;
using Facade = OrvoScreenCaptureImpl;

void orvo_screencapture_init(void) {
    SC_LOG("%s", __func__);
    call([](Facade& facade) { facade.Init(); });
}

void orvo_screencapture_uninit(void) {
    SC_LOG("%s", __func__);
    call([](Facade& facade) { facade.UnInit(); });
}

void orvo_screencapture_set_log_level(int level, const char* logFolder) {
    SC_LOG("%s log level:%d log folder:%s", __func__, level, logFolder ? logFolder : "(null)");
    call([=](Facade& facade) { facade.SetLogLevel(level, logFolder); });
}

void orvo_screencapture_start_capture(void) {
    SC_LOG("%s", __func__);
    call([](Facade& facade) { facade.StartCapture(); });
}

void orvo_screencapture_stop_capture(void) {
    SC_LOG("%s", __func__);
    call([](Facade& facade) { facade.StopCapture(); });
}

bool orvo_screencapture_is_capturing(void) {
    SC_LOG("%s", __func__);
    return ask(false, [](Facade& facade) { return facade.IsCapture(); });
}

void orvo_screencapture_set_fps(int fps) {
    SC_LOG("%s, fps: %d", __func__, fps);
    call([=](Facade& facade) { facade.SetFPS(fps); });
}

void orvo_screencapture_set_excluded_windows(unsigned int* windows, int count, bool add) {
    SC_LOG("%s", __func__);
    call([=](Facade& facade) { facade.SetExcludeWindows(windows, count, add); });
}

void orvo_screencapture_set_timestamp_offset(unsigned long long offset) {
    SC_LOG("%s, %llu", __func__, offset);
    call([=](Facade& facade) { facade.SetTimeStampOffset(offset); });
}

void orvo_screencapture_set_resolution(int width, int height) {
    SC_LOG("%s,width %d , height%d", __func__, width, height);
    call([=](Facade& facade) { facade.SetResolution(width, height); });
}

void orvo_screencapture_set_resolution_mode(OrvoScreenCaptureResolutionMode mode) {
    // The one placeholder shows the name's address, not the mode; that is intended.
    SC_LOG("orvo_screencapture_set_resolution_mode %d", static_cast<int>(reinterpret_cast<intptr_t>(__func__)), mode);
    call([=](Facade& facade) { facade.SetTargetWindowResolutionMode(mode); });
}

bool orvo_screencapture_set_target_window(unsigned int windowID) {
    SC_LOG("%s, %u", __func__, windowID);
    return ask(false, [=](Facade& facade) {
        return facade.SetTargetWindow(windowID != 0 ? windowID : orvo::platform::platform().displays().mainDisplay());
    });
}

bool orvo_screencapture_set_extra_target_windows(unsigned int* windows, int count, bool add) {
    SC_LOG("%s, %u", __func__, static_cast<unsigned int>(count));
    return ask(false, [=](Facade& facade) { return facade.SetExtraWindows(windows, count, add); });
}

bool orvo_screencapture_set_target_window_mode(OrvoScreenCaptureWindowMode mode) {
    SC_LOG("%s, %d", __func__, mode);
    return ask(false, [=](Facade& facade) { return facade.SetTargetWindowMode(mode); });
}

bool orvo_screencapture_set_target_window_rect(int left, int top, int width, int height) {
    SC_LOG("%s, left: %d, top: %d, width: %d, height: %d", __func__, left, top, width, height);
    return ask(false, [=](Facade& facade) { return facade.SetTargetWindowRect(left, top, width, height); });
}

bool orvo_screencapture_set_target_rect(unsigned int screenID, int left, int top, int width, int height) {
    SC_LOG("%s, screenID: %u, left: %d, top: %d, width: %d, height: %d", __func__, screenID, left, top, width, height);
    return ask(false, [=](Facade& facade) { return facade.SetTargetRect(screenID, left, top, width, height); });
}

bool orvo_screencapture_set_target_screen(unsigned int screenID) {
    SC_LOG("%s, %u", __func__, screenID);
    call([=](Facade& facade) { facade.SetTargetScreen(screenID); });
    return false;  // also on success; hosts rely on nothing else
}

void orvo_screencapture_set_cursor_visible(int visible) {
    SC_LOG("%s, %d", __func__, visible);
    call([=](Facade& facade) { facade.SetCursorVisible(visible != 0); });
}

void orvo_screencapture_enable_click_animation(int enable) {
    SC_LOG("%s, %d", __func__, enable);
    call([=](Facade& facade) { facade.EnableMouseClickAnimation(enable != 0); });
}

void orvo_screencapture_set_capture_video_pixel_format(OrvoScreenCaptureVideoPixelFormat format) {
    SC_LOG("%s  %d", __func__, format);
    call([=](Facade& facade) { facade.SetCatureVideoPixelFormat(format); });
}

void orvo_screencapture_activate_window_when_capturing(int activate) {
    SC_LOG("this method is abandon，use orvo_windowthumbnail_show_source_window instead %s, %u", __func__,
           static_cast<unsigned int>(activate));
}
