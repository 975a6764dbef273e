// Every exported function that all systems have, but the registrations, called as a host calls it in the middle of its
// work.
#pragma once

#include "orvo/screencapture_additions.h"

namespace orvo::test {

struct ExportCall {
    // What a host has at hand, and what it does with an answer that may not be.
    struct With {
        unsigned int display, window, otherWindow;
        void (*expect)(bool);
    };
    const char* names;  // as the list of exports has them
    void (*call)(const With&);
};

// The answer is a list, or none; both are good, but not a count without a list.
template <typename Item, typename Count>
void takeList(const ExportCall::With& with, Item* (*list)(Count*), void (*release)(Item*, Count)) {
    Count count = 0;
    Item* const items = list(&count);
    with.expect(items || count == 0);
    release(items, count);
}

using With = ExportCall::With;

// One call whose arguments may be of the host's.
#define ORVO_EXPORT(name, ...)                                              \
    ExportCall {                                                            \
#name, []([[maybe_unused]] const With& with) { name(__VA_ARGS__); } \
    }

inline const ExportCall everyExport[] = {
    ORVO_EXPORT(orvo_screencapture_is_capturing),
    {"orvo_screencapture_get_window_rect",
     [](const With& with) {
         OrvoScreenCaptureRect rect{};
         orvo_screencapture_get_window_rect(with.window, &rect);
         with.expect(rect.right == 0 || rect.right > rect.left);
     }},
    {"orvo_screencapture_get_window_owner",
     [](const With& with) {
         OrvoScreenCaptureWindowOwner owner = ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT;
         const bool found = orvo_screencapture_get_window_owner(with.window, &owner);
         with.expect(found == (owner.processID != 0));
     }},
    {"orvo_screencapture_enum_screen_list orvo_screencapture_free_screen_list",
     [](const With& with) {
         takeList<OrvoScreenCaptureScreenItem, unsigned int>(
             with, orvo_screencapture_enum_screen_list,
             [](auto* list, auto) { orvo_screencapture_free_screen_list(list); });
     }},
    {"orvo_screencapture_enum_window_list orvo_screencapture_free_window_list",
     [](const With& with) {
         takeList<OrvoScreenCaptureWindowItem, unsigned int>(
             with, [](auto* count) { return orvo_screencapture_enum_window_list(1, count); },
             [](auto* list, auto) { orvo_screencapture_free_window_list(list); });
     }},
    {"_Z35orvo_screencapture_enum_window_listiPi _Z35orvo_screencapture_free_window_listP23OrvoThumbnailWindowInfo",
     [](const With& with) {
         takeList<OrvoThumbnailWindowInfo, int>(
             with, [](int* count) { return orvo_screencapture_enum_window_list(1, count); },
             [](auto* list, int count) {
                 count <= 1 ? orvo_screencapture_free_window_list(list)
                            : orvo_windowthumbnail_free_windows(list, count);
             });
     }},
    ORVO_EXPORT(orvo_windowthumbnail_find_windows_async, false),
    {"orvo_windowthumbnail_find_windows orvo_windowthumbnail_free_windows",
     [](const With& with) {
         takeList<OrvoThumbnailWindowInfo, int>(with, orvo_windowthumbnail_find_windows,
                                                orvo_windowthumbnail_free_windows);
     }},
    ORVO_EXPORT(orvo_windowthumbnail_register, with.window),
    {"_Z29orvo_windowthumbnail_registerjiP21OrvoScreenCaptureRect",
     [](const With& with) { orvo_windowthumbnail_register(with.window, 0, nullptr); }},
    {"_Z27orvo_windowthumbnail_updateiP21OrvoScreenCaptureRect",
     [](const With&) { orvo_windowthumbnail_update(0, nullptr); }},
    ORVO_EXPORT(orvo_windowthumbnail_unregister, with.window),
    ORVO_EXPORT(orvo_windowthumbnail_window_checkStatus, with.window),
    ORVO_EXPORT(orvo_windowthumbnail_show_source_window, with.window, ORVO_SHOW_WINDOW_FRONT),
    ORVO_EXPORT(orvo_screencapture_get_virtual_desktop_rect),
    {"orvo_screencapture_get_statistics",
     [](const With&) {
         OrvoScreenCaptureStatistics statistics = ORVO_SCREENCAPTURE_STATISTICS_INIT;
         orvo_screencapture_get_statistics(&statistics);
     }},
    ORVO_EXPORT(orvo_screencapture_version),
    {"orvo_screencapture_get_permission orvo_screencapture_request_permission",
     [](const With&) {
         orvo_screencapture_get_permission(ORVO_PERMISSION_SCREEN_RECORDING);
         orvo_screencapture_request_permission(ORVO_PERMISSION_ACCESSIBILITY);
     }},
    ORVO_EXPORT(orvo_screencapture_set_fps, 30),
    ORVO_EXPORT(orvo_screencapture_set_timestamp_offset, 3),
    ORVO_EXPORT(orvo_screencapture_set_resolution, 16, 12),
    ORVO_EXPORT(orvo_screencapture_set_resolution_mode, 1),
    ORVO_EXPORT(orvo_screencapture_set_target_window_mode, 5),
    ORVO_EXPORT(orvo_screencapture_set_target_window_rect, 0, 0, 5, 1),
    ORVO_EXPORT(orvo_screencapture_set_cursor_visible, 1),
    ORVO_EXPORT(orvo_screencapture_enable_click_animation, 1),
    ORVO_EXPORT(orvo_screencapture_set_capture_video_pixel_format, ORVO_PIXEL_FORMAT_BGRA),
    ORVO_EXPORT(orvo_screencapture_activate_window_when_capturing, 1),
    ORVO_EXPORT(orvo_screencapture_set_target_window, with.window),
    {"orvo_screencapture_set_extra_target_windows",
     [](const With& with) {
         unsigned int extra[] = {with.window, with.otherWindow};
         orvo_screencapture_set_extra_target_windows(extra, 2, true);
     }},
    {"orvo_screencapture_set_excluded_windows",
     [](const With& with) {
         unsigned int excluded[] = {with.window, with.otherWindow};
         orvo_screencapture_set_excluded_windows(excluded, 2, true);
         orvo_screencapture_set_excluded_windows(excluded, 2, false);
     }},
    ORVO_EXPORT(orvo_screencapture_set_target_rect, with.display, 0, 0, 10, 1),
    ORVO_EXPORT(orvo_screencapture_set_target_screen, with.display),
    ORVO_EXPORT(orvo_screencapture_start_capture),
    ORVO_EXPORT(orvo_screencapture_stop_capture),
    ORVO_EXPORT(orvo_screencapture_uninit),
    ORVO_EXPORT(orvo_screencapture_init),
    {"orvo_screencapture_set_log_level orvo_screencapture_change_log_level orvo_screencapture_get_changed_rects",
     [](const With&) {
         OrvoScreenCaptureRect rect;
         orvo_screencapture_get_changed_rects(&rect, 1);
         orvo_screencapture_set_log_level(-1, "/dev/null");
         orvo_screencapture_change_log_level(-1);
     }},
};

}  // namespace orvo::test
