/* A host in C11: links every export with C linkage, captures a screen that the test has painted in one colour. */
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "check.h"
#include "orvo/screencapture_linux.h"

/* What the test paints on the whole screen: xsetroot -solid '#20c060'. */
static const unsigned char painted[4] = {0x60, 0xc0, 0x20, 0xff};

struct seen {
    int frames;
    int wrong_pixels;
    int error;
    int format;
    int width;
    int height;
};

static int is_painted(const unsigned char* pixels, int width, int height, int stride) {
    for (int y = 0; y < height; y += height - 1)
        for (int x = 0; x < width; x += width - 1)
            if (memcmp(pixels + (size_t)y * (size_t)stride + (size_t)x * 4, painted, 4) != 0) return 0;
    return 1;
}

static void on_frame(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format,
                     unsigned long long time, unsigned int scale, void* user) {
    struct seen* seen = user;
    const unsigned char* pixels = (const unsigned char*)data;
    if (format->pixelFormat == ORVO_PIXEL_FORMAT_BUFFER) {
        OrvoPixelBufferRef buffer = (OrvoPixelBufferRef)(void*)data;
        CHECK(orvo_pixelbuffer_lock(buffer) == 0);
        CHECK(orvo_pixelbuffer_get_width(buffer) == (size_t)format->width);
        CHECK(orvo_pixelbuffer_get_height(buffer) == (size_t)format->height);
        CHECK(orvo_pixelbuffer_get_bytes_per_row(buffer) == (size_t)format->strides[0]);
        pixels = orvo_pixelbuffer_get_base_address(buffer);
        if (!is_painted(pixels, format->width, format->height, format->strides[0])) seen->wrong_pixels++;
        CHECK(orvo_pixelbuffer_unlock(buffer) == 0);
    } else {
        CHECK(length == (unsigned int)(format->strides[0] * format->height));
        if (!is_painted(pixels, format->width, format->height, format->strides[0])) seen->wrong_pixels++;
    }
    CHECK(format->strides[0] >= format->width * 4);
    CHECK(scale == 1000 && time > 0);
    seen->format = format->pixelFormat;
    seen->width = format->width;
    seen->height = format->height;
    seen->frames++;
}

static void on_error(int code, void* user) {
    ((struct seen*)user)->error = code;
}

/* Runs the main queue until a frame has come, at most five seconds. */
static void wait_for_frame(struct seen* seen) {
    const int before = seen->frames;
    for (int i = 0; i < 500 && seen->frames == before && !seen->error; i++) orvo_screencapture_run_main_queue(10);
    CHECK(seen->frames > before);
}

static void ask_before_init(void) {
    unsigned int windows[1] = {1};
    CHECK(!orvo_screencapture_is_capturing());
    CHECK(!orvo_screencapture_set_target_screen(1));
    CHECK(!orvo_screencapture_set_target_rect(1, 0, 0, 10, 10));
    CHECK(!orvo_screencapture_set_target_window(1));
    CHECK(!orvo_screencapture_set_extra_target_windows(windows, 1, true));
    CHECK(!orvo_screencapture_set_target_window_mode(ORVO_WINDOW_MODE_AREA));
    CHECK(!orvo_screencapture_set_target_window_rect(0, 0, 1, 1));
    orvo_screencapture_set_excluded_windows(windows, 1, true);
    orvo_screencapture_set_fps(10);
    orvo_screencapture_set_timestamp_offset(1);
    orvo_screencapture_set_resolution(1, 1);
    orvo_screencapture_set_resolution_mode(ORVO_RESOLUTION_MODE_FIT);
    orvo_screencapture_set_cursor_visible(1);
    orvo_screencapture_enable_click_animation(1);
    orvo_screencapture_set_capture_video_pixel_format(ORVO_PIXEL_FORMAT_BGRA);
    orvo_screencapture_activate_window_when_capturing(1);
    orvo_screencapture_start_capture();
    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
}

static unsigned int first_screen(void) {
    unsigned int count = 0;
    OrvoScreenCaptureScreenItem* list = orvo_screencapture_enum_screen_list(&count);
    CHECK(count >= 1 && list != NULL);
    const unsigned int screen = count > 0 ? list[0].screenID : 0;
    CHECK(count > 0 && list[0].isPrimary == 1);
    orvo_screencapture_free_screen_list(list);
    return screen;
}

static void capture(unsigned int screen) {
    struct seen seen = {0};
    orvo_screencapture_init();
    orvo_screencapture_reg_captured_frame_available_notify(on_frame, &seen);
    orvo_screencapture_reg_capture_error_notify(on_error, &seen);
    orvo_screencapture_reg_captured_window_moved_notify(NULL, NULL);
    orvo_screencapture_reg_captured_window_status_change_notify(NULL, NULL);
    orvo_screencapture_reg_capture_process_window_change_notify(NULL, NULL);
    orvo_screencapture_reg_mutiple_captured_frame_available_notify(NULL, NULL);
    orvo_windowthumbnail_reg_window_status_change_notify(NULL, NULL);
    orvo_screencapture_set_target_screen(screen);
    orvo_screencapture_set_cursor_visible(0);
    orvo_screencapture_set_fps(30);
    orvo_screencapture_start_capture();
    wait_for_frame(&seen);
    CHECK(orvo_screencapture_is_capturing());
    CHECK(seen.format == ORVO_PIXEL_FORMAT_BGRA);
    const int whole_width = seen.width;

    orvo_screencapture_set_capture_video_pixel_format(ORVO_PIXEL_FORMAT_BUFFER);
    for (int i = 0; i < 10 && seen.format != ORVO_PIXEL_FORMAT_BUFFER; i++) wait_for_frame(&seen);
    CHECK(seen.format == ORVO_PIXEL_FORMAT_BUFFER);

    CHECK(orvo_screencapture_set_target_rect(screen, 10, 20, 101, 51));
    for (int i = 0; i < 10 && seen.width == whole_width; i++) wait_for_frame(&seen);
    CHECK(seen.width == 101 && seen.height == 51);
    CHECK(seen.error == 0 && seen.wrong_pixels == 0);

    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
    const int frames = seen.frames;
    orvo_screencapture_run_main_queue(100);
    CHECK(seen.frames == frames);
}

static void start_without_target(void) {
    struct seen seen = {0};
    orvo_screencapture_init();
    orvo_screencapture_reg_capture_error_notify(on_error, &seen);
    orvo_screencapture_start_capture();
    for (int i = 0; i < 500 && !seen.error; i++) orvo_screencapture_run_main_queue(10);
    CHECK(seen.error == ORVO_CAPTURE_ERROR_NO_SOURCE);
    orvo_screencapture_uninit();
}

int main(void) {
    ask_before_init();
    capture(first_screen());
    start_without_target();
    capture(first_screen());
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
