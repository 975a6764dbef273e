// A desktop that tests arrange in plain words: displays, windows, applications, cursor. The services of the platform
// answer from its state, and its gate remembers what they were asked. All sizes are in points with the origin at the
// main display's top-left corner, unless said otherwise.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ScreenCapture/platform/platform.h"
#include "support/desktop/device.h"
#include "support/desktop/gate.h"
#include "support/desktop/pictures.h"
#include "support/desktop/stepper.h"

namespace orvo::test {

struct ScriptedDisplay {
    uint32_t number = 0;
    platform::Rect bounds{};
    double scale = 1;  // pixels per point
};

struct ScriptedApplication {
    int32_t pid = 0;
    std::string name{};
    std::string bundleIdentifier{};
    std::optional<platform::Picture> icon{};
    bool active = false;
    bool hidden = false;
};

struct ScriptedWindow {
    uint32_t number = 0;
    int32_t pid = 0;
    std::string title{};
    platform::Rect bounds{};
    bool isDesktopElement = false;  // wallpaper, icons
    int32_t layer = 0;
    double alpha = 1;
    std::string ownerName{};  // empty: the application's name
    std::string subrole = "AXStandardWindow";
    bool minimized = false;
    bool fullScreen = false;
    bool accessible = true;                                // has an accessibility element
    bool acceptsMain = true;                               // can be made the main window
    std::map<std::string, platform::Attribute> answers{};  // to questions for attributes, instead of the usual ones
    platform::NoImage refuses = platform::NoImage::none;   // why there is no picture of it
    platform::Ref<Bitmap> picture{};                       // instead of the pattern
    uint64_t identity = 0;                                 // a number that returns is another window; set by addWindow
};

// One accessibility observer.
struct ObserverWatch {
    struct Observation {
        uint32_t window = 0;  // 0: the application's own element, or none
        std::string notification;
        void* context = nullptr;
        platform::ElementRef element;
        bool operator==(const Observation&) const = default;
    };
    bool attached = false;  // to a run loop
    std::vector<Observation> observations;
    platform::ElementObserverCallback callback;
};

// What a test sees and sets directly; functions of Desktop keep it consistent.
struct DesktopState {
    std::vector<ScriptedDisplay> displays;
    uint32_t mainDisplay = 0;  // its number; 0: the first
    std::vector<ScriptedApplication> applications;
    std::vector<ScriptedWindow> windows;             // front to back, those off screen too
    std::map<std::string, std::string> installed;    // application name to path
    std::map<std::string, platform::Picture> files;  // path to icon
    std::optional<platform::Cursor> cursor;
    platform::Point pointer;  // origin at the main display's bottom-left corner
    platform::PermissionState permission = platform::PermissionState::granted;
    std::vector<std::shared_ptr<void>> postedThings;
    std::vector<std::shared_ptr<ObserverWatch>> observers;  // in order of making
    std::vector<std::shared_ptr<Device>> devices;           // in order of making
};

class Desktop : public DesktopState {
  public:
    Stepper stepper;
    Gate gate;

    void addDisplay(const ScriptedDisplay& display);
    ScriptedApplication& addApplication(const ScriptedApplication& application);
    void quitApplication(int32_t pid);                 // with its windows
    void activateApplication(int32_t pid);             // 0: none is active
    ScriptedWindow& addWindow(ScriptedWindow window);  // in front of all; its application is added when missing
    void closeWindow(uint32_t number);
    void raiseWindow(uint32_t number);
    // Changes a window, an application or a display, if there is one.
    template <typename Thing, typename Change>
    void change(Thing* (Desktop::*find)(uint32_t), uint32_t number, Change what) {
        if (auto* found = (this->*find)(number)) what(*found);
    }
    // Tells attached observers, on this thread, what they have added for a window (0: for the application).
    void notifyObservers(uint32_t window, const char* notification);

    // Null when there is none.
    ScriptedDisplay* display(uint32_t number);
    ScriptedApplication* application(uint32_t pid);
    ScriptedWindow* window(uint32_t number);
    const ScriptedDisplay* main();
    bool isOnScreen(const ScriptedWindow& window);
    Device& device() { return *devices.at(devices.size() - 1); }  // made last

    // An empty desk with nothing queued, counted and recorded.
    void reset();

  private:
    uint64_t identities_ = 0;
};

// The one behind platform().
Desktop& desktop();

// Its services that have a file of their own.
std::unique_ptr<platform::WindowServer> makeScriptedWindowServer(Desktop& desktop);
std::unique_ptr<platform::Accessibility> makeScriptedAccessibility(Desktop& desktop);
std::unique_ptr<platform::Workspace> makeScriptedWorkspace(Desktop& desktop);

// "x,y widthxheight", without decimals where there are none.
std::string words(const platform::Rect& rect);

}  // namespace orvo::test
