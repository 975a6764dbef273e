// What every capturing program does beside capturing: reads the stamps of its frames, and prints all of it at the end.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

// Set by SIGTERM and SIGINT.
extern std::atomic<bool> stopping;

struct Entry {
    uint64_t called = 0;      // when the frame was there, as now() counts
    uint64_t stamps[2] = {};  // what it shows; 0: no whole stamp
    uint64_t counts[3] = {};  // the program's own counters at that time
};

// Allocates nothing while frames come.
class FrameLog {
  public:
    // Takes the words --stamp X Y BLOCK (at most two), in pixels of the frame, out of the arguments; begins to listen
    // for the signals that end the program.
    FrameLog(int& argc, char** argv);

    // Callable from one thread at a time. pixels may be null when the program cannot see them.
    void frame(const uint8_t* pixels, size_t bytesPerRow, int width, int height);
    size_t frames() const { return used_; }
    // Prints everything as one line of JSON. more: further members, such as "\"wrong\": 0", or empty.
    void print(int descriptor, const char* more) const;

    const std::atomic<uint64_t>* counters[3] = {};  // read at each frame when set

  private:
    struct Place {
        int x, y, block;
    };
    std::vector<Place> places_;
    std::vector<Entry> entries_;
    size_t used_ = 0;
    int width_ = 0;
    int height_ = 0;
};

// Waits for the points of a grid in time.
class Grid {
  public:
    explicit Grid(double framesPerSecond);
    // Sleeps until the next point that is not past; false when the program is to end. Answers how late it woke.
    bool next(uint64_t& lateMicroseconds);

  private:
    double interval_;  // microseconds
    uint64_t start_;
    uint64_t index_ = 0;
};

// Microseconds to sleep until a moment of now(); woken by signals.
void sleepUntil(uint64_t time);
void endOnSignals();
// Sleeps on the main thread until a signal ends the program.
void sleepToTheEnd();

}  // namespace bench
