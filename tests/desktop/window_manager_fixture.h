// A window manager of its own on the scripted desktop, with a host that listens to it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "ScreenCapture/thumbnail/OrvoWindowManager.h"
#include "ScreenCapture/thumbnail/window_info.h"
#include "support/desktop/host.h"

namespace orvo::test {

class WindowManagerTest : public DesktopTest {
  protected:
    void SetUp() override {
        DesktopTest::SetUp();
        manager = std::make_shared<OrvoWindowManager>(settings);
    }
    void TearDown() override {
        manager.reset();
        DesktopTest::TearDown();
    }

    // One check: its result first ("normal" or "not normal"), then what the host heard.
    Lines check(uint32_t number, bool isNotify = true) {
        host.take();
        Lines lines{manager->checkTargetWindowStatusIsNormal(number, isNotify) ? "normal" : "not normal"};
        desk.stepper.settle();
        for (auto& event : host.take()) lines.push_back(std::move(event));
        return lines;
    }

    std::shared_ptr<OrvoCaptureSettings> settings = std::make_shared<OrvoCaptureSettings>();
    std::shared_ptr<OrvoWindowManager> manager;
};

}  // namespace orvo::test
