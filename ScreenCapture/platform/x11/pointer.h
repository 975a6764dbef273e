// The pointer: its picture is a fact of the desktop; its place and its buttons are followed here.
#pragma once

#include <xcb/sync.h>

#include <chrono>
#include <cstdint>
#include <memory>

#include "ScreenCapture/platform/x11/server.h"

namespace orvo::platform::x11 {

class DesktopPart;

// The cursor as XFixes has it: one representation of its own size, BGRA with colours multiplied by alpha.
std::unique_ptr<DesktopPart> makeCursorPart();

// Used under the desktop server's lock; the events of the connection go through handle() before anybody asks.
//
// The server counts for how many milliseconds the pointer has been idle (SYNC's DEVICEIDLETIME). While that count is
// high the place is known without a question; an alarm on the count reports when it is low again, whatever has moved
// the pointer: a device, another client, a grab that confines it. Four things make this safe:
//
// - The alarm compares the count with a limit (negative comparison: below it). One that waits for the count to fall
//   would miss a move right before somebody else queries the count, for the server compares two looks of its own.
// - It goes off once, so it is set again for each new rest: before the place is asked for, so that a move after the
//   answer makes an event.
// - Setting it alone would not do: the server compares with what it saw last, which may be from before the rest. A
//   query of the count sent ahead has it look, and its answer says whether the pointer has been idle for long enough.
// - A server that hangs sends no event, so a place is trusted for a second at most.
//
// On a server without such a count each request() asks.
class PointerPosition {
  public:
    explicit PointerPosition(Connection& x);

    struct Place {
        int x = 0, y = 0;      // root coordinates
        uint16_t buttons = 0;  // XCB_BUTTON_MASK_...
        bool known = false;    // false: the server did not say, or the pointer is on another of its screens
        bool operator==(const Place&) const = default;
    };

    void handle(const xcb_generic_event_t& event);
    // Something has happened that may have moved the pointer.
    void mayHaveMoved() {
        isIdle_ = false;
        moved_ = std::chrono::steady_clock::now();
    }
    // Whether the pointer rests where it was.
    bool isKnown() const { return isIdle_ && std::chrono::steady_clock::now() - asked_ < kMaxTrust; }
    // Asks unless that is known, without waiting; an answer that was not received before is dropped.
    void request();
    // False when nothing was asked; else the events that came with the answer are there to be read.
    bool receive();
    const Place& place() const { return place_; }

    // Counts how often a button was pressed while somebody watches them: at each tick one would miss short clicks.
    // Every watcher ends its watch, unless the connection has gone.
    void watchButtons(bool watch);
    uint64_t clicks() const { return clicks_; }

  private:
    static constexpr std::chrono::seconds kMaxTrust{1};

    void findCount();
    void setAlarm();
    void rearmAlarm();

    Connection& x_;
    xcb_sync_counter_t count_ = 0;  // 0: the server has none
    xcb_sync_alarm_t alarm_ = 0;    // lives as long as the connection
    Place place_;
    bool isIdle_ = false;
    std::chrono::steady_clock::time_point asked_, moved_;
    int buttonWatchers_ = 0;
    uint64_t clicks_ = 0;
    unsigned pointerQuestion_ = 0, countQuestion_ = 0;  // 0: not asked
};

// The one of the desktop's server, for all who ask; valid until the next connection.
PointerPosition& sharedPointer(const Server::Use& x);

}  // namespace orvo::platform::x11
