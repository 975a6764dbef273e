// A host in a process of its own that is given commands, so that its crash or hang is seen.
#pragma once

#include <chrono>
#include <string>

namespace orvo::testing {

class HostProcess {
  public:
    using Milliseconds = std::chrono::milliseconds;

    // Runs the program at the path; it talks to the server that DISPLAY names.
    explicit HostProcess(const std::string& path);
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    // Gives a command and awaits its answer; "hangs" when there is none in time, "ended: ..." when the host is gone.
    std::string ask(const std::string& command, Milliseconds limit = Milliseconds(45000));
    // The two halves of ask(), for what happens in between.
    void order(const std::string& command);
    std::string answer(Milliseconds limit = Milliseconds(45000));

    // Has it end by itself. True when it did so, in time and without an error.
    bool finish();

  private:
    int pid_ = -1;
    int commands_ = -1;
    int answers_ = -1;
    std::string rest_;
};

}  // namespace orvo::testing
