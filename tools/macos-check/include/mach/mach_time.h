// The monotonic clock of Mach, as far as the base runtime uses it.
#pragma once

#include <orvo_check.h>

typedef struct mach_timebase_info {
    uint32_t numer;
    uint32_t denom;
} mach_timebase_info_data_t;

CHECK_C uint64_t mach_absolute_time(void);
CHECK_C int mach_timebase_info(mach_timebase_info_data_t* information);
