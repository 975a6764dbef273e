// Every exported function, called as a host calls it in the middle of its work on displays 1 and 2 and windows 7 and 8.
#pragma once

#include <gtest/gtest.h>

#include "orvo/screencapture_additions.h"

namespace orvo::test {

struct ExportCall {
    const char* name;
    void (*call)();
};

// The answer is a list, or none; both are good, but not a count without a list.
template <typename Item, typename Count>
void takeList(Item* (*list)(Count*), void (*release)(Item*, Count)) {
    Count count = 0;
    Item* const items = list(&count);
    EXPECT_TRUE(items || count == 0);
    release(items, count);
}

inline unsigned int sevenAndEight[] = {7, 8};

inline const ExportCall everyExport[] = {
    {"stop_capture", orvo_screencapture_stop_capture},
    {"set_log_level", [] { orvo_screencapture_set_log_level(-1, "/dev/null"); }},
    {"is_capturing", [] { orvo_screencapture_is_capturing(); }},
    {"set_fps", [] { orvo_screencapture_set_fps(30); }},
    {"set_timestamp_offset", [] { orvo_screencapture_set_timestamp_offset(3); }},
    {"set_resolution", [] { orvo_screencapture_set_resolution(16, 12); }},
    {"set_resolution_mode", [] { orvo_screencapture_set_resolution_mode(1); }},
    {"set_cursor_visible", [] { orvo_screencapture_set_cursor_visible(1); }},
    {"enable_click_animation", [] { orvo_screencapture_enable_click_animation(1); }},
    {"set_pixel_format", [] { orvo_screencapture_set_capture_video_pixel_format(4); }},
    {"set_target_screen", [] { orvo_screencapture_set_target_screen(2); }},
    {"set_target_rect", [] { orvo_screencapture_set_target_rect(1, 0, 0, 10, 1); }},
    {"set_target_window", [] { orvo_screencapture_set_target_window(7); }},
    {"set_extra", [] { orvo_screencapture_set_extra_target_windows(sevenAndEight, 2, true); }},
    {"set_excluded", [] { orvo_screencapture_set_excluded_windows(sevenAndEight, 2, true); }},
    {"set_excluded less", [] { orvo_screencapture_set_excluded_windows(sevenAndEight, 2, false); }},
    {"set_target_window_mode", [] { orvo_screencapture_set_target_window_mode(5); }},
    {"set_target_window_rect", [] { orvo_screencapture_set_target_window_rect(0, 0, 5, 1); }},
    {"activate_window", [] { orvo_screencapture_activate_window_when_capturing(1); }},
    {"enum_screen_list",
     [] {
         takeList<OrvoScreenCaptureScreenItem, unsigned int>(
             orvo_screencapture_enum_screen_list, [](auto* list, auto) { orvo_screencapture_free_screen_list(list); });
     }},
    {"enum_window_list",
     [] {
         takeList<OrvoScreenCaptureWindowItem, unsigned int>(
             [](auto* count) { return orvo_screencapture_enum_window_list(1, count); },
             [](auto* list, auto) { orvo_screencapture_free_window_list(list); });
     }},
    {"enum_window_info",
     [] {
         takeList<OrvoThumbnailWindowInfo, int>(
             [](int* count) { return orvo_screencapture_enum_window_list(1, count); },
             orvo_windowthumbnail_free_windows);
     }},
    {"find_windows_async", [] { orvo_windowthumbnail_find_windows_async(false); }},
    {"find_windows",
     [] {
         takeList<OrvoThumbnailWindowInfo, int>(orvo_windowthumbnail_find_windows, orvo_windowthumbnail_free_windows);
     }},
    {"get_virtual_desktop_rect", orvo_screencapture_get_virtual_desktop_rect},
    {"get_window_rect",
     [] {
         OrvoScreenCaptureRect rect{};
         orvo_screencapture_get_window_rect(7, &rect);
         EXPECT_TRUE(rect.right == 0 || rect.right > rect.left);
     }},
    {"register", [] { orvo_windowthumbnail_register(7); }},
    {"register retired", [] { orvo_windowthumbnail_register(7, 0, nullptr); }},
    {"update retired", [] { orvo_windowthumbnail_update(0, nullptr); }},
    {"checkStatus", [] { orvo_windowthumbnail_window_checkStatus(7); }},
    {"show_source_window", [] { orvo_windowthumbnail_show_source_window(7, ORVO_SHOW_WINDOW_FRONT); }},
    {"unregister", [] { orvo_windowthumbnail_unregister(7); }},
    {"version", [] { orvo_screencapture_version(); }},
    {"get_permission", [] { orvo_screencapture_get_permission(ORVO_PERMISSION_ACCESSIBILITY); }},
    {"request_permission", [] { orvo_screencapture_request_permission(ORVO_PERMISSION_ACCESSIBILITY); }},
    {"get_window_owner",
     [] {
         OrvoScreenCaptureWindowOwner owner;
         const bool found = orvo_screencapture_get_window_owner(7, &owner);
         EXPECT_EQ(found, owner.processID != 0);
     }},
    {"get_statistics",
     [] {
         OrvoScreenCaptureStatistics statistics;
         orvo_screencapture_get_statistics(&statistics);
     }},
    {"start_capture", orvo_screencapture_start_capture},
    {"init", orvo_screencapture_init},
    {"uninit", orvo_screencapture_uninit},
};

}  // namespace orvo::test
