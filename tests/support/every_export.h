// Every exported function that all systems have, but the registrations, called as a host calls it in the middle of its
// work.
#pragma once

#include <array>
#include <string>
#include <type_traits>

#include "orvo/screencapture_additions.h"

namespace orvo::test {

// What a host has at hand, and what it does with an answer that may not be.
struct With {
    unsigned int display, window, other;
    void (*expect)(bool);
};

struct ExportCall {
    const char* text;                       // the call as it is written, or the names of several
    std::string (*make)(const With& with);  // answers " = NUMBER" where the call answers one

    // Without arguments.
    std::string names() const { return std::string(text).substr(0, std::string(text).find('(')); }
};

template <typename Call>
std::string answerOf(Call call) {
    if constexpr (std::is_integral_v<decltype(call())>)
        return " = " + std::to_string(call());
    else
        return call(), "";
}

// The answer is a list, or none; both are good, but not a count without a list.
template <typename Item, typename Count, typename Release>
std::string takeList(const With& with, Item* (*list)(Count*), Release release) {
    Count count = 0;
    Item* const items = list(&count);
    with.expect(items || count == 0);
    release(items, count);
    return "";
}

inline std::array<unsigned int, 2> both(const With& with) {
    return {with.window, with.other};
}

#define ORVO_CALL(call)                                                                         \
    ExportCall {                                                                                \
#call, []([[maybe_unused]] const With& with) { return answerOf([&] { return call; }); } \
    }

inline const ExportCall everyExport[] = {
    ORVO_CALL(orvo_screencapture_start_capture()),
    ORVO_CALL(orvo_screencapture_is_capturing()),
    ORVO_CALL(orvo_screencapture_set_fps(5)),
    ORVO_CALL(orvo_screencapture_set_fps(30)),
    ORVO_CALL(orvo_screencapture_set_fps(4)),
    ORVO_CALL(orvo_screencapture_set_fps(31)),
    ORVO_CALL(orvo_screencapture_set_excluded_windows(both(with).data(), 2, true)),
    ORVO_CALL(orvo_screencapture_set_excluded_windows(both(with).data(), 2, false)),
    ORVO_CALL(orvo_screencapture_set_excluded_windows(nullptr, -1, true)),
    ORVO_CALL(orvo_screencapture_set_timestamp_offset(~0ull)),
    ORVO_CALL(orvo_screencapture_set_resolution(640, -1)),
    ORVO_CALL(orvo_screencapture_set_resolution(16, 12)),
    ORVO_CALL(orvo_screencapture_set_resolution_mode(9)),
    ORVO_CALL(orvo_screencapture_set_target_window(0)),
    ORVO_CALL(orvo_screencapture_set_target_window(with.other)),
    ORVO_CALL(orvo_screencapture_set_target_window(with.window)),
    ORVO_CALL(orvo_screencapture_set_extra_target_windows(both(with).data(), 2, true)),
    ORVO_CALL(orvo_screencapture_set_target_window_mode(5)),
    ORVO_CALL(orvo_screencapture_set_target_window_rect(-1, 2, 3, 4)),
    ORVO_CALL(orvo_screencapture_set_target_rect(77, 1, 2, 3, 4)),
    ORVO_CALL(orvo_screencapture_set_target_rect(with.display, 0, 0, 10, 1)),
    ORVO_CALL(orvo_screencapture_set_target_screen(with.display)),
    ORVO_CALL(orvo_screencapture_set_cursor_visible(2)),
    ORVO_CALL(orvo_screencapture_enable_click_animation(0)),
    ORVO_CALL(orvo_screencapture_set_capture_video_pixel_format(7)),
    ORVO_CALL(orvo_screencapture_activate_window_when_capturing(1)),
    {"orvo_screencapture_enum_screen_list orvo_screencapture_free_screen_list",
     [](const With& with) {
         return takeList(with, orvo_screencapture_enum_screen_list,
                         [](auto* list, auto) { orvo_screencapture_free_screen_list(list); });
     }},
    {"orvo_screencapture_enum_window_list orvo_screencapture_free_window_list",
     [](const With& with) {
         return takeList<OrvoScreenCaptureWindowItem, unsigned int>(
             with, [](auto* count) { return orvo_screencapture_enum_window_list(1, count); },
             [](auto* list, auto) { orvo_screencapture_free_window_list(list); });
     }},
    {"orvo_windowthumbnail_find_windows orvo_windowthumbnail_free_windows",
     [](const With& with) {
         return takeList(with, orvo_windowthumbnail_find_windows, orvo_windowthumbnail_free_windows);
     }},
    ORVO_CALL(orvo_windowthumbnail_find_windows_async(false)),
    ORVO_CALL(orvo_screencapture_get_virtual_desktop_rect()),
    {"orvo_screencapture_get_window_rect",
     [](const With& with) {
         OrvoScreenCaptureRect rect{};
         const bool found = orvo_screencapture_get_window_rect(with.window, &rect);
         with.expect(rect.right == 0 || rect.right > rect.left);
         return answerOf([=] { return found; });
     }},
    {"orvo_screencapture_get_window_owner",
     [](const With& with) {
         OrvoScreenCaptureWindowOwner owner = ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT;
         const bool found = orvo_screencapture_get_window_owner(with.window, &owner);
         with.expect(found == (owner.processID != 0));
         return answerOf([=] { return found; });
     }},
    ORVO_CALL(orvo_windowthumbnail_register(with.window)),
    ORVO_CALL(orvo_windowthumbnail_unregister(with.window)),
    ORVO_CALL(orvo_windowthumbnail_show_source_window(with.window, ORVO_SHOW_WINDOW_FRONT)),
    ORVO_CALL(orvo_windowthumbnail_show_source_window(with.window, 3)),
    ORVO_CALL(orvo_windowthumbnail_window_checkStatus(with.window)),
    ORVO_CALL(orvo_windowthumbnail_register(with.window, 0, nullptr)),
    ORVO_CALL(orvo_windowthumbnail_update(0, nullptr)),
    {"orvo_screencapture_get_statistics",
     [](const With&) {
         OrvoScreenCaptureStatistics statistics = ORVO_SCREENCAPTURE_STATISTICS_INIT;
         return answerOf([&] { return orvo_screencapture_get_statistics(&statistics); });
     }},
    ORVO_CALL(orvo_screencapture_version()),
    ORVO_CALL(orvo_screencapture_get_permission(ORVO_PERMISSION_SCREEN_RECORDING)),
    ORVO_CALL(orvo_screencapture_request_permission(ORVO_PERMISSION_ACCESSIBILITY)),
    ORVO_CALL(orvo_screencapture_get_changed_rects(nullptr, 0)),
    ORVO_CALL(orvo_screencapture_stop_capture()),
    ORVO_CALL(orvo_screencapture_uninit()),
    ORVO_CALL(orvo_screencapture_init()),
    {"orvo_screencapture_set_log_level orvo_screencapture_change_log_level",
     [](const With&) {
         orvo_screencapture_set_log_level(-1, "/dev/null");
         orvo_screencapture_change_log_level(-1);
         return std::string();
     }},
};

}  // namespace orvo::test
