// What the desktop looks like now: a snapshot that a thread with a connection of its own keeps. Events tell
// it what has become stale; it asks the server again when somebody wants to know.
//
// To add a kind of facts: write a ModelPart that asks the server for them and knows which events make them stale, give
// Desktop a member for its result (shared and immutable, so that copying a Desktop is cheap), and list the part in
// makeParts() of desktop_model.cpp.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>

#include "ScreenCapture/platform/pointer.h"
#include "ScreenCapture/platform/x11/connection.h"
#include "ScreenCapture/platform/x11/monitors.h"
#include "ScreenCapture/platform/x11/windows.h"

namespace orvo::platform::x11 {

// One immutable picture of the desktop. Its members are never null unless it is said.
struct Desktop {
    uint64_t version = 0;  // of nextVersion(): another one for each
    std::shared_ptr<const MonitorList> monitors = std::make_shared<const MonitorList>();
    std::shared_ptr<const WindowList> windows = std::make_shared<const WindowList>();
    std::shared_ptr<const Cursor> cursor;  // null when there is none
};

// One kind of facts. All calls come from the model's thread. A part lives as long as the process and sees several
// connections, one after the other.
class ModelPart {
  public:
    virtual ~ModelPart() = default;
    virtual uint32_t rootEvents() const = 0;  // the core events that it needs of the root window
    virtual void attach(Connection& x) = 0;   // a new connection: selects other events, forgets the old server
    // True when something other than an event has made the facts stale, since the last such answer. Asked after
    // outdateDesktop().
    virtual bool takeStale() { return false; }
    // True when the event makes the facts stale.
    virtual bool handle(Connection& x, const xcb_generic_event_t& event) = 0;
    // Asks the server and stores the result in the next snapshot. A lost connection needs no answer.
    virtual void refresh(Connection& x, Desktop& next) = 0;
};

// The desktop as it is now: whatever the server has told up to this call is in it. Waits for the model's thread when
// there is news, at most kServerLimit; connects when there is no connection. Null when the server cannot be asked.
// Callable from any thread but the model's own.
std::shared_ptr<const Desktop> latestDesktop();
// The same, but what the thread's look has seen already while there is one.
std::shared_ptr<const Desktop> currentDesktop();
// Something other than an event has made parts stale: the next question gets a new snapshot. Any thread.
void outdateDesktop();

}  // namespace orvo::platform::x11
