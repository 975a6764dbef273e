// A window manager on the scripted desktop, and what the host hears of it as lines of text.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ScreenCapture/capture/OrvoCaptureSettings.h"
#include "ScreenCapture/capture/host_callbacks.h"
#include "ScreenCapture/thumbnail/OrvoWindowManager.h"
#include "ScreenCapture/thumbnail/window_info.h"
#include "support/desktop/desktop.h"

namespace orvo::test {

using Lines = std::vector<std::string>;

class WindowManagerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        desktop().reset();
        desktop().addDisplay({.number = 1, .bounds = {0, 0, 1920, 1080}});
    }
    void TearDown() override {
        manager.reset();
        desktop().reset();
    }

    void listen() {
        using namespace capture;
        settings->registerCallback(kCaptureError, reinterpret_cast<void*>(&onError), &heard);
        settings->registerCallback(kWindowMoved, reinterpret_cast<void*>(&onMoved), &heard);
        settings->registerCallback(kThumbnail, reinterpret_cast<void*>(&onThumbnail), &heard);
        settings->registerCallback(kWindowStatus, reinterpret_cast<void*>(&onStatus), &heard);
        settings->registerCallback(kProcessWindow, reinterpret_cast<void*>(&onProcessWindow), &heard);
    }

    // One notifying check: its result first ("normal" or "not normal"), then what the host heard.
    Lines check(uint32_t number, bool isNotify = true) {
        heard.clear();
        const bool isNormal = manager->checkTargetWindowStatusIsNormal(number, isNotify);
        desktop().stepper.settle();
        Lines lines{isNormal ? "normal" : "not normal"};
        lines.insert(lines.end(), heard.begin(), heard.end());
        return lines;
    }

    template <typename... Parts>
    static void note(void* lines, const Parts&... parts) {
        std::ostringstream text;
        ((text << parts), ...);
        static_cast<Lines*>(lines)->push_back(text.str());
    }
    static void onError(int code, void* lines) { note(lines, "error ", code); }
    static void onMoved(unsigned int number, int left, int top, int width, int height, void* lines) {
        note(lines, "moved ", number, ": ", left, ",", top, " ", width, "x", height);
    }
    static void onThumbnail(int status, OrvoThumbnailWindowInfo* info, void* lines) {
        note(lines, "thumbnail ", status, ": ", info->itemID, " ", info->title, info->imageThumbnail ? " picture" : "",
             info->iconThumbnail ? " icon" : "");
        thumbnail::freeWindowInfos(info, 1);
    }
    static void onStatus(int status, unsigned int number, OrvoScreenCaptureRect rect, void* lines) {
        note(lines, "status ", status, ": ", number, " ", rect.left, ",", rect.top, "-", rect.right, ",", rect.bottom);
    }
    static void onProcessWindow(int change, OrvoScreenCaptureProcessWindow window, void* lines) {
        note(lines, "process ", change, ": ", window.windowID, " ", window.title, window.reserved);
    }

    Lines heard;
    std::shared_ptr<OrvoCaptureSettings> settings = std::make_shared<OrvoCaptureSettings>();
    std::shared_ptr<OrvoWindowManager> manager = std::make_shared<OrvoWindowManager>(settings);
};

}  // namespace orvo::test
