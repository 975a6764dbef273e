// What the desktop is like: an immutable snapshot of every fact that questions are answered from. Events say which of
// them have become stale, and the next question asks the server again.
//
// To add a kind of facts: write a DesktopPart, give Desktop a member for its result (shared and immutable, so that
// copying a Desktop is cheap), and list the part in makeParts() of desktop.cpp.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>

#include "ScreenCapture/platform/pointer.h"
#include "ScreenCapture/platform/x11/monitors.h"
#include "ScreenCapture/platform/x11/server.h"
#include "ScreenCapture/platform/x11/window_list.h"

namespace orvo::platform::x11 {

// Its members are never null unless it is said.
struct Desktop {
    uint64_t version = 0;  // of nextVersion(): another one if and only if a member has another value
    std::shared_ptr<const MonitorList> monitors = std::make_shared<const MonitorList>();
    std::shared_ptr<const WindowList> windows = std::make_shared<const WindowList>();
    std::shared_ptr<const Cursor> cursor;  // null when there is none
};

// One kind of facts. Lives as long as the process and sees several connections, one after the other; used under the
// desktop server's lock.
class DesktopPart {
  public:
    virtual ~DesktopPart() = default;
    // A new connection: selects events, forgets the old server.
    virtual void attach(Connection& x) = 0;
    // What was asked of a server that has hung meanwhile may not have been answered.
    virtual void invalidate() {}
    // True when the event makes the facts stale.
    virtual bool handle(const Connection& x, const xcb_generic_event_t& event) = 0;
    // Whether the time that has passed, or an order of this process, has made the facts stale.
    virtual bool isOutdated() { return false; }
    // Asks the server, and replaces the member of the next snapshot if its value is another. Answers of a lost
    // connection are not used.
    virtual void refresh(Connection& x, Desktop& next) = 0;
};

// The desktop as it is now: whatever the server has sent up to this call is in it. Asks for what is stale, at most
// once. Of a server that hangs the last snapshot; null when there is no server. Any thread; the second for who uses
// desktopServer() already.
std::shared_ptr<const Desktop> latestDesktop();
std::shared_ptr<const Desktop> latestDesktop(Server::Use& x);
// The same, but the snapshot that the thread's SnapshotScope has while there is one.
std::shared_ptr<const Desktop> currentDesktop();
std::shared_ptr<const Desktop> currentDesktop(Server::Use& x);

// Is called whenever events have made a part stale; from any thread, with the server locked: it only passes that on.
class DesktopObserver {
  public:
    virtual void onStale() = 0;

  protected:
    ~DesktopObserver() = default;
};
// While there is an observer events are read at once. It is called until removeObserver() has returned.
void addObserver(DesktopObserver& observer);
void removeObserver(DesktopObserver& observer);

}  // namespace orvo::platform::x11
