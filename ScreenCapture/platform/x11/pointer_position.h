// Where the pointer is and which of its buttons are down, without asking while it rests.
#pragma once

#include <xcb/sync.h>

#include <chrono>
#include <cstdint>

#include "ScreenCapture/platform/x11/connection.h"

namespace orvo::platform::x11 {

// For one thread. The owner of the connection reads its events and hands each to handle() before it asks.
//
// The server counts how long the pointer has been idle. Once that is long enough, an alarm on the count tells when the
// pointer stirs, whatever moves it: a device, another client, a grab that confines it. Until then the server is asked
// once a second. On a server without such a count each locate() asks.
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
        rests_ = false;
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
    void setAlarmAnew();

    Connection& x_;
    xcb_sync_counter_t count_ = 0;  // 0: the server has none
    xcb_sync_alarm_t alarm_ = 0;    // lives as long as the connection
    Place place_;
    bool rests_ = false;
    std::chrono::steady_clock::time_point asked_, moved_;
    unsigned pointerQuestion_ = 0, countQuestion_ = 0;  // 0: not asked
};

}  // namespace orvo::platform::x11
