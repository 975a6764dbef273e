// Keeps signals away from new threads.
#ifndef ORVO_SIGNAL_BLOCK_H
#define ORVO_SIGNAL_BLOCK_H

#include <signal.h>

namespace ORVO::BASE {

// Blocks every signal on the calling thread while it lives. A thread that starts meanwhile inherits that for good: the
// host's handlers stay on the host's threads, and a write that fails there raises nothing that would end the process.
class SignalBlock {
  public:
    SignalBlock() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

  private:
    sigset_t before_;
};

}  // namespace ORVO::BASE

#endif
