// What the logic needs of an operating system, on one page. Exactly one adapter defines platform(); the build picks it.
//
// Rules for every adapter, beyond what each declaration of these headers says:
// - It reports facts. It never calls the host, applies no rule of the library, and lets no type of the system out of
// its
//   folder. If the logic needs to know which system it is on, a declaration is missing here.
// - Every service answers from any thread (a Grabber from one thread). No call waits for the system without a limit.
// - What does not exist (no display, no server, no permission, a closed window) gives empty lists, zero, or no image
// with
//   the reason. The system's own exceptions become PlatformException or such a neutral answer.
// - There is one main queue in a process: the one that hosts of the system run anyway. Display frames and notices of
// the
//   system arrive there.
// - Displays and pointer: points, origin at the main display's bottom-left corner. Windows and areas: points, origin at
//   its top-left corner. Images: pixels, row 0 on top. Texts: UTF-8, empty where the system has none.
// - Window and display numbers never collide: they share one space of 32 bits.
// - Memory that others write is copied once. Where the system reports what changed, Image::version and changed() say
// so.
#pragma once

#include <memory>

#include "ScreenCapture/platform/accessibility.h"
#include "ScreenCapture/platform/dispatch.h"
#include "ScreenCapture/platform/display_capture.h"
#include "ScreenCapture/platform/displays.h"
#include "ScreenCapture/platform/imaging.h"
#include "ScreenCapture/platform/notifications.h"
#include "ScreenCapture/platform/pointer.h"
#include "ScreenCapture/platform/system.h"
#include "ScreenCapture/platform/window_server.h"
#include "ScreenCapture/platform/workspace.h"

namespace orvo::platform {

// The services of the process. They live as long as it does.
class Platform {
  public:
    virtual ~Platform() = default;
    virtual Dispatch& dispatch() = 0;
    virtual Clock& clock() = 0;
    virtual System& system() = 0;
    virtual Displays& displays() = 0;
    virtual std::shared_ptr<DisplayCapture> makeDisplayCapture() = 0;
    virtual WindowServer& windowServer() = 0;
    virtual Imaging& imaging() = 0;
    virtual Pointer& pointer() = 0;
    virtual Accessibility& accessibility() = 0;
    virtual Workspace& workspace() = 0;
    virtual Notifications& notifications() = 0;
};

// Asks the system nothing by itself: services connect at their first question.
Platform& platform();

}  // namespace orvo::platform
