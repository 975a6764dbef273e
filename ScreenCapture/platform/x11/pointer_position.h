// Where the pointer is and which of its buttons are down, without asking while it rests.
#pragma once

#include <xcb/sync.h>

#include <chrono>
#include <cstdint>

#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

// For one thread. The owner of the connection reads its events and hands each to handle() before it asks.
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
// On a server without such a count each locate() asks.
class PointerPosition {
  public:
    explicit PointerPosition(Connection& x);

    struct Place {
        int x = 0, y = 0;      // root coordinates
        uint16_t buttons = 0;  // XCB_BUTTON_MASK_...
        bool known = false;    // false: the server did not say, or the pointer is on another of its screens
        bool operator==(const Place&) const = default;
    };

    // True for an event that was meant for this.
    bool handle(const Connection& x, const xcb_generic_event_t& event);
    // Something has happened that may have moved the pointer.
    void disturb() {
        isIdle_ = false;
        moved_ = std::chrono::steady_clock::now();
    }
    // Asks unless the pointer rests, without waiting; what was asked before and not heard is forgotten.
    void ask();
    // Hears the answer. False when nothing was asked; else it has brought all news of the server with it.
    bool hear();
    void locate() {
        ask();
        hear();
    }
    const Place& place() const { return place_; }

  private:
    void findCount();
    void setAlarm();
    void rearmAlarm();

    Connection& x_;
    xcb_sync_counter_t count_ = 0;  // 0: the server has none
    xcb_sync_alarm_t alarm_ = 0;    // lives as long as the connection
    Place place_;
    bool isIdle_ = false;
    std::chrono::steady_clock::time_point asked_, moved_;
    unsigned pointerQuestion_ = 0, countQuestion_ = 0;  // 0: not asked
};

}  // namespace orvo::platform::x11
