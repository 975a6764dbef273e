/*
 * Publishes a screen or a window as H.264: into a file (.mp4, .mkv) or as RTP to a local port. Linux, GStreamer.
 * SIGINT ends the stream cleanly, SIGUSR1 changes to the other target.
 */
#include <glib-unix.h>
#include <glib/gstdio.h>
#include <gst/app/gstappsrc.h>
#include <gst/gst.h>
#include <gst/video/video.h>
#include <orvo/screencapture_additions.h>
#include <orvo/screencapture_linux.h>
#include <stdlib.h>
#include <string.h>

/* Frames that may wait for the encoder; each holds one of the capture's buffers. */
#define WAITING 3

typedef struct Target {
    gboolean is_window;
    guint number; /* 0: the main screen */
} Target;

typedef struct Publisher {
    GMainLoop* loop;
    GstElement* pipeline;
    GstAppSrc* source;
    Target targets[2]; /* the one shown, the other one */
    gboolean finished;
    int exit_code;

    GMutex lock; /* of what follows: frames of screens come on the main loop, of windows on a thread */
    GstCaps* caps;
    int width, height, fps;
    gboolean begun;
    unsigned long long first, last; /* milliseconds */
    guint sent, dropped;
} Publisher;

/* ---- Frames into the pipeline */

static void release_pixels(gpointer handle) {
    orvo_pixelbuffer_unlock(handle);
    orvo_pixelbuffer_release(handle);
}

/* The capture's own memory as a buffer of the pipeline; it goes back when the encoder is through with it. */
static GstBuffer* wrap(OrvoPixelBufferRef pixels, const OrvoScreenCaptureFrameFormat* format, int width, int height) {
    gsize offset[GST_VIDEO_MAX_PLANES] = {0};
    gint stride[GST_VIDEO_MAX_PLANES] = {format->strides[0]};
    const gsize size = (gsize)stride[0] * (gsize)(format->height - 1) + (gsize)format->width * 4;
    orvo_pixelbuffer_retain(pixels);
    orvo_pixelbuffer_lock(pixels);
    GstBuffer* buffer =
        gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, (gpointer)orvo_pixelbuffer_get_base_address(pixels), size,
                                    0, size, pixels, release_pixels);
    gst_buffer_add_video_meta_full(buffer, GST_VIDEO_FRAME_FLAG_NONE, GST_VIDEO_FORMAT_BGRx, (guint)width,
                                   (guint)height, 1, offset, stride);
    return buffer;
}

/* H.264 has even sizes: an odd column or row is left out. The first size is that of the stream: another target is
 * scaled into it, with bars, from here on. */
static void take_size(Publisher* self, int width, int height) {
    if (self->caps && width == self->width && height == self->height) return;
    if (!self->caps) {
        GstElement* fixed = gst_bin_get_by_name(GST_BIN(self->pipeline), "size");
        GstCaps* size =
            gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "I420", "width", G_TYPE_INT, width, "height",
                                G_TYPE_INT, height, "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, NULL);
        g_object_set(fixed, "caps", size, NULL);
        gst_caps_unref(size);
        gst_object_unref(fixed);
    }
    self->width = width;
    self->height = height;
    gst_clear_caps(&self->caps);
    self->caps = gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "BGRx", "width", G_TYPE_INT, width,
                                     "height", G_TYPE_INT, height, "framerate", GST_TYPE_FRACTION, self->fps, 1,
                                     "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, NULL);
    gst_app_src_set_caps(self->source, self->caps);
}

static void on_frame(const char* data, unsigned int length, const OrvoScreenCaptureFrameFormat* format,
                     unsigned long long time, unsigned int scale, void* publisher) {
    Publisher* self = publisher;
    const int width = format->width & ~1, height = format->height & ~1;
    (void)length;
    if (format->pixelFormat != ORVO_PIXEL_FORMAT_BUFFER || width == 0 || height == 0) return;
    g_mutex_lock(&self->lock);
    /* A slow encoder drops frames here, where they are newest, and a frame that is not later than the one before has
     * no place in the stream. */
    if (gst_app_src_get_current_level_buffers(self->source) >= WAITING || (self->begun && time <= self->last)) {
        self->dropped++;
    } else {
        if (!self->begun) self->first = time;
        self->begun = TRUE;
        self->last = time;
        take_size(self, width, height);
        GstBuffer* buffer = wrap((OrvoPixelBufferRef)(void*)data, format, width, height);
        GST_BUFFER_PTS(buffer) = gst_util_uint64_scale(time - self->first, GST_SECOND, scale);
        if (gst_app_src_push_buffer(self->source, buffer) == GST_FLOW_OK) self->sent++;
    }
    g_mutex_unlock(&self->lock);
}

/* ---- Targets */

/* Times of screens are of the monotonic clock, those of windows since 1970. This has both on the first. */
static void share_one_clock(void) {
    orvo_screencapture_set_timestamp_offset((unsigned long long)((g_get_monotonic_time() - g_get_real_time()) / 1000));
}

static guint main_screen(void) {
    unsigned int count = 0;
    guint number = 0;
    OrvoScreenCaptureScreenItem* screens = orvo_screencapture_enum_screen_list(&count);
    for (unsigned int i = 0; i < count; i++)
        if (screens[i].isPrimary) number = screens[i].screenID;
    orvo_screencapture_free_screen_list(screens);
    return number;
}

static void show(const Target* target) {
    if (target->is_window)
        orvo_screencapture_set_target_window(target->number);
    else
        orvo_screencapture_set_target_screen(target->number ? target->number : main_screen());
}

/* "screen", "screen:NUMBER" or "window:NUMBER" */
static gboolean read_target(const char* text, Target* target) {
    guint64 number = 0;
    const char* colon = strchr(text, ':');
    if (colon && !g_ascii_string_to_unsigned(colon + 1, 10, 1, G_MAXUINT32, &number, NULL)) return FALSE;
    target->is_window = g_str_has_prefix(text, "window:");
    target->number = (guint)number;
    return target->is_window || strcmp(text, "screen") == 0 || g_str_has_prefix(text, "screen:");
}

/* Whether it is there now: an unknown one would make an empty file. */
static gboolean is_there(const Target* target) {
    OrvoScreenCaptureWindowOwner owner = ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT;
    unsigned int count = 0;
    gboolean found = FALSE;
    if (target->is_window) return orvo_screencapture_get_window_owner(target->number, &owner);
    OrvoScreenCaptureScreenItem* screens = orvo_screencapture_enum_screen_list(&count);
    for (unsigned int i = 0; i < count; i++) found |= !target->number || screens[i].screenID == target->number;
    orvo_screencapture_free_screen_list(screens);
    return found;
}

/* Screens and windows are captured on two paths; the one has ended before the other is chosen. */
static gboolean show_when_stopped(gpointer publisher) {
    if (((Publisher*)publisher)->finished) return G_SOURCE_REMOVE;
    if (orvo_screencapture_is_capturing()) return G_SOURCE_CONTINUE;
    show(&((Publisher*)publisher)->targets[0]);
    orvo_screencapture_start_capture();
    return G_SOURCE_REMOVE;
}

static gboolean change_target(gpointer publisher) {
    Publisher* self = publisher;
    const Target shown = self->targets[0];
    self->targets[0] = self->targets[1];
    self->targets[1] = shown;
    orvo_screencapture_stop_capture();
    g_timeout_add(5, show_when_stopped, self);
    return G_SOURCE_CONTINUE;
}

static gboolean change_target_once(gpointer publisher) {
    change_target(publisher);
    return G_SOURCE_REMOVE;
}

/* ---- The end */

static gboolean finish(gpointer publisher) {
    ((Publisher*)publisher)->finished = TRUE;
    orvo_screencapture_stop_capture();
    gst_app_src_end_of_stream(((Publisher*)publisher)->source);
    return G_SOURCE_CONTINUE;
}

static gboolean finish_later(gpointer publisher) { /* what a thread of the library may not wait for */
    finish(publisher);
    return G_SOURCE_REMOVE;
}

static void on_error(int code, void* publisher) {
    OrvoScreenCaptureStatistics statistics = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    orvo_screencapture_get_statistics(&statistics);
    g_printerr("publish: the capture failed with code %d: %s\n", code, statistics.lastErrorReason);
    ((Publisher*)publisher)->exit_code = 1;
    g_idle_add(finish_later, publisher);
}

static gboolean on_message(GstBus* bus, GstMessage* message, gpointer publisher) {
    Publisher* self = publisher;
    (void)bus;
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* error = NULL;
        gst_message_parse_error(message, &error, NULL);
        g_printerr("publish: %s\n", error->message);
        g_error_free(error);
        self->exit_code = 1;
        g_main_loop_quit(self->loop);
    } else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
        g_main_loop_quit(self->loop);
    }
    return G_SOURCE_CONTINUE;
}

/* ---- The pipeline */

static gboolean make_pipeline(Publisher* self, const char* file, int port) {
    GError* error = NULL;
    const char* muxer = file && g_str_has_suffix(file, ".mkv") ? "matroskamux" : "mp4mux";
    gchar* out =
        file ? g_strdup_printf("%s ! filesink name=file", muxer)
             : g_strdup_printf("rtph264pay config-interval=1 pt=96 ! udpsink sync=false host=127.0.0.1 port=%d", port);
    gchar* text = g_strdup_printf(
        "appsrc name=source is-live=true format=time do-timestamp=false block=false max-buffers=%d max-bytes=0 ! "
        "videoconvertscale add-borders=true ! capsfilter name=size ! "
        "x264enc tune=zerolatency speed-preset=veryfast key-int-max=%d ! video/x-h264,profile=constrained-baseline ! "
        "h264parse ! %s",
        WAITING, 2 * self->fps, out);
    self->pipeline = gst_parse_launch(text, &error);
    g_free(text);
    g_free(out);
    if (error) {
        g_printerr("publish: %s\n", error->message);
        g_error_free(error);
        return FALSE;
    }
    if (file) {
        GstElement* sink = gst_bin_get_by_name(GST_BIN(self->pipeline), "file");
        g_object_set(sink, "location", file, NULL);
        gst_object_unref(sink);
    }
    self->source = GST_APP_SRC(gst_bin_get_by_name(GST_BIN(self->pipeline), "source"));
    GstBus* bus = gst_element_get_bus(self->pipeline);
    gst_bus_add_watch(bus, on_message, self);
    gst_object_unref(bus);
    return TRUE;
}

/* The library's main queue is GLib's default main context, so this loop runs its callbacks too. */
static void publish(Publisher* self) {
    orvo_screencapture_init();
    orvo_screencapture_reg_captured_frame_available_notify(on_frame, self);
    orvo_screencapture_reg_capture_error_notify(on_error, self);
    orvo_screencapture_set_capture_video_pixel_format(ORVO_PIXEL_FORMAT_BUFFER);
    orvo_screencapture_set_fps(self->fps);
    share_one_clock();
    show(&self->targets[0]);
    gst_element_set_state(self->pipeline, GST_STATE_PLAYING);
    orvo_screencapture_start_capture();
    g_main_loop_run(self->loop);
    orvo_screencapture_uninit();
    gst_element_set_state(self->pipeline, GST_STATE_NULL);
    g_print("%u frames, %u dropped\n", self->sent, self->dropped);
}

/* ---- Options */

typedef struct Options {
    gchar *target, *other, *file;
    int port, fps;
    double seconds, switch_after;
} Options;

/* What is wrong with them, in words; NULL when nothing is. targets: become those that were named. */
static gchar* mistake(const Options* options, Target targets[2]) {
    const char* names[] = {options->target, options->other};
    if (!options->file && !options->port) return g_strdup("say where to publish: --file FILE or --rtp PORT");
    if (options->file && options->port) return g_strdup("publish into a file or as RTP, not both: leave out one");
    if (options->file && !g_str_has_suffix(options->file, ".mp4") && !g_str_has_suffix(options->file, ".mkv"))
        return g_strdup_printf("%s has to end with .mp4 or .mkv", options->file);
    if (options->port < 0 || options->port > 65535)
        return g_strdup_printf("there is no port %d: it is a number from 1 to 65535", options->port);
    if (options->fps < 5 || options->fps > 30)
        return g_strdup_printf("%d frames a second: it can be 5 to 30", options->fps);
    if (options->seconds < 0 || options->switch_after < 0) return g_strdup("a time cannot be below 0");
    if (options->switch_after > 0 && !options->other) return g_strdup("--switch-after needs --other");
    for (int i = 0; i < 2; i++) {
        if (!names[i]) continue;
        if (!read_target(names[i], &targets[i]))
            return g_strdup_printf("%s is no target: it is screen, screen:NUMBER or window:NUMBER", names[i]);
        if (!is_there(&targets[i]))
            return g_strdup_printf("there is no %s; orvocap windows lists what is there", names[i]);
    }
    return is_there(&targets[0]) ? NULL : g_strdup("there is no screen; is DISPLAY set to your X server?");
}

static void add_signals(Publisher* self) {
    g_unix_signal_add(SIGINT, finish, self);
    g_unix_signal_add(SIGTERM, finish, self);
    g_unix_signal_add(SIGUSR1, change_target, self);
}

int main(int argc, char** argv) {
    static Options given = {.fps = 15};
    const GOptionEntry options[] = {
        {"target", 't', 0, G_OPTION_ARG_STRING, &given.target, "what to show: screen (default), screen:N, window:N",
         "TARGET"},
        {"other", 0, 0, G_OPTION_ARG_STRING, &given.other, "what to change to; screen by default", "TARGET"},
        {"switch-after", 0, 0, G_OPTION_ARG_DOUBLE, &given.switch_after,
         "change after so long; SIGUSR1 does at any time", "SECONDS"},
        {"file", 'o', 0, G_OPTION_ARG_FILENAME, &given.file, "write this .mp4 or .mkv", "FILE"},
        {"rtp", 0, 0, G_OPTION_ARG_INT, &given.port, "send RTP to this local port", "PORT"},
        {"fps", 0, 0, G_OPTION_ARG_INT, &given.fps, "5 to 30 frames a second", "N"},
        {"seconds", 's', 0, G_OPTION_ARG_DOUBLE, &given.seconds, "end after so long; SIGINT does at any time",
         "SECONDS"},
        {0},
    };
    Publisher self = {.targets = {{FALSE, 0}, {FALSE, 0}}};
    GError* error = NULL;
    GOptionContext* context = g_option_context_new("- publish a screen or a window as H.264");
    g_option_context_add_main_entries(context, options, NULL);
    g_option_context_add_group(context, gst_init_get_option_group());
    const gboolean read = g_option_context_parse(context, &argc, &argv, &error);
    g_option_context_free(context);
    gchar* wrong = read ? mistake(&given, self.targets) : g_strdup(error->message);
    if (wrong) {
        g_printerr("publish: %s\n", wrong);
        g_free(wrong);
        g_clear_error(&error);
        return 2;
    }
    self.fps = given.fps;
    self.loop = g_main_loop_new(NULL, FALSE);
    if (!make_pipeline(&self, given.file, given.port)) return 1;
    add_signals(&self);
    if (given.seconds > 0) g_timeout_add((guint)(given.seconds * 1000), finish_later, &self);
    if (given.switch_after > 0) g_timeout_add((guint)(given.switch_after * 1000), change_target_once, &self);
    publish(&self);
    if (self.sent == 0) { /* a file without a picture is none */
        self.exit_code = 1;
        if (given.file) g_remove(given.file);
    }
    gst_clear_caps(&self.caps);
    gst_object_unref(self.source);
    gst_object_unref(self.pipeline);
    g_main_loop_unref(self.loop);
    return self.exit_code;
}
