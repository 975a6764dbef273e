// What waits for the log thread: lines and jobs, in order. Internal.
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "common/utils/orvo_queue_runner.h"

namespace ORVO::ScreenCapture {

// Lines gather in pieces that are handed over whole, so that a line costs its thread little more than one copy of it,
// however many wait. When the log thread does not run, or its disk hangs, the oldest lines are dropped. Threads: any.
class LogQueue {
  public:
    // Called on the log thread for each line, without its terminating zero but in place of it, and for the number of
    // lines that were dropped before it.
    struct Writer {
        void (*line)(char* text, size_t length);
        void (*dropped)(unsigned int lines);
    };
    explicit LogQueue(Writer writer) : writer_(writer) {}

    // See run_log_on().
    void run_on(BASE::COrvoQueueRunner* runner, CORVOTaskBase* task);
    // Runs the job after the lines so far. Without a runner it is dropped.
    void post(std::function<void()>&& job);
    // Copies the line. Throws std::bad_alloc.
    void add(const char* text, size_t length);
    // The log thread's task while it runs; null otherwise.
    CORVOTaskBase* running_task();

  private:
    // A job, or lines that stand one after the other, each with its terminating zero.
    struct Entry {
        std::function<void()> job;
        std::string lines;
        unsigned int count = 0;
    };

    std::string drop_oldest();
    void push();
    void drain();

    const Writer writer_;
    std::mutex push_lock_;  // held while a call is pushed; taken before the other
    BASE::COrvoQueueRunner* runner_ = nullptr;
    std::mutex lock_;  // guards what follows, and with the other one the task
    CORVOTaskBase* task_ = nullptr;
    std::vector<Entry> entries_;
    size_t size_ = 0;  // of the lines, bytes
    unsigned int dropped_ = 0;
    bool pushed_ = false;         // a call waits that will drain the queue
    std::vector<Entry> drained_;  // on the log thread only; keeps its memory
};

}  // namespace ORVO::ScreenCapture
