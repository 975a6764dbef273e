// A private X server.
#pragma once

#include <string>
#include <vector>

namespace orvo::testing {

// Starts a program that ends with this process and keeps a descriptor, beside its input and output where those are
// given. Answers its number.
int spawn(const std::vector<std::string>& command, int keep = -1, int input = -1, int output = -1);

// An Xvfb of its own, set as DISPLAY while it lives. Dies with the object, and with the test's process.
class XServer {
  public:
    // screen: "WIDTHxHEIGHTxDEPTH"; arguments go to the server as they are.
    explicit XServer(const std::string& screen = "640x480x24", const std::vector<std::string>& arguments = {});
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    void kill();     // ends it at once
    void restart();  // ends it and starts it anew, without its windows, under the same number
    void suspend();  // it stops answering
    void resume();

    // Starts a program on this server; it ends with the object, or before. Answers its number.
    int start(const std::vector<std::string>& command);
    void end(int client);
    // Runs a program on this server to its end; answers its exit code.
    int run(const std::vector<std::string>& command);

    int pid() const { return pid_; }
    const std::string& display() const { return display_; }

  private:
    void launch();

    int pid_ = -1;
    std::vector<std::string> arguments_;
    std::string display_;
    int number_ = -1;  // a descriptor while it is held
    std::vector<int> clients_;
};

}  // namespace orvo::testing
