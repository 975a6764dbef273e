// A bounded queue of frame copies and the thread that empties it into a sink.
#include "frame_writer.h"

#include <utility>

namespace orvocap {

FrameWriter::FrameWriter(FrameSink& sink, size_t capacity)
    : sink_(sink), capacity_(capacity), thread_([this] { run(); }) {}

FrameWriter::~FrameWriter() {
    join();
}

bool FrameWriter::offer(const FrameView& view) {
    Frame frame;
    {
        const std::lock_guard lock(mutex_);
        if (held_ == capacity_ || failure_ || ending_) return false;
        ++held_;
        if (!spare_.empty()) {
            frame = std::move(spare_.back());
            spare_.pop_back();
        }
    }
    std::exception_ptr failure;
    try {
        copyFrame(view, frame);
    } catch (...) {  // out of memory; nothing may leave a callback
        failure = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    if (failure) {
        --held_;
        failure_ = failure;
        return false;
    }
    waiting_.push_back(std::move(frame));
    ready_.notify_one();
    return true;
}

void FrameWriter::hold(unsigned long long time) {
    const std::lock_guard lock(mutex_);
    if (failure_ || ending_) return;
    waiting_.emplace_back().time = time;
    ++held_;
    ready_.notify_one();
}

void FrameWriter::run() {
    std::unique_lock lock(mutex_);
    while (true) {
        ready_.wait(lock, [this] { return ending_ || !waiting_.empty(); });
        if (waiting_.empty()) return;
        Frame frame = std::move(waiting_.front());
        waiting_.pop_front();
        const bool skip = failure_ != nullptr;
        lock.unlock();
        std::exception_ptr failure;
        try {
            if (!skip && frame.pixels.empty())
                sink_.hold(frame.time);
            else if (!skip)
                sink_.write(frame);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        if (failure) failure_ = failure;
        --held_;
        if (!frame.pixels.empty()) spare_.push_back(std::move(frame));
    }
}

void FrameWriter::join() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    ready_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void FrameWriter::check() {
    const std::lock_guard lock(mutex_);
    if (failure_) std::rethrow_exception(failure_);
}

void FrameWriter::finish() {
    join();
    check();
    sink_.finish();
}

}  // namespace orvocap
