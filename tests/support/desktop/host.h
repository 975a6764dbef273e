// A host of the library: it registers every callback, and what comes and what is logged is recorded.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "orvo/screencapture_additions.h"
#include "support/desktop/desktop.h"

namespace orvo::test {

using platform::contains;

struct ReceivedFrame {
    const char* data = nullptr;
    unsigned int length = 0;
    OrvoScreenCaptureFrameFormat format{};
    unsigned long long time = 0;
    unsigned int timeScale = 0;

    // Recorded as "64x48 of 7": its size and whose pattern it shows. "in 0,8 64x32" follows where four zero bytes
    // surround what it shows, "from 20,40" where that does not begin with the pattern's first pixel.
    std::string words() const;
};

class Host {
  public:
    // Registers every kind with this object as user data.
    void listen();
    // The same without the facade; what window managers report only.
    void listenTo(OrvoCaptureSettings& settings);

    // Records: "error 2", "frame ...", "window frame 7 ...", "moved 7 0,0 10x10", "status 8 7 0,0,10,10",
    // "thumbnail 5 7 title picture icon", "process 4 9 title".
    void note(const std::string& event);

    ReceivedFrame last;                                    // of kind 3 or 4
    std::function<void(const std::string& event)> during;  // called in every callback
};

// Waits until the log thread, which has to run, has done what it was given.
void waitForLogThread();

// A desk with one display, number 1, of 1920x1080 points at scale 1, and nothing initialised. Ends uninitialised.
class DesktopTest : public ::testing::Test {
  public:
    // Reads what follows a word.
    struct Arguments {
        template <typename Number = int>
        Number number() {
            double value = 0;
            text >> value;
            return platform::truncated<Number>(value);
        }
        platform::Rect rect();
        std::vector<unsigned int> numbers();  // all that follow
        std::string rest();
        std::istringstream text;
    };
    using Word = std::function<void(Arguments&)>;

  protected:
    DesktopTest();
    void SetUp() override;
    void TearDown() override;

    // The library initialised, its first steps run, the host listening; nothing recorded.
    void init();
    void runSteps() { desk.stepper.run(sessionQueue); }
    // What was recorded since the last call of those that the test listens to.
    Lines take() { return desk.gate.take(heard); }
    // Lines of channel 1 since then, those of the test's thread only, as "module message". A level other than 3 goes in
    // front: "1 module message".
    Lines takeLog() { return desk.gate.take(kLog); }

    // Carries out a story: a line for each step, its words between commas, and what has to come of it behind an arrow.
    //     screen 2, steps -> begin, remove 1, input 2, add 2, commit
    void follow(const std::string& story);
    // The words of one step, separated by commas.
    void perform(const std::string& step);

    std::map<std::string, Word> vocabulary;

    Desktop& desk = desktop();
    Host host;
    int heard = kHost;

  private:
    void learnTheHostsWords();
    void learnTheDesktopsWords();
};

}  // namespace orvo::test
