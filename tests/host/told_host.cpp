// A host that does what it is told: a command a line on standard input, an answer a line on standard output. Its main
// thread runs the main queue, commands run on another, as calls of a host do. What happens to the process is the test.
#include <fcntl.h>
#include <orvo/screencapture_linux.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "../support/every_export.h"

namespace {

struct {
    std::atomic<int> frames{0}, windowFrames{0}, width{0}, height{0}, errors{0}, lastError{0};
    std::atomic<OrvoPixelBufferRef> kept{nullptr};
} seen;

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::atomic<bool> finished{false};
std::vector<int> spareFiles;

void onFrame(const char* data, unsigned int, const OrvoScreenCaptureFrameFormat* format, unsigned long long,
             unsigned int, void*) {
    seen.width = format->width;
    seen.height = format->height;
    if (format->pixelFormat == ORVO_PIXEL_FORMAT_BUFFER && !seen.kept)
        seen.kept = orvo_pixelbuffer_retain(reinterpret_cast<OrvoPixelBufferRef>(const_cast<char*>(data)));
    ++seen.frames;
}

void onWindowFrame(const char*, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long, unsigned int,
                   unsigned int, void*) {
    ++seen.windowFrames;
}

void onError(int code, void*) {
    seen.lastError = code;
    ++seen.errors;
}

void onThumbnail(int, OrvoThumbnailWindowInfo* info, void*) {
    orvo_windowthumbnail_free_windows(info, 1);
}

#define REGISTER(name, callback)               \
    {                                          \
#name, [] { name(callback, nullptr); } \
    }
const struct {
    const char* name;
    void (*call)();
} registrations[] = {
    REGISTER(orvo_screencapture_reg_captured_frame_available_notify, onFrame),
    REGISTER(orvo_screencapture_reg_mutiple_captured_frame_available_notify, onWindowFrame),
    REGISTER(orvo_screencapture_reg_capture_error_notify, onError),
    REGISTER(orvo_screencapture_reg_captured_window_moved_notify, [](auto...) {}),
    REGISTER(orvo_screencapture_reg_captured_window_status_change_notify, [](auto...) {}),
    REGISTER(orvo_screencapture_reg_capture_process_window_change_notify, [](auto...) {}),
    REGISTER(orvo_windowthumbnail_reg_window_status_change_notify, onThumbnail),
};

// Calls every export that may ask the server, each with a number that is a display's and one that is a window's.
// Answers the names, each with the milliseconds that it took.
std::string callEveryExport(unsigned int display, unsigned int window) {
    const auto must = [](bool good) { good ? void() : std::abort(); };
    const orvo::test::With with{display, window, window, must};
    std::ostringstream answer;
    const auto timed = [&](const std::string& names, const auto& call) {
        const auto start = Clock::now();
        call();
        const auto spent = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
        std::istringstream each(names);
        for (std::string name; each >> name;) answer << name << ' ' << spent.count() << ' ';
    };
    for (const auto& each : orvo::test::everyExport) timed(each.names(), [&] { each.make(with); });
    timed("orvo_screencapture_run_main_queue", [] { orvo_screencapture_run_main_queue(1); });
    timed(
        "orvo_pixelbuffer_retain orvo_pixelbuffer_lock orvo_pixelbuffer_get_width orvo_pixelbuffer_get_height "
        "orvo_pixelbuffer_get_bytes_per_row orvo_pixelbuffer_get_base_address orvo_pixelbuffer_unlock "
        "orvo_pixelbuffer_release",
        [kept = seen.kept.load()] {
            orvo_pixelbuffer_retain(kept);
            orvo_pixelbuffer_lock(kept);
            orvo_pixelbuffer_get_width(kept);
            orvo_pixelbuffer_get_height(kept);
            orvo_pixelbuffer_get_bytes_per_row(kept);
            orvo_pixelbuffer_get_base_address(kept);
            orvo_pixelbuffer_unlock(kept);
            orvo_pixelbuffer_release(kept);
        });
    for (const auto& each : registrations) timed(each.name, each.call);
    return answer.str();
}

template <typename Condition>
bool await(int limit, Condition condition) {
    const auto end = Clock::now() + milliseconds(limit);
    while (!condition()) {
        if (Clock::now() > end) return false;
        std::this_thread::sleep_for(milliseconds(2));
    }
    return true;
}

std::vector<unsigned int> numbers(std::istringstream& words) {
    std::vector<unsigned int> all;
    for (unsigned int number = 0; words >> number;) all.push_back(number);
    return all;
}

void setTarget(std::istringstream& words) {
    std::string kind;
    words >> kind;
    std::vector<unsigned int> list = numbers(words);
    list.resize(std::max<size_t>(list.size(), 5));
    const auto count = static_cast<int>(list[0]);
    if (kind == "display") orvo_screencapture_set_target_screen(list[0]);
    if (kind == "rect") orvo_screencapture_set_target_rect(list[0], 8, 8, 100, 80);
    if (kind == "window") orvo_screencapture_set_target_window(list[0]);
    if (kind == "extra" || kind == "drop")
        orvo_screencapture_set_extra_target_windows(&list[1], count, kind == "extra");
    if (kind == "exclude" || kind == "include")
        orvo_screencapture_set_excluded_windows(&list[1], count, kind == "exclude");
    if (kind == "mode") orvo_screencapture_set_target_window_mode(count);
    if (kind == "size") orvo_screencapture_set_resolution(count, static_cast<int>(list[1]));
    if (kind == "format") orvo_screencapture_set_capture_video_pixel_format(count);
    if (kind == "fps") orvo_screencapture_set_fps(count);
    if (kind == "cursor") orvo_screencapture_set_cursor_visible(count);
}

void limit(__rlimit_resource resource, rlim_t most) {
    rlimit all{};
    getrlimit(resource, &all);
    all.rlim_cur = std::min(most, all.rlim_max);
    setrlimit(resource, &all);
}

// Every file descriptor that the process may have, so that none is left; 0 gives them back.
void useUpFiles(bool all) {
    for (const int file : spareFiles) close(file);
    spareFiles.clear();
    limit(RLIMIT_NOFILE, all ? 256 : RLIM_INFINITY);
    for (int file = 0; all && (file = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) spareFiles.push_back(file);
}

std::string lists() {
    std::ostringstream answer;
    unsigned int screens = 0;
    OrvoScreenCaptureScreenItem* items = orvo_screencapture_enum_screen_list(&screens);
    const unsigned int first = screens > 0 ? items[0].screenID : 0;
    orvo_screencapture_free_screen_list(items);
    int windows = 0;
    int pictures = 0;
    OrvoThumbnailWindowInfo* infos = orvo_windowthumbnail_find_windows(&windows);
    for (int i = 0; i < windows; ++i) pictures += infos[i].imageThumbnail != nullptr;
    orvo_windowthumbnail_free_windows(infos, windows);
    answer << screens << ' ' << windows << ' ' << pictures << ' ' << first;
    return answer.str();
}

std::string state() {
    OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    orvo_screencapture_get_statistics(&figures);
    std::ostringstream answer;
    answer << seen.frames << ' ' << seen.errors << ' ' << seen.lastError << ' ' << orvo_screencapture_is_capturing()
           << ' ' << seen.width << ' ' << seen.height << ' ' << figures.longestGapMilliseconds << ' '
           << seen.windowFrames << ' ' << figures.lastErrorReason;
    return answer.str();
}

constexpr int kPatience = 40000;  // milliseconds, more than any load of the machine explains

// frames COUNT [LIMIT]: waits for that many new ones.
std::string awaitFrames(std::istringstream& words) {
    int count = 0, limit = 0;
    words >> count;
    if (!(words >> limit)) limit = kPatience;
    const int before = seen.frames;
    return await(limit, [&] { return seen.frames - before >= count; }) ? "came" : "late";
}

std::string awaitError() {
    const int before = seen.errors;
    return await(kPatience, [&] { return seen.errors > before; }) ? std::to_string(seen.lastError) : "late";
}

std::string obey(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    int number = 0;
    if (command == "init") {
        orvo_screencapture_init();
        for (const auto& each : registrations) each.call();
    } else if (command == "uninit") {
        orvo_screencapture_uninit();
    } else if (command == "log") {
        std::string folder;
        words >> folder;
        orvo_screencapture_set_log_level(4, folder.c_str());
    } else if (command == "start") {
        orvo_screencapture_start_capture();
    } else if (command == "stop") {
        orvo_screencapture_stop_capture();
    } else if (command == "target") {
        setTarget(words);
    } else if (command == "frames") {
        return awaitFrames(words);
    } else if (command == "error") {
        return awaitError();
    } else if (command == "state") {
        return state();
    } else if (command == "lists") {
        return lists();
    } else if (command == "files") {
        words >> number;
        useUpFiles(number == 0);
    } else if (command == "largest") {  // file, and so piece of shared memory, in bytes
        words >> number;
        limit(RLIMIT_FSIZE, number == 0 ? RLIM_INFINITY : static_cast<rlim_t>(number));
    } else if (command == "every") {
        const std::vector<unsigned int> list = numbers(words);
        return list.size() == 2 ? callEveryExport(list[0], list[1]) : "two numbers";
    } else {
        return "unknown command";
    }
    return "done";
}

}  // namespace

int main() {
    // The library writes its log to standard output.
    const int answers = dup(STDOUT_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    std::thread commands([answers] {
        for (std::string line; std::getline(std::cin, line);) {
            const std::string answer = obey(line) + "\n";
            if (write(answers, answer.data(), answer.size()) < 0) break;
        }
        finished = true;
    });
    while (!finished) orvo_screencapture_run_main_queue(10);
    commands.join();
    return 0;
}
