// What the stand-in frameworks answer from, and what they note: one desktop for the process. The programs set it and
// look at it; the frameworks read it under its lock.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace standin {

struct DisplayState {
    uint32_t number = 0;
    CGRect bounds{};  // points, origin top-left of the main one, which is the first
    double scale = 1;
};
struct WindowState {
    uint32_t number = 0;
    int32_t pid = 0;
    int32_t layer = 0;
    double alpha = 1;
    CGRect bounds{};
    std::string owner, name;
    bool isOnScreen = true;
    bool isSpoilt = false;  // its number comes as a text
};
struct ApplicationState {
    int32_t pid = 0;
    std::string name;
    bool isActive = false, isHidden = false, isHung = false;
};

struct Desk {
    std::mutex lock;
    std::vector<DisplayState> displays;
    std::vector<WindowState> windows;  // front to back
    std::vector<ApplicationState> applications;
    CGPoint pointer{};
    size_t cursorWidth = 0;  // of the cursor's picture; 0: the system hands none out
    bool isPermitted = true;
    bool hasImageFunctions = true;    // those for windows
    bool answersImages = true;        // what is there answers pictures, not null
    bool hasScreenInput = true;       // AVFoundation makes inputs for displays
    bool deliversSamples = true;      // SCStream answers what it is asked for
    int sharingError = 0;             // of ScreenCaptureKit's questions; 0: none
    std::function<void()> onPicture;  // runs whenever a picture is asked for
    std::vector<std::string> calls;   // what the frameworks were asked, with the arguments
    std::vector<std::string> console;
    int savedGraphicsStates = 0;
    float longestLimit = 0;  // that an element was given, seconds
};
Desk& desk();

void note(std::string call);
bool wasCalled(const std::string& call);  // since the last forget()
long timesCalled(const std::string& start);
void forget();

// A bitmap of BGRA pixels of one value, rows longer than its pixels by `padding` bytes, in a provider that is longer
// than its rows, as the system's are.
CGImageRef createBitmap(size_t width, size_t height, uint8_t value, size_t padding);

// The main queue: jobs run when the program says so. Result: how many ran.
int runMainQueue();
void runMainQueueFor(int milliseconds);
void settle();  // waits until no queue has work, and runs the main queue meanwhile

// What an application does that somebody watches; false when nobody does.
bool notifyObserver(const char* name, uint32_t window);

// What AVFoundation and ScreenCaptureKit do by themselves.
bool deliverSample(int64_t value);        // to the last output; false without a delegate
void stopSessionBySystem(bool announce);  // with its notification
void postRuntimeError(const char* reason);
size_t runningStreams();
void deliverStreamSamples(int status);  // SCFrameStatus; to every running stream
void stopStreams(long code);            // as the system or its user stops them

}  // namespace standin
