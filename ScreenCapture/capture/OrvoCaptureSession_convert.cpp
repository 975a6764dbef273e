// Conversions of a pixel buffer; neither capture path uses them.
#include "ScreenCapture/capture/OrvoCaptureSession.h"

using orvo::platform::Picture;
using orvo::platform::PixelBuffer;
using orvo::platform::platform;
using orvo::platform::Rect;
using orvo::platform::Ref;
using orvo::platform::Size;
using orvo::platform::truncated;

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
