// Lists, displays, applications, queues: what the system is asked, with which arguments, and what becomes of the
// answer.
#include <AppKit/AppKit.h>

#include <future>

#include "ScreenCapture/platform/macos/services.h"
#include "tools/macos-check/checks/checks.h"

using namespace orvo::platform;
using standin::desk;

namespace {

void windowLists() {
    const auto server = macos::makeWindowServer();
    const auto windows = server->onScreenWindows();
    EXPECT_CALL("info 17 0");
    EXPECT(windows.size() == 4 && windows[0].name == "Grüße" && windows[2].name.empty() && windows[2].layer == 25);
    EXPECT(windows[2].alpha == 0.5 && windows[0].bounds == (Rect{10, 20, 30, 40}) && windows[0].ownerPID == 100);
    desk().windows[1].isSpoilt = true;
    EXPECT(server->onScreenWindows().size() == 3);
    std::vector<uint32_t> numbers{55};
    server->onScreenNumbers(numbers);
    EXPECT_CALL("list 1 0");
    EXPECT(numbers == (std::vector<uint32_t>{7, 9, 8, 3}));
    EXPECT(!server->whyIncomplete());
    desk().isPermitted = false;
    EXPECT(server->whyIncomplete());
    desk().isPermitted = true;
}

// From a thread of the capture's, where NSScreen is out of bounds.
void displays() {
    const auto displays = macos::makeDisplays();
    standin::runMainQueue();
    std::async(std::launch::async, [&] {
        @autoreleasepool {
            const auto screens = displays->screens();
            EXPECT(screens.size() == 2 && screens[0].number == 1 && screens[1].number == 2);
            EXPECT(screens[0].frame == (Rect{0, 0, 144, 90}) && screens[0].backingScale == 2);
            EXPECT(screens[1].frame == (Rect{-200, 50, 200, 100}) && screens[1].backingScale == 1);
            EXPECT(displays->bounds(2) == (Rect{-200, -60, 200, 100}) && displays->bounds(5) == Rect());
            EXPECT(displays->focusedScreenScale() == 2 && displays->mainDisplayPixelsHigh() == 90);
            desk().displays.pop_back();  // unplugged
            EXPECT(displays->screens().size() == 1 && displays->mainDisplay() == 1);
        }
    }).get();
    EXPECT(standin::timesCalled("not on the main thread") == 0);
}

void cursor() {
    const auto pointer = macos::makePointer();
    const auto first = pointer->currentCursor();
    EXPECT(first && first->hotSpot == (Point{4, 5}) && first->picture.size.width == 8);
    EXPECT(first->picture.representations.size() == 1 && first->picture.image->width() == 8);
    EXPECT(pointer->currentCursor() == first && standin::timesCalled("copy of a picture") == 1);
    desk().cursorWidth = 6;
    EXPECT(pointer->currentCursor()->picture.size.width == 6);
    desk().cursorWidth = 0;
    EXPECT(!pointer->currentCursor());
    EXPECT(pointer->location() == (Point{20, 60}));
}

void applications() {
    const auto workspace = macos::makeWorkspace();
    EXPECT(workspace->runningApplications().size() == 2 && !workspace->application(5));
    const auto editor = workspace->application(100);
    EXPECT(editor->localizedName() == "Editor" && editor->isActive() && !editor->isHidden() && editor->icon());
    EXPECT(editor->activate(Activation::allWindows) && editor->activate(Activation::ignoringOthers));
    EXPECT_CALL("activate 100 options 1");
    EXPECT_CALL("activate 100 from 0");
    EXPECT(editor->hide() && editor->unhide() && editor->terminate() && editor->forceTerminate());
    EXPECT(workspace->fullPathForApplication("Notes") == "/Applications/Notes.app" && workspace->iconForFile("/a"));
}

void queues() {
    const auto dispatch = macos::makeDispatch();
    const auto queue = dispatch->makeSerialQueue("queue");
    const auto held = std::make_shared<int>(0);
    std::promise<void> third;
    auto timer = dispatch->makeTimer(queue, 1'000'000, [&third, held] {
        if (++*held == 3) third.set_value();
        throw PlatformException{"a tick", "that throws"};
    });
    third.get_future().wait();
    timer = nullptr;
    standin::runMainQueueFor(30);  // the timer's thread ends
    EXPECT(held.use_count() == 1);
    int ran = 0;
    dispatch->mainAsync([&] {
        ++ran;
        throw 5;
    });
    standin::runMainQueue();
    EXPECT(ran == 1);

    const auto system = macos::makeSystem();
    system->console("Zeile \xff");  // bytes that are no UTF-8
    EXPECT(desk().console.back() == "Zeile ÿ");
    EXPECT(system->permission(Permission::screenRecording) == PermissionState::granted);
    const auto thing = std::make_shared<int>(5);
    macos::makeNotifications()->postCoalescing("SD_EVENT_WINDOW_MOVED", thing);
    EXPECT_CALL("post SD_EVENT_WINDOW_MOVED style 3");
    EXPECT(thing.use_count() == 1);
}

}  // namespace

void checks::checkCalls() {
    windowLists();
    displays();
    cursor();
    applications();
    queues();
}
