// CoreVideo's pixel buffers as the port's.
#pragma once

#include <CoreVideo/CoreVideo.h>

#include "ScreenCapture/platform/image.h"
#include "ScreenCapture/platform/macos/cf_ref.h"
#include "ScreenCapture/platform/macos/geometry.h"

namespace orvo::platform::macos {

class MacPixelBuffer final : public PixelBuffer {
  public:
    // memory: what the buffer's bytes belong to, when it does not own them itself.
    explicit MacPixelBuffer(CFRef<CVPixelBufferRef> buffer, Ref<Image> memory = nullptr)
        : memory_(std::move(memory)), buffer_(std::move(buffer)) {}

    int width() const override { return static_cast<int>(CVPixelBufferGetWidth(buffer_.get())); }
    int height() const override { return static_cast<int>(CVPixelBufferGetHeight(buffer_.get())); }
    Size displaySize() const override { return sizeFrom(CVImageBufferGetDisplaySize(buffer_.get())); }
    size_t bytesPerRow() const override { return CVPixelBufferGetBytesPerRow(buffer_.get()); }
    size_t planeCount() const override { return CVPixelBufferGetPlaneCount(buffer_.get()); }

    void lock() override { CVPixelBufferLockBaseAddress(buffer_.get(), kCVPixelBufferLock_ReadOnly); }
    void unlock() override { CVPixelBufferUnlockBaseAddress(buffer_.get(), kCVPixelBufferLock_ReadOnly); }
    const void* baseAddress() const override { return CVPixelBufferGetBaseAddress(buffer_.get()); }
    const void* baseAddressOfPlane(size_t plane) const override {
        return CVPixelBufferGetBaseAddressOfPlane(buffer_.get(), plane);
    }

    const void* hostHandle() const override { return buffer_.get(); }  // a CVPixelBufferRef
    CVPixelBufferRef buffer() const { return buffer_.get(); }

  private:
    Ref<Image> memory_;  // outlives the buffer below
    CFRef<CVPixelBufferRef> buffer_;
};

}  // namespace orvo::platform::macos
