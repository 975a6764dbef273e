// The platform of the tests: its small services, and all of them together.
#include "support/desktop/desktop.h"
#include "support/desktop/services.h"

namespace orvo::platform {
namespace {

using test::Desktop;

class ScriptedDisplays final : public Displays {
  public:
    explicit ScriptedDisplays(Desktop& desktop) : desktop_(desktop) {}

    std::vector<Display> screens() override {
        auto pass = desktop_.gate.enter("screens");
        std::vector<Display> list;
        if (!pass || desktop_.displays.empty()) return list;
        const double mainHeight = desktop_.displays.front().bounds.height;
        for (const auto& display : desktop_.displays) {
            const Rect& b = display.bounds;
            list.push_back({display.number, {b.x, mainHeight - b.y - b.height, b.width, b.height}, display.scale});
        }
        return list;
    }
    uint32_t mainDisplay() override {
        auto pass = desktop_.gate.enter("mainDisplay");
        return pass && !desktop_.displays.empty() ? desktop_.displays.front().number : 0;
    }
    Rect bounds(uint32_t display) override {
        auto pass = desktop_.gate.enter("bounds");
        const auto* found = desktop_.display(display);
        return pass && found ? found->bounds : Rect{};
    }
    uint32_t mainDisplayPixelsHigh() override {
        auto pass = desktop_.gate.enter("mainDisplayPixelsHigh");
        if (!pass || desktop_.displays.empty()) return 0;
        const auto& main = desktop_.displays.front();
        return truncated<uint32_t>(main.bounds.height * main.scale);
    }
    double focusedScreenScale() override {
        auto pass = desktop_.gate.enter("focusedScreenScale");
        return pass && !desktop_.displays.empty() ? desktop_.displays.front().scale : 0;
    }

  private:
    Desktop& desktop_;
};

class ScriptedPointer final : public Pointer {
  public:
    explicit ScriptedPointer(Desktop& desktop) : desktop_(desktop) {}
    std::shared_ptr<const Cursor> currentCursor() override {
        auto pass = desktop_.gate.enter("currentCursor");
        return pass && desktop_.cursor ? std::make_shared<const Cursor>(*desktop_.cursor) : nullptr;
    }
    Point location() override {
        return desktop_.gate.pass("pointerLocation", [&] { return desktop_.pointer; });
    }

  private:
    Desktop& desktop_;
};

class ScriptedSystem final : public System {
  public:
    explicit ScriptedSystem(Desktop& desktop) : desktop_(desktop) {}
    void console(std::string_view line) override {
        auto lock = desktop_.gate.hold();
        desktop_.console.emplace_back(line);
    }
    platform::PermissionState permission(platform::Permission) override { return desktop_.permission; }
    platform::PermissionState requestPermission(platform::Permission) override { return desktop_.permission; }

  private:
    Desktop& desktop_;
};

class ScriptedNotifications final : public Notifications {
  public:
    explicit ScriptedNotifications(Desktop& desktop) : desktop_(desktop) {}
    void postCoalescing(const char* name, const std::shared_ptr<void>& thing) override {
        auto lock = desktop_.gate.hold();
        desktop_.posted.emplace_back(name);
        desktop_.postedThings.push_back(thing);
    }

  private:
    Desktop& desktop_;
};

class ScriptedPlatform final : public Platform {
  public:
    Dispatch& dispatch() override { return desktop.dispatch(); }
    Clock& clock() override { return desktop.clock(); }
    System& system() override { return system_; }
    Displays& displays() override { return displays_; }
    std::shared_ptr<DisplayCapture> makeDisplayCapture() override { return test::makeScriptedCapture(desktop); }
    WindowServer& windowServer() override { return *windowServer_; }
    Imaging& imaging() override { return *imaging_; }
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
    std::unique_ptr<WindowServer> windowServer_ = test::makeScriptedWindowServer(desktop);
    std::unique_ptr<Imaging> imaging_ = test::makeScriptedImaging(desktop);
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
    return static_cast<platform::ScriptedPlatform&>(platform::platform()).desktop;
}

}  // namespace orvo::test
