// Queues, timers and a clock without threads.
#include "support/desktop/stepper.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ScreenCapture/platform/contained.h"
#include "support/allocations.h"

namespace orvo::test {

struct Stepper::Lane final : platform::SerialQueue {
    explicit Lane(const char* name) : label(name) {}
    void async(platform::Job job) override { jobs.push_back(std::move(job)); }
    const std::string label;
    std::deque<platform::Job> jobs;
};

struct Stepper::Beat {
    const std::shared_ptr<Lane> lane;
    const uint64_t interval;  // nanoseconds
    uint64_t due;             // nanoseconds since the start
    platform::Job tick;
    bool cancelled = false;
    bool pending = false;
};

class Stepper::Handle final : public platform::Timer {
  public:
    Handle(Stepper& stepper, std::shared_ptr<Beat> beat) : stepper_(stepper), beat_(std::move(beat)) {}
    ~Handle() override { cancel(); }
    void cancel() override {
        beat_->cancelled = true;
        std::erase(stepper_.beats_, beat_);
    }

  private:
    Stepper& stepper_;
    const std::shared_ptr<Beat> beat_;
};

Stepper::Stepper() : lanes_{std::make_shared<Lane>(mainQueue)} {}

void Stepper::mainAsync(platform::Job job) {
    lanes_.front()->async(std::move(job));
}

std::shared_ptr<platform::SerialQueue> Stepper::makeSerialQueue(const char* label) {
    // Queues that nobody holds and that have nothing left to do are gone.
    std::erase_if(lanes_, [this](const auto& lane) {
        return lane != lanes_.front() && lane.use_count() == 1 && lane->jobs.empty();
    });
    lanes_.push_back(std::make_shared<Lane>(label));
    return lanes_.back();
}

std::shared_ptr<platform::Timer> Stepper::makeTimer(const std::shared_ptr<platform::SerialQueue>& queue,
                                                    uint64_t intervalNanoseconds, platform::Job tick) {
    return addBeat(
        {std::static_pointer_cast<Lane>(queue), std::max<uint64_t>(intervalNanoseconds, 1), now_, std::move(tick)});
}

std::shared_ptr<platform::Timer> Stepper::makeMainTimer(uint64_t intervalNanoseconds, platform::Job tick) {
    return addBeat({lanes_.front(), intervalNanoseconds, now_ + intervalNanoseconds, std::move(tick)});
}

std::shared_ptr<platform::Timer> Stepper::addBeat(Beat beat) {
    auto made = std::make_shared<Beat>(std::move(beat));
    auto timer = std::make_shared<Handle>(*this, made);
    beats_.push_back(std::move(made));
    queueDueTicks();
    return timer;
}

double Stepper::absoluteSeconds() {
    return absoluteStart + static_cast<double>(now_) / 1e9;
}

void Stepper::run(std::string_view label) {
    for (const auto& lane : lanes(label)) runAll(lane);
}

void Stepper::settle() {
    for (bool ran = true; ran;) {
        ran = false;
        for (const auto& lane : lanes("")) {
            if (lane != lanes_.front() && runAll(lane)) ran = true;
        }
        ran = runAll(lanes_.front()) || ran;
    }
}

size_t Stepper::pending(std::string_view label) {
    size_t count = 0;
    for (const auto& lane : lanes(label)) count += lane->jobs.size();
    return count;
}

void Stepper::advance(double seconds) {
    for (const auto& lane : lanes("")) {
        const bool hasTimer = std::any_of(beats_.begin(), beats_.end(), [&](auto& beat) { return beat->lane == lane; });
        if (hasTimer) runAll(lane);  // what was due before
    }
    const uint64_t end = now_ + static_cast<uint64_t>(std::llround(seconds * 1e9));
    const auto earlier = [](const auto& a, const auto& b) { return a->due < b->due; };
    for (;;) {
        const auto next = std::min_element(beats_.begin(), beats_.end(), earlier);
        if (next == beats_.end() || (*next)->due > end) break;
        const auto lane = (*next)->lane;
        now_ = (*next)->due;
        queueDueTicks();
        runAll(lane);
    }
    now_ = end;
}

std::vector<uint64_t> Stepper::timers() {
    std::vector<uint64_t> intervals;
    for (const auto& beat : beats_) intervals.push_back(beat->interval);
    return intervals;
}

void Stepper::reset() {
    const auto beats = std::exchange(beats_, {});
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

bool Stepper::runAll(const std::shared_ptr<Lane>& lane) {
    bool ran = false;
    for (;; ran = true) {
        if (lane->jobs.empty()) return ran;
        platform::Job job = std::move(lane->jobs.front());
        lane->jobs.pop_front();
        platform::runJob(job);
    }
}

std::vector<std::shared_ptr<Stepper::Lane>> Stepper::lanes(std::string_view label) {
    const OwnWork own;
    std::vector<std::shared_ptr<Lane>> found;
    std::copy_if(lanes_.begin(), lanes_.end(), std::back_inserter(found),
                 [&](const auto& lane) { return label.empty() || lane->label == label; });
    return found;
}

}  // namespace orvo::test
