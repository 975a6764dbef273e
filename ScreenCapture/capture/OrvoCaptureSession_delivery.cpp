// Hands the frames of both paths to the host: the capture's own memory, described by a record on the stack. The format
// is read again for each callback, so a change takes effect at once.
#include "ScreenCapture/capture/OrvoCaptureSession.h"
#include "ScreenCapture/capture/capture_log.h"
#include "ScreenCapture/capture/host_callbacks.h"

using namespace orvo::platform;
using orvo::capture::fire;

namespace {

constexpr unsigned int kMillisecondScale = 1000;

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

void OrvoCaptureSession::onSample(PixelBuffer& buffer, const MediaTime& presentationTime) {
    if (captureSource > kDisplayRect) return;
    const Size size = buffer.displaySize();
    const size_t bytesPerRow = buffer.bytesPerRow();
    const auto format = describeFrame(truncated<int32_t>(size.width), truncated<int32_t>(size.height), bytesPerRow);
    const auto time = static_cast<unsigned long long>(milliseconds(presentationTime));
    const LockedPixels pixels(buffer);
    if (fire<orvo::capture::kFrame>(*m_settings, frameData(buffer, pixels.address()),
                                    truncated<uint32_t>(static_cast<double>(bytesPerRow) * size.height), &format, time,
                                    kMillisecondScale))
        m_settings->statistics().delivered(0, time);
}

void OrvoCaptureSession::onCapturedWindowImage(PixelBuffer& buffer, uint32_t windowID, uint64_t recordTime) {
    if (captureSource != kWindow) {
        CS_LOG("CaptureSession is not window !!!!!");
        return;
    }
    notifyImageRef(buffer, windowID, recordTime);
}

void OrvoCaptureSession::notifyImageRef(PixelBuffer& buffer, uint32_t windowID, uint64_t recordTime) {
    const size_t bytesPerRow = buffer.bytesPerRow();
    const auto format =
        describeFrame(static_cast<int32_t>(buffer.width()), static_cast<int32_t>(buffer.height()), bytesPerRow);
    const auto length = static_cast<uint32_t>(bytesPerRow) * static_cast<uint32_t>(buffer.height());
    const LockedPixels pixels(buffer);
    const void* address = pixels.address();
    const auto time = static_cast<unsigned long long>(recordTime);
    const bool told =
        fire<orvo::capture::kFrame>(*m_settings, frameData(buffer, address), length, &format, time, kMillisecondScale);
    const bool toldOfWindow = fire<orvo::capture::kWindowFrame>(*m_settings, frameData(buffer, address), length,
                                                                &format, time, kMillisecondScale, windowID);
    if (told || toldOfWindow) m_settings->statistics().delivered(windowID, time);
}
