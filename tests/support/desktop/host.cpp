// A host of the library, and the desk that its tests begin with.
#include "support/desktop/host.h"

#include <future>
#include <thread>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/capture/host_callbacks.h"
#include "ScreenCapture/thumbnail/window_info.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::test {
namespace {

const std::thread::id testThread = std::this_thread::get_id();

void onLine(int level, const char* module, int /*line*/, const char* text, int prefixLength) {
    const OwnWork own;
    if (std::this_thread::get_id() != testThread) return;
    const std::string prefix = level == 3 ? "" : std::to_string(level) + " ";
    desktop().gate.record(kLog, prefix + module + " " + (text + prefixLength));
}

template <typename... Parts>
void note(void* host, const Parts&... parts) {
    const OwnWork own;
    std::ostringstream text;
    (text << ... << parts);
    static_cast<Host*>(host)->note(text.str());
}

void noteFrame(void* host, const std::string& kind, const ReceivedFrame& frame) {
    const OwnWork own;
    static_cast<Host*>(host)->last = frame;
    note(host, kind, frame.words());
}

void onError(int code, void* host) {
    note(host, "error ", code);
}
void onFrame(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format, unsigned long long time,
             unsigned int timeScale, void* host) {
    noteFrame(host, "frame ", {data, length, *format, time, timeScale});
}
void onWindowFrame(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format,
                   unsigned long long time, unsigned int timeScale, unsigned int window, void* host) {
    noteFrame(host, "window frame " + std::to_string(window) + " ", {data, length, *format, time, timeScale});
}
void onMoved(unsigned int window, int left, int top, int width, int height, void* host) {
    note(host, "moved ", window, " ", left, ",", top, " ", width, "x", height);
}
void onStatus(int status, unsigned int window, OrvoScreenCaptureRect r, void* host) {
    note(host, "status ", status, " ", window, " ", r.left, ",", r.top, ",", r.right, ",", r.bottom);
}
void onThumbnail(int status, OrvoThumbnailWindowInfo* info, void* host) {
    const OwnWork own;
    const std::string title = info->title;
    const std::string has = std::string(info->imageThumbnail ? " picture" : "") + (info->iconThumbnail ? " icon" : "");
    const unsigned int window = info->windowID;
    thumbnail::freeWindowInfos(info, 1);
    note(host, "thumbnail ", status, " ", window, " ", title, has);
}
void onProcessWindow(int change, OrvoScreenCaptureProcessWindow window, void* host) {
    note(host, "process ", change, " ", window.windowID, " ", window.title);
}

}  // namespace

std::string ReceivedFrame::words() const {
    std::string text = std::to_string(format.width) + "x" + std::to_string(format.height);
    if (format.pixelFormat != ORVO_PIXEL_FORMAT_BGRA) return text + " buffer";
    const auto [part, first] = opaquePart({data, format.width, format.height, format.strides[0]});
    text += " of " + std::to_string(first[2]);
    if (part.width != format.width || part.height != format.height) text += " in " + test::words(part);
    if (first[0] || first[1]) text += " from " + std::to_string(first[0]) + "," + std::to_string(first[1]);
    return text;
}

void Host::listen() {
    orvo_screencapture_reg_capture_error_notify(onError, this);
    orvo_screencapture_reg_captured_window_moved_notify(onMoved, this);
    orvo_screencapture_reg_captured_frame_available_notify(onFrame, this);
    orvo_screencapture_reg_mutiple_captured_frame_available_notify(onWindowFrame, this);
    orvo_windowthumbnail_reg_window_status_change_notify(onThumbnail, this);
    orvo_screencapture_reg_captured_window_status_change_notify(onStatus, this);
    orvo_screencapture_reg_capture_process_window_change_notify(onProcessWindow, this);
}

void Host::listenTo(OrvoCaptureSettings& settings) {
    settings.registerCallback(capture::kCaptureError, reinterpret_cast<void*>(&onError), this);
    settings.registerCallback(capture::kWindowMoved, reinterpret_cast<void*>(&onMoved), this);
    settings.registerCallback(capture::kThumbnail, reinterpret_cast<void*>(&onThumbnail), this);
    settings.registerCallback(capture::kWindowStatus, reinterpret_cast<void*>(&onStatus), this);
    settings.registerCallback(capture::kProcessWindow, reinterpret_cast<void*>(&onProcessWindow), this);
}

void Host::note(const std::string& event) {
    EXPECT_EQ(platform::SnapshotScope::current(), nullptr);  // the host sees the desktop as it is
    desktop().gate.record(kHost, event);
    if (during) during(event);
}

void waitForLogThread() {
    std::promise<void> ran;
    g_pScreenCaptureImpl->QueueRunner()->AsyncRun([&ran] { ran.set_value(); }, g_pScreenCaptureImpl->LogTask());
    ran.get_future().wait();
}

DesktopTest::DesktopTest() {
    learnTheHostsWords();
    learnTheDesktopsWords();
}

void DesktopTest::SetUp() {
    static const int installed = syslog_hook_ex(1, onLine);
    ASSERT_EQ(installed, 0);
    desk.reset();
    desk.addDisplay({.number = 1, .bounds = {0, 0, 1920, 1080}});
}

void DesktopTest::TearDown() {
    orvo_screencapture_uninit();
    desk.stepper.settle();
}

void DesktopTest::init() {
    orvo_screencapture_init();
    host.listen();
    runSteps();
    take();
}

}  // namespace orvo::test
