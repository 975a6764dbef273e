// A window manager of its own on the scripted desktop, with a host that listens to it.
#pragma once

#include "ScreenCapture/thumbnail/OrvoWindowManager.h"
#include "support/desktop/host.h"

namespace orvo::test {

class WindowManagerTest : public DesktopTest {
  protected:
    // target, forget: registers a target. check, ask: with and without notifications, "normal" or "gone" first, then
    // what the host hears. bring: a window, and the command.
    WindowManagerTest() {
        const auto say = [this](const std::string& answer) { desk.gate.record(kHost, answer); };
        const auto check = [this, say](bool isNotify) {
            return [this, say, isNotify](Arguments& a) {
                say(manager->checkTargetWindowStatusIsNormal(a.number<uint32_t>(), isNotify) ? "normal" : "gone");
                desk.stepper.settle();
            };
        };
        vocabulary["check"] = check(true);
        vocabulary["ask"] = check(false);
        vocabulary["target"] = [this](Arguments& a) { manager->setTargetWindow(a.number<uint32_t>()); };
        vocabulary["forget"] = [this](Arguments& a) { manager->removeTargerWindow(a.number<uint32_t>()); };
        vocabulary["moving?"] = [this, say](Arguments& a) {
            say(manager->getItemWithTargetWindow(a.number<uint32_t>())->isWindowMoving ? "moving" : "still");
        };
        vocabulary["bring"] = [this, say](Arguments& a) {
            const auto number = a.number<uint32_t>();
            say(manager->showTargetWindow(number, a.number()) ? "done" : "refused");
        };
    }
    void SetUp() override {
        DesktopTest::SetUp();
        settings = std::make_shared<OrvoCaptureSettings>();
        manager = std::make_shared<OrvoWindowManager>(settings);
        host.listenTo(*settings);
    }
    void TearDown() override {
        manager.reset();
        DesktopTest::TearDown();
    }

    std::shared_ptr<OrvoCaptureSettings> settings;
    std::shared_ptr<OrvoWindowManager> manager;
};

}  // namespace orvo::test
