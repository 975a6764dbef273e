// Every export that may ask the server, one after the other, with the time that each takes.
#include <chrono>
#include <sstream>

#include "told_host.h"

namespace {

// Lists are freed with the count that came with them.
struct Lists {
    unsigned int screenCount = 0, itemCount = 0;
    int infoCount = 0, foundCount = 0;
    OrvoScreenCaptureScreenItem* screens = nullptr;
    OrvoScreenCaptureWindowItem* items = nullptr;
    OrvoThumbnailWindowInfo* infos = nullptr;
    OrvoThumbnailWindowInfo* found = nullptr;
};

std::vector<Call> everyCall(Lists& l, unsigned int display, unsigned int window) {
    static OrvoScreenCaptureRect rect{};
    static OrvoScreenCaptureStatistics figures{};
    static OrvoScreenCaptureWindowOwner owner{};
    const OrvoPixelBufferRef kept = seen.kept;
    return {
        {"orvo_screencapture_is_capturing", [] { orvo_screencapture_is_capturing(); }},
        {"orvo_screencapture_get_window_rect", [=] { orvo_screencapture_get_window_rect(window, &rect); }},
        {"orvo_screencapture_get_window_owner", [=] { orvo_screencapture_get_window_owner(window, &owner); }},
        {"orvo_screencapture_enum_screen_list",
         [&] { l.screens = orvo_screencapture_enum_screen_list(&l.screenCount); }},
        {"orvo_screencapture_free_screen_list", [&] { orvo_screencapture_free_screen_list(l.screens); }},
        {"orvo_screencapture_enum_window_list",
         [&] { l.items = orvo_screencapture_enum_window_list(1, &l.itemCount); }},
        {"orvo_screencapture_free_window_list", [&] { orvo_screencapture_free_window_list(l.items); }},
        {"_Z35orvo_screencapture_enum_window_listiPi",
         [&] { l.infos = orvo_screencapture_enum_window_list(0, &l.infoCount); }},
        {"_Z35orvo_screencapture_free_window_listP23OrvoThumbnailWindowInfo",
         [&] {
             l.infoCount <= 1 ? orvo_screencapture_free_window_list(l.infos)
                              : orvo_windowthumbnail_free_windows(l.infos, l.infoCount);
         }},
        {"orvo_windowthumbnail_find_windows_async", [] { orvo_windowthumbnail_find_windows_async(false); }},
        {"orvo_windowthumbnail_find_windows", [&] { l.found = orvo_windowthumbnail_find_windows(&l.foundCount); }},
        {"orvo_windowthumbnail_free_windows", [&] { orvo_windowthumbnail_free_windows(l.found, l.foundCount); }},
        {"orvo_windowthumbnail_register", [=] { orvo_windowthumbnail_register(window); }},
        {"_Z29orvo_windowthumbnail_registerjiP21OrvoScreenCaptureRect",
         [=] { orvo_windowthumbnail_register(window, 1, &rect); }},
        {"_Z27orvo_windowthumbnail_updateiP21OrvoScreenCaptureRect", [] { orvo_windowthumbnail_update(1, &rect); }},
        {"orvo_windowthumbnail_unregister", [=] { orvo_windowthumbnail_unregister(window); }},
        {"orvo_windowthumbnail_window_checkStatus", [=] { orvo_windowthumbnail_window_checkStatus(window); }},
        {"orvo_windowthumbnail_show_source_window",
         [=] { orvo_windowthumbnail_show_source_window(window, ORVO_SHOW_WINDOW_FRONT); }},
        {"orvo_screencapture_get_virtual_desktop_rect", [] { orvo_screencapture_get_virtual_desktop_rect(); }},
        {"orvo_screencapture_get_statistics", [] { orvo_screencapture_get_statistics(&figures); }},
        {"orvo_screencapture_version", [] { orvo_screencapture_version(); }},
        {"orvo_screencapture_get_permission",
         [] { orvo_screencapture_get_permission(ORVO_PERMISSION_SCREEN_RECORDING); }},
        {"orvo_screencapture_request_permission",
         [] { orvo_screencapture_request_permission(ORVO_PERMISSION_ACCESSIBILITY); }},
        {"orvo_screencapture_set_fps", [] { orvo_screencapture_set_fps(30); }},
        {"orvo_screencapture_set_timestamp_offset", [] { orvo_screencapture_set_timestamp_offset(0); }},
        {"orvo_screencapture_set_resolution", [] { orvo_screencapture_set_resolution(0, 0); }},
        {"orvo_screencapture_set_resolution_mode",
         [] { orvo_screencapture_set_resolution_mode(ORVO_RESOLUTION_MODE_FIT); }},
        {"orvo_screencapture_set_target_window_mode",
         [] { orvo_screencapture_set_target_window_mode(ORVO_WINDOW_MODE_WINDOW); }},
        {"orvo_screencapture_set_target_window_rect", [] { orvo_screencapture_set_target_window_rect(0, 0, 0, 0); }},
        {"orvo_screencapture_set_cursor_visible", [] { orvo_screencapture_set_cursor_visible(1); }},
        {"orvo_screencapture_enable_click_animation", [] { orvo_screencapture_enable_click_animation(1); }},
        {"orvo_screencapture_set_capture_video_pixel_format",
         [] { orvo_screencapture_set_capture_video_pixel_format(ORVO_PIXEL_FORMAT_BGRA); }},
        {"orvo_screencapture_activate_window_when_capturing",
         [] { orvo_screencapture_activate_window_when_capturing(1); }},
        {"orvo_screencapture_set_target_window", [=] { orvo_screencapture_set_target_window(window); }},
        {"orvo_screencapture_set_extra_target_windows",
         [=] {
             unsigned int extra = window;
             orvo_screencapture_set_extra_target_windows(&extra, 1, true);
         }},
        {"orvo_screencapture_set_excluded_windows",
         [=] {
             unsigned int excluded = window;
             orvo_screencapture_set_excluded_windows(&excluded, 1, false);
         }},
        {"orvo_screencapture_set_target_rect", [=] { orvo_screencapture_set_target_rect(display, 8, 8, 100, 80); }},
        {"orvo_screencapture_set_target_screen", [=] { orvo_screencapture_set_target_screen(display); }},
        {"orvo_screencapture_start_capture", [] { orvo_screencapture_start_capture(); }},
        {"orvo_pixelbuffer_retain", [=] { orvo_pixelbuffer_retain(kept); }},
        {"orvo_pixelbuffer_lock", [=] { orvo_pixelbuffer_lock(kept); }},
        {"orvo_pixelbuffer_get_width", [=] { orvo_pixelbuffer_get_width(kept); }},
        {"orvo_pixelbuffer_get_height", [=] { orvo_pixelbuffer_get_height(kept); }},
        {"orvo_pixelbuffer_get_bytes_per_row", [=] { orvo_pixelbuffer_get_bytes_per_row(kept); }},
        {"orvo_pixelbuffer_get_base_address", [=] { orvo_pixelbuffer_get_base_address(kept); }},
        {"orvo_pixelbuffer_unlock", [=] { orvo_pixelbuffer_unlock(kept); }},
        {"orvo_pixelbuffer_release", [=] { orvo_pixelbuffer_release(kept); }},
        {"orvo_screencapture_stop_capture", [] { orvo_screencapture_stop_capture(); }},
        {"orvo_screencapture_uninit", [] { orvo_screencapture_uninit(); }},
        {"orvo_screencapture_init", [] { orvo_screencapture_init(); }},
        {"orvo_screencapture_set_log_level", [] { orvo_screencapture_set_log_level(1, "/dev/null"); }},
        {"orvo_screencapture_run_main_queue", [] { orvo_screencapture_run_main_queue(1); }},
    };
}

}  // namespace

std::string callEveryExport(unsigned int display, unsigned int window) {
    using Clock = std::chrono::steady_clock;
    Lists lists;
    std::ostringstream answer;
    const auto timed = [&](const Call& each) {
        const auto start = Clock::now();
        each.call();
        const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
        answer << each.name << ' ' << spent.count() << ' ';
    };
    for (const Call& each : everyCall(lists, display, window)) timed(each);
    for (const Call& each : registrations()) timed(each);
    return answer.str();
}
