// Every message that the adapter sends raises once. Nothing of it may reach the program but the exceptions that the
// port names, no object may be left over, and the drawing state is the thread's again.
#include <AVFoundation/AVFoundation.h>
#include <AppKit/AppKit.h>
#include <ScreenCaptureKit/ScreenCaptureKit.h>

#include <future>
#include <string>

#include "ScreenCapture/platform/macos/screencapturekit.h"
#include "ScreenCapture/platform/macos/services.h"
#include "ScreenCapture/platform/system.h"
#include "tools/macos-check/checks/checks.h"
#include "tools/macos-check/standin/runtime.h"

using namespace orvo::platform;

namespace {

void lists() {
    macos::makeWindowServer()->onScreenWindows();
    const auto displays = macos::makeDisplays();
    displays->screens();
    displays->focusedScreenScale();
    const auto pointer = macos::makePointer();
    pointer->currentCursor();
    pointer->location();
}

void applications() {
    const auto workspace = macos::makeWorkspace();
    for (const auto& each : workspace->runningApplications()) each->processIdentifier();
    if (const auto editor = workspace->application(100)) {
        editor->localizedName();
        editor->bundleIdentifier();
        editor->icon();
        editor->isActive();
        editor->isHidden();
        editor->isTerminated();
        editor->activate(Activation::allWindows);
        editor->activate(Activation::ignoringOthers);
        editor->hide();
        editor->unhide();
        editor->terminate();
        editor->forceTerminate();
    }
    workspace->fullPathForApplication("Notes");
    workspace->iconForFile("/a");
}

void elements() {
    const auto service = macos::makeAccessibility();
    const auto application = service->application(100);
    service->describe(application);
    std::vector<ElementRef> windows;
    service->copyElements(application, "AXWindows", 0, 9, windows);
    for (const auto& window : windows)
        for (const char* name : {"AXTitle", "AXMinimized", "AXPosition"}) service->copyAttribute(window, name);
    const auto observer = service->makeObserver(100, [](const ElementRef&, const char*, void*) {});
    observer->add(application, "AXWindowMoved", nullptr);
    standin::notifyObserver("AXWindowMoved", 7);
}

void pictures() {
    const auto imaging = macos::makeImaging();
    const auto server = macos::makeWindowServer();
    const auto image = server->windowPicture(7).image;
    const Picture picture = imaging->picture(image);
    if (const auto scaled = imaging->scaled(picture, {4, 4})) imaging->flatten(*scaled);
    for (const auto& representation : picture.representations) representation.image->bytes();
    if (const auto buffer = imaging->wrap(image)) {
        buffer->lock();
        imaging->picture(*buffer);
        buffer->unlock();
    }
}

void rest() {
    const auto system = macos::makeSystem();
    system->console("a line");
    system->requestPermission(Permission::accessibility);
    macos::makeNotifications()->postCoalescing("SD_EVENT_WINDOW_MOVED", nullptr);
    const auto dispatch = macos::makeDispatch();
    dispatch->mainAsync([] { standin::raise("NSGenericException", "in a job"); });
    standin::runMainQueue();
}

// What the port's text says may throw is caught as the logic does.
void device() {
    const auto delegate = std::make_shared<checks::Delegate>();
    const auto capture = macos::makeDisplayCapture();
    if (!capture) return;
    const auto tryOut = [](auto step) {
        try {
            step();
        } catch (const PlatformException&) {
        }
    };
    std::shared_ptr<DisplayInput> input;
    tryOut([&] { input = capture->makeInput(1); });
    tryOut([&] {
        if (capture->canAddInput(input)) capture->addInput(input);
    });
    tryOut([&] { capture->addOutput(delegate); });
    tryOut([&] { capture->observeFailures(delegate); });
    tryOut([&] { capture->beginConfiguration(); });
    tryOut([&] { capture->commitConfiguration(); });
    tryOut([&] { capture->startRunning(); });
    if (input) {
        tryOut([&] { input->setMinFrameDuration({1, 15}); });
        tryOut([&] { input->setCapturesCursor(true); });
        tryOut([&] { input->setCapturesMouseClicks(true); });
        tryOut([&] { input->setCropRect({0, 0, 5, 5}); });
        tryOut([&] { capture->removeInput(input); });
    }
    standin::deliverSample(1);
    standin::postRuntimeError("an error");
    standin::stopSessionBySystem(true);
    standin::runMainQueue();
    capture->isRunning();
    tryOut([&] { capture->stopRunning(); });
}

void modern() {
    using namespace macos::screencapturekit;
    pictureOfWindow(7, kCGWindowImageBoundsIgnoreFraming);
    pictureOfArea(CGRectMake(-10, 0, 20, 20));
    pictureOfWindows(CGRectMake(0, 0, 10, 10), {7});
    pictureOfDisplay(1);
}

// What raises inside its own init is lost, and an observer that cannot be removed stays on purpose.
void countLeft(const char* name, const std::string& selector, long left) {
    const bool isLost = selector.starts_with("init") || selector == "defaultCenter" || selector == "removeObserver:";
    checks::allowedObjects += left;
    if (left <= (isLost ? 1 : 0) || selector.empty()) return;
    std::printf("%s: %ld objects are left over when %s raises\n", name, left, selector.c_str());
    ++checks::failures;
}

// Answers how many messages the steps send when none of them raises.
long raiseEach(const char* name, void (*steps)()) {
    long sent = 0;
    for (long armed = 0; armed <= sent; ++armed) {
        const long before = standin::liveObjects();
        standin::armMessage(armed);
        @autoreleasepool {
            steps();
        }
        if (armed == 0) sent = standin::messagesSent();
        const char* armedSelector = standin::armedSelector();
        const std::string selector = armedSelector ? armedSelector : "";
        standin::armMessage(0);
        if (standin::desk().savedGraphicsStates != 0 && selector != "restoreGraphicsState") {
            std::printf("%s: the graphics state is not restored when %s raises\n", name, selector.c_str());
            ++checks::failures;
        }
        standin::desk().savedGraphicsStates = 0;
        standin::settle();
        countLeft(name, selector, standin::liveObjects() - before);
    }
    return sent;
}

}  // namespace

void checks::checkExceptions() {
    const struct {
        const char* name;
        void (*steps)();
        long least;                      // messages, so that a step that ends early shows
    } each[] = {{"modern", modern, 15},  // which makes the list of what can be captured, and that stays
                {"lists", lists, 30},      {"applications", applications, 20},
                {"elements", elements, 3}, {"pictures", pictures, 15},
                {"rest", rest, 10},        {"device", device, 20}};
    for (const auto& [name, steps, least] : each) {
        // Not on the main thread, where ScreenCaptureKit is not waited for.
        const long sent = std::async(std::launch::async, raiseEach, name, steps).get();
        if (sent >= least) continue;
        std::printf("%s: %ld messages only\n", name, sent);
        ++checks::failures;
    }
}
