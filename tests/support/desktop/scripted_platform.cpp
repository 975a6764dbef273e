// The platform of the tests: its small services, and all of them together.
#include "ScreenCapture/platform/software/imaging.h"
#include "support/desktop/desktop.h"

namespace orvo::platform {
namespace {

using test::Desktop;

// A service that answers from the desktop.
template <typename Service>
class Scripted : public Service {
  public:
    explicit Scripted(Desktop& desktop) : desktop_(desktop) {}

  protected:
    Desktop& desktop_;
};

class ScriptedDisplays final : public Scripted<Displays> {
  public:
    using Scripted::Scripted;
    std::vector<Display> screens() override {
        auto pass = desktop_.gate.enter("screens");
        std::vector<Display> list;
        if (!pass) return list;
        for (const auto& display : desktop_.displays) {
            const Rect& b = display.bounds;
            const double bottom = desktop_.main()->bounds.height - b.y - b.height;
            list.push_back({display.number, {b.x, bottom, b.width, b.height}, display.scale});
        }
        return list;
    }
    uint32_t mainDisplay() override {
        return desktop_.gate.pass("mainDisplay", [&] { return desktop_.main() ? desktop_.main()->number : 0; });
    }
    Rect bounds(uint32_t display) override {
        auto pass = desktop_.gate.enter("bounds");
        const auto* found = desktop_.display(display);
        return pass && found ? found->bounds : Rect{};
    }
    uint32_t mainDisplayPixelsHigh() override {
        auto pass = desktop_.gate.enter("mainDisplayPixelsHigh");
        const auto* main = desktop_.main();
        return pass && main ? truncated<uint32_t>(main->bounds.height * main->scale) : 0;
    }
    double focusedScreenScale() override {
        return desktop_.gate.pass("focusedScreenScale", [&] { return desktop_.main() ? desktop_.main()->scale : 0; });
    }
};

class ScriptedPointer final : public Scripted<Pointer> {
  public:
    using Scripted::Scripted;
    std::shared_ptr<const Cursor> currentCursor() override {
        return desktop_.gate.enter("currentCursor") && desktop_.cursor
                   ? std::make_shared<const Cursor>(*desktop_.cursor)
                   : nullptr;
    }
    Point location() override {
        return desktop_.gate.pass("pointerLocation", [&] { return desktop_.pointer; });
    }
};

class ScriptedSystem final : public Scripted<System> {
  public:
    using Scripted::Scripted;
    void console(std::string_view line) override { desktop_.gate.record(test::kConsole, std::string(line)); }
    platform::PermissionState permission(platform::Permission) override { return desktop_.permission; }
    platform::PermissionState requestPermission(platform::Permission) override { return desktop_.permission; }
};

class ScriptedNotifications final : public Scripted<Notifications> {
  public:
    using Scripted::Scripted;
    void postCoalescing(const char* name, const std::shared_ptr<void>& thing) override {
        desktop_.gate.record(test::kPosted, name);
        desktop_.postedThings.push_back(thing);
    }
};

class ScriptedPlatform final : public Platform {
  public:
    Dispatch& dispatch() override { return desktop.stepper; }
    Clock& clock() override { return desktop.stepper; }
    System& system() override { return system_; }
    Displays& displays() override { return displays_; }
    std::shared_ptr<DisplayCapture> makeDisplayCapture() override { return test::makeScriptedCapture(desktop); }
    WindowServer& windowServer() override { return *windowServer_; }
    Imaging& imaging() override { return imaging_; }
    Pointer& pointer() override { return pointer_; }
    Accessibility& accessibility() override { return *accessibility_; }
    Workspace& workspace() override { return *workspace_; }
    Notifications& notifications() override { return notifications_; }

    Desktop desktop;

  private:
    ScriptedSystem system_{desktop};
    ScriptedDisplays displays_{desktop};
    ScriptedPointer pointer_{desktop};
    ScriptedNotifications notifications_{desktop};
    software::SoftwareImaging imaging_;
    std::unique_ptr<WindowServer> windowServer_ = test::makeScriptedWindowServer(desktop);
    std::unique_ptr<Accessibility> accessibility_ = test::makeScriptedAccessibility(desktop);
    std::unique_ptr<Workspace> workspace_ = test::makeScriptedWorkspace(desktop);
};

ScriptedPlatform& scripted() {
    static auto* instance = new ScriptedPlatform;  // never destroyed
    return *instance;
}

}  // namespace

Platform& platform() {
    return scripted();
}

}  // namespace orvo::platform

namespace orvo::test {

Desktop& desktop() {
    return platform::scripted().desktop;
}

}  // namespace orvo::test
