// Queues, timers and a clock without threads.
#include "support/desktop/stepper.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ScreenCapture/platform/contained.h"
#include "support/desktop/allocations.h"

namespace orvo::test {
namespace {

uint64_t nanoseconds(double seconds) {
    return static_cast<uint64_t>(std::llround(seconds * 1e9));
}

}  // namespace

class SteppedQueue final : public platform::SerialQueue {
  public:
    SteppedQueue(Stepper& stepper, std::shared_ptr<Stepper::Lane> lane) : stepper_(stepper), lane_(std::move(lane)) {}
    void async(platform::Job job) override { stepper_.push(lane_, std::move(job)); }
    const std::shared_ptr<Stepper::Lane>& lane() const { return lane_; }

  private:
    Stepper& stepper_;
    std::shared_ptr<Stepper::Lane> lane_;
};

class SteppedTimer final : public platform::Timer {
  public:
    SteppedTimer(Stepper& stepper, std::shared_ptr<Stepper::Beat> beat) : stepper_(stepper), beat_(std::move(beat)) {}
    ~SteppedTimer() override { cancel(); }
    void cancel() override { stepper_.cancel(beat_); }

  private:
    Stepper& stepper_;
    std::shared_ptr<Stepper::Beat> beat_;
};

void Stepper::mainAsync(platform::Job job) {
    push(lanes(mainQueue).front(), std::move(job));
}

std::shared_ptr<platform::SerialQueue> Stepper::makeSerialQueue(const char* label) {
    std::lock_guard lock(mutex_);
    // Queues that nobody holds and that have nothing left to do are gone.
    std::erase_if(lanes_, [](const auto& lane) {
        return lane.use_count() == 1 && lane->jobs.empty() && lane->label != mainQueue;
    });
    lanes_.push_back(std::make_shared<Lane>(Lane{label, {}}));
    return std::make_shared<SteppedQueue>(*this, lanes_.back());
}

std::shared_ptr<platform::Timer> Stepper::makeTimer(const std::shared_ptr<platform::SerialQueue>& queue,
                                                    uint64_t intervalNanoseconds, platform::Job tick) {
    std::lock_guard lock(mutex_);
    auto beat = std::make_shared<Beat>();
    beat->lane = static_cast<SteppedQueue&>(*queue).lane();
    beat->interval = std::max<uint64_t>(intervalNanoseconds, 1);
    beat->due = now_;
    beat->tick = std::move(tick);
    auto timer = std::make_shared<SteppedTimer>(*this, beat);
    beats_.push_back(std::move(beat));
    queueDueTicks();
    return timer;
}

double Stepper::absoluteSeconds() {
    std::lock_guard lock(mutex_);
    return absoluteStart + static_cast<double>(now_) / 1e9;
}

double Stepper::secondsSince1970() {
    return absoluteSeconds() + from1970To2001;
}

size_t Stepper::run(std::string_view label) {
    size_t count = 0;
    for (const auto& lane : lanes(label)) count += runAll(lane);
    return count;
}

void Stepper::settle() {
    for (bool ran = true; ran;) {
        ran = false;
        for (const auto& lane : lanes("")) {
            if (lane->label != mainQueue && runAll(lane) > 0) ran = true;
        }
        ran = run(mainQueue) > 0 || ran;
    }
}

size_t Stepper::pending(std::string_view label) {
    std::lock_guard lock(mutex_);
    size_t count = 0;
    for (const auto& lane : lanes(label)) count += lane->jobs.size();
    return count;
}

void Stepper::advance(double seconds) {
    std::unique_lock lock(mutex_);
    const uint64_t end = now_ + nanoseconds(seconds);
    const auto running = [this] {
        const OwnWork own;
        return beats_;
    }();
    lock.unlock();
    for (const auto& beat : running) runAll(beat->lane);  // what was due before
    lock.lock();
    for (;;) {
        std::shared_ptr<Beat> next;
        for (const auto& beat : beats_) {
            if (!next || beat->due < next->due) next = beat;
        }
        if (!next || next->due > end) break;
        now_ = next->due;
        queueDueTicks();
        lock.unlock();
        runAll(next->lane);
        lock.lock();
    }
    now_ = end;
}

std::vector<uint64_t> Stepper::timers() {
    std::lock_guard lock(mutex_);
    std::vector<uint64_t> intervals;
    for (const auto& beat : beats_) intervals.push_back(beat->interval);
    return intervals;
}

void Stepper::reset() {
    std::lock_guard lock(mutex_);
    auto beats = std::move(beats_);
    beats_.clear();
    now_ = 0;
    lanes_.resize(1);
    lanes_[0]->jobs = {};
}

void Stepper::queueDueTicks() {
    const OwnWork own;
    for (const auto& beat : beats_) {
        if (beat->due > now_) continue;
        beat->due += ((now_ - beat->due) / beat->interval + 1) * beat->interval;
        if (std::exchange(beat->pending, true)) continue;
        beat->lane->jobs.push_back([beat] {
            beat->pending = false;
            if (!beat->cancelled) beat->tick();
        });
    }
}

void Stepper::cancel(const std::shared_ptr<Beat>& beat) {
    std::lock_guard lock(mutex_);
    beat->cancelled = true;
    std::erase(beats_, beat);
}

void Stepper::push(const std::shared_ptr<Lane>& lane, platform::Job job) {
    std::lock_guard lock(mutex_);
    lane->jobs.push_back(std::move(job));
}

bool Stepper::runOneOf(const std::shared_ptr<Lane>& lane) {
    platform::Job job;
    {
        std::lock_guard lock(mutex_);
        if (lane->jobs.empty()) return false;
        job = std::move(lane->jobs.front());
        lane->jobs.pop_front();
    }
    platform::runJob(job);
    return true;
}

size_t Stepper::runAll(const std::shared_ptr<Lane>& lane) {
    size_t count = 0;
    while (runOneOf(lane)) ++count;
    return count;
}

std::vector<std::shared_ptr<Stepper::Lane>> Stepper::lanes(std::string_view label) {
    const OwnWork own;
    std::lock_guard lock(mutex_);
    std::vector<std::shared_ptr<Lane>> found;
    for (const auto& lane : lanes_) {
        if (label.empty() || lane->label == label) found.push_back(lane);
    }
    return found;
}

}  // namespace orvo::test
