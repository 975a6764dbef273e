// Ends another thread's wait for descriptors. Internal.
#pragma once

namespace orvo {

// A pipe that the waiting thread polls together with what else it waits for. Threads: open() and close() while nobody
// waits; signal() from any thread; descriptor() and drain() on the thread that waits.
class Waker {
  public:
    Waker() = default;
    ~Waker() { close(); }
    Waker(const Waker&) = delete;
    Waker& operator=(const Waker&) = delete;

    // Without free descriptors it stays closed.
    void open();
    void close();
    bool is_open() const { return ends_[0] >= 0; }
    // What becomes readable with signal(); -1, which poll() skips, while closed.
    int descriptor() const { return ends_[0]; }
    void signal();
    // Takes back every signal so far, also one of a forked child, which shares the pipe.
    void drain();

  private:
    int ends_[2] = {-1, -1};
};

}  // namespace orvo
