// Threads and clocks on Linux.
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <time.h>
#include <unistd.h>

#include <cstring>

#include "xplatform/common/orvosys_thread.h"

namespace orvo::sys {
namespace {

constexpr size_t kNameRoom = 16;  // with the terminator

constinit thread_local int t_thread_id = 0;
constinit pthread_once_t fork_watch = PTHREAD_ONCE_INIT;

void watch_forks() {
    pthread_atfork(nullptr, nullptr, [] { t_thread_id = 0; });
}

}  // namespace

uint64_t tick_nanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

// The number that ps, top and debuggers show. The kernel is asked once a thread, and again in the child of a fork.
int thread_id() {
    if (t_thread_id == 0) {
        pthread_once(&fork_watch, watch_forks);
        t_thread_id = gettid();
    }
    return t_thread_id;
}

int name_thread(const char* name) {
    char cut[kNameRoom] = {};
    strncpy(cut, name, kNameRoom - 1);
    return pthread_setname_np(pthread_self(), cut);
}

bool open_pipe(int (&ends)[2]) {
    return pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0;
}

int poll_within(pollfd* descriptors, std::size_t count, uint64_t nanoseconds) {
    const timespec limit{static_cast<time_t>(nanoseconds / 1000000000), static_cast<long>(nanoseconds % 1000000000)};
    return ppoll(descriptors, count, nanoseconds == UINT64_MAX ? nullptr : &limit, nullptr);
}

}  // namespace orvo::sys
