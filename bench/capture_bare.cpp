// The limits that capturers are measured against: capture_bare full|damage FPS [WINDOW], and capture_bare timer FPS,
// which captures nothing and prints how late it woke.
#include <libyuv/scale_argb.h>
#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "frame_log.h"
#include "x11_client.h"

namespace {

using bench::Area;
using bench::Client;
using bench::SharedPicture;

// The drawable that shows a target: the root, or a window's own pixmap.
class Target {
  public:
    Target(Client& client, xcb_window_t window) : client_(client), window_(window ? window : client.root) {
        const Area area = client.windowArea(window_);
        size = {0, 0, area.width, area.height};
        if (window) {
            xcb_composite_redirect_window(client.connection, window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
            client.sync();
        }
    }
    xcb_window_t window() const { return window_; }
    // Until the next call of release().
    xcb_drawable_t drawable() {
        if (window_ == client_.root) return window_;
        pixmap_ = xcb_generate_id(client_.connection);
        xcb_composite_name_window_pixmap(client_.connection, window_, pixmap_);
        return pixmap_;
    }
    void release() {
        if (pixmap_) xcb_free_pixmap(client_.connection, pixmap_);
        pixmap_ = 0;
    }
    Area size;

  private:
    Client& client_;
    xcb_window_t window_;
    xcb_pixmap_t pixmap_ = 0;
};

void captureFull(Client& client, Target& target, double rate, bench::FrameLog& log) {
    SharedPicture picture(client, target.size.width, target.size.height);
    bench::Grid grid(rate);
    uint64_t late = 0;
    while (grid.next(late)) {
        const bool grabbed = picture.grab(target.drawable(), target.size);
        target.release();
        if (grabbed) log.frame(picture.bytes(), picture.bytesPerRow(), picture.width, picture.height);
    }
}

// Copies what has changed, in place.
class DamageCapture {
  public:
    DamageCapture(Client& client, Target& target)
        : connection_(client.connection),
          target_(target),
          picture_(client, target.size.width, target.size.height),
          pixmap_(xcb_generate_id(connection_)),
          context_(xcb_generate_id(connection_)),
          region_(xcb_generate_id(connection_)),
          damage_(xcb_generate_id(connection_)) {
        event_ = xcb_get_extension_data(connection_, &xcb_damage_id)->first_event;
        xcb_shm_create_pixmap(connection_, pixmap_, target.window(), static_cast<uint16_t>(target.size.width),
                              static_cast<uint16_t>(target.size.height), 24, picture_.segment, 0);
        const uint32_t values[] = {XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, 0};
        xcb_create_gc(connection_, context_, pixmap_, XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values);
        xcb_xfixes_create_region(connection_, region_, 0, nullptr);
        xcb_damage_create(connection_, damage_, target.window(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
        picture_.grab(target.drawable(), target.size);
        target.release();
    }
    // width, height: of the frames; 0: as the target.
    void run(double rate, bench::FrameLog& log, int width, int height) {
        std::vector<uint8_t> scaled(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
        bench::Grid grid(rate);
        uint64_t late = 0;
        for (bool first = true; grid.next(late); first = false) {
            const bool isNew = changed() || first;
            if (isNew) fetch();
            if (isNew && width > 0)
                libyuv::ARGBScale(picture_.bytes(), picture_.width * 4, picture_.width, picture_.height, scaled.data(),
                                  width * 4, width, height, libyuv::kFilterBox);
            if (width > 0) {
                log.frame(scaled.data(), static_cast<size_t>(width) * 4, width, height);
            } else {
                log.frame(picture_.bytes(), picture_.bytesPerRow(), picture_.width, picture_.height);
            }
        }
    }

  private:
    bool changed() {
        bool found = false;
        while (auto* event = xcb_poll_for_event(connection_)) {
            found = found || (event->response_type & 0x7F) == event_ + XCB_DAMAGE_NOTIFY;
            free(event);
        }
        return found;
    }
    void fetch() {
        xcb_damage_subtract(connection_, damage_, XCB_NONE, region_);
        xcb_xfixes_set_gc_clip_region(connection_, context_, region_, 0, 0);
        xcb_copy_area(connection_, target_.drawable(), pixmap_, context_, 0, 0, 0, 0,
                      static_cast<uint16_t>(target_.size.width), static_cast<uint16_t>(target_.size.height));
        target_.release();
        const auto cookie = xcb_xfixes_fetch_region(connection_, region_);
        bench::Reply(xcb_xfixes_fetch_region_reply(connection_, cookie, nullptr));
    }

    xcb_connection_t* connection_;
    Target& target_;
    SharedPicture picture_;
    xcb_pixmap_t pixmap_;
    xcb_gcontext_t context_;
    xcb_xfixes_region_t region_;
    xcb_damage_damage_t damage_;
    uint8_t event_ = 0;
};

// How late each wake-up was stands in the place of a stamp.
void onlyTime(double rate) {
    bench::endOnSignals();
    printf("{\"stalls\": [");
    const char* separator = "";
    bench::Grid grid(rate);
    uint64_t late = 0;
    while (grid.next(late)) {
        if (late < 1000) continue;
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        const double end = static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
        printf("%s[%.0f,%llu]", separator, end, static_cast<unsigned long long>(late));
        separator = ",";
    }
    printf("]}\n");
}

}  // namespace

int main(int argc, char** argv) {
    bench::FrameLog log(argc, argv);
    const double rate = argc > 2 ? atof(argv[2]) : 0;
    if (rate <= 0) {
        fprintf(stderr, "usage: capture_bare full|damage|timer FPS [WINDOW [WIDTH HEIGHT]]\n");
        return 2;
    }
    if (strcmp(argv[1], "timer") == 0) {
        onlyTime(rate);
        return 0;
    }
    Client client;
    Target target(client, argc > 3 ? static_cast<xcb_window_t>(atoi(argv[3])) : 0);
    if (strcmp(argv[1], "damage") == 0) {
        DamageCapture(client, target).run(rate, log, argc > 5 ? atoi(argv[4]) : 0, argc > 5 ? atoi(argv[5]) : 0);
    } else {
        captureFull(client, target, rate, log);
    }
    log.print(STDOUT_FILENO, "");
}
