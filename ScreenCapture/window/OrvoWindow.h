// The record of one capturable thing: a window of an application, or a whole display.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ScreenCapture/platform/values.h"

// Plain values; whoever makes a record fills in what it knows. A registered record is written on the capture queue
// only.
class OrvoWindow {
  public:
    bool isScreen = false;
    bool isOnScreen = false;
    bool isActive = false;           // its application was active at the last check
    bool isHidden = false;           // its application was hidden at the last check
    bool isWindowMinimized = false;  // at the last check
    bool isWindowMoving = false;     // it moved, or changed its size, at the last check
    uint32_t windowID = 0;           // window number; for a screen its display number
    int32_t ownerPID = 0;            // windows only
    std::string windowName;          // title, UTF-8; for a screen the name that the enumeration gives it
    std::string appName;             // the owning application's name, UTF-8
    uint64_t unchangedAt = 0;        // the desktop's version at the last check that found nothing to report; 0: none
    double backingScaleFactor = 0;   // pixels per point; screens only
    // Points. A window: global, origin at the main display's top-left corner. A screen: its frame, origin at the main
    // display's bottom-left corner, y upwards.
    orvo::platform::Rect windowBounds;

    // Whether the record's number is the main display's, for screens and windows alike.
    bool isMainScreen() const;
    // The bounds in points, global, origin top-left, computed from windowBounds at every call. A secondary screen is
    // turned over by the main display's height in pixels; that is intended, also where a point is not a pixel.
    orvo::platform::Rect deskBounds() const;

    // Both are computed: what is set is never read back.
    void setIsMainScreen(bool /*isMain*/) {}
    void setDeskBounds(const orvo::platform::Rect& /*bounds*/) {}
};

using OrvoWindowRef = std::shared_ptr<OrvoWindow>;
