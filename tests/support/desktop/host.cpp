// A host of the library.
#include "support/desktop/host.h"

#include <cstring>
#include <future>
#include <sstream>
#include <thread>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/capture/host_callbacks.h"
#include "ScreenCapture/thumbnail/window_info.h"
#include "support/desktop/allocations.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::test {
namespace {

struct LoggedLine {
    std::thread::id thread;
    std::string text;
};

struct Log {
    std::mutex mutex;
    std::vector<LoggedLine> lines;
};

Log& logged() {
    static auto* log = new Log;  // lines come until the process ends
    return *log;
}

void onLine(int level, const char* module, int /*line*/, const char* text, int prefixLength) {
    const OwnWork own;
    const std::string prefix = level == 3 ? "" : std::to_string(level) + " ";
    std::lock_guard lock(logged().mutex);
    logged().lines.push_back({std::this_thread::get_id(), prefix + module + " " + (text + prefixLength)});
}

Host& hostOf(void* userData) {
    return *static_cast<Host*>(userData);
}

ReceivedFrame received(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format,
                       unsigned long long time, unsigned int timeScale) {
    ReceivedFrame frame{data, length, *format, time, timeScale, 0, {}};
    if (format->pixelFormat == ORVO_PIXEL_FORMAT_BGRA && data) frame.bytes.assign(data, data + length);
    return frame;
}

void onError(int code, void* user) {
    const OwnWork own;
    hostOf(user).note("error " + std::to_string(code));
}

void onFrame(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format, unsigned long long time,
             unsigned int timeScale, void* user) {
    const OwnWork own;
    Host& host = hostOf(user);
    host.keep(host.frames, received(data, length, format, time, timeScale));
    host.note("frame");
}

void onWindowFrame(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format,
                   unsigned long long time, unsigned int timeScale, unsigned int window, void* user) {
    const OwnWork own;
    auto frame = received(data, length, format, time, timeScale);
    frame.window = window;
    hostOf(user).keep(hostOf(user).windowFrames, std::move(frame));
    hostOf(user).note("window frame " + std::to_string(window));
}

void onMoved(unsigned int window, int left, int top, int width, int height, void* user) {
    const OwnWork own;
    std::ostringstream text;
    text << "moved " << window << " " << left << "," << top << " " << width << "x" << height;
    hostOf(user).note(text.str());
}

void onStatus(int status, unsigned int window, OrvoScreenCaptureRect r, void* user) {
    const OwnWork own;
    std::ostringstream text;
    text << "status " << status << " " << window << " " << r.left << "," << r.top << "," << r.right << "," << r.bottom;
    hostOf(user).note(text.str());
}

void onThumbnail(int status, OrvoThumbnailWindowInfo* info, void* user) {
    const OwnWork own;
    const std::string event = "thumbnail " + std::to_string(status) + " " + std::to_string(info->windowID) + " " +
                              info->title + (info->imageThumbnail ? " picture" : "") +
                              (info->iconThumbnail ? " icon" : "");
    thumbnail::freeWindowInfos(info, 1);
    hostOf(user).note(event);
}

void onProcessWindow(int change, OrvoScreenCaptureProcessWindow window, void* user) {
    const OwnWork own;
    hostOf(user).note("process " + std::to_string(change) + " " + std::to_string(window.windowID) + " " + window.title);
}

}  // namespace

Pixel ReceivedFrame::at(int x, int y) const {
    Pixel pixel;
    const size_t offset = static_cast<size_t>(y) * static_cast<size_t>(format.strides[0]) + static_cast<size_t>(x) * 4;
    std::memcpy(pixel.data(), &bytes.at(offset + 3) - 3, 4);
    return pixel;
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

void Host::silenceFrames() {
    orvo_screencapture_reg_captured_frame_available_notify(nullptr, nullptr);
}

std::vector<std::string> Host::take() {
    std::lock_guard lock(mutex_);
    return std::exchange(events_, {});
}

size_t Host::count(const std::string& event) {
    std::lock_guard lock(mutex_);
    return static_cast<size_t>(std::count(events_.begin(), events_.end(), event));
}

void Host::note(const std::string& event) {
    {
        std::lock_guard lock(mutex_);
        events_.push_back(event);
    }
    if (during) during(event);
}

void Host::keep(std::vector<ReceivedFrame>& list, ReceivedFrame frame) {
    std::lock_guard lock(mutex_);
    list.push_back(std::move(frame));
}

std::vector<std::string> takeLog() {
    std::vector<std::string> mine;
    std::lock_guard lock(logged().mutex);
    for (auto& line : std::exchange(logged().lines, {})) {
        if (line.thread == std::this_thread::get_id()) mine.push_back(std::move(line.text));
    }
    return mine;
}

void waitForLogThread() {
    std::promise<void> ran;
    g_pScreenCaptureImpl->QueueRunner()->AsyncRun([&ran] { ran.set_value(); }, g_pScreenCaptureImpl->LogTask());
    ran.get_future().wait();
}

void DesktopTest::SetUp() {
    static const int installed = syslog_hook_ex(1, onLine);
    ASSERT_EQ(installed, 0);
    desk.reset();
    desk.addDisplay({.number = 1, .bounds = {0, 0, 1920, 1080}});
    takeLog();
}

void DesktopTest::TearDown() {
    orvo_screencapture_uninit();
    desk.stepper.settle();
}

void DesktopTest::init() {
    orvo_screencapture_init();
    host.listen();
    runSteps();
    desk.device().takeJournal();
    takeLog();
}

void DesktopTest::deliver(int width, int height, platform::MediaTime time) {
    desk.device().produce(platform::makeCounted<FrameBuffer>(pattern(1, width, height)), time);
    desk.stepper.run(mainQueue);
}

}  // namespace orvo::test
