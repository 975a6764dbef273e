// What the programs on the stand-ins share: expectations, a delegate that counts, a desktop to begin with.
#pragma once

#include <cstdio>

#include "ScreenCapture/platform/display_capture.h"
#include "tools/macos-check/standin/desk.h"

namespace checks {

inline int failures = 0;
inline long allowedObjects = 0;  // that a part has counted itself

struct Delegate : orvo::platform::DisplayCaptureDelegate {
    int samples = 0, drops = 0, errors = 0, interruptions = 0;
    int width = 0;
    std::string words;
    bool onSample(orvo::platform::PixelBuffer& buffer, const orvo::platform::MediaTime&,
                  const orvo::platform::Changes&) override {
        ++samples;
        width = buffer.width();
        return true;
    }
    void onDropped(orvo::platform::NoImage) override { ++drops; }
    void onRuntimeError(const orvo::platform::CaptureFailure& failure) override {
        ++errors;
        words = failure.failureReason;
    }
    void onInterruption(const orvo::platform::CaptureFailure& failure) override {
        ++interruptions;
        words = failure.failureReason;
    }
};

// A main display of scale 2 with another of scale 1 on its left and above it, an editor with two windows, a dock.
void setDesk();

// The parts of the check, each run twice; the second time has to leave no object behind.
void checkCalls();
void checkPictures();
void checkDevice();
void checkAccessibility();
void checkExceptions();  // every message that the adapter sends, raised once
void checkHost();        // the C interface over the library's own logic
void checkStreams();     // without the image functions

}  // namespace checks

#define EXPECT(condition)                                                        \
    do {                                                                         \
        if (condition) break;                                                    \
        ++checks::failures;                                                      \
        std::printf("%s:%d: not so: %s\n", __FILE_NAME__, __LINE__, #condition); \
    } while (0)
#define EXPECT_CALL(text)                                                                     \
    do {                                                                                      \
        if (standin::wasCalled(text)) break;                                                  \
        ++checks::failures;                                                                   \
        std::printf("%s:%d: not called: %s; there were:\n", __FILE_NAME__, __LINE__, text);   \
        for (const auto& call : standin::desk().calls) std::printf("    %s\n", call.c_str()); \
    } while (0)
