// Waiting for a descriptor event pump and for something else at once. Internal.
#pragma once

#include <cstdint>

#include "xplatform/common/orvofe.h"

namespace orvo {

// Waits up to `nanoseconds` (UINT64_MAX: without a limit) until the pump's next pass has something to do or the further
// descriptor, -1 for none, is readable. Calls nothing. It may return earlier. For the pump's thread.
void wait_for_events(const orvofe& pump, int descriptor, uint64_t nanoseconds);

}  // namespace orvo
