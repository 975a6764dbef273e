// What the logic needs of an operating system, on one page. Exactly one adapter defines platform(); the build picks it.
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

// Every service answers from any thread and lives as long as the process.
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

// While one lives, this thread's questions about displays, windows, applications and the cursor's picture may be
// answered from one look at the desktop, taken at the first of them. For the questions of a tick: neither orders nor
// the host's callbacks belong inside. An adapter that cannot use it leaves it alone.
class OneLook {
  public:
    OneLook() { current_ = this; }
    ~OneLook() { current_ = outer_; }
    OneLook(const OneLook&) = delete;
    OneLook& operator=(const OneLook&) = delete;

    // The innermost of this thread, null when there is none.
    static OneLook* current() { return current_; }
    std::shared_ptr<const void> seen;  // the adapter's

  private:
    OneLook* const outer_ = current_;
    static inline constinit thread_local OneLook* current_ = nullptr;
};

}  // namespace orvo::platform
