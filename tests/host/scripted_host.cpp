// A host that follows a script: a command a line on standard input, an answer a line on standard output. Its main
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
    std::atomic<int> frames{0}, width{0}, height{0}, errors{0}, lastError{0};
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

void onError(int code, void*) {
    seen.lastError = code;
    ++seen.errors;
}

void onThumbnail(int, OrvoThumbnailWindowInfo* info, void*) {
    orvo_windowthumbnail_free_windows(info, 1);
}

using orvo::test::ExportCall, orvo::test::With, orvo::test::answerOf;
const ExportCall registrations[] = {
    ORVO_CALL(orvo_screencapture_reg_captured_frame_available_notify(onFrame, nullptr)),
    ORVO_CALL(orvo_screencapture_reg_mutiple_captured_frame_available_notify([](auto...) {}, nullptr)),
    ORVO_CALL(orvo_screencapture_reg_capture_error_notify(onError, nullptr)),
    ORVO_CALL(orvo_screencapture_reg_captured_window_moved_notify([](auto...) {}, nullptr)),
    ORVO_CALL(orvo_screencapture_reg_captured_window_status_change_notify([](auto...) {}, nullptr)),
    ORVO_CALL(orvo_screencapture_reg_capture_process_window_change_notify([](auto...) {}, nullptr)),
    ORVO_CALL(orvo_windowthumbnail_reg_window_status_change_notify(onThumbnail, nullptr)),
};
const ExportCall onlyOnLinux[] = {
    ORVO_CALL(orvo_screencapture_run_main_queue(1)),
    ORVO_CALL(orvo_pixelbuffer_retain(seen.kept)),
    ORVO_CALL(orvo_pixelbuffer_lock(seen.kept)),
    ORVO_CALL(orvo_pixelbuffer_get_width(seen.kept)),
    ORVO_CALL(orvo_pixelbuffer_get_height(seen.kept)),
    ORVO_CALL(orvo_pixelbuffer_get_bytes_per_row(seen.kept)),
    ORVO_CALL(orvo_pixelbuffer_get_base_address(seen.kept)),
    ORVO_CALL(orvo_pixelbuffer_unlock(seen.kept)),
    ORVO_CALL(orvo_pixelbuffer_release(seen.kept)),
};

// Calls every export that may ask the server, each with a number that is a display's and one that is a window's.
// Answers the names, each with the milliseconds that it took.
std::string callEveryExport(unsigned int display, unsigned int window) {
    const With with{display, window, window, [](bool good) { good ? void() : std::abort(); }};
    std::vector<ExportCall> all(std::begin(orvo::test::everyExport), std::end(orvo::test::everyExport));
    all.insert(all.end(), std::begin(onlyOnLinux), std::end(onlyOnLinux));
    all.insert(all.end(), std::begin(registrations), std::end(registrations));
    std::ostringstream answer;
    for (const ExportCall& each : all) {
        const auto start = Clock::now();
        each.make(with);
        const auto spent = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
        std::istringstream names(each.names());
        for (std::string name; names >> name;) answer << name << ' ' << spent.count() << ' ';
    }
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
    if (kind == "format") orvo_screencapture_set_capture_video_pixel_format(count);
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
           << ' ' << seen.width << ' ' << seen.height << ' ' << figures.lastErrorReason;
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
        for (const ExportCall& each : registrations) each.make({});
    } else if (command == "uninit") {
        orvo_screencapture_uninit();
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
