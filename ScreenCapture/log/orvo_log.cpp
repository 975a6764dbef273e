// The log's hook, its level, and the jobs that it posts to the log thread.
#include "ScreenCapture/log/orvo_log.h"

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "ScreenCapture/log/log_queue.h"
#include "ScreenCapture/log/orvo_log_files.h"
#include "ScreenCapture/log/sym_encrypt.h"
#include "xplatform/common/orvosyslog.h"
#include "xplatform/common/orvosyslog_line.h"

namespace ORVO::ScreenCapture {

namespace {

constexpr char kModule[] = "OrvoLog";
constexpr char kRule[] = "-------------------------------------------";
constexpr int kLastFramedLevel = ESYSLOG_WARN;
constexpr std::chrono::milliseconds kMaxFlushTime{200};

constinit std::atomic<int> g_LogLevel{ESYSLOG_DEBUG};

// On the log thread only. Never destroyed: that thread may still write while the process ends.
LogFiles& files() {
    static LogFiles& instance = *new LogFiles;
    return instance;
}

void write_line(char* text, size_t length) {
    sym_encrypt(text);
    files().write({text, length}, g_LogLevel.load(std::memory_order_relaxed) == ESYSLOG_DEBUG);
}

void write_dropped(unsigned int lines) {
    std::string text = "*** lines dropped, because too many waited: " + std::to_string(lines);
    write_line(text.data(), text.size());
}

LogQueue& queue() {
    static LogQueue& instance = *new LogQueue({write_line, write_dropped});
    return instance;
}

// Set in a forked child: its lines are echoed only, and those that wait are the parent's to write.
constinit std::atomic<bool> stopped{false};

void post(std::function<void()>&& job) {
    if (!stopped) queue().post(std::move(job));
}

void flush_at_exit() {
    try {
        flush_log();
    } catch (const std::bad_alloc&) {
        // The lines are lost: an exception here would end the process in another way.
    }
}

void echo(int level, const char* text, size_t length) {
    while (length > 1 && (text[length - 1] == '\n' || text[length - 1] == '\r')) --length;
    bool framed = level >= ESYSLOG_IMPORT && level <= kLastFramedLevel;
    flockfile(stdout);  // so that the lines of two threads do not mix
    if (framed) puts("++");
    fwrite(text, 1, length, stdout);
    putc_unlocked('\n', stdout);
    if (framed) puts(kRule);
    funlockfile(stdout);
}

}  // namespace

void run_log_on(BASE::COrvoQueueRunner* new_runner, CORVOTaskBase* new_task) {
    queue().run_on(new_runner, new_task);
}

void flush_log() {
    CORVOTaskBase* const task = stopped ? nullptr : queue().running_task();
    if (!task || task == CORVOTaskBase::GetCurrentTask()) return;
    const auto flushed = std::make_shared<std::promise<void>>();
    const std::future<void> done = flushed->get_future();
    queue().post([flushed] {
        files().flush();
        flushed->set_value();
    });
    done.wait_for(kMaxFlushTime);
}

void init_log(const char* path0, const char* path1, const char* path2, unsigned long long maxSize) {
    // A forked child has no log thread, and locks on the way to it may be held for ever.
    [[maybe_unused]] static const int at_fork = pthread_atfork(nullptr, nullptr, [] { stopped = true; });
    [[maybe_unused]] static const int at_exit = atexit(flush_at_exit);
    syslog_hook_ex(1, orvo_log_hook);
    syslog_hook(orvo_log_hook);
    for (const char* path : {path0, path1, path2}) {
        if (path && strlen(path) <= LogFiles::kMaxPath) continue;
        syslog_ex(1, ESYSLOG_ERROR, kModule, __LINE__,
                  "init_log illegal argument: no path, or a longer one than 511 bytes");
        return;
    }
    post([paths = LogFiles::Paths{path0, path1, path2}, maxSize] {
        files().init(paths, maxSize);
        files().open();
    });
    syslog_ex(1, ESYSLOG_NOTICE, kModule, __LINE__, "*** SDK Version: %s", ORVO_VERSION_TEXT);
}

void set_log_level(int level) {
    g_LogLevel.store(level, std::memory_order_relaxed);
}

void close_log() {
    post([] { files().close(); });
}

void remove_log_after_upload() {
    post([] {
        files().reset();
        syslog_ex(1, ESYSLOG_NOTICE, kModule, __LINE__, "[remove_log_after_upload]");
    });
}

void verbose_output(const char* format, ...) {
    char buffer[orvo::log::kLineSize + orvo::log::kLineSlack];
    const size_t prefix =
        orvo::log::print_local_time(buffer, sizeof(buffer), "[%Y-%m-%d %H:%M:%S][orvo] ", time(nullptr));
    va_list arguments;
    va_start(arguments, format);
    orvo::log::print_message(buffer, prefix, format, arguments);
    va_end(arguments);
    puts(buffer);
}

void orvo_log_hook(int level, const char* /*module*/, int /*line*/, const char* text, int /*prefixLength*/) {
    if (!text) return;
    const size_t length = strlen(text);
    if (g_LogLevel.load(std::memory_order_relaxed) >= level) echo(level, text, length);
    if (stopped || g_LogLevel.load(std::memory_order_relaxed) < level) return;
    try {
        queue().add(text, length);
    } catch (const std::bad_alloc&) {
        // No memory for the line: the echo has to do.
    }
}

}  // namespace ORVO::ScreenCapture
