// How many files this process has open.
#pragma once

#include <filesystem>
#include <iterator>

namespace orvo::testing {

inline int openFiles() {
    const std::filesystem::directory_iterator first("/proc/self/fd");
    return static_cast<int>(std::distance(begin(first), end(first)));
}

}  // namespace orvo::testing
