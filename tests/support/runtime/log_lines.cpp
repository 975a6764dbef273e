// Captures what the base library logs.
#include "support/runtime/log_lines.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <utility>

namespace support {

namespace {

std::mutex g_lock;
std::vector<LogLine> g_lines;

constexpr size_t kLongestLine = 10239;

std::atomic<syslog_text_hook> g_route{nullptr};

void keep(int level, const char* module, int line, const char* text, int prefix) {
    if (syslog_text_hook route = g_route) return route(level, module, line, text, prefix);
    const bool marked = strlen(text) == kLongestLine && memcmp(text + kLongestLine + 1, "...", 4) == 0;
    const std::lock_guard guard(g_lock);
    g_lines.push_back({level, module != nullptr ? module : "", line, text + prefix, text, marked});
}

}  // namespace

void capture_log() {
    route_log(nullptr);
    syslog_setlevel(ESYSLOG_DEBUG);
    for (int channel : {0, 1}) syslog_setlevel_ex(channel, ESYSLOG_DEBUG);
    take_log();
}

void route_log(syslog_text_hook hook) {
    static const bool installed = [] {
        for (int channel : {0, 1, 3}) syslog_hook_ex(channel, keep);
        return syslog_hook(keep) == 0;
    }();
    static_cast<void>(installed);
    g_route = hook;
}

std::vector<LogLine> take_log() {
    const std::lock_guard guard(g_lock);
    return std::exchange(g_lines, {});
}

std::vector<std::string> take_messages(const std::string& module) {
    std::vector<std::string> messages;
    for (const LogLine& line : take_log()) {
        if (line.module == module) messages.push_back(std::to_string(line.level) + " " + line.message);
    }
    return messages;
}

std::string assertion(const std::string& file, int line, const std::string& function, const std::string& text) {
    const std::string place = file + ".*" + (line > 0 ? std::to_string(line) : "");
    return place + ".*" + function + ".*" + text + "|" + text + ".*" + function + ".*" + place;
}

}  // namespace support
