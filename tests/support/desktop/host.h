// A host of the library: it registers every callback, and remembers what came and what was logged.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "orvo/screencapture.h"
#include "support/desktop/desktop.h"
#include "support/every_export.h"

namespace orvo::test {

struct ReceivedFrame {
    const char* data = nullptr;
    unsigned int length = 0;
    OrvoScreenCaptureFrameFormat format{};
    unsigned long long time = 0;
    unsigned int timeScale = 0;
    unsigned int window = 0;           // kind 4 only
    std::vector<unsigned char> bytes;  // a copy, unless the host asked for the buffer

    Pixel at(int x, int y) const;
};

inline const With inTheMiddle{2, 7, 8, [](bool good) { EXPECT_TRUE(good); }};

class Host {
  public:
    // Registers every kind with this object as user data. Forgets nothing.
    void listen();
    // The same without the facade; what window managers tell only.
    void listenTo(OrvoCaptureSettings& settings);
    void silenceFrames();

    // What came, in order: "error 2", "frame", "window frame 7", "moved 7 0,0 10x10", "status 8 7 0,0,10,10",
    // "thumbnail 5 7 title picture icon", "process 4 9 title".
    std::vector<std::string> take();
    size_t count(const std::string& event);

    std::vector<ReceivedFrame> frames;                     // kind 3
    std::vector<ReceivedFrame> windowFrames;               // kind 4
    std::function<void(const std::string& event)> during;  // called in every callback

    void note(const std::string& event);
    void keep(std::vector<ReceivedFrame>& list, ReceivedFrame frame);

  private:
    std::mutex mutex_;
    std::vector<std::string> events_;
};

// Lines of channel 1 since the last call, those of the calling thread only, as "module message". A level other than
// 3 goes in front: "1 module message".
std::vector<std::string> takeLog();

// Waits until the log thread, which has to run, has done what it was given.
void waitForLogThread();

// A desk with one display, number 1, of 1920x1080 points at scale 1, and nothing initialised. Ends uninitialised.
class DesktopTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // The library initialised, its first steps run, the host listening; log, device journal and events empty.
    void init();
    // A frame of the size given is produced and delivered.
    void deliver(int width = 16, int height = 2, platform::MediaTime time = {1, 1000});
    void runSteps() { desk.stepper.run(sessionQueue); }

    Desktop& desk = desktop();
    Host host;
};

using Lines = std::vector<std::string>;

}  // namespace orvo::test
