// Counts what the process asks its X servers, and what the calling thread allocates.
#pragma once

namespace orvo::testing {

struct Traffic {
    int requests = 0;
    int roundTrips = 0;   // waits for an answer to what was just sent
    int allocations = 0;  // by operator new

    bool within(const Traffic& budget) const {
        return requests <= budget.requests && roundTrips <= budget.roundTrips && allocations <= budget.allocations;
    }
};

// Since the program's start; requests and waits of all threads together.
Traffic trafficSoFar();

// The connections to X servers that the process has open, the tests' own included.
int connectionsOpen();

// What one step costs.
template <typename Step>
Traffic trafficOf(Step&& step) {
    const Traffic before = trafficSoFar();
    step();
    const Traffic after = trafficSoFar();
    return {after.requests - before.requests, after.roundTrips - before.roundTrips,
            after.allocations - before.allocations};
}

}  // namespace orvo::testing
