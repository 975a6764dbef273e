// The device path of a system that has none of its own: settings, timer and delivery around a source of frames.
#include "ScreenCapture/platform/software/display_stream.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/platform.h"

namespace orvo::platform::software {
namespace {

using Outcome = FrameResult::Outcome;

constexpr int kStillTicks = 3;  // without a change, until the main queue ticks

MediaTime monotonicNow() {
    using namespace std::chrono;
    return {duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count(), 1'000'000};
}

// What the capture, its queue and its job on the main queue share. Public calls come from any thread; begin(), end(),
// rearmTimer(), tick() and fail() run on the queue, deliver() on the main queue.
//
// run_ counts the starts, and everything that happens on the queue carries the number of the run that it belongs to.
// A stop does not wait for the queue: a tick that is running at that time finds that its run is not the current one,
// and its frame or failure is forgotten. Nothing of an earlier run can reach the delegate in a later one.
//
// After some ticks without a change the timer on the queue makes way for one on the main queue, which only looks
// whether the last frame still is what the source would give, and delivers that. When it cannot be sure it has the
// queue tick in its place; the queue has its timer back when that finds a change, or when the settings are others.
class Engine : public std::enable_shared_from_this<Engine> {
  public:
    explicit Engine(OpenDisplaySource open) : open_(std::move(open)) {}

    // The first delegate of the samples stays.
    void setOutput(const std::weak_ptr<DisplayCaptureDelegate>& delegate) {
        std::lock_guard lock(mutex_);
        if (!std::exchange(hasOutput_, true)) output_ = delegate;
    }
    void setObserver(const std::weak_ptr<DisplayCaptureDelegate>& delegate) {
        std::lock_guard lock(mutex_);
        observer_ = delegate;
    }

    // Ticks follow these settings from now on, or from the commit on while changes are collected. None: without input.
    void applySettings(const std::optional<DisplaySettings>& settings) {
        std::lock_guard lock(mutex_);
        collected_ = settings;
        if (!collecting_) commit();
    }
    void collectSettings(bool begins) {
        std::lock_guard lock(mutex_);
        collecting_ = begins;
        if (!begins) commit();
    }

    // Posted first and under the lock: a job that cannot be posted leaves everything as it was.
    void start() {
        std::lock_guard lock(mutex_);
        if (running_) return;
        queue_->async([self = shared_from_this(), run = run_ + 1] { self->begin(run); });
        run_++;
        running_ = true;
        undelivered_ = {};
    }
    void stop() {
        Ref<Frame> undelivered, still;
        std::lock_guard lock(mutex_);
        if (!std::exchange(running_, false)) return;
        undelivered = std::move(waiting_);
        still = std::move(still_);
        queue_->async([self = shared_from_this()] { self->end(); });
    }
    bool isRunning() {
        std::lock_guard lock(mutex_);
        return running_;
    }

  private:
    // Under the lock.
    bool isCurrent(uint64_t run) const { return running_ && run == run_; }
    void commit() {
        settings_ = collected_;
        still_ = nullptr;
        if (running_) queue_->async([self = shared_from_this(), run = run_] { self->rearmTimer(run); });
    }

    // The settings of a run; none once it is over or while there is no input.
    std::optional<DisplaySettings> settingsOf(uint64_t run) {
        std::lock_guard lock(mutex_);
        return isCurrent(run) ? settings_ : std::nullopt;
    }

    void begin(uint64_t run) {
        {
            std::lock_guard lock(mutex_);
            if (!isCurrent(run)) return;  // stopped meanwhile
        }
        NoImage why = NoImage::failed;
        const bool done = runJob([&] {
            source_ = open_(why);
            rearmTimer(run);
        });
        if (!done || !source_) fail(run, Outcome::sourceLost, why);
    }

    void end() {
        timer_ = nullptr;
        isOnMain_ = false;
        interval_ = 0;
        source_ = nullptr;
    }

    // Starts the timer, again when the interval is another. Without an input there is none, so that nothing wakes.
    void rearmTimer(uint64_t run) {
        const auto settings = settingsOf(run);
        const uint64_t interval = source_ && settings ? settings->interval : 0;
        if (interval == interval_ && !isOnMain_) return;
        std::shared_ptr<Timer> timer;
        if (interval > 0)
            timer = platform().dispatch().makeTimer(queue_, interval, [weak = weak_from_this(), run] {
                if (const auto self = weak.lock()) self->tick(run);
            });
        timer_ = std::move(timer);
        interval_ = interval;
        isOnMain_ = skipsTick_ = false;
    }

    void tick(uint64_t run) {
        if (std::exchange(skipsTick_, false)) return;
        const MediaTime time = monotonicNow();  // before anything is read: no frame is older than its time
        const auto settings = settingsOf(run);
        if (!source_ || !settings) return;
        FrameResult result = source_->next(*settings);
        if (result.outcome == Outcome::sourceLost || result.outcome == Outcome::displayGone)
            return fail(run, result.outcome, result.why);
        if (result.outcome == Outcome::dropped) return reportDrop(result.why);
        stillTicks_ = result.changes == Changes::nothing() ? stillTicks_ + 1 : 0;
        if (stillTicks_ >= kStillTicks) tickOnMain(run, result.frame);
        if (replacesWaiting(run, std::move(result), time)) reportDrop(NoImage::hostBusy);
    }

    // Gives the ticks to the main queue while the frame stays what it is.
    void tickOnMain(uint64_t run, const Ref<Frame>& frame) {
        auto stillness = source_->stillness();
        if (!stillness) return;
        if (!isOnMain_) {
            auto timer = platform().dispatch().makeMainTimer(interval_, [weak = weak_from_this(), run] {
                if (const auto self = weak.lock()) self->tickStill(run);
            });
            if (!timer) return;
            timer_ = std::move(timer);
            isOnMain_ = true;
        }
        std::lock_guard lock(mutex_);
        if (!isCurrent(run)) return;
        still_ = frame;
        isStill_ = std::move(stillness);
    }

    // A tick of the main queue's timer that has to look closer.
    void tickInPlace(uint64_t run) {
        if (!isOnMain_) return;
        runJob([&] { tick(run); });
        {
            std::lock_guard lock(mutex_);
            if (!isCurrent(run) || still_) return;
        }
        rearmTimer(run);
        skipsTick_ = true;
    }

    // On the main queue.
    void tickStill(uint64_t run) {
        const MediaTime time = monotonicNow();
        {
            std::lock_guard lock(mutex_);
            if (!isCurrent(run) || waiting_) return;  // a frame that is on its way serves for this tick
            if (!still_ || !isStill_()) {
                queue_->async([self = shared_from_this(), run] { self->tickInPlace(run); });
                still_ = nullptr;  // its memory may be what the next one is written to
                return;
            }
            waiting_ = still_;
            time_ = time;
        }
        deliver();
    }

    // Ends the run and reports why, unless it was stopped meanwhile.
    void fail(uint64_t run, Outcome outcome, NoImage why) {
        end();
        Ref<Frame> undelivered, still;
        std::weak_ptr<DisplayCaptureDelegate> observer;
        {
            std::lock_guard lock(mutex_);
            if (!isCurrent(run)) return;
            running_ = false;
            undelivered = std::move(waiting_);
            still = std::move(still_);
            observer = observer_;
        }
        platform().dispatch().mainAsync([observer, outcome, why] {
            const auto delegate = observer.lock();
            if (!delegate) return;
            if (outcome == Outcome::displayGone)
                delegate->onInterruption({"", "the display is gone"});
            else
                delegate->onRuntimeError({"", describe(why)});
        });
    }

    void reportDrop(NoImage why) {
        std::shared_ptr<DisplayCaptureDelegate> delegate;
        {
            std::lock_guard lock(mutex_);
            delegate = output_.lock();
        }
        if (delegate) delegate->onDropped(why);
    }

    // Leaves the frame for the job on the main queue, which is posted when none is on its way. Result: whether the
    // frame takes the place of one that the job had not fetched. The job holds a plain pointer, which std::function
    // keeps in itself, so that a frame allocates nothing; posted_ keeps the engine alive for it.
    bool replacesWaiting(uint64_t run, FrameResult result, const MediaTime& time) {
        Ref<Frame>& frame = result.frame;
        {
            std::lock_guard lock(mutex_);
            if (!isCurrent(run) || !hasOutput_) return false;
            std::swap(waiting_, frame);
            time_ = time;
            undelivered_.add(result.changes);
            if (posted_) return static_cast<bool>(frame);
            posted_ = shared_from_this();
        }
        try {
            platform().dispatch().mainAsync([this] { deliver(); });
        } catch (...) {
            std::lock_guard lock(mutex_);
            posted_ = nullptr;  // the caller holds the engine
            throw;
        }
        return static_cast<bool>(frame);
    }

    void deliver() {
        std::shared_ptr<Engine> self;
        Ref<Frame> frame;
        std::shared_ptr<DisplayCaptureDelegate> delegate;
        MediaTime time;
        Changes changes;
        uint64_t run = 0;
        {
            std::lock_guard lock(mutex_);
            self = std::move(posted_);
            frame = std::move(waiting_);
            delegate = output_.lock();
            time = time_;
            run = run_;
            changes = std::exchange(undelivered_, Changes::nothing());
        }
        if (frame && delegate && delegate->onSample(*frame, time, changes)) return;
        std::lock_guard lock(mutex_);
        if (run == run_) undelivered_.add(changes);
    }

    const OpenDisplaySource open_;
    const std::shared_ptr<SerialQueue> queue_ = platform().dispatch().makeSerialQueue("orvo display");

    std::mutex mutex_;
    uint64_t run_ = 0;  // the number of the last one
    bool running_ = false;
    bool collecting_ = false;
    std::optional<DisplaySettings> collected_;
    std::optional<DisplaySettings> settings_;
    std::weak_ptr<DisplayCaptureDelegate> observer_;
    std::weak_ptr<DisplayCaptureDelegate> output_;
    bool hasOutput_ = false;
    Ref<Frame> waiting_;
    MediaTime time_;                  // of the waiting frame
    Changes undelivered_;             // up to that, since the last one of this run that was delivered
    std::shared_ptr<Engine> posted_;  // this engine, while a job on the main queue is on its way
    Ref<Frame> still_;                // what the ticks on the main queue deliver; null: they look closer
    std::function<bool()> isStill_;   // set with it

    // The queue's own.
    std::unique_ptr<DisplaySource> source_;
    std::shared_ptr<Timer> timer_;
    uint64_t interval_ = 0;   // the timer's, nanoseconds
    bool isOnMain_ = false;   // the timer is
    bool skipsTick_ = false;  // the timer's first tick has been there before it
    int stillTicks_ = 0;      // in a row
};

// One display with its settings. For the queue that the capture is called from.
class StreamInput final : public DisplayInput {
  public:
    explicit StreamInput(uint32_t display) { settings_.display = display; }

    void setMinFrameDuration(const MediaTime& duration) override {
        if (duration.value <= 0 || duration.timescale <= 0) return;
        const double seconds = static_cast<double>(duration.value) / duration.timescale;
        settings_.interval = std::max<uint64_t>(truncated<uint64_t>(seconds * 1e9), 1);
        apply();
    }
    void setCapturesCursor(bool captures) override {
        settings_.cursor = captures;
        apply();
    }
    void setCapturesMouseClicks(bool captures) override {
        settings_.clicks = captures;
        apply();
    }
    void setCropRect(const Rect& crop) override {
        settings_.crop = crop;
        apply();
    }

    // From now on its settings are those of an engine.
    void attach(const std::weak_ptr<Engine>& engine) {
        engine_ = engine;
        apply();
    }
    void detach() { engine_.reset(); }

  private:
    void apply() {
        if (const auto engine = engine_.lock()) engine->applySettings(settings_);
    }

    DisplaySettings settings_;
    std::weak_ptr<Engine> engine_;
};

class DisplayStream final : public DisplayCapture {
  public:
    explicit DisplayStream(OpenDisplaySource open) : engine_(std::make_shared<Engine>(std::move(open))) {}
    ~DisplayStream() override {
        runJob([this] { engine_->stop(); });
    }
    DisplayStream(const DisplayStream&) = delete;
    DisplayStream& operator=(const DisplayStream&) = delete;

    std::shared_ptr<DisplayInput> makeInput(uint32_t display) override {
        const auto screens = platform().displays().screens();
        const bool known = std::any_of(screens.begin(), screens.end(),
                                       [&](const Display& screen) { return screen.number == display; });
        return known ? std::make_shared<StreamInput>(display) : nullptr;
    }
    bool canAddInput(const std::shared_ptr<DisplayInput>& input) override {
        return !input_ && std::dynamic_pointer_cast<StreamInput>(input);
    }
    void addInput(const std::shared_ptr<DisplayInput>& input) override {
        if (!canAddInput(input)) return;
        input_ = std::static_pointer_cast<StreamInput>(input);
        input_->attach(engine_);
    }
    void removeInput(const std::shared_ptr<DisplayInput>& input) override {
        if (!input || input != input_) return;
        input_->detach();
        input_ = nullptr;
        engine_->applySettings(std::nullopt);
    }

    void addOutput(const std::weak_ptr<DisplayCaptureDelegate>& delegate) override { engine_->setOutput(delegate); }
    void observeFailures(const std::weak_ptr<DisplayCaptureDelegate>& delegate) override {
        engine_->setObserver(delegate);
    }

    void beginConfiguration() override { engine_->collectSettings(true); }
    void commitConfiguration() override { engine_->collectSettings(false); }

    void startRunning() override { engine_->start(); }
    void stopRunning() override { engine_->stop(); }
    bool isRunning() override { return engine_->isRunning(); }

  private:
    const std::shared_ptr<Engine> engine_;
    std::shared_ptr<StreamInput> input_;
};

}  // namespace

std::shared_ptr<DisplayCapture> makeDisplayStream(OpenDisplaySource open) {
    return std::make_shared<DisplayStream>(std::move(open));
}

}  // namespace orvo::platform::software
