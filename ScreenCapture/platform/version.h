// The numbers by which kept results are found out of date.
#pragma once

#include <atomic>
#include <cstdint>

namespace orvo::platform {

// A number that this process never gave out before, greater than all before it, and never 0. Desktops, pictures and
// settings are numbered from this one counter: two things that bear the same number are the same, whoever numbered
// them, so whatever is made from numbered things may be kept with their numbers and serves for as long as all of them
// are equal. Any thread.
inline uint64_t nextVersion() {
    static constinit std::atomic<uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace orvo::platform
