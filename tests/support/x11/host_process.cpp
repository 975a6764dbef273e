// A host in a process of its own that is given commands, so that its crash or hang is seen.
#include "support/x11/host_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "support/x11/x_server.h"

namespace orvo::testing {

using Clock = std::chrono::steady_clock;

HostProcess::HostProcess(const std::string& path) {
    int commands[2];
    int answers[2];
    if (pipe2(commands, O_CLOEXEC) != 0 || pipe2(answers, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    pid_ = spawn({path}, -1, commands[0], answers[1]);
    close(commands[0]);
    close(answers[1]);
    commands_ = commands[1];
    answers_ = answers[0];
    signal(SIGPIPE, SIG_IGN);
}

HostProcess::~HostProcess() {
    if (commands_ >= 0) close(commands_);
    close(answers_);
    if (pid_ < 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

std::string HostProcess::ask(const std::string& command, Milliseconds limit) {
    order(command);
    return answer(limit);
}

void HostProcess::order(const std::string& command) {
    const std::string line = command + "\n";
    // The answer says when a host has gone.
    [[maybe_unused]] const ssize_t written = write(commands_, line.data(), line.size());
}

std::string HostProcess::answer(Milliseconds limit) {
    const auto until = Clock::now() + limit;
    while (true) {
        if (const size_t end = rest_.find('\n'); end != std::string::npos) {
            const std::string line = rest_.substr(0, end);
            rest_.erase(0, end + 1);
            return line;
        }
        const auto left = std::chrono::ceil<Milliseconds>(until - Clock::now()).count();
        pollfd wait{answers_, POLLIN, 0};
        if (left <= 0 || poll(&wait, 1, static_cast<int>(left)) == 0) return "hangs";
        char bytes[4096];
        const ssize_t count = read(answers_, bytes, sizeof bytes);
        if (count > 0) {
            rest_.append(bytes, static_cast<size_t>(count));
            continue;
        }
        int status = 0;
        waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFSIGNALED(status) ? "ended: signal " + std::to_string(WTERMSIG(status))
                                   : "ended: " + std::to_string(WEXITSTATUS(status));
    }
}

bool HostProcess::finish() {
    close(commands_);
    commands_ = -1;
    return pid_ > 0 && answer() == "ended: 0";
}

}  // namespace orvo::testing
