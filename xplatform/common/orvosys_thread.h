// What the threads and clocks of the base runtime ask of the system; one source file a system answers.
#pragma once

#include <cstddef>
#include <cstdint>

struct pollfd;

namespace orvo::sys {

// Nanoseconds since system start; never runs backwards.
uint64_t tick_nanoseconds();

// The calling thread's identity as an integer.
int thread_id();

// Names the calling thread towards the system, cut to what the system takes. Result: 0 or an errno.
int name_thread(const char* name);

// A pipe, its end for reading first, that never blocks and that other programs do not inherit. False with errno.
bool open_pipe(int (&ends)[2]);

// poll() with a limit in nanoseconds; UINT64_MAX waits without one.
int poll_within(pollfd* descriptors, std::size_t count, uint64_t nanoseconds);

}  // namespace orvo::sys
