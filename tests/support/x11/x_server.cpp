// A private X server.
#include "support/x11/x_server.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace orvo::testing {

int spawn(const std::vector<std::string>& command, int keep, int input, int output) {
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    const int pid = fork();
    if (pid < 0) throw std::runtime_error("cannot fork");
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
        signal(SIGPIPE, SIG_DFL);
        if (keep >= 0) fcntl(keep, F_SETFD, 0);
        if (input >= 0) dup2(input, STDIN_FILENO);
        if (output >= 0) dup2(output, STDOUT_FILENO);
        dup2(open("/dev/null", O_RDWR), STDERR_FILENO);
        execvp(words[0], words.data());
        _exit(127);
    }
    return pid;
}

namespace {

// Never to a number that stands for no process of ours: -1 would reach every process there is.
void send(int pid, int number) {
    if (pid <= 0) throw std::logic_error("there is no such process");
    ::kill(pid, number);
}

// Holds a display's number that no test beside this one takes, also while its server is dead: hosts would find the
// other one. What holds it is the name of a socket, which ends with the process at the latest.
int holdNumber(std::string& display) {
    static unsigned next = static_cast<unsigned>(getpid());
    while (true) {
        display = ":" + std::to_string(1000 + next++ % 50000);
        sockaddr_un name{AF_UNIX, {}};  // with a first byte of zero it is in no folder
        const auto length = static_cast<socklen_t>(snprintf(name.sun_path + 1, 50, "orvo-test%s", display.c_str()));
        const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (bind(socket, reinterpret_cast<sockaddr*>(&name), offsetof(sockaddr_un, sun_path) + 1 + length) == 0)
            return socket;
        close(socket);
        if (errno != EADDRINUSE) throw std::runtime_error("no display's number can be held");
    }
}

int waitFor(int pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

XServer::XServer(const std::string& screen, const std::vector<std::string>& arguments)
    : arguments_{"-screen", "0", screen, "-nolisten", "tcp", "-noreset"} {
    arguments_.insert(arguments_.end(), arguments.begin(), arguments.end());
    number_ = holdNumber(display_);
    launch();
}

void XServer::launch() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    std::vector<std::string> command = {"Xvfb", "-displayfd", std::to_string(ends[1]), display_};
    command.insert(command.end(), arguments_.begin(), arguments_.end());
    pid_ = spawn(command, ends[1]);
    close(ends[1]);
    // The server closes the pipe when it has written its number, or has failed.
    char last = 0;
    while (last != '\n' && ::read(ends[0], &last, 1) == 1) continue;
    close(ends[0]);
    if (last != '\n') throw std::runtime_error("Xvfb did not start");
    setenv("DISPLAY", display_.c_str(), 1);
}

void XServer::restart() {
    if (pid_ >= 0) {
        send(pid_, SIGKILL);
        waitFor(pid_);
    }
    launch();
}

XServer::~XServer() {
    kill();
    while (!clients_.empty()) end(clients_.back());
    close(number_);
}

void XServer::kill() {
    if (pid_ < 0) return;
    send(pid_, SIGKILL);
    waitFor(pid_);
    pid_ = -1;
    const std::string number = display_.substr(1);
    unlink(("/tmp/.X" + number + "-lock").c_str());
    unlink(("/tmp/.X11-unix/X" + number).c_str());
}

void XServer::suspend() {
    send(pid_, SIGSTOP);
}
void XServer::resume() {
    send(pid_, SIGCONT);
}
int XServer::start(const std::vector<std::string>& command) {
    clients_.push_back(spawn(command));
    return clients_.back();
}
void XServer::end(int client) {
    std::erase(clients_, client);
    send(client, SIGKILL);
    waitFor(client);
}
int XServer::run(const std::vector<std::string>& command) {
    return waitFor(spawn(command));
}

}  // namespace orvo::testing
