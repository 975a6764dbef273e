// Ends another thread's wait for descriptors.
#include "xplatform/common/orvowaker.h"

#include <unistd.h>

#include "xplatform/common/orvosys_thread.h"

namespace orvo {

void Waker::open() {
    if (!is_open() && !sys::open_pipe(ends_)) ends_[0] = ends_[1] = -1;
}

void Waker::close() {
    for (int& end : ends_) {
        if (end >= 0) ::close(end);
        end = -1;
    }
}

// A full pipe refuses the byte, and wakes the thread all the same.
void Waker::signal() {
    if (is_open()) [[maybe_unused]]
        const ssize_t written = write(ends_[1], "", 1);
}

void Waker::drain() {
    char bytes[64];
    while (is_open() && read(ends_[0], bytes, sizeof bytes) == static_cast<ssize_t>(sizeof bytes)) {
    }
}

}  // namespace orvo
