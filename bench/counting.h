// Counts what this process asks of the C library: allocations, and messages to and from servers.
#pragma once

#include <atomic>
#include <cstdint>

namespace bench {

extern std::atomic<uint64_t> allocations;
extern std::atomic<uint64_t> sends;     // writes to sockets, as an X client's flush makes one
extern std::atomic<uint64_t> receives;  // reads from sockets that brought something

}  // namespace bench
