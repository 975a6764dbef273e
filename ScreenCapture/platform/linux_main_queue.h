// The main queue for hosts without a GLib main loop.
#pragma once

namespace orvo::platform {

// Runs the main queue on the calling thread for so many milliseconds: 0 runs what is ready, below 0 never returns.
// Answers how many jobs ran; 0 at once while another thread runs GLib's default main context. Inside a job of the main
// queue no other job of it runs.
int runMainQueue(int milliseconds);

}  // namespace orvo::platform
