// WebRTC's capturers for comparison: capture_webrtc DAMAGE(0|1) FPS [WINDOW], until it is stopped.
#include <malloc.h>
#include <modules/desktop_capture/desktop_capture_options.h>
#include <modules/desktop_capture/desktop_capturer.h>
#include <modules/desktop_capture/desktop_frame.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "frame_log.h"

// Frames of its own begin 16 bytes into a page, where this processor copies four times more slowly. A fair comparison
// gives large blocks to it at the start of a page.
void* operator new[](size_t size) {
    constexpr size_t kLarge = 1 << 20, kPage = 4096;
    void* memory = size < kLarge ? malloc(size) : aligned_alloc(kPage, (size + kPage - 1) / kPage * kPage);
    if (!memory) throw std::bad_alloc();
    return memory;
}
void operator delete[](void* memory) noexcept {
    free(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    free(memory);
}

namespace {

class Receiver final : public webrtc::DesktopCapturer::Callback {
  public:
    explicit Receiver(bench::FrameLog& log) : log_(log) {}
    void OnCaptureResult(webrtc::DesktopCapturer::Result, std::unique_ptr<webrtc::DesktopFrame> frame) override {
        if (frame)
            log_.frame(frame->data(), static_cast<size_t>(frame->stride()), frame->size().width(),
                       frame->size().height());
    }

  private:
    bench::FrameLog& log_;
};

}  // namespace

int main(int argc, char** argv) {
    bench::FrameLog log(argc, argv);
    if (argc < 3) {
        fprintf(stderr, "usage: capture_webrtc DAMAGE(0|1) FPS [WINDOW]\n");
        return 2;
    }
    // Frames of the window capturer are new memory each; let them come from memory that is there already.
    mallopt(M_MMAP_THRESHOLD, 64 << 20);
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
    auto options = webrtc::DesktopCaptureOptions::CreateDefault();
    options.set_use_update_notifications(atoi(argv[1]) != 0);
    options.set_detect_updated_region(false);
    Receiver receiver(log);
    auto capturer = argc > 3 ? webrtc::DesktopCapturer::CreateWindowCapturer(options)
                             : webrtc::DesktopCapturer::CreateScreenCapturer(options);
    if (!capturer || (argc > 3 && !capturer->SelectSource(atol(argv[3])))) {
        fprintf(stderr, "capture_webrtc: no such source\n");
        return 1;
    }
    capturer->Start(&receiver);
    bench::Grid grid(atof(argv[2]));
    uint64_t late = 0;
    while (grid.next(late)) capturer->CaptureFrame();
    capturer.reset();
    log.print(STDOUT_FILENO, "");
}
