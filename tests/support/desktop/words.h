// How records of calls spell values.
#pragma once

#include <sstream>
#include <string>

#include "ScreenCapture/platform/values.h"

namespace orvo::test {

// "x,y widthxheight", without decimals where there are none.
inline std::string words(const platform::Rect& rect) {
    std::ostringstream text;
    text << rect.x << "," << rect.y << " " << rect.width << "x" << rect.height;
    return text.str();
}

}  // namespace orvo::test
