// Captures what the base library logs.
#include "support/runtime/log_lines.h"

#include <mutex>
#include <utility>

#include "xplatform/common/orvosyslog.h"

namespace support {

namespace {

std::mutex g_lock;
std::vector<LogLine> g_lines;

void keep(int level, const char* module, int line, const char* text, int prefix) {
    const std::lock_guard guard(g_lock);
    g_lines.push_back({level, module != nullptr ? module : "", line, text + prefix});
}

}  // namespace

void capture_log() {
    syslog_hook(keep);
    syslog_setlevel(ESYSLOG_DEBUG);
    take_log();
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

}  // namespace support
