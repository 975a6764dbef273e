// What the threads and clocks of the base runtime ask of the system; one source file a system answers.
#pragma once

#include <cstdint>

namespace orvo::sys {

// Nanoseconds since system start; never runs backwards.
uint64_t tick_nanoseconds();

// The calling thread's identity as an integer.
int thread_id();

// Names the calling thread towards the system, cut to what the system takes. Result: 0 or an errno.
int name_thread(const char* name);

}  // namespace orvo::sys
