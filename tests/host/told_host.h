// What the host that is told what to do shares between its command loop and its walk through the exports.
#pragma once

#include <orvo/screencapture_additions.h>
#include <orvo/screencapture_linux.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

struct Seen {
    std::atomic<int> frames{0};
    std::atomic<int> windowFrames{0};
    std::atomic<int> width{0};
    std::atomic<int> height{0};
    std::atomic<int> errors{0};
    std::atomic<int> lastError{0};
    std::atomic<OrvoPixelBufferRef> kept{nullptr};
};
extern Seen seen;

struct Call {
    const char* name;  // as the list of exports has it
    std::function<void()> call;
};

std::vector<Call> registrations();

// Calls every export that may ask the server, each with a number that is a display's and one that is a window's.
// Answers the names, each with the milliseconds that it took.
std::string callEveryExport(unsigned int display, unsigned int window);
