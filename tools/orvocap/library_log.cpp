// The library's log on standard error, which is never mixed with data on standard output.
#include <cstdio>

#include "options.h"
#include "xplatform/common/orvosyslog.h"

namespace orvocap {

void Verbosity::showLog() const {
    if (logLevel < 0 && !isVerbose) return;
    const int level = logLevel < 0 ? ESYSLOG_NOTICE : logLevel;
    syslog_setlevel(level);
    syslog_setlevel_ex(1, level);
    const syslog_text_hook print = [](int, const char*, int, const char* text, int) {
        std::fprintf(stderr, "%s\n", text);
    };
    syslog_hook(print);
    syslog_hook_ex(1, print);
}

}  // namespace orvocap
