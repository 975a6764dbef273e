// Files that cannot grow beyond some bytes, as on a full disk, while this lives.
#pragma once

#include <signal.h>
#include <sys/resource.h>

namespace orvo::testing {

class FullDisk {
  public:
    explicit FullDisk(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before_); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    rlimit before_{};
};

}  // namespace orvo::testing
