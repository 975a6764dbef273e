// The connection for questions and orders that come now and then.
#pragma once

#include <mutex>

#include "ScreenCapture/platform/x11/atoms.h"
#include "ScreenCapture/platform/x11/connection.h"
#include "ScreenCapture/platform/x11/pointer_position.h"

namespace orvo::platform::x11 {

// Pictures have a connection of their own: they may wait for windows to repaint, and a tick must not wait for them.
enum class Line { questions, pictures };

// Holds the process's one connection of its line while it lives: keep it for one exchange. Connects when there is none.
//     if (Asking asking; asking) asking->await<...>(...);
class Asking {
  public:
    explicit Asking(Line line = Line::questions);
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;

    explicit operator bool() const { return connection_ != nullptr; }  // false: no server
    Connection* operator->() const { return connection_; }
    Connection& operator*() const { return *connection_; }
    const Atoms& atoms() const;
    PointerPosition& pointer() const;

  private:
    const Line line_;
    std::unique_lock<std::mutex> lock_;
    PipeGuard guard_;
    Connection* connection_ = nullptr;
};

}  // namespace orvo::platform::x11
