// The device path: settings, samples, failures, and letting go while something is on its way.
#include <AVFoundation/AVFoundation.h>

#include "ScreenCapture/platform/macos/services.h"
#include "ScreenCapture/platform/system.h"
#include "tools/macos-check/checks/checks.h"

using namespace orvo::platform;

namespace {

std::shared_ptr<DisplayCapture> started(const std::shared_ptr<checks::Delegate>& delegate) {
    auto capture = macos::makeDisplayCapture();
    const auto input = capture->makeInput(1);
    if (capture->canAddInput(input)) capture->addInput(input);
    capture->addOutput(delegate);
    capture->observeFailures(delegate);
    capture->startRunning();
    return capture;
}

void settings() {
    const auto delegate = std::make_shared<checks::Delegate>();
    auto capture = started(delegate);
    for (const char* call : {"AVCaptureSessionPresetHigh", "input 1", "add input", "settings 1111970369",
                             "delegate on main", "add output", "start"})
        EXPECT_CALL(call);
    EXPECT(!capture->makeInput(99) && capture->isRunning());
    const auto input = capture->makeInput(2);
    input->setMinFrameDuration({1, 15});
    input->setCapturesCursor(false);
    input->setCapturesMouseClicks(true);
    input->setCropRect({0, 3, 10, 10});
    for (const char* call : {"duration 1/15", "cursor off", "clicks on", "crop 3"}) EXPECT_CALL(call);
    bool isTranslated = false;
    try {
        input->setCropRect({0, 0, -1, 5});
    } catch (const PlatformException& exception) {
        isTranslated = exception.name == "NSInvalidArgumentException" && exception.reason == "negative crop";
    }
    EXPECT(isTranslated);
    capture->stopRunning();
    EXPECT(!capture->isRunning());
    capture = nullptr;
    standin::settle();
    EXPECT(delegate.use_count() == 1 && delegate->interruptions == 0);  // its own stop is no failure
    EXPECT_CALL("no delegate");
    EXPECT_CALL("session gone");
}

void systemFailures() {
    const auto delegate = std::make_shared<checks::Delegate>();
    const auto capture = started(delegate);
    standin::deliverSample(5);
    EXPECT(delegate->samples == 0);
    standin::runMainQueue();
    EXPECT(delegate->samples == 1 && delegate->width == 20);
    standin::stopSessionBySystem(true);
    standin::runMainQueue();
    EXPECT(delegate->interruptions == 1 && delegate->words.find("stopped") != std::string::npos);
    capture->startRunning();
    standin::postRuntimeError("broken");
    standin::stopSessionBySystem(true);  // of the same failure
    standin::runMainQueue();
    EXPECT(delegate->errors == 1 && delegate->interruptions == 1 && delegate->words == "broken");
}

// A sample is under way when the capture goes: nothing that is gone may receive it.
void letGo() {
    for (int i = 0; i < 200; ++i) {
        const auto delegate = std::make_shared<checks::Delegate>();
        auto capture = started(delegate);
        standin::deliverSample(i);
        capture = nullptr;
        standin::deliverSample(i);
        if (i % 2) standin::runMainQueue();
    }
    standin::settle();
}

}  // namespace

void checks::checkDevice() {
    settings();
    systemFailures();
    letGo();
}
