// The connection for questions and orders that come now and then.
#pragma once

#include <mutex>

#include "ScreenCapture/platform/x11/atoms.h"
#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

// Holds the process's one such connection while it lives: keep it for one exchange. Connects when there is none.
//     if (Asking asking; asking) asking->await<...>(...);
class Asking {
  public:
    Asking();
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;

    explicit operator bool() const { return connection_ != nullptr; }  // false: no server
    Connection* operator->() const { return connection_; }
    Connection& operator*() const { return *connection_; }
    const Atoms& atoms() const;

  private:
    std::unique_lock<std::mutex> lock_;
    PipeGuard guard_;
    Connection* connection_ = nullptr;
};

}  // namespace orvo::platform::x11
