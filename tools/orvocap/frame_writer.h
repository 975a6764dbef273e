// Copies frames off the library's thread and writes them on a thread of its own.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "capture.h"
#include "frame_sink.h"

namespace orvocap {

// The pixels without padding; frame's memory is used again.
void copyFrame(const FrameView& view, Frame& frame);

// At most `capacity` frames wait; one that finds no room is dropped and counted by the caller.
class FrameWriter {
  public:
    FrameWriter(FrameSink& sink, size_t capacity);
    ~FrameWriter();
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;

    // Takes a copy; false when there is no room. Never waits for the sink. From one thread at a time.
    bool offer(const FrameView& view);

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
    std::deque<Frame> waiting_;
    std::vector<Frame> spare_;  // their memory is used again
    size_t held_ = 0;           // frames that wait or are being copied or written
    bool ending_ = false;
    std::exception_ptr failure_;
    std::thread thread_;
};

}  // namespace orvocap
