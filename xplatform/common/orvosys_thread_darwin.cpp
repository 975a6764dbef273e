// Threads and clocks on macOS.
#include <mach/mach_time.h>
#include <pthread.h>

#include <cstdint>
#include <cstring>

#include "xplatform/common/orvosys_thread.h"

namespace orvo::sys {
namespace {

constexpr size_t kNameRoom = 64;  // with the terminator

}  // namespace

uint64_t tick_nanoseconds() {
    static const double nanoseconds_per_tick = [] {
        mach_timebase_info_data_t base{};
        mach_timebase_info(&base);
        return static_cast<double>(base.numer) / static_cast<double>(base.denom);
    }();
    return static_cast<uint64_t>(static_cast<double>(mach_absolute_time()) * nanoseconds_per_tick);
}

int thread_id() {
    return static_cast<int>(reinterpret_cast<intptr_t>(pthread_self()));
}

int name_thread(const char* name) {
    char cut[kNameRoom] = {};
    strncpy(cut, name, kNameRoom - 1);
    return pthread_setname_np(cut);
}

}  // namespace orvo::sys
