// Without the image functions for windows: single pictures, streams for targets, a stream in place of the screen input.
#include <ScreenCaptureKit/ScreenCaptureKit.h>

#include <future>
#include <thread>

#include "ScreenCapture/platform/macos/screencapturekit.h"
#include "ScreenCapture/platform/macos/services.h"
#include "ScreenCapture/platform/system.h"
#include "tools/macos-check/checks/checks.h"

using namespace orvo::platform;
using standin::desk;

namespace {

uint8_t firstByte(const Shot& shot) {
    return shot.image ? shot.image->bytes()[0] : 0;
}
// The list of windows serves for 300 ms.
void waitForNewList() {
    std::this_thread::sleep_for(std::chrono::milliseconds(320));
}

// A rectangle over two displays is drawn together from both, at its own size.
void singles() {
    using namespace macos::screencapturekit;
    const Shot both = pictureOfWindows(CGRectMake(-10, 0, 30, 20), {7, 3});
    EXPECT(both.image && both.image->width() == 60 && both.image->height() == 40);
    EXPECT(firstByte(both) == 102 && both.image->bytes()[4 * 59] == 101);
    EXPECT_CALL("shot of display 1 with 7 3, 40x40 from 0,0");
    EXPECT_CALL("shot of display 2 with 7 3, 10x20 from 190,60");
    EXPECT(pictureOfArea(CGRectMake(100, 10, 20, 20)).image->width() == 40);
    EXPECT_CALL("shot of display 1 without 3, 40x40 from 100,10");
    EXPECT(pictureOfWindow(7, kCGWindowImageDefault).image->width() == 60);
    EXPECT(pictureOfWindow(99, kCGWindowImageDefault).why == NoImage::gone);
    EXPECT(standin::timesCalled("content") <= 1);  // one question serves them all
}

void window() {
    const auto grabber = macos::makeWindowServer()->grabber(7, false);
    grabber->setUse({30, true});
    EXPECT(firstByte(grabber->window()) == 7);  // a single picture, while the stream starts
    standin::settle();
    EXPECT_CALL("stream of window 7, 60x80 from 0,0, every 1/30, depth 3");
    const long shots = standin::timesCalled("shot");
    const Shot first = grabber->window();
    EXPECT(first.image->width() == 60 && standin::timesCalled("shot") == shots);
    // Painting leaves the stream's picture alone; an idle sample changes nothing.
    first.image->paint({0, 0, 1, 1})[0] = 99;
    standin::deliverStreamSamples(SCFrameStatusIdle);
    standin::settle();
    const Shot second = grabber->window();
    EXPECT(firstByte(second) == 7 && second.image->version() == first.image->version() && firstByte(first) == 99);
    standin::deliverStreamSamples(SCFrameStatusComplete);
    standin::settle();
    EXPECT(grabber->window().image->version() != second.image->version());
    // The window grows, the cursor's picture is not handed out any more: changed in place.
    desk().windows[0].bounds.size.width = 40;
    waitForNewList();
    grabber->window();
    standin::settle();
    EXPECT_CALL("now window 7, 80x80 from 0,0");
    EXPECT(grabber->window().image->width() == 80 && standin::timesCalled("stream of") == 1);
    // Its user stops it: no picture, and none later.
    standin::stopStreams(SCStreamErrorUserStopped);
    standin::settle();
    EXPECT(grabber->window().why == NoImage::stopped && grabber->window().why == NoImage::stopped);
    EXPECT(standin::timesCalled("stream of") == 1);
}

// Once a window is left out no picture that shows it is answered, late samples included.
void exclusion() {
    const auto grabber = macos::makeWindowServer()->grabber(1, true);
    grabber->setUse({15, false});
    EXPECT(grabber->display().image);  // by the function, which this system has
    grabber->composed({0, 0, 144, 90}, {7, 9, 3});
    standin::settle();
    EXPECT(grabber->composed({0, 0, 144, 90}, {7, 9, 3}).image);
    EXPECT_CALL("stream of display 1 with 7 9 3, 288x180 from 0,0, every 1/15, depth 3");
    desk().deliversSamples = false;
    const long shots = standin::timesCalled("shot");
    grabber->composed({0, 0, 144, 90}, {7, 3});
    standin::deliverStreamSamples(SCFrameStatusComplete);
    EXPECT(grabber->composed({0, 0, 144, 90}, {7, 3}).image && standin::timesCalled("shot") >= shots + 1);
    EXPECT_CALL("shot of display 1 with 7 3, 288x180 from 0,0");
    standin::settle();
    EXPECT_CALL("now filtered to display 1 with 7 3");
    standin::deliverStreamSamples(SCFrameStatusComplete);
    standin::settle();
    const long later = standin::timesCalled("shot");
    EXPECT(grabber->composed({0, 0, 144, 90}, {7, 3}).image && standin::timesCalled("shot") == later);
    desk().deliversSamples = true;
}

// An area that reaches beyond its display has its whole size, whether a stream or a single picture shows it.
void beyond() {
    const auto grabber = macos::makeWindowServer()->grabber(7, false);
    const Rect area{134, 80, 20, 30};
    for (const char* call : {"shot of display 1 without 3, 20x20 from 134,80", "stream of display 1 without 3"}) {
        const Shot shot = grabber->area(area);
        standin::settle();
        EXPECT(standin::timesCalled(call) >= 1 && shot.image->width() == 40 && shot.image->height() == 60);
        const uint8_t* bytes = shot.image->bytes();
        EXPECT(bytes[4 * 19] == 1 && bytes[4 * 20 + 3] == 0);
        EXPECT(bytes[19 * shot.image->bytesPerRow()] == 1 && bytes[20 * shot.image->bytesPerRow()] == 0);
    }
    const long shots = standin::timesCalled("shot");
    grabber->area(area);
    EXPECT(standin::timesCalled("shot") == shots);
}

void refused() {
    desk().sharingError = SCStreamErrorUserDeclined;
    waitForNewList();
    const auto grabber = macos::makeWindowServer()->grabber(7, false);
    EXPECT(grabber->window().why == NoImage::notPermitted);
    desk().sharingError = 0;
    waitForNewList();
    EXPECT(grabber->window().image);
}

// A stream that ends while it starts, while it is changed, and while samples are on their way.
void cycles() {
    for (int i = 0; i < 200; ++i) {
        @autoreleasepool {
            const auto grabber = macos::makeWindowServer()->grabber(7, false);
            grabber->window();
            if (i % 3 == 1) standin::settle();
            if (i % 3 == 2) standin::deliverStreamSamples(SCFrameStatusComplete);
            grabber->setUse({i, false});
            grabber->window();
        }
    }
    standin::settle();
    EXPECT(standin::runningStreams() == 0);
}

// No input, or one that delivers nothing for three seconds.
void device(bool hasInput) {
    desk().hasScreenInput = hasInput;
    const auto delegate = std::make_shared<checks::Delegate>();
    auto capture = macos::makeDisplayCapture();
    const auto input = capture->makeInput(1);
    EXPECT(input && capture->canAddInput(input) && !capture->makeInput(99));
    capture->addInput(input);
    capture->addOutput(delegate);
    capture->observeFailures(delegate);
    input->setCropRect({10, 20, 30, 40});
    input->setMinFrameDuration({1, 20});
    capture->startRunning();
    EXPECT(capture->isRunning());
    standin::runMainQueueFor(hasInput ? 3300 : 50);
    EXPECT_CALL("stream of display 1 without, 60x80 from 10,30, cursor, every 1/20, depth 3");
    EXPECT(delegate->samples == 1 && delegate->width == 60);
    standin::deliverStreamSamples(SCFrameStatusIdle);
    standin::settle();
    EXPECT(delegate->samples == 2);
    input->setCropRect({});
    standin::settle();
    EXPECT(delegate->width == 288 && capture->isRunning());
    standin::stopStreams(SCStreamErrorUserStopped);
    standin::settle();
    EXPECT(delegate->interruptions == 1 && !capture->isRunning());
    capture->stopRunning();
    capture = nullptr;
    standin::settle();
    EXPECT(delegate->interruptions == 1 && delegate.use_count() == 1 && standin::runningStreams() == 0);
}

}  // namespace

void checks::checkStreams() {
    for (const auto part : {singles, window, exclusion, beyond, refused, cycles}) {
        setDesk();
        waitForNewList();
        std::async(std::launch::async, [&] {
            @autoreleasepool {
                part();
            }
        }).get();
    }
    setDesk();
    device(false);
    setDesk();
    device(true);
    setDesk();
    // A picker on the main thread.
    EXPECT(macos::makeWindowServer()->windowPicture(7).image);
}
