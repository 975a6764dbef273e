// The device path of the scripted desktop.
#include "support/desktop/device.h"

#include "support/desktop/desktop.h"
#include "support/desktop/words.h"

namespace orvo::test {
namespace {

using platform::PlatformException;

class ScriptedInput final : public platform::DisplayInput {
  public:
    ScriptedInput(Desktop& desktop, std::shared_ptr<Device> device, uint32_t display)
        : number(display), desktop_(desktop), device_(std::move(device)) {}

    void setMinFrameDuration(const platform::MediaTime& duration) override {
        note("setMinFrameDuration",
             "duration " + std::to_string(duration.value) + "/" + std::to_string(duration.timescale));
    }
    void setCapturesCursor(bool captures) override {
        note("setCapturesCursor", std::string("cursor ") + (captures ? "1" : "0"));
    }
    void setCapturesMouseClicks(bool captures) override {
        note("setCapturesMouseClicks", std::string("clicks ") + (captures ? "1" : "0"));
    }
    void setCropRect(const platform::Rect& crop) override { note("setCropRect", "crop " + words(crop)); }

    const uint32_t number;

  private:
    void note(const char* call, const std::string& what) {
        auto pass = desktop_.gate.enter(call);
        if (!pass) throw PlatformException{"NSInvalidArgumentException", what};
        device_->journal.push_back(what);
    }

    Desktop& desktop_;
    std::shared_ptr<Device> device_;
};

class ScriptedCapture final : public platform::DisplayCapture {
  public:
    ScriptedCapture(Desktop& desktop, std::shared_ptr<Device> device) : desktop_(desktop), device_(std::move(device)) {}
    ~ScriptedCapture() override {
        auto lock = desktop_.gate.hold();
        device_->running = false;
        device_->dropSample();
    }

    std::shared_ptr<platform::DisplayInput> makeInput(uint32_t display) override {
        auto pass = desktop_.gate.enter("makeInput");
        device_->journal.push_back("input " + std::to_string(display));
        if (!pass || !desktop_.display(display)) return nullptr;
        return std::make_shared<ScriptedInput>(desktop_, device_, display);
    }
    bool canAddInput(const std::shared_ptr<platform::DisplayInput>& input) override {
        auto pass = desktop_.gate.enter("canAddInput");
        return pass && input && device_->acceptsInput;
    }
    void addInput(const std::shared_ptr<platform::DisplayInput>& input) override { note("add " + number(input)); }
    void removeInput(const std::shared_ptr<platform::DisplayInput>& input) override { note("remove " + number(input)); }
    void addOutput(const std::weak_ptr<platform::DisplayCaptureDelegate>& delegate) override {
        auto lock = note("output");
        device_->output = delegate;
    }
    void observeFailures(const std::weak_ptr<platform::DisplayCaptureDelegate>& delegate) override {
        auto lock = note("observe");
        device_->observer = delegate;
    }
    void beginConfiguration() override {
        auto lock = note("begin");
        ++configurations_;
    }
    void commitConfiguration() override {
        auto lock = desktop_.gate.hold();
        --configurations_;  // over also when it fails
        note("commit");
    }
    void startRunning() override {
        auto lock = note("start");
        // The system refuses this between a begin and its commit.
        if (configurations_ != 0) throw PlatformException{"NSGenericException", "startRunning while configuring"};
        device_->running = true;
    }
    void stopRunning() override {
        auto lock = note("stop");
        device_->running = false;
        device_->dropSample();
    }
    bool isRunning() override {
        auto pass = desktop_.gate.enter("isRunning");
        return pass && device_->running;
    }

  private:
    Gate::Pass note(const std::string& what) {
        auto pass = desktop_.gate.enter("DisplayCapture");
        if (!pass) throw PlatformException{"NSInternalInconsistencyException", what};
        device_->journal.push_back(what);
        return pass;
    }
    static std::string number(const std::shared_ptr<platform::DisplayInput>& input) {
        return input ? std::to_string(static_cast<ScriptedInput&>(*input).number) : "none";
    }

    Desktop& desktop_;
    std::shared_ptr<Device> device_;
    int configurations_ = 0;  // begun and not committed
};

}  // namespace

std::shared_ptr<platform::DisplayCapture> makeScriptedCapture(Desktop& desktop) {
    auto pass = desktop.gate.enter("makeDisplayCapture");
    if (!pass) return nullptr;
    desktop.devices.push_back(std::make_shared<Device>(desktop));
    return std::make_shared<ScriptedCapture>(desktop, desktop.devices.back());
}

std::vector<std::string> Device::takeJournal() {
    auto lock = desktop_.gate.hold();
    return std::exchange(journal, {});
}

void Device::produce(platform::Ref<FrameBuffer> frame, const platform::MediaTime& time) {
    auto lock = desktop_.gate.hold();
    if (!running) return;
    waiting_ = std::move(frame);
    waitingTime_ = time;
    if (std::exchange(posted_, true)) return;
    desktop_.dispatch().mainAsync([weak = weak_from_this()] {
        if (auto device = weak.lock()) device->deliver();
    });
}

void Device::deliver() {
    platform::Ref<FrameBuffer> frame;
    platform::MediaTime time;
    std::shared_ptr<platform::DisplayCaptureDelegate> delegate;
    {
        auto lock = desktop_.gate.hold();
        posted_ = false;
        std::swap(frame, waiting_);
        time = waitingTime_;
        delegate = output.lock();
    }
    if (frame && delegate) delegate->onSample(*frame, time);
}

void Device::dropSample() {
    waiting_ = nullptr;
}

void Device::fail(const platform::CaptureFailure& failure) {
    report([failure](auto& delegate) { delegate.onRuntimeError(failure); });
}
void Device::interrupt(const platform::CaptureFailure& failure) {
    report([failure](auto& delegate) { delegate.onInterruption(failure); });
}
void Device::report(std::function<void(platform::DisplayCaptureDelegate&)> what) {
    desktop_.dispatch().mainAsync([weak = weak_from_this(), what] {
        auto device = weak.lock();
        if (auto delegate = device ? device->observer.lock() : nullptr) what(*delegate);
    });
}

}  // namespace orvo::test
