// How long the lists take beside their limits: list_times ROUNDS WIDTH WINDOW..., prints medians in microseconds as
// JSON. The limit of a list with pictures is grabbing each window and display and scaling it to WIDTH pixels: "bare"
// what is on screen, so of a covered window what covers it, "redirected" what the windows themselves show.
#include <fcntl.h>
#include <libyuv/scale_argb.h>
#include <unistd.h>
#include <xcb/composite.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "counting.h"
#include "orvo/screencapture_linux.h"
#include "stamp.h"
#include "x11_client.h"

namespace {

// What one way of listing cost, round by round.
struct Way {
    std::string name;
    std::vector<uint64_t> times, sends;
    int entries = 0;

    template <typename Work>
    void measure(Work work) {
        const uint64_t sent = bench::sends, start = bench::now();
        entries = work();
        times.push_back(bench::now() - start);
        sends.push_back(bench::sends - sent);
    }
    static unsigned long long median(std::vector<uint64_t> values) {
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    }
    void print(FILE* out, const char* separator) const {
        fprintf(out, R"(%s"%s": {"us": %llu, "sends": %llu, "entries": %d})", separator, name.c_str(), median(times),
                median(sends), entries);
    }
};

int plain() {
    unsigned int count = 0;
    orvo_screencapture_free_window_list(orvo_screencapture_enum_window_list(1, &count));
    return static_cast<int>(count);
}

int picker(bool withoutPictures) {
    orvo_windowthumbnail_find_windows_async(withoutPictures);
    int count = 0;
    OrvoThumbnailWindowInfo* list = orvo_windowthumbnail_find_windows(&count);
    orvo_windowthumbnail_free_windows(list, count);
    return count;
}

class BareGrabs {
  public:
    BareGrabs(bench::Client& client, int width)
        : client_(client),
          picture_(client, client.screen->width_in_pixels, client.screen->height_in_pixels),
          width_(width) {}
    int run(const std::vector<xcb_window_t>& drawables) {
        for (const xcb_window_t each : drawables) {
            grabAndScale(each, client_.windowArea(each));
        }
        return static_cast<int>(drawables.size());
    }
    // The first drawable is the root.
    int runRedirected(const std::vector<xcb_window_t>& drawables) {
        xcb_connection_t* const x = client_.connection;
        for (size_t i = 1; i < drawables.size(); ++i)
            xcb_composite_redirect_window(x, drawables[i], XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        for (const xcb_window_t each : drawables) {
            const xcb_pixmap_t pixmap = each == client_.root ? each : xcb_generate_id(x);
            if (pixmap != each) xcb_composite_name_window_pixmap(x, each, pixmap);
            grabAndScale(pixmap, client_.windowArea(each));
            if (pixmap != each) xcb_free_pixmap(x, pixmap);
        }
        for (size_t i = 1; i < drawables.size(); ++i)
            xcb_composite_unredirect_window(x, drawables[i], XCB_COMPOSITE_REDIRECT_AUTOMATIC);
        client_.sync();
        return static_cast<int>(drawables.size());
    }

  private:
    void grabAndScale(xcb_drawable_t drawable, const bench::Area& area) {
        const int height = area.height * width_ / area.width;
        scaled_.resize(static_cast<size_t>(width_) * static_cast<size_t>(height) * 4);
        picture_.grab(drawable, {0, 0, area.width, area.height});
        libyuv::ARGBScale(picture_.bytes(), area.width * 4, area.width, area.height, scaled_.data(), width_ * 4, width_,
                          height, libyuv::kFilterBox);
    }

    bench::Client& client_;
    bench::SharedPicture picture_;
    std::vector<uint8_t> scaled_;
    int width_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: list_times ROUNDS WIDTH WINDOW...\n");
        return 2;
    }
    const int out = dup(STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    bench::Client client;
    std::vector<xcb_window_t> drawables = {client.root};
    for (int i = 3; i < argc; ++i) drawables.push_back(static_cast<xcb_window_t>(atoi(argv[i])));
    BareGrabs bare(client, atoi(argv[2]));
    orvo_screencapture_init();

    Way ways[] = {{"plain", {}, {}}, {"icons", {}, {}}, {"pictures", {}, {}}, {"bare", {}, {}}, {"redirected", {}, {}}};
    for (int round = -1; round < atoi(argv[1]); ++round) {
        ways[0].measure(plain);
        ways[1].measure([] { return picker(true); });
        ways[2].measure([] { return picker(false); });
        client.sync();  // the next way does not pay for what the server still has to do
        ways[3].measure([&] { return bare.run(drawables); });
        ways[4].measure([&] { return bare.runRedirected(drawables); });
        if (round < 0) {  // the first round connects
            for (Way& way : ways) way.times.clear(), way.sends.clear();
        }
        orvo_screencapture_run_main_queue(0);
    }
    orvo_screencapture_uninit();
    FILE* file = fdopen(out, "w");
    for (const Way& way : ways) way.print(file, &way == ways ? "{" : ", ");
    fputs("}\n", file);
    fclose(file);
}
