// A desktop with a window manager, and the windows of the test's own process on it.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/x11/elements.h"
#include "support/x11/shots.h"
#include "support/x11/x_server.h"

namespace orvo::testing {

class ManagedDesktop {
  protected:
    // manager: a program, or "none".
    explicit ManagedDesktop(const std::string& manager) : server_("800x600x24"), windows_(server_) {
        if (manager == "none") return;
        manager_ = server_.start({manager});
        EXPECT_TRUE(windows_.awaitManager());
    }
    xcb_window_t show(const WindowWish& wish) {
        const xcb_window_t window = windows_.make(wish);
        EXPECT_TRUE(manager_ < 0 || windows_.awaitMapped(window));
        return window;
    }
    static std::shared_ptr<platform::RunningApplication> application(int32_t pid = getpid()) {
        return platform::platform().workspace().application(pid);
    }

    XServer server_;
    Windows windows_;
    int manager_ = -1;
};

}  // namespace orvo::testing
