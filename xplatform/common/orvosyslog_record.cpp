// The log core's binary records.
#include <sys/time.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "xplatform/common/orvosyslog.h"
#include "xplatform/common/orvosyslog_slots.h"
#include "xplatform/common/orvothread.h"

namespace orvo::log {
namespace {

constexpr size_t kUsualRecordSize = 10240;  // a longer record makes its block grow
constexpr unsigned char kHeaderEnd = 0x7F;
constexpr unsigned char kNullString = 0xFF;
constexpr unsigned char kTrailer[] = {0xFF, 0xFE, 0xFF};
constexpr size_t kThreadIdSize = 4;

class Record {
  public:
    Record() { bytes_.reserve(kUsualRecordSize); }

    const unsigned char* data() const { return bytes_.data(); }
    int length() const { return static_cast<int>(bytes_.size()); }

    void append(const void* data, size_t length) {
        auto first = static_cast<const unsigned char*>(data);
        bytes_.insert(bytes_.end(), first, first + length);
    }
    void append_byte(unsigned char byte) { bytes_.push_back(byte); }
    void append_integer(uint64_t value, int size) {
        for (int i = 0; i < size; ++i) append_byte(static_cast<unsigned char>(value >> (8 * i)));
    }

    void append_time(int kind) {
        timeval now{};
        gettimeofday(&now, nullptr);
        uint64_t ms = static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_usec) / 1000;
        append_integer(ms, 6);
        for (int i = 6; i < 8; ++i) {
            if (auto byte = static_cast<unsigned char>(ms >> (8 * i))) append_byte(byte);
        }
        bytes_.back() = static_cast<unsigned char>(bytes_.back() + kind);
    }

    void append_thread() {
        if (const char* name = orvothread_getname()) {
            append(name, strlen(name));
            return;
        }
        char digits[16];
        snprintf(digits, sizeof(digits), "%4d", orvothread_selfid());
        append(digits, kThreadIdSize);  // intended: a wider id counts as four bytes too
    }

    void append_string(const char* text) {
        if (text) {
            append(text, strlen(text) + 1);
        } else {
            append_byte(kNullString);
        }
    }

    void append_double(double value) {
        char text[400];  // the largest double has 309 digits before its point
        append(text, static_cast<size_t>(snprintf(text, sizeof(text), "%.2f", value)));
    }

  private:
    std::vector<unsigned char> bytes_;
};

void append_values(Record& record, int count, va_list arguments) {
    for (int i = 0; i < count; ++i) {
        switch (va_arg(arguments, int)) {
            case 1:
                record.append_integer(static_cast<unsigned>(va_arg(arguments, int)), 1);
                break;
            case 2:
            case 3:
            case 6:
                record.append_integer(static_cast<unsigned>(va_arg(arguments, int)), 4);
                break;
            case 4:
            case 5:
                record.append_integer(va_arg(arguments, uint64_t), 8);
                break;
            case 7:
                record.append_double(va_arg(arguments, double));
                break;
            case 8:
                record.append_string(va_arg(arguments, const char*));
                break;
            case 9:
                record.append_integer(reinterpret_cast<uintptr_t>(va_arg(arguments, void*)), 4);
                break;
            default:
                break;
        }
    }
}

}  // namespace
}  // namespace orvo::log

using namespace orvo::log;

extern "C" {

void syslog_ex_s(int kind, int level, int moduleId, int count, ...) {
    if (kind == 2 && !s_s_hook.load(std::memory_order_acquire)) return;
    va_list arguments;
    va_start(arguments, count);
    syslogv_s(1, level, static_cast<uint16_t>(moduleId), count, arguments);  // intended: kind 1, whatever `kind` is
    va_end(arguments);
}

void syslogv_s(int kind, int level, uint16_t moduleId, int count, va_list arguments) {
    syslog_binary_hook first = s_s_hook.load(std::memory_order_acquire);
    syslog_binary_hook second = kind == 2 ? s_sa_hook.load(std::memory_order_acquire) : nullptr;
    if (!first && !second) return;
    try {
        Record record;
        record.append_time(kind);
        record.append_integer(moduleId, 2);
        record.append_thread();
        record.append_byte(kHeaderEnd);
        append_values(record, count, arguments);
        record.append(kTrailer, sizeof(kTrailer));
        if (second) second(level, record.data(), record.length());
        if (first) first(level, record.data(), record.length());
    } catch (const std::bad_alloc&) {
        // No memory for a record: the line is lost.
    }
}

}  // extern "C"
