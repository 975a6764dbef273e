// The log core: levels, hooks and the text line. Binary records are in orvosyslog_record.cpp.
#include "xplatform/common/orvosyslog.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "xplatform/common/orvosyslog_line.h"
#include "xplatform/common/orvosyslog_slots.h"
#include "xplatform/common/orvothread.h"

namespace orvo::log {

constinit std::atomic<syslog_binary_hook> s_s_hook{nullptr};
constinit std::atomic<syslog_binary_hook> s_sa_hook{nullptr};

namespace {

constexpr int kAlreadyInstalled = 17;
// The levels' tags, and the empty one of every other level.
constexpr const char* kTags[] = {"[import]", "[error ]", "[warn  ]", "[notice]", "[debug ]", ""};
constexpr int kTagCount = 5;

constinit std::atomic<int> g_loglevel{4};
constinit std::atomic<int> g_a_loglevel{4};
constinit std::atomic<int> g_v_loglevel{4};
constinit std::atomic<int> g_s_loglevel{4};  // stored for binary records; no call reads it, as intended
constinit std::atomic<syslog_text_hook> s_hook{nullptr};
constinit std::atomic<syslog_text_hook> s_a_hook{nullptr};
constinit std::atomic<syslog_text_hook> s_v_hook{nullptr};
constinit std::atomic<syslog_text_hook> s_x_hook{nullptr};
constinit std::atomic<syslog_time_source> s_regulartime_hook{nullptr};

template <class Hook>
int install(std::atomic<Hook>& slot, Hook hook) {
    Hook empty = nullptr;
    if (slot.compare_exchange_strong(empty, hook, std::memory_order_acq_rel)) return 0;
    errno = kAlreadyInstalled;
    return kAlreadyInstalled;
}

bool passes(const std::atomic<int>& gate, int level) {
    return gate.load(std::memory_order_relaxed) >= level;
}

// The text of one second. Lines come many to a second and local time is dear, so each thread keeps its last one.
struct Stamp {
    time_t second = 0;
    size_t length = 0;
    char text[24] = {};

    void set(time_t now) {
        if (length != 0 && second == now) return;
        second = now;
        length = print_local_time(text, sizeof(text), "[%Y-%m-%d %H:%M:%S]", now);
    }
};
constinit thread_local Stamp t_local;
constinit thread_local Stamp t_regular;

void append_header(Line& out, int level, const char* module, int line) {
    t_local.set(time(nullptr));
    out.append(t_local.text, t_local.length);
    if (syslog_time_source source = s_regulartime_hook.load(std::memory_order_acquire)) {
        t_regular.set(static_cast<time_t>(source()));
        out.append(t_regular.text, t_regular.length);
    }
    out.append("[").append_number(static_cast<uint32_t>(orvo_gettickcount())).append("]");
    out.append(kTags[level >= 0 && level < kTagCount ? level : kTagCount]);
    const char* thread = orvothread_getname();
    out.append("[").append(thread ? thread : "unnamed thread").append(":").append_number(orvothread_selfid());
    out.append("][").append(module ? module : "(null)").append(":").append_number(line).append("]: ");
}

}  // namespace
}  // namespace orvo::log

using namespace orvo::log;

extern "C" {

int syslog_setlevel(int level) {
    g_loglevel.store(level, std::memory_order_relaxed);
    return 0;
}

int syslog_setlevel_ex(int channel, int level) {
    if (channel == 0) {
        g_a_loglevel.store(level, std::memory_order_relaxed);
    } else if (channel == 1 || channel == 2) {
        g_v_loglevel.store(level, std::memory_order_relaxed);
        g_s_loglevel.store(level, std::memory_order_relaxed);
    }
    return 0;
}

int syslog_hook(syslog_text_hook hook) {
    return install(s_hook, hook);
}

int syslog_hook_ex(int channel, syslog_text_hook hook) {
    switch (channel) {
        case 0:
            return install(s_a_hook, hook);
        case 1:
            return install(s_v_hook, hook);
        case 3:
            return install(s_x_hook, hook);
        default:
            return 0;
    }
}

int syslog_hook_ex_s(int channel, syslog_binary_hook hook) {
    return channel == 2 ? install(s_s_hook, hook) : 0;
}

int syslog_hook_ex_sa(syslog_binary_hook hook) {
    return install(s_sa_hook, hook);
}

int sysregulartime_hook(syslog_time_source source) {
    return install(s_regulartime_hook, source);
}

syslog_text_hook get_syslog_hook_ex(void) {
    return s_v_hook.load(std::memory_order_acquire);
}

syslog_binary_hook get_syslog_hook_ex_s(void) {
    return s_s_hook.load(std::memory_order_acquire);
}

syslog_binary_hook get_syslog_hook_ex_sa(void) {
    return s_sa_hook.load(std::memory_order_acquire);
}

void orvo_vsyslog(int level, const char* module, int line, const char* format, va_list arguments) {
    syslog_text_hook hook = s_hook.load(std::memory_order_acquire);
    if (hook && passes(g_loglevel, level)) syslogv(hook, level, module, line, format, arguments);
}

void orvo_syslog(int level, const char* module, int line, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    orvo_vsyslog(level, module, line, format, arguments);
    va_end(arguments);
}

void syslog_ex(int channel, int level, const char* module, int line, const char* format, ...) {
    syslog_text_hook hook = nullptr;
    if (channel == 0 && passes(g_a_loglevel, level)) hook = s_a_hook.load(std::memory_order_acquire);
    // Intended: channel 3 is gated by the level of channel 1.
    if (channel == 1 && passes(g_v_loglevel, level)) hook = s_v_hook.load(std::memory_order_acquire);
    if (channel == 3 && passes(g_v_loglevel, level)) hook = s_x_hook.load(std::memory_order_acquire);
    if (!hook) return;
    va_list arguments;
    va_start(arguments, format);
    syslogv(hook, level, module, line, format, arguments);
    va_end(arguments);
}

void syslogv(syslog_text_hook hook, int level, const char* module, int line, const char* format, va_list arguments) {
    if (!hook) return;
    char buffer[kLineSize + kLineSlack];
    Line out(buffer, kLineSize - 1);
    append_header(out, level, module, line);
    print_message(buffer, out.length(), format, arguments);
    hook(level, module, line, buffer, static_cast<int>(out.length()));
}

}  // extern "C"
