// Threads and clocks on macOS.
#include <fcntl.h>
#include <mach/mach_time.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
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

bool open_pipe(int (&ends)[2]) {
    if (pipe(ends) != 0) return false;
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    return true;
}

// Rounded up to milliseconds: the system knows no finer limit.
int poll_within(pollfd* descriptors, std::size_t count, uint64_t nanoseconds) {
    const uint64_t milliseconds = nanoseconds / 1000000 + (nanoseconds % 1000000 != 0);
    const int limit = static_cast<int>(std::min<uint64_t>(milliseconds, INT_MAX));
    return poll(descriptors, static_cast<nfds_t>(count), nanoseconds == UINT64_MAX ? -1 : limit);
}

}  // namespace orvo::sys
