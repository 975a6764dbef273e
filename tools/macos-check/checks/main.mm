// Runs the named parts of the check on the stand-ins, and says what was not as it has to be.
#include <cstring>

#include "tools/macos-check/checks/checks.h"
#include "tools/macos-check/standin/runtime.h"

namespace checks {

void setDesk() {
    standin::Desk& desk = standin::desk();
    std::lock_guard guard(desk.lock);
    desk.displays = {{1, CGRectMake(0, 0, 144, 90), 2}, {2, CGRectMake(-200, -60, 200, 100), 1}};
    desk.windows = {{7, 100, 0, 1, CGRectMake(10, 20, 30, 40), "Editor", "Grüße"},
                    {9, 100, 0, 1, CGRectMake(50, 20, 20, 20), "Editor", "Second"},
                    {8, 101, 25, 0.5, CGRectMake(0, 0, 5, 5), "Dock", ""},
                    {3, 50, -5, 1, CGRectMake(0, 0, 144, 90), "Wallpaper", ""}};
    desk.applications = {{100, "Editor", true}, {101, "Dock"}};
    desk.pointer = CGPointMake(20, 60);
    desk.cursorWidth = 8;
    desk.isPermitted = desk.hasScreenInput = desk.deliversSamples = desk.answersImages = true;
    desk.sharingError = 0;
    desk.onPicture = nullptr;
    desk.calls.clear();
    desk.console.clear();
}

}  // namespace checks

using Part = void (*)();
static const struct {
    const char* name;
    Part run;
} parts[] = {{"calls", checks::checkCalls},           {"pictures", checks::checkPictures},
             {"device", checks::checkDevice},         {"accessibility", checks::checkAccessibility},
             {"exceptions", checks::checkExceptions}, {"host", checks::checkHost},
             {"streams", checks::checkStreams}};

static void run(Part part) {
    @autoreleasepool {
        checks::setDesk();
        part();
        standin::settle();
    }
}

int main(int count, char** arguments) {
    for (const auto& part : parts) {
        bool isWanted = count == 1;
        for (int i = 1; i < count; ++i) isWanted = isWanted || std::strcmp(arguments[i], part.name) == 0;
        if (!isWanted) continue;
        standin::desk().hasImageFunctions = part.run != checks::checkStreams;
        run(part.run);  // what is made once stays
        checks::allowedObjects = 0;
        const long before = standin::liveObjects();
        run(part.run);
        const long left = standin::liveObjects() - before - checks::allowedObjects;
        if (left == 0) continue;
        ++checks::failures;
        std::printf("%s: %ld objects are left over\n", part.name, left);
    }
    std::fflush(stdout);
    _Exit(checks::failures != 0);
}
