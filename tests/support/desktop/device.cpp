// The device path of the scripted desktop.
#include "support/desktop/device.h"

#include "support/desktop/desktop.h"

namespace orvo::test {
namespace {

using platform::DisplayInput;
using platform::PlatformException;

// Any call; one that has to fail throws.
void called(Desktop& desktop, const char* call, const std::string& what) {
    if (!desktop.gate.enter(call)) throw PlatformException{"NSInvalidArgumentException", what};
    desktop.gate.record(kDevice, what);
}

struct ScriptedInput final : DisplayInput {
    ScriptedInput(Desktop& owner, uint32_t display) : desktop(owner), number(display) {}

    void setMinFrameDuration(const platform::MediaTime& duration) override {
        called(desktop, "setMinFrameDuration",
               "duration " + std::to_string(duration.value) + "/" + std::to_string(duration.timescale));
    }
    void setCapturesCursor(bool captures) override {
        called(desktop, "setCapturesCursor", captures ? "cursor 1" : "cursor 0");
    }
    void setCapturesMouseClicks(bool captures) override {
        called(desktop, "setCapturesMouseClicks", captures ? "clicks 1" : "clicks 0");
    }
    void setCropRect(const platform::Rect& crop) override { called(desktop, "setCropRect", "crop " + words(crop)); }

    Desktop& desktop;
    const uint32_t number;
};

class ScriptedCapture final : public platform::DisplayCapture {
  public:
    ScriptedCapture(Desktop& desktop, std::shared_ptr<Device> made) : desktop_(desktop), device_(std::move(made)) {}
    ~ScriptedCapture() override { device_->stop(); }

    std::shared_ptr<DisplayInput> makeInput(uint32_t display) override {
        auto pass = desktop_.gate.enter("makeInput");
        desktop_.gate.record(kDevice, "input " + std::to_string(display));
        if (!pass || !desktop_.display(display)) return nullptr;
        return std::make_shared<ScriptedInput>(desktop_, display);
    }
    bool canAddInput(const std::shared_ptr<DisplayInput>& input) override {
        return desktop_.gate.enter("canAddInput") && input && device_->acceptsInput;
    }
    void addInput(const std::shared_ptr<DisplayInput>& input) override { note("add " + number(input)); }
    void removeInput(const std::shared_ptr<DisplayInput>& input) override { note("remove " + number(input)); }
    void addOutput(const std::weak_ptr<platform::DisplayCaptureDelegate>& delegate) override {
        note("output");
        device_->output = delegate;
    }
    void observeFailures(const std::weak_ptr<platform::DisplayCaptureDelegate>& delegate) override {
        note("observe");
        device_->observer = delegate;
    }
    void beginConfiguration() override {
        note("begin");
        ++configurations_;
    }
    void commitConfiguration() override {
        --configurations_;  // over also when it fails
        note("commit");
    }
    void startRunning() override {
        note("start");
        // The system refuses this between a begin and its commit.
        if (configurations_ != 0) throw PlatformException{"NSGenericException", "startRunning while configuring"};
        device_->running = true;
    }
    void stopRunning() override {
        note("stop");
        device_->stop();
    }
    bool isRunning() override { return desktop_.gate.enter("isRunning") && device_->running; }

  private:
    void note(const std::string& what) { called(desktop_, "DisplayCapture", what); }
    static std::string number(const std::shared_ptr<DisplayInput>& input) {
        return std::to_string(static_cast<ScriptedInput&>(*input).number);
    }

    Desktop& desktop_;
    std::shared_ptr<Device> device_;
    int configurations_ = 0;  // begun and not committed
};

}  // namespace

std::shared_ptr<platform::DisplayCapture> makeScriptedCapture(Desktop& desktop) {
    if (!desktop.gate.enter("makeDisplayCapture")) return nullptr;
    desktop.devices.push_back(std::make_shared<Device>(desktop));
    return std::make_shared<ScriptedCapture>(desktop, desktop.devices.back());
}

void Device::produce(platform::Ref<FrameBuffer> frame, const platform::MediaTime& time) {
    if (!running) return;
    waiting_ = std::move(frame);
    waitingTime_ = time;
    if (std::exchange(posted_, true)) return;
    desktop_.stepper.mainAsync([weak = weak_from_this()] {
        if (auto device = weak.lock()) device->deliver();
    });
}

void Device::deliver() {
    posted_ = false;
    const auto frame = std::exchange(waiting_, nullptr);
    if (const auto delegate = output.lock(); frame && delegate)
        delegate->onSample(*frame, waitingTime_, platform::Changes());
}

void Device::stop() {
    running = false;
    waiting_ = nullptr;
}

void Device::report(std::function<void(platform::DisplayCaptureDelegate&)> what) {
    desktop_.stepper.mainAsync([weak = weak_from_this(), what] {
        auto device = weak.lock();
        if (auto delegate = device ? device->observer.lock() : nullptr) what(*delegate);
    });
}

}  // namespace orvo::test
