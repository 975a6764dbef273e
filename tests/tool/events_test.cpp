// What orvocap watch and log print: names, lines, JSON, and which repetitions are left out.
#include "tools/orvocap/events.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/orvocap/log.h"

namespace orvocap {
namespace {

using Kind = Event::Kind;

TEST(Events, AreOneLineEach) {
    struct Case {
        Event event;
        const char* line;
        const char* json;
    };
    const Case cases[] = {
        {{.kind = Kind::status, .window = 4194318, .code = 3},
         "    0.000 status    4194318    3 minimized  0x0 at 0,0",
         R"({"seconds":0.0,"kind":"status","window":4194318,"code":3,"name":"minimized",
             "bounds":{"x":0,"y":0,"width":0,"height":0}})"},
        {{.kind = Kind::error, .code = 3, .seconds = 12.0004},
         "   12.000 error     -          3 no-content  the target shows nothing any more, or is gone",
         R"({"seconds":12.0,"kind":"error","code":3,"name":"no-content"})"},
        {{.kind = Kind::process, .window = 7, .code = 4, .title = "a\n\"b\"\xff"},
         "    0.000 process   7          4 new-window  \"a\\n\\\"b\\\"\xEF\xBF\xBD\"",
         R"({"seconds":0.0,"kind":"process","window":7,"code":4,"name":"new-window","title":"a\n\"b\"\ufffd"})"},
    };
    for (const auto& [event, line, json] : cases) {
        EXPECT_EQ(eventLine(event), line);
        EXPECT_EQ(nlohmann::json::parse(eventJson(event)), nlohmann::json::parse(json)) << line;
    }
}

TEST(EventFilter, LeavesOutWhatAWindowHasSaidLast) {
    struct Case {
        const char* name;
        Event event;
        bool isNew;
    };
    const OrvoScreenCaptureRect here{0, 0, 10, 10}, there{5, 0, 15, 10};
    const Case cases[] = {
        {"first", {.kind = Kind::status, .window = 1, .code = 0, .rect = here}, true},
        {"again, later", {.kind = Kind::status, .window = 1, .code = 0, .rect = here, .seconds = 1}, false},
        {"another window", {.kind = Kind::status, .window = 2, .code = 0, .rect = here}, true},
        {"another kind in between", {.kind = Kind::moved, .window = 1, .rect = there}, true},
        {"still the same", {.kind = Kind::status, .window = 1, .code = 0, .rect = here}, false},
        {"another code", {.kind = Kind::status, .window = 1, .code = 8, .rect = there}, true},
        {"another place", {.kind = Kind::status, .window = 1, .code = 0, .rect = there}, true},
        {"back again", {.kind = Kind::status, .window = 1, .code = 0, .rect = here}, true},
        {"the other window has not moved", {.kind = Kind::status, .window = 2, .code = 0, .rect = here}, false},
    };
    EventFilter filter;
    for (const Case& each : cases) EXPECT_EQ(filter.isNew(each.event), each.isNew) << each.name;
}

TEST(LogLines, BecomeJson) {
    EXPECT_EQ(logJson("[2021-03-04 05:06:07][1][notice ][unnamed thread:4711][SC:12]: first [x]: y\n"),
              R"({"time":"2021-03-04 05:06:07","level":"notice","thread":"unnamed thread:4711","source":"SC:12",)"
              R"("text":"first [x]: y"})"
              "\n");
    EXPECT_EQ(logJson("[2021-03-04 05:06:07][1][notice\n*** \"\xFF\n"),
              "{\"text\":\"[2021-03-04 05:06:07][1][notice\"}\n{\"text\":\"*** \\\"\xEF\xBF\xBD\"}\n");
}

}  // namespace
}  // namespace orvocap
