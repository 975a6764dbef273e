// Hands the frames of both paths to the host: the capture's own memory, described by a record on the stack. The format
// is read again for each callback, so a change takes effect at once.
#include "ScreenCapture/capture/OrvoCaptureSession.h"

#include <cmath>

#include "ScreenCapture/capture/changed_rects.h"
#include "ScreenCapture/capture/host_callbacks.h"
#include "ScreenCapture/log/component_log.h"

using namespace orvo::platform;
using orvo::capture::fire;

namespace {

constexpr unsigned int kMillisecondScale = 1000;
constexpr double kReportInterval = 1.0;  // seconds between two lines about frames of the other path

// Holds a buffer's pixels locked for reading while the host has them.
class LockedPixels {
  public:
    explicit LockedPixels(PixelBuffer& buffer) : buffer_(buffer) { buffer_.lock(); }
    ~LockedPixels() { buffer_.unlock(); }
    LockedPixels(const LockedPixels&) = delete;
    LockedPixels& operator=(const LockedPixels&) = delete;

    // A planar buffer is asked for the plane whose index is the number of planes; that is intended.
    const void* address() const {
        const size_t planes = buffer_.planeCount();
        return planes > 0 ? buffer_.baseAddressOfPlane(planes) : buffer_.baseAddress();
    }

  private:
    PixelBuffer& buffer_;
};

// value * 1000 / timescale; a clock without a scale counts as zero.
uint64_t milliseconds(const MediaTime& time) {
    if (time.timescale == 0) return 0;
    const auto scaled = static_cast<int64_t>(static_cast<uint64_t>(time.value) * kMillisecondScale);
    return static_cast<uint64_t>(scaled / time.timescale);
}

}  // namespace

OrvoScreenCaptureFrameFormat OrvoCaptureSession::describeFrame(int32_t width, int32_t height,
                                                               size_t bytesPerRow) const {
    OrvoScreenCaptureFrameFormat format{};
    format.width = width;
    format.height = height;
    format.strides[0] = static_cast<int32_t>(bytesPerRow);
    format.pixelFormat = m_format == ORVO_PIXEL_FORMAT_BUFFER ? ORVO_PIXEL_FORMAT_BUFFER : ORVO_PIXEL_FORMAT_BGRA;
    return format;
}

const char* OrvoCaptureSession::frameData(const PixelBuffer& buffer, const void* pixels) const {
    return static_cast<const char*>(m_format == ORVO_PIXEL_FORMAT_BUFFER ? buffer.hostHandle() : pixels);
}

bool OrvoCaptureSession::onSample(PixelBuffer& buffer, const MediaTime& presentationTime, const Changes& changes) {
    if (!isOnDevicePath()) {
        dropOfOtherPath(0);
        return false;
    }
    const Size size = buffer.displaySize();
    const size_t bytesPerRow = buffer.bytesPerRow();
    const auto format = describeFrame(truncated<int32_t>(size.width), truncated<int32_t>(size.height), bytesPerRow);
    const auto time = static_cast<unsigned long long>(milliseconds(presentationTime));
    const LockedPixels pixels(buffer);
    const orvo::capture::ChangesInCallback scope(changes);
    const bool delivered = fire<orvo::capture::kFrame>(
        *m_settings, frameData(buffer, pixels.address()),
        truncated<uint32_t>(static_cast<double>(bytesPerRow) * size.height), &format, time, kMillisecondScale);
    if (delivered)
        m_settings->statistics().delivered(0, time);
    else
        dropWithoutCallback(0);
    return delivered;
}

bool OrvoCaptureSession::onCapturedWindowImage(PixelBuffer& buffer, uint32_t windowID, uint64_t recordTime,
                                               const Changes& changes) {
    if (captureSource != kWindow) {
        if (dropOfOtherPath(windowID)) COMPONENT_LOG("CS", "CaptureSession is not window !!!!!");
        return false;
    }
    const orvo::capture::ChangesInCallback scope(changes);
    return notifyImageRef(buffer, windowID, recordTime);
}

// A frame of the path that the target has left. A start that is queued already ends that path, so the reason is noted
// after it, on the queue. Answers, once a second, that a line may be logged.
bool OrvoCaptureSession::dropOfOtherPath(uint32_t target) {
    m_settings->statistics().dropped(target);
    const double now = platform().clock().absoluteSeconds();
    double reportedAt = m_otherPathReportedAt;
    const bool isDue =
        std::abs(now - reportedAt) >= kReportInterval && m_otherPathReportedAt.compare_exchange_strong(reportedAt, now);
    if (isDue) enqueue([](OrvoCaptureSession& self, const PartsRef& parts) { self.noteOtherPath(*parts); });
    return isDue;
}

void OrvoCaptureSession::noteOtherPath(const Parts& parts) {
    const auto& device = parts.screenCaptureSession;
    const auto& windows = parts.windowCaptureSession;
    const bool runs = isOnDevicePath() ? windows && windows->isRunning() : device && device->isRunning();
    if (!runs) return;
    const char* other = isOnDevicePath() ? "a display was chosen while windows are captured: start the capture again"
                                         : "a window was chosen while a display is captured: start the capture again";
    m_settings->statistics().note(parts.refusal ? parts.refusal : other);
}

// No callback took a frame. One whose callback was taken away this moment is no case.
void OrvoCaptureSession::dropWithoutCallback(uint32_t target) {
    const bool hasWindowFrame = isRegistered(*m_settings, orvo::capture::kWindowFrame);
    if (isRegistered(*m_settings, orvo::capture::kFrame) || (target != 0 && hasWindowFrame)) return;
    m_settings->statistics().dropped(
        target, hasWindowFrame ? "no frame callback is registered for displays: that of window frames is never called"
                               : "no frame callback is registered");
}

bool OrvoCaptureSession::notifyImageRef(PixelBuffer& buffer, uint32_t windowID, uint64_t recordTime) {
    const size_t bytesPerRow = buffer.bytesPerRow();
    const auto format =
        describeFrame(static_cast<int32_t>(buffer.width()), static_cast<int32_t>(buffer.height()), bytesPerRow);
    const auto length = static_cast<uint32_t>(bytesPerRow) * static_cast<uint32_t>(buffer.height());
    const LockedPixels pixels(buffer);
    const void* address = pixels.address();
    const auto time = static_cast<unsigned long long>(recordTime);
    const bool delivered =
        fire<orvo::capture::kFrame>(*m_settings, frameData(buffer, address), length, &format, time, kMillisecondScale);
    const bool deliveredWindow = fire<orvo::capture::kWindowFrame>(*m_settings, frameData(buffer, address), length,
                                                                   &format, time, kMillisecondScale, windowID);
    if (delivered || deliveredWindow)
        m_settings->statistics().delivered(windowID, time);
    else
        dropWithoutCallback(windowID);
    return delivered || deliveredWindow;
}

// Conversions of a pixel buffer; neither capture path uses them.

Rect OrvoCaptureSession::getCropRect(const PixelBuffer& buffer) {
    return {0, 0, static_cast<double>(buffer.width()), static_cast<double>(buffer.height())};
}

Picture OrvoCaptureSession::ImageFromPixelBuffer(PixelBuffer& buffer) {
    buffer.lock();
    Picture picture = platform().imaging().picture(buffer);
    buffer.unlock();
    return picture;
}

Ref<PixelBuffer> OrvoCaptureSession::cropAndResize(PixelBuffer& buffer, Size toSize) {
    buffer.lock();
    Ref<PixelBuffer> resized = platform().imaging().scaledRGB(
        buffer, getCropRect(buffer), truncated<uint32_t>(toSize.width), truncated<uint32_t>(toSize.height));
    buffer.unlock();
    if (!resized) platform().system().console("cropAndResize: the pixel buffer could not be made");
    return resized;
}
