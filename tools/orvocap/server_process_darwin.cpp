// On macOS the window server belongs to the system and its time cannot be read by a user.
#include "server_process.h"

namespace orvocap {

ServerProcess findServerProcess() {
    return {0, "the system does not tell a user of its window server"};
}

std::optional<double> cpuSecondsOf(int) {
    return std::nullopt;
}

}  // namespace orvocap
