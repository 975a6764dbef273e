// The clocks and the developer's console.
#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/Foundation.h>

#include "ScreenCapture/platform/macos/services.h"
#include "ScreenCapture/platform/macos/text.h"

namespace orvo::platform::macos {
namespace {

class MacClock final : public Clock {
  public:
    double absoluteSeconds() override { return CFAbsoluteTimeGetCurrent(); }
    double secondsSince1970() override { return CFAbsoluteTimeGetCurrent() + kCFAbsoluteTimeIntervalSince1970; }
};

class MacSystem final : public System {
  public:
    void console(std::string_view line) override {
        @autoreleasepool {
            NSLog(@"%@", textFrom(line));
        }
    }
};

}  // namespace

std::unique_ptr<Clock> makeClock() {
    return std::make_unique<MacClock>();
}

std::unique_ptr<System> makeSystem() {
    return std::make_unique<MacSystem>();
}

}  // namespace orvo::platform::macos
