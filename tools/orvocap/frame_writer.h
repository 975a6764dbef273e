// Copies frames off the library's thread and writes them on a thread of its own, to where recorded frames go.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "capture.h"

namespace orvocap {

// Used from one thread at a time. Failures are thrown as exceptions with a message for the user.
class FrameSink {
  public:
    virtual ~FrameSink() = default;
    virtual void write(const Frame& frame) = 0;
    virtual void hold(unsigned long long) {}                // the last picture is shown until then, in milliseconds
    virtual void finish() = 0;                              // all frames are written; reports what is still unsaid
    [[nodiscard]] virtual std::string summary() const = 0;  // what was written, for the user

    // From any thread: how much was written, and whether the reader has ended, so that more frames would be lost.
    [[nodiscard]] virtual uint64_t bytes() const = 0;
    [[nodiscard]] virtual bool isClosed() const { return false; }
};

// At most `capacity` frames wait; one that finds no room is dropped and counted by the caller.
class FrameWriter {
  public:
    FrameWriter(FrameSink& sink, size_t capacity);
    ~FrameWriter();
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;

    // Takes a copy; false when there is no room. Never waits for the sink. From one thread at a time.
    bool offer(const FrameView& view);

    // The picture of the last frame is shown until then, in milliseconds of the frames' own clock.
    void hold(unsigned long long time);

    // Throws what the sink has thrown, if anything.
    void check();

    // Writes what still waits, finishes the sink, and throws what failed.
    void finish();

  private:
    void run();
    void join();

    FrameSink& sink_;
    const size_t capacity_;
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<Frame> waiting_;  // one without pixels stands for hold
    std::vector<Frame> spare_;   // their memory is used again
    size_t held_ = 0;            // frames that wait or are being copied or written
    bool ending_ = false;
    std::exception_ptr failure_;
    std::thread thread_;
};

}  // namespace orvocap
