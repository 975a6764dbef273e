// Keeps signals away from new threads.
#ifndef ORVO_SIGNAL_BLOCK_H
#define ORVO_SIGNAL_BLOCK_H

#include <signal.h>

namespace ORVO::BASE {

// Blocks signals on the calling thread while it lives. A thread that starts meanwhile inherits that for good: the
// host's handlers stay on the host's threads, and a write that fails there raises nothing that would end the process.
// What a thread raises by its own fault stays as it is, for the host's crash reporter, and so does the profiler's.
class SignalBlock {
  public:
    SignalBlock() {
        sigset_t blocked;
        sigfillset(&blocked);
        for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGPROF})
            sigdelset(&blocked, number);
        pthread_sigmask(SIG_BLOCK, &blocked, &before_);
    }
    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

  private:
    sigset_t before_;
};

}  // namespace ORVO::BASE

#endif
