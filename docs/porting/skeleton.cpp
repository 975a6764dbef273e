// The beginning of an adapter for another system: one display that never changes, no pointer, a user who is asked
// nothing. A real service asks the system at each question, or keeps what the system reports of changes.
#include <memory>

#include "ScreenCapture/platform/displays.h"
#include "ScreenCapture/platform/pointer.h"
#include "ScreenCapture/platform/system.h"

namespace orvo::platform::name {
namespace {

constexpr uint32_t kOnlyDisplay = 1;
constexpr double kWidth = 1280, kHeight = 800;

class OneDisplay final : public Displays {
  public:
    std::vector<Display> screens() override { return {{kOnlyDisplay, {0, 0, kWidth, kHeight}, 1.0}}; }
    uint32_t mainDisplay() override { return kOnlyDisplay; }
    Rect bounds(uint32_t display) override { return display == kOnlyDisplay ? Rect{0, 0, kWidth, kHeight} : Rect{}; }
    uint32_t mainDisplayPixelsHigh() override { return static_cast<uint32_t>(kHeight); }
    double focusedScreenScale() override { return 1.0; }
};

class NoPointer final : public Pointer {
  public:
    std::shared_ptr<const Cursor> currentCursor() override { return nullptr; }
    Point location() override { return {}; }
};

class PlainSystem final : public System {
  public:
    void console(std::string_view line) override { static_cast<void>(line); /* one write to the developer's console */ }
    PermissionState permission(Permission) override { return PermissionState::granted; }
    PermissionState requestPermission(Permission) override { return PermissionState::granted; }
};

}  // namespace

std::unique_ptr<Displays> makeDisplays() {
    return std::make_unique<OneDisplay>();
}

std::unique_ptr<Pointer> makePointer() {
    return std::make_unique<NoPointer>();
}

std::unique_ptr<System> makeSystem() {
    return std::make_unique<PlainSystem>();
}

}  // namespace orvo::platform::name
