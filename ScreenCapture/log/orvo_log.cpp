// The log's hook, its level, and the jobs that it posts to the log thread.
#include "ScreenCapture/log/orvo_log.h"

#include <pthread.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include "ScreenCapture/log/leave_log.h"
#include "ScreenCapture/log/orvo_log_files.h"
#include "ScreenCapture/log/sym_encrypt.h"
#include "xplatform/common/orvosyslog.h"
#include "xplatform/common/orvosyslog_line.h"

namespace ORVO::ScreenCapture {

namespace {

constexpr char kModule[] = "OrvoLog";
constexpr char kRule[] = "-------------------------------------------";
constexpr int kLastFramedLevel = ESYSLOG_WARN;

constinit std::atomic<int> g_LogLevel{ESYSLOG_DEBUG};

// Who runs the jobs. Posting holds the lock for reading, so that who takes the two away knows that nobody uses them.
constinit pthread_rwlock_t runner_lock = PTHREAD_RWLOCK_INITIALIZER;
constinit BASE::COrvoQueueRunner* runner = nullptr;
constinit CORVOTaskBase* task = nullptr;

// On the log thread only. Never destroyed: that thread may still write while the process ends.
LogFiles& files() {
    static LogFiles& instance = *new LogFiles;
    return instance;
}

struct ReadLock {
    ReadLock() { pthread_rwlock_rdlock(&runner_lock); }
    ~ReadLock() { pthread_rwlock_unlock(&runner_lock); }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;
};

// Set in a forked child.
constinit std::atomic<bool> left{false};

void post(std::function<void()>&& job) {
    if (left) return;
    const ReadLock lock;
    if (runner && task) runner->AsyncRun(std::move(job), task);
}

void echo(int level, const char* text) {
    size_t length = strlen(text);
    while (length > 1 && (text[length - 1] == '\n' || text[length - 1] == '\r')) --length;
    bool framed = level >= ESYSLOG_IMPORT && level <= kLastFramedLevel;
    flockfile(stdout);  // so that the lines of two threads do not mix
    if (framed) puts("++");
    fwrite(text, 1, length, stdout);
    putc('\n', stdout);
    if (framed) puts(kRule);
    funlockfile(stdout);
}

}  // namespace

void run_log_on(BASE::COrvoQueueRunner* new_runner, CORVOTaskBase* new_task) {
    pthread_rwlock_wrlock(&runner_lock);
    runner = new_runner;
    task = new_task;
    pthread_rwlock_unlock(&runner_lock);
}

void leave_log() {
    left = true;
}

void init_log(const char* path0, const char* path1, const char* path2, unsigned long long maxSize) {
    struct Paths {
        std::string each[3];
    };
    post([paths = Paths{{path0, path1, path2}}, maxSize] { files().init(paths.each, maxSize); });
    syslog_hook_ex(1, orvo_log_hook);
    syslog_hook(orvo_log_hook);
    post([] { files().open(); });
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
    time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    size_t prefix = strftime(buffer, sizeof(buffer), "[%Y-%m-%d %H:%M:%S][orvo] ", &local);
    va_list arguments;
    va_start(arguments, format);
    orvo::log::print_message(buffer, prefix, format, arguments);
    va_end(arguments);
    puts(buffer);
}

void orvo_log_hook(int level, const char* /*module*/, int /*line*/, const char* text, int /*prefixLength*/) {
    if (!text) return;
    if (g_LogLevel.load(std::memory_order_relaxed) >= level) echo(level, text);
    if (g_LogLevel.load(std::memory_order_relaxed) < level) return;
    try {
        std::string scrambled(text);
        sym_encrypt(scrambled.data());
        post([line = std::move(scrambled)] {
            files().write(line, g_LogLevel.load(std::memory_order_relaxed) == ESYSLOG_DEBUG);
        });
    } catch (const std::bad_alloc&) {
        // No memory for the line: the echo has to do.
    }
}

}  // namespace ORVO::ScreenCapture
