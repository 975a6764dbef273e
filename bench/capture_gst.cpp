// GStreamer's X11 source for comparison: capture_gst DAMAGE(0|1) FPS, until it is stopped.
#include <gst/gst.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "frame_log.h"

namespace {

void onBuffer(GstElement*, GstBuffer* buffer, GstPad* pad, gpointer log) {
    int width = 0, height = 0;
    if (GstCaps* caps = gst_pad_get_current_caps(pad)) {
        const GstStructure* structure = gst_caps_get_structure(caps, 0);
        gst_structure_get_int(structure, "width", &width);
        gst_structure_get_int(structure, "height", &height);
        gst_caps_unref(caps);
    }
    GstMapInfo map;
    if (!gst_buffer_map(buffer, &map, GST_MAP_READ)) return;
    static_cast<bench::FrameLog*>(log)->frame(map.data, static_cast<size_t>(width) * 4, width, height);
    gst_buffer_unmap(buffer, &map);
}

}  // namespace

int main(int argc, char** argv) {
    bench::FrameLog log(argc, argv);
    if (argc != 3) {
        fprintf(stderr, "usage: capture_gst DAMAGE(0|1) FPS\n");
        return 2;
    }
    gst_init(nullptr, nullptr);
    const std::string line = std::string("ximagesrc show-pointer=1 use-damage=") + argv[1] +
                             " ! video/x-raw,framerate=" + argv[2] + "/1 ! fakesink name=sink sync=0 signal-handoffs=1";
    GstElement* pipeline = gst_parse_launch(line.c_str(), nullptr);
    if (!pipeline) return 1;
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    g_signal_connect(sink, "handoff", G_CALLBACK(onBuffer), &log);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    bench::sleepToTheEnd();
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(sink);
    gst_object_unref(pipeline);
    log.print(STDOUT_FILENO, "");
}
