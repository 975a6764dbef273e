// Events as text: the names of their codes, one line each.
#include "events.h"

#include <cmath>
#include <cstdio>
#include <iterator>
#include <nlohmann/json.hpp>

#include "capture.h"
#include "terminal.h"

namespace orvocap {

namespace {

struct CodeName {
    Event::Kind kind;
    int code;
    const char* name;
};

constexpr CodeName codeNames[] = {
    {Event::Kind::status, ORVO_WINDOW_STATUS_NORMAL, "normal"},
    {Event::Kind::status, ORVO_WINDOW_STATUS_MISSING, "missing"},
    {Event::Kind::status, ORVO_WINDOW_STATUS_MINIMIZED, "minimized"},
    {Event::Kind::status, ORVO_WINDOW_STATUS_ACTIVE, "active"},
    {Event::Kind::status, ORVO_WINDOW_STATUS_INACTIVE, "inactive"},
    {Event::Kind::status, ORVO_WINDOW_STATUS_SHOWN, "shown"},
    {Event::Kind::status, ORVO_WINDOW_STATUS_HIDDEN, "hidden"},
    {Event::Kind::status, ORVO_WINDOW_STATUS_MOVED, "moved"},
    {Event::Kind::thumbnail, ORVO_THUMBNAIL_HIDDEN_OR_GONE, "hidden-or-gone"},
    {Event::Kind::thumbnail, ORVO_THUMBNAIL_PICTURE, "picture"},
    {Event::Kind::process, 4, "new-window"},
    {Event::Kind::error, ORVO_CAPTURE_ERROR_NO_SOURCE, "no-source"},
    {Event::Kind::error, ORVO_CAPTURE_ERROR_NO_CONTENT, "no-content"},
    {Event::Kind::error, ORVO_CAPTURE_ERROR_INTERRUPTED, "interrupted"},
};

const char* codeName(const Event& event) {
    for (const auto& [kind, code, name] : codeNames) {
        if (kind == event.kind && code == event.code) return name;
    }
    return "unknown";
}

const char* kindName(Event::Kind kind) {
    static constexpr const char* names[] = {"moved", "status", "process", "thumbnail", "error"};
    return names[static_cast<int>(kind)];
}

std::string boundsText(const OrvoScreenCaptureRect& rect) {
    char text[64];
    std::snprintf(text, sizeof text, "%dx%d at %d,%d", rect.right - rect.left, rect.bottom - rect.top, rect.left,
                  rect.top);
    return text;
}

// A title is whatever a program has set; it must not break the line.
std::string quoted(const std::string& title) {
    return Json(title).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string valuesText(const Event& event) {
    const std::string code = std::to_string(event.code) + " " + codeName(event);
    switch (event.kind) {
        case Event::Kind::moved:
            return boundsText(event.rect);
        case Event::Kind::status:
            return code + "  " + boundsText(event.rect);
        case Event::Kind::error:
            return code + "  " + captureErrorText(event.code);
        default:
            return code + "  " + quoted(event.title);
    }
}

}  // namespace

bool Event::tellsTheSameAs(const Event& other) const {
    return kind == other.kind && window == other.window && code == other.code && title == other.title &&
           rect.left == other.rect.left && rect.top == other.rect.top && rect.right == other.rect.right &&
           rect.bottom == other.rect.bottom;
}

std::string eventLine(const Event& event) {
    char start[64];
    const std::string window = event.window ? std::to_string(event.window) : "-";
    std::snprintf(start, sizeof start, "%9.3f %-9s %-10s ", event.seconds, kindName(event.kind), window.c_str());
    return start + valuesText(event);
}

std::string eventJson(const Event& event) {
    Json json = {{"seconds", std::round(event.seconds * 1000) / 1000}, {"kind", kindName(event.kind)}};
    if (event.window) json["window"] = event.window;
    if (event.kind != Event::Kind::moved) {
        json["code"] = event.code;
        json["name"] = codeName(event);
    }
    if (event.kind == Event::Kind::moved || event.kind == Event::Kind::status) {
        json["bounds"] = {{"x", event.rect.left},
                          {"y", event.rect.top},
                          {"width", event.rect.right - event.rect.left},
                          {"height", event.rect.bottom - event.rect.top}};
    }
    if (!event.title.empty()) json["title"] = event.title;
    return jsonLine(json);
}

bool EventFilter::isNew(const Event& event) {
    const auto [last, isFirst] = last_.try_emplace({event.kind, event.window}, event);
    if (!isFirst && last->second.tellsTheSameAs(event)) return false;
    last->second = event;
    return true;
}

}  // namespace orvocap
