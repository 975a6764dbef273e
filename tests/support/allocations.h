// The test program's `new`: it counts blocks and refuses one on demand.
#pragma once

#include <cstddef>

namespace orvo::test {

// The n-th block that the calling thread asks for from now on is refused; 1 is the next one, 0 none.
void failAllocation(size_t n);
// Whether one was, since then.
bool allocationFailed();
// Blocks of all threads that are not freed.
long liveBlocks();
// How many the calling thread has asked for.
int allocationsOfThread();

// Work of the test itself, which gets what it asks for and is not counted by failAllocation().
class OwnWork {
  public:
    OwnWork();
    ~OwnWork();
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;

  private:
    const bool before_;
};

}  // namespace orvo::test
