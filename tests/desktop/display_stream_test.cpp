// The device path around a scripted source: what is delivered, dropped and reported, over random sequences.
#include <map>
#include <random>

#include "ScreenCapture/platform/software/display_stream.h"
#include "support/desktop/host.h"

namespace orvo::test {
namespace {

using namespace platform;
using software::DisplaySettings;
using software::Frame;
using software::FrameMemory;
using software::FrameResult;
using Outcome = FrameResult::Outcome;

constexpr const char* kQueue = "orvo display";

// A stream, its host's calls, and what they have to lead to. Frames carry their number as version.
class Trial : public DisplayCaptureDelegate {
  public:
    Trial() {
        stream_->addOutput(self_);
        stream_->observeFailures(self_);
    }

    ~Trial() override {
        stream_ = nullptr;
        desk_.stepper.run(kQueue);
        EXPECT_EQ(alive_, 0);
    }

    void step(int what, int number) {
        SCOPED_TRACE(what);
        switch (what) {
            case 0:
                if (!stream_->isRunning()) {
                    runFrames_ = runDelivered_ = runReplaced_ = 0;
                    undelivered_ = {};
                }
                return stream_->startRunning();
            case 1:
                stream_->stopRunning();
                EXPECT_FALSE(stream_->isRunning());
                return;
            case 2:
                collecting_ = true;
                return stream_->beginConfiguration();
            case 3:
                collecting_ = false;
                stream_->commitConfiguration();
                break;
            case 4:
                wanted_.interval = static_cast<uint64_t>(number + 1) * 10'000'000;
                input_->setMinFrameDuration({number + 1, 100});
                break;
            case 5:
                wanted_.crop.width = number;
                input_->setCropRect({0, 0, static_cast<double>(number), 0});
                break;
            case 6:
                wanted_.cursor = number % 2 == 0;
                input_->setCapturesCursor(wanted_.cursor);
                break;
            case 7:
                EXPECT_EQ(stream_->canAddInput(input_), !hasInput_);
                hasInput_ ? stream_->removeInput(input_) : stream_->addInput(input_);
                hasInput_ = !hasInput_;
                break;
            case 8:
                next_ = static_cast<Outcome>(number % 4);
                return;
            case 9:
                restarts_ = true;
                return;
            case 10:
                opens_ = number % 4 != 0;
                return;
            case 12:
                stays_ = number != 0;
                return;
            case 11:
                desk_.stepper.run(mainQueue);
                EXPECT_EQ(notices_, expectedNotices_);
                EXPECT_TRUE(!stream_->isRunning() || runDelivered_ + runReplaced_ == runFrames_);
                return;
            default:
                desk_.stepper.run(kQueue);
                return desk_.stepper.advance(0.01 * number);
        }
        if (!collecting_) committed_ = hasInput_ ? std::optional(wanted_) : std::nullopt;
    }

    void check() {
        desk_.stepper.run(kQueue);
        const bool running = stream_->isRunning();
        EXPECT_EQ(alive_, running ? 1 : 0);
        const bool ticks = running && committed_;
        EXPECT_EQ(desk_.stepper.timers(), ticks ? std::vector{committed_->interval} : std::vector<uint64_t>());
        const int waiting = runFrames_ - runDelivered_ - runReplaced_;
        EXPECT_TRUE(!running || waiting == 0 || waiting == 1) << waiting;
    }

    bool onSample(PixelBuffer& buffer, const MediaTime&, const Changes& changes) override {
        EXPECT_TRUE(stream_->isRunning());
        EXPECT_EQ(dynamic_cast<Frame&>(buffer).version(), frames_) << "not the newest";
        EXPECT_EQ(changes, undelivered_);
        runDelivered_++;
        const bool taken = frames_ % 4 != 0;
        if (taken) undelivered_ = Changes::nothing();
        return taken;
    }
    void onDropped(NoImage why) override {
        if (why == NoImage::hostBusy)
            runReplaced_++;
        else
            EXPECT_EQ(why, NoImage::noBuffer);
    }
    // While nothing changes the source is left alone, and the host gets a frame at every tick all the same.
    void leavesAStillSourceAlone() {
        step(7, 0);
        step(0, 0);
        desk_.stepper.run(kQueue);
        for (int tick = 0; tick < 90; tick++) {
            stays_ = tick < 30 || tick >= 60;
            throws_ = tick == 31;
            for (const auto& queue : {mainQueue, kQueue, mainQueue}) desk_.stepper.run(queue);
            EXPECT_EQ(runDelivered_, tick + (tick < 31 ? 1 : 0));
            EXPECT_TRUE(tick != 29 || asked_ <= 5) << asked_;
            EXPECT_TRUE(tick != 59 || asked_ >= 30) << asked_;
            desk_.stepper.advance(static_cast<double>(wanted_.interval) / 1e9);
        }
        EXPECT_LE(asked_, 40);
    }
    void onRuntimeError(const CaptureFailure& failure) override { notices_[failure.failureReason]++; }
    void onInterruption(const CaptureFailure& failure) override { notices_["interrupted: " + failure.failureReason]++; }

  private:
    class Source final : public software::DisplaySource {
      public:
        explicit Source(Trial& trial) : trial_(trial) { trial_.alive_++; }
        ~Source() override { trial_.alive_--; }
        FrameResult next(const DisplaySettings& settings) override { return trial_.answer(settings); }
        std::function<bool()> stillness() override {
            return [&trial = trial_] {
                trial.runFrames_ += trial.stays_;
                return trial.stays_;
            };
        }

      private:
        Trial& trial_;
    };

    std::unique_ptr<software::DisplaySource> open(NoImage& why) {
        if (opens_) return std::make_unique<Source>(*this);
        why = NoImage::wayland;
        expectedNotices_[describe(why)]++;
        return nullptr;
    }

    FrameResult answer(const DisplaySettings& settings) {
        asked_++;
        if (std::exchange(throws_, false)) throw std::runtime_error("");
        EXPECT_TRUE(committed_ && settings.display == 1 && settings.crop == committed_->crop &&
                    settings.cursor == committed_->cursor);
        // What a tick brings after its run was ended, here in the middle of it, is forgotten.
        const bool counts = !std::exchange(restarts_, false);
        if (!counts) {
            step(1, 0);
            step(0, 0);
        }
        if (counts && next_ == Outcome::sourceLost) expectedNotices_[describe(NoImage::xServerHangs)]++;
        if (counts && next_ == Outcome::displayGone) expectedNotices_["interrupted: the display is gone"]++;
        const Outcome outcome = std::exchange(next_, Outcome::frame);
        const NoImage why[] = {NoImage::none, NoImage::noBuffer, NoImage::xServerHangs, NoImage::gone};
        if (outcome != Outcome::frame) return {outcome, nullptr, why[static_cast<size_t>(outcome)]};
        if (stays_ && counts && last_) {
            runFrames_++;
            return {Outcome::frame, last_, NoImage::none, Changes::nothing()};
        }
        static uint8_t pixel[4];
        auto frame = makeCounted<Frame>(FrameMemory(pixel, [](uint8_t*) {}), 1, 1, 4);
        if (counts) {
            frame->setVersion(++frames_);
            runFrames_++;
            last_ = frame;
        }
        Changes changes = Changes::nothing();
        changes.add({static_cast<int>(frames_ % 9), 0, 1, 1});
        if (counts) undelivered_.add(changes);
        return {Outcome::frame, frame, NoImage::none, changes};
    }

    Desktop& desk_ = desktop();
    const std::shared_ptr<Trial> self_{this, [](Trial*) {}};
    bool opens_ = true;
    bool restarts_ = false;  // in the middle of the next tick
    bool throws_ = false;
    bool stays_ = false;  // frames are the last one again
    Ref<Frame> last_;
    int asked_ = 0;
    Outcome next_ = Outcome::frame;
    int alive_ = 0;  // sources
    uint64_t frames_ = 0;
    int runFrames_ = 0, runDelivered_ = 0, runReplaced_ = 0;  // of the current run
    Changes undelivered_;                                     // of the current run
    std::map<std::string, int> notices_, expectedNotices_;
    DisplaySettings wanted_;
    std::optional<DisplaySettings> committed_;
    bool collecting_ = false, hasInput_ = false;
    std::shared_ptr<DisplayCapture> stream_ = software::makeDisplayStream([this](NoImage& why) { return open(why); });
    const std::shared_ptr<DisplayInput> input_ = stream_->makeInput(1);
};

class DisplayStream : public DesktopTest {};

TEST_F(DisplayStream, DeliversTheNewestFrameOfTheCurrentRunWhateverHappens) {
    EXPECT_FALSE(software::makeDisplayStream({})->makeInput(2));
    for (unsigned int seed = 0; seed < 30; seed++) {
        SCOPED_TRACE(seed);
        std::minstd_rand random(seed);
        {
            Trial trial;
            for (int i = 0; i < 200 && !HasFailure(); i++) {
                trial.step(static_cast<int>(random() % 18), static_cast<int>(random() % 5));
                if (random() % 2 == 0) trial.check();
            }
        }
        desk.stepper.settle();  // jobs of a stream that is gone call nobody
    }
    Trial().leavesAStillSourceAlone();
}

}  // namespace
}  // namespace orvo::test
