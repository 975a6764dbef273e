// How a presentation program's slide show is recognised among its windows.
#pragma once

#include <cstdint>
#include <string>

namespace orvo::thumbnail {

enum class SlideShowProgram {
    none,
    anyWindow,     // every window of the program may be the show
    listedWindow,  // only windows that are on screen now
};

// Decides by the application's localised name.
SlideShowProgram slideShowProgram(const std::string& applicationName);

struct SlideShowWindow {
    uint32_t number = 0;
    bool coversScreen = false;  // full screen, or as large as a display
    std::string title;          // UTF-8
};

// Whether a window may be the show of the document that a captured window shows.
bool isSlideShow(const SlideShowWindow& window, uint32_t capturedNumber, const std::string& capturedTitle);

}  // namespace orvo::thumbnail
