// The main queue, on which display frames and notices arrive.
#pragma once

namespace orvocap {

// Runs the main queue on the calling thread for that long.
void runMainQueue(int milliseconds);

}  // namespace orvocap
