// The log's hook, its level, and the jobs that it posts to the log thread.
#include "ScreenCapture/log/orvo_log.h"

#include <signal.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
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

// On the log thread only. Never destroyed: that thread may still write while the process ends.
LogFiles& files() {
    static LogFiles& instance = *new LogFiles;
    return instance;
}

// What waits for the log thread, in order. Lines that come while a batch of them waits join it, so that a burst costs
// each caller little more than a copy.
class Waiting {
  public:
    void run_on(BASE::COrvoQueueRunner* runner, CORVOTaskBase* task) {
        const std::lock_guard lock(mutex_);
        runner_ = runner;
        task_ = task;
        batch_.reset();
    }
    void post(std::function<void()>&& job) {
        const std::lock_guard lock(mutex_);
        batch_.reset();  // later lines stay behind the job
        if (runner_ && task_) runner_->AsyncRun(std::move(job), task_);
    }
    void add(const char* text, size_t length) {
        const std::lock_guard lock(mutex_);
        if (!runner_ || !task_) return;
        if (batch_) {
            batch_->append(text, length + 1);
            return;
        }
        const auto batch = std::make_shared<std::string>(text, length + 1);
        batch_ = batch;
        if (!push(batch)) batch_.reset();
    }

  private:
    bool push(const std::shared_ptr<std::string>& batch) {
        try {
            return runner_->AsyncRun([this, batch] { write(batch); }, task_) != 0;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    // On the log thread: the lines stand one after the other, each with its terminating zero.
    void write(const std::shared_ptr<std::string>& batch) {
        {
            const std::lock_guard lock(mutex_);
            if (batch_ == batch) batch_.reset();
        }
        char* const end = batch->data() + batch->size();
        for (char* line = batch->data(); line < end;) {
            const size_t length = strlen(line);
            sym_encrypt(line);
            files().write({line, length}, g_LogLevel.load(std::memory_order_relaxed) == ESYSLOG_DEBUG);
            line += length + 1;
        }
    }

    std::recursive_mutex mutex_;  // a push that fails writes a line itself
    BASE::COrvoQueueRunner* runner_ = nullptr;
    CORVOTaskBase* task_ = nullptr;
    std::shared_ptr<std::string> batch_;
};

Waiting& waiting() {
    static Waiting& instance = *new Waiting;
    return instance;
}

// Set in a forked child.
constinit std::atomic<bool> left{false};

void post(std::function<void()>&& job) {
    if (!left) waiting().post(std::move(job));
}

// What a log file still holds is written by the thread that exits: a limit on the size of files must not end the
// process there.
void block_size_signal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
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
    waiting().run_on(new_runner, new_task);
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
    [[maybe_unused]] static const int registered = atexit(block_size_signal);
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
    const size_t length = strlen(text);
    if (g_LogLevel.load(std::memory_order_relaxed) >= level) echo(level, text, length);
    if (left || g_LogLevel.load(std::memory_order_relaxed) < level) return;
    try {
        waiting().add(text, length);
    } catch (const std::bad_alloc&) {
        // No memory for the line: the echo has to do.
    }
}

}  // namespace ORVO::ScreenCapture
