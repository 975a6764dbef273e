// The library at work, for measuring: capture_orvo OPTIONS, until it is stopped. Prints what came as JSON.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "counting.h"
#include "equality.h"
#include "frame_log.h"
#include "orvo/screencapture_additions.h"
#include "orvo/screencapture_linux.h"

namespace {

struct Options {
    int rate = 30;
    bool cursor = false, idle = false, check = false;
    unsigned int mode = ORVO_WINDOW_MODE_WINDOW;
    const char* logFolder = nullptr;
    std::vector<unsigned int> windows, excluded;
    bench::Area rectangle;      // empty: none
    int width = 0, height = 0;  // 0: as the source
};

const char kUsage[] =
    "usage: capture_orvo [--fps N] [--cursor] [--window N]... [--mode N] [--without N]... [--rect X Y W H]\n"
    "       [--size W H] [--log FOLDER] [--idle] [--check] [--stamp X Y BLOCK]...\n";

class Words {
  public:
    Words(int argc, char** argv) : words_(argv + 1, argv + argc) {}
    bool empty() const { return at_ == words_.size(); }
    std::string word() {
        if (empty()) {
            fputs(kUsage, stderr);
            exit(2);
        }
        return words_[at_++];
    }
    int number() { return atoi(word().c_str()); }
    bench::Area area() {
        bench::Area area;
        for (int* each : {&area.x, &area.y, &area.width, &area.height}) *each = number();
        return area;
    }

  private:
    std::vector<char*> words_;
    size_t at_ = 0;
};

Options parse(int argc, char** argv) {
    Options options;
    Words words(argc, argv);
    while (!words.empty()) {
        const std::string word = words.word();
        if (word == "--fps")
            options.rate = words.number();
        else if (word == "--cursor")
            options.cursor = true;
        else if (word == "--window")
            options.windows.push_back(static_cast<unsigned int>(words.number()));
        else if (word == "--mode")
            options.mode = static_cast<unsigned int>(words.number());
        else if (word == "--without")
            options.excluded.push_back(static_cast<unsigned int>(words.number()));
        else if (word == "--rect")
            options.rectangle = words.area();
        else if (word == "--size")
            options.width = words.number(), options.height = words.number();
        else if (word == "--log")
            options.logFolder = strdup(words.word().c_str());
        else if (word == "--idle")
            options.idle = true;
        else if (word == "--check")
            options.check = true;
        else {
            fputs(kUsage, stderr);
            exit(2);
        }
    }
    return options;
}

// What a callback needs: the log, and the comparison while one is wanted.
struct Receiver {
    bench::FrameLog& log;
    std::unique_ptr<bench::Equality> equality;
    int errors = 0;
};

void onFrame(const char* data, unsigned int, const OrvoScreenCaptureFrameFormat* format, unsigned long long,
             unsigned int, void* context) {
    auto& receiver = *static_cast<Receiver*>(context);
    const auto* pixels = reinterpret_cast<const uint8_t*>(data);
    const auto bytesPerRow = static_cast<size_t>(format->strides[0]);
    receiver.log.frame(pixels, bytesPerRow, format->width, format->height);
    if (receiver.equality) receiver.equality->check(pixels, bytesPerRow, format->width, format->height);
}

unsigned int mainScreen() {
    unsigned int count = 0;
    OrvoScreenCaptureScreenItem* screens = orvo_screencapture_enum_screen_list(&count);
    const unsigned int screen = count > 0 ? screens[0].screenID : 0;
    orvo_screencapture_free_screen_list(screens);
    return screen;
}

void choose(Options& options) {
    orvo_screencapture_set_fps(options.rate);
    orvo_screencapture_set_cursor_visible(options.cursor);
    if (options.width > 0) orvo_screencapture_set_resolution(options.width, options.height);
    if (!options.excluded.empty())
        orvo_screencapture_set_excluded_windows(options.excluded.data(), static_cast<int>(options.excluded.size()),
                                                true);
    // Asking for a mode chooses the window path.
    if (!options.windows.empty() || options.width > 0) orvo_screencapture_set_target_window_mode(options.mode);
    if (options.windows.size() == 1) {
        orvo_screencapture_set_target_window(options.windows[0]);
    } else if (options.windows.size() > 1) {
        orvo_screencapture_set_extra_target_windows(options.windows.data(), static_cast<int>(options.windows.size()),
                                                    true);
    } else if (options.rectangle.width > 0) {
        const bench::Area& area = options.rectangle;
        orvo_screencapture_set_target_rect(mainScreen(), area.x, area.y, area.width, area.height);
    } else if (options.width > 0) {
        orvo_screencapture_set_target_window(mainScreen());
    } else {
        orvo_screencapture_set_target_screen(mainScreen());
    }
}

long residentKilobytes() {
    long pages = 0;
    if (FILE* file = fopen("/proc/self/statm", "r")) {
        if (fscanf(file, "%*d %ld", &pages) != 1) pages = 0;
        fclose(file);
    }
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

std::string members(const Receiver& receiver, long idle, long busy) {
    OrvoScreenCaptureStatistics statistics = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    orvo_screencapture_get_statistics(&statistics);
    char text[512];
    int used =
        snprintf(text, sizeof(text), R"("idle_kb": %ld, "busy_kb": %ld, "errors": %d, "dropped": %llu, "merged": %llu)",
                 idle, busy, receiver.errors, static_cast<unsigned long long>(statistics.framesDropped),
                 static_cast<unsigned long long>(statistics.ticksMerged));
    if (const bench::Equality* equality = receiver.equality.get())
        snprintf(text + used, sizeof(text) - static_cast<size_t>(used),
                 R"(, "compared": %llu, "wrong": %llu, "empty": %llu, "first": "%s")",
                 static_cast<unsigned long long>(equality->compared), static_cast<unsigned long long>(equality->wrong),
                 static_cast<unsigned long long>(equality->empty), equality->first);
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    bench::FrameLog log(argc, argv);
    log.counters[0] = &bench::allocations;
    log.counters[1] = &bench::sends;
    log.counters[2] = &bench::receives;
    Options options = parse(argc, argv);
    // The library echoes its log to standard output.
    const int out = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);

    Receiver receiver{log, nullptr};
    if (options.check)
        receiver.equality = std::make_unique<bench::Equality>(
            bench::Equality::Frames{options.windows.empty() ? 0 : options.windows[0], options.rectangle,
                                    options.excluded.empty() ? 0 : options.excluded[0], options.cursor});
    if (options.logFolder) orvo_screencapture_set_log_level(3, options.logFolder);
    orvo_screencapture_init();
    orvo_screencapture_reg_captured_frame_available_notify(onFrame, &receiver);
    orvo_screencapture_reg_capture_error_notify([](int, void* context) { static_cast<Receiver*>(context)->errors++; },
                                                &receiver);
    choose(options);
    orvo_screencapture_run_main_queue(options.idle ? 0 : 200);
    const long idle = residentKilobytes();
    if (!options.idle) orvo_screencapture_start_capture();
    // Asleep but for callbacks, as a host in its own main loop is.
    std::thread([] { orvo_screencapture_run_main_queue(-1); }).detach();
    bench::sleepToTheEnd();
    const std::string more = members(receiver, idle, residentKilobytes());
    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
    log.print(out, more.c_str());
}
