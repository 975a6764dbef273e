// The process's clock, and a plain copy as a yardstick.
#include "cpu_time.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <vector>

namespace orvocap {

double ownCpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double copyRate(size_t bytes) {
    using Clock = std::chrono::steady_clock;
    const std::vector<uint8_t> from(bytes, 1);
    std::vector<uint8_t> to(bytes);
    double best = 0;
    for (const auto end = Clock::now() + std::chrono::milliseconds(200); Clock::now() < end;) {
        const auto begin = Clock::now();
        std::memcpy(to.data(), from.data(), bytes);
        const volatile uint8_t seen = to[bytes / 2];  // so that the copy is made
        static_cast<void>(seen);
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        if (seconds > 0) best = std::max(best, static_cast<double>(bytes) / seconds);
    }
    return best;
}

}  // namespace orvocap
