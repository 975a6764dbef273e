// What `orvocap doctor` finds.
#pragma once

#include <string>
#include <vector>

namespace orvocap {

struct Finding {
    enum class State { works, limited, broken };
    std::string subject;
    State state;
    std::string text;    // what is so
    std::string advice;  // what to do about it; empty when it works
};

using Findings = std::vector<Finding>;

// Adds what the system's window server tells about itself. It is known to answer.
void examineServer(Findings& findings);

}  // namespace orvocap
