// What ScreenCaptureKit can capture now, and the filters and configurations over it that pictures and streams share.
#pragma once

#include <ScreenCaptureKit/ScreenCaptureKit.h>

#include <vector>

#include "ScreenCapture/platform/image.h"

namespace orvo::platform::macos {

// Every window, those of other Spaces, minimised and hidden ones too; no list comes with its reason.
struct API_AVAILABLE(macos(14.0)) Content {
    SCShareableContent* list = nil;
    NoImage why = NoImage::none;
};
// One question serves all that is asked within 300 ms. Waits a second at most. The main thread gets the last list
// however old it is, while a new one is asked for, and waits for the first one only.
API_AVAILABLE(macos(14.0)) Content shareableContent();

// Nil for a number that is not in the list.
API_AVAILABLE(macos(14.0)) SCWindow* windowIn(SCShareableContent* list, CGWindowID number);
API_AVAILABLE(macos(14.0)) SCDisplay* displayIn(SCShareableContent* list, CGDirectDisplayID number);
// The displays that show some of a rectangle (points, origin top-left).
API_AVAILABLE(macos(14.0)) std::vector<SCDisplay*> displaysUnder(SCShareableContent* list, CGRect area);

// One window alone.
API_AVAILABLE(macos(14.0)) SCContentFilter* filterFor(SCWindow* window);
// A display with everything but the desktop's own elements, or with everything.
API_AVAILABLE(macos(14.0)) SCContentFilter* filterWithoutDesktop(SCDisplay* display, SCShareableContent* list);
API_AVAILABLE(macos(14.0)) SCContentFilter* filterFor(SCDisplay* display);
// The listed windows on a display, nothing else; with the menu bar where they are a whole desktop.
API_AVAILABLE(macos(14.0))
SCContentFilter* filterFor(SCDisplay* display, SCShareableContent* list, const std::vector<uint32_t>& windows);

// Pictures of a size in points without a cursor, in the pixels that the filter's display has for them.
API_AVAILABLE(macos(14.0)) SCStreamConfiguration* configurationFor(SCContentFilter* filter, CGSize size);
// The same for the part of a display that lies in an area (points, global, origin top-left).
API_AVAILABLE(macos(14.0))
SCStreamConfiguration* configurationFor(SCContentFilter* filter, SCDisplay* display, CGRect area);

// What an error of ScreenCaptureKit means.
API_AVAILABLE(macos(14.0)) NoImage reasonOf(NSError* error);

}  // namespace orvo::platform::macos
