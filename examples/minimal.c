/* Captures the main screen for two seconds and prints its first frame. */
#ifdef __APPLE__
#include <CoreFoundation/CoreFoundation.h>
#include <orvo/screencapture.h>
#define run_main_queue() CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.1, false)
#else
#include <orvo/screencapture_linux.h>
#define run_main_queue() orvo_screencapture_run_main_queue(100)
#endif
#include <stdio.h>

static void on_frame(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format,
                     unsigned long long time, unsigned int scale, void* frames) {
    const unsigned char* pixel = (const unsigned char*)data; /* blue, green, red, 255; rows strides[0] bytes apart */
    if (++*(int*)frames > 1) return;
    printf("%dx%d, %u bytes, %llu/%u s, red %d\n", format->width, format->height, length, time, scale, pixel[2]);
}

static void on_error(int code, void* error) {
    *(int*)error = code;
}

int main(void) {
    int frames = 0, error = 0;
    unsigned int count = 0, screen;
    OrvoScreenCaptureScreenItem* screens = orvo_screencapture_enum_screen_list(&count);
    screen = count > 0 ? screens[0].screenID : 0;
    orvo_screencapture_free_screen_list(screens);
    orvo_screencapture_init();
    orvo_screencapture_reg_captured_frame_available_notify(on_frame, &frames);
    orvo_screencapture_reg_capture_error_notify(on_error, &error);
    orvo_screencapture_set_target_screen(screen);
    orvo_screencapture_start_capture();
    for (int i = 0; i < 20 && !error; i++) run_main_queue(); /* callbacks run in here */
    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
    return frames > 0 && error == 0 ? 0 : 1;
}
