// The device path on x11: one connection and one queue a run.
#include "ScreenCapture/platform/x11/display_capture.h"

#include <time.h>

#include <mutex>
#include <optional>
#include <utility>

#include "ScreenCapture/platform/contained.h"
#include "ScreenCapture/platform/software/queues.h"
#include "ScreenCapture/platform/x11/capture_run.h"
#include "ScreenCapture/platform/x11/desktop_model.h"
#include "ScreenCapture/platform/x11/dispatch.h"
#include "ScreenCapture/platform/x11/sample_output.h"

namespace orvo::platform::x11 {
namespace {

MediaTime monotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return {static_cast<int64_t>(now.tv_sec) * 1'000'000 + now.tv_nsec / 1000, 1'000'000};
}

using NoticeMethod = void (DisplayCaptureDelegate::*)(const CaptureFailure&);

// What the capture and its queue share. Public calls come from any thread; what happens on the queue is private.
class CaptureEngine : public std::enable_shared_from_this<CaptureEngine> {
  public:
    SampleOutput& output() { return *output_; }

    void observeFailures(const std::weak_ptr<DisplayCaptureDelegate>& delegate) {
        std::lock_guard lock(mutex_);
        observer_ = delegate;
    }

    std::shared_ptr<X11DisplayInput> input() {
        std::lock_guard lock(mutex_);
        return input_;
    }

    void setInput(std::shared_ptr<X11DisplayInput> input) {
        {
            std::lock_guard lock(mutex_);
            std::swap(input_, input);
        }
        takeOver();
    }

    void configure(bool begins) {
        {
            std::lock_guard lock(mutex_);
            configuring_ = begins;
        }
        takeOver();
    }

    // Has the next tick see the input and its settings as they are now, unless changes are being collected.
    void takeOver() {
        {
            std::lock_guard lock(mutex_);
            if (configuring_) return;
            plan_.reset();
            if (input_) plan_ = CapturePlan{input_->display(), input_->settings()};
            if (run_ == 0) return;
        }
        queue_->async([self = shared_from_this()] { self->pace(); });
    }

    // Posted first and under the lock: a job that cannot be posted leaves everything as it was.
    void start() {
        std::lock_guard lock(mutex_);
        if (run_ != 0) return;
        queue_->async([self = shared_from_this(), run = lastRun_ + 1] { self->begin(run); });
        run_ = ++lastRun_;
        output_->setRun(run_);
    }

    void stop() {
        std::lock_guard lock(mutex_);
        if (run_ == 0) return;
        queue_->async([self = shared_from_this()] { self->end(); });
        run_ = 0;
        output_->setRun(0);
    }

    bool running() {
        std::lock_guard lock(mutex_);
        return run_ != 0;
    }

  private:
    std::optional<CapturePlan> plan() {
        std::lock_guard lock(mutex_);
        return plan_;
    }

    bool isCurrent(uint64_t run) {
        std::lock_guard lock(mutex_);
        return run_ == run;
    }

    void begin(uint64_t run) {
        if (!isCurrent(run)) return;  // stopped meanwhile
        activeRun_ = run;
        NoImage why = NoImage::noXServer;
        const bool done = runJob([&] {
            auto connection = Connection::open();
            if (!connection) {
                why = whyUnreachable();
                return;
            }
            const auto desktop = currentDesktop();
            if (desktop && !desktop->monitors->areShown) {
                why = NoImage::wayland;
                return;
            }
            session_.emplace(std::move(connection));
            pace();
        });
        if (!done || !session_) fail(&DisplayCaptureDelegate::onRuntimeError, describe(why));
    }

    void end() {
        timer_ = nullptr;
        interval_ = 0;
        session_.reset();
    }

    // Starts the timer, anew when the interval is another.
    void pace() {
        const auto now = plan();
        if (!session_ || !now || now->settings.interval == interval_) return;
        interval_ = now->settings.interval;
        timer_ = software::makeTimer(queue_, interval_, [weak = weak_from_this()] {
            if (const auto self = weak.lock()) self->tick();
        });
    }

    void tick() {
        const MediaTime time = monotonicNow();  // before anything is read: no frame is older than its time
        const auto now = plan();
        if (!session_ || !now) return;
        switch (session_->tick(*now)) {
            case TickResult::frame:
                return output_->offer(activeRun_, session_->frame(), time);
            case TickResult::dropped:
                return output_->noteDrop(session_->whyDropped());
            case TickResult::serverLost:
                return fail(&DisplayCaptureDelegate::onRuntimeError, describe(session_->whyLost()));
            case TickResult::displayGone:
                return fail(&DisplayCaptureDelegate::onInterruption, "the display is gone");
        }
    }

    // Ends the run and says why, unless it was stopped meanwhile.
    void fail(NoticeMethod notice, const char* reason) {
        end();
        std::weak_ptr<DisplayCaptureDelegate> observer;
        {
            std::lock_guard lock(mutex_);
            if (run_ != activeRun_) return;
            run_ = 0;
            output_->setRun(0);
            observer = observer_;
        }
        postToMainQueue([observer, notice, reason] {
            if (const auto delegate = observer.lock()) ((*delegate).*notice)({"", reason});
        });
    }

    const std::shared_ptr<SerialQueue> queue_ = software::makeSerialQueue("orvo display");
    const Ref<SampleOutput> output_ = makeCounted<SampleOutput>();

    std::mutex mutex_;
    std::shared_ptr<X11DisplayInput> input_;
    std::optional<CapturePlan> plan_;
    bool configuring_ = false;
    uint64_t run_ = 0;  // the running one; 0: none
    uint64_t lastRun_ = 0;
    std::weak_ptr<DisplayCaptureDelegate> observer_;

    // The queue's own.
    uint64_t activeRun_ = 0;
    std::optional<CaptureRun> session_;
    std::shared_ptr<Timer> timer_;
    uint64_t interval_ = 0;
};

class X11DisplayCapture final : public DisplayCapture {
  public:
    ~X11DisplayCapture() override { engine_->stop(); }

    std::shared_ptr<DisplayInput> makeInput(uint32_t display) override {
        const auto desktop = currentDesktop();
        if (!desktop || !desktop->monitors->find(display)) return nullptr;
        return std::make_shared<X11DisplayInput>(display);
    }

    bool canAddInput(const std::shared_ptr<DisplayInput>& input) override {
        return std::dynamic_pointer_cast<X11DisplayInput>(input) && !engine_->input();
    }

    void addInput(const std::shared_ptr<DisplayInput>& input) override {
        if (!canAddInput(input)) return;
        auto ours = std::static_pointer_cast<X11DisplayInput>(input);
        ours->onChange([weak = std::weak_ptr(engine_)] {
            if (const auto engine = weak.lock()) engine->takeOver();
        });
        engine_->setInput(std::move(ours));
    }

    void removeInput(const std::shared_ptr<DisplayInput>& input) override {
        const auto ours = std::dynamic_pointer_cast<X11DisplayInput>(input);
        if (!ours || ours != engine_->input()) return;
        ours->onChange(nullptr);
        engine_->setInput(nullptr);
    }

    void addOutput(const std::weak_ptr<DisplayCaptureDelegate>& delegate) override {
        engine_->output().setDelegate(delegate);
    }
    void observeFailures(const std::weak_ptr<DisplayCaptureDelegate>& delegate) override {
        engine_->observeFailures(delegate);
    }

    void beginConfiguration() override { engine_->configure(true); }
    void commitConfiguration() override { engine_->configure(false); }

    void startRunning() override { engine_->start(); }
    void stopRunning() override { engine_->stop(); }
    bool isRunning() override { return engine_->running(); }

  private:
    const std::shared_ptr<CaptureEngine> engine_ = std::make_shared<CaptureEngine>();
};

}  // namespace

std::shared_ptr<DisplayCapture> makeDisplayCapture() {
    return std::make_shared<X11DisplayCapture>();
}

}  // namespace orvo::platform::x11
