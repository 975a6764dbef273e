// Rules for slide shows.
#include "ScreenCapture/thumbnail/slide_show.h"

namespace orvo::thumbnail {

namespace {

// Nothing contains an empty text.
bool contains(const std::string& text, const std::string& part) {
    return !part.empty() && text.find(part) != std::string::npos;
}

}  // namespace

SlideShowProgram slideShowProgram(const std::string& applicationName) {
    if (contains(applicationName, "WPS") || contains(applicationName, "Microsoft PowerPoint")) {
        return SlideShowProgram::anyWindow;
    }
    return contains(applicationName, "Keynote") ? SlideShowProgram::listedWindow : SlideShowProgram::none;
}

bool isSlideShow(const SlideShowWindow& window, uint32_t capturedNumber, const std::string& capturedTitle) {
    return window.number != capturedNumber && window.coversScreen &&
           (window.title.empty() || contains(window.title, capturedTitle) || contains(capturedTitle, window.title));
}

}  // namespace orvo::thumbnail
