// Where the pointer is, how it looks and whether a button is down, for drawing it into frames.
#pragma once

#include <cstdint>
#include <memory>

#include "ScreenCapture/platform/software/pointer_blend.h"
#include "ScreenCapture/platform/x11/connection.h"
#include "ScreenCapture/platform/x11/pointer_position.h"

namespace orvo::platform::x11 {

// Copies the server's cursor picture; false when there is none.
bool queryCursor(Connection& x, software::Sprite& cursor);

// What of the pointer a frame shows. Equal looks give equal pixels.
struct PointerLook {
    bool cursor = false;
    bool ring = false;
    uint32_t picture = 0;  // counts the cursor's pictures
    int x = 0;             // root coordinates
    int y = 0;
    bool operator==(const PointerLook&) const = default;
};

// For one thread at a time. The owner hands each event of the connection to handle().
class PointerTracker {
  public:
    explicit PointerTracker(std::shared_ptr<Connection> connection);
    // Watches nothing any more.
    void stop() { watchButtons(false); }

    void handle(const xcb_generic_event_t& event);

    // Asks where the pointer is, when anything of it is wanted; the answer may come with others.
    void ask(PointerPosition& position, bool wantsCursor, bool wantsClicks);
    // Hears the answer. True when the server was asked: events came with it.
    bool hear(PointerPosition& position);
    // What a frame shows, after hear() and the events that came with its answer. A click that came and went since the
    // last look shows once. Asks for the cursor's picture when it is another.
    PointerLook look();
    // Draws a look of look() into a frame whose top left corner lies at a point of the root window.
    void draw(const PointerLook& look, software::Frame& frame, int left, int top) const;

  private:
    void watchButtons(bool watch);

    const std::shared_ptr<Connection> connection_;
    Connection& x_;
    PointerLook now_;
    software::Sprite cursor_;
    software::Sprite ring_ = software::makeClickRing();
    bool cursorIsStale_ = true;
    uint32_t pictures_ = 0;
    bool wantsCursor_ = false;
    bool watchesButtons_ = false;
    bool clicked_ = false;  // a button went down since the last look
};

}  // namespace orvo::platform::x11
