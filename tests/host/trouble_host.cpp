// A host that gets into trouble, or makes it, and has to end by itself. usage: trouble_host TROUBLE NUMBER FOLDER
#include <dlfcn.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "check.h"
#include "orvo/screencapture_additions.h"
#include "orvo/screencapture_linux.h"

namespace {

constexpr int kUntouched = 77;  // exit code: there was no such thread to fail
constinit std::atomic<int> threadToFail{0};
constinit std::atomic<bool> threadFailed{false};
constinit std::atomic<bool> glibIsMissing{false};

}  // namespace

// The library's threads come this way; the n-th is refused.
extern "C" int pthread_create(pthread_t* id, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
    static const auto next = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (threadToFail > 0 && --threadToFail == 0) {
        threadFailed = true;
        return EAGAIN;
    }
    return next(id, attributes, start, argument);
}

extern "C" void* dlopen(const char* name, int mode) {
    static const auto next = reinterpret_cast<decltype(&dlopen)>(dlsym(RTLD_NEXT, "dlopen"));
    return next(glibIsMissing && name && strstr(name, "libglib") ? "no such library" : name, mode);
}

namespace {

std::atomic<int> frames{0};
bool exitsInCallback = false;

unsigned int firstScreen() {
    unsigned int count = 0;
    auto* const list = orvo_screencapture_enum_screen_list(&count);
    const unsigned int first = count ? list[0].screenID : 0;
    orvo_screencapture_free_screen_list(list);
    return first;
}

// Captures the first display; as a window target its frames come on the capture queue.
void start(bool onQueue = false) {
    orvo_screencapture_init();
    const auto onFrame = [](auto...) {
        ++frames;
        if (exitsInCallback) exit(EXIT_SUCCESS);
    };
    orvo_screencapture_reg_captured_frame_available_notify(onFrame, nullptr);
    (onQueue ? orvo_screencapture_set_target_window : orvo_screencapture_set_target_screen)(firstScreen());
    orvo_screencapture_start_capture();
}

bool framesCome() {
    const int before = frames;
    for (int i = 0; i < 500 && frames < before + 2; ++i) orvo_screencapture_run_main_queue(10);
    return frames >= before + 2;
}

void end() {
    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
}

// Starts, gets frames, and ends.
void live() {
    start();
    CHECK(framesCome());
    end();
}

// A capture whose n-th thread, from 0, is refused does without, and the next one works.
void refusedThread(int number) {
    threadToFail = number + 1;
    start();
    for (int i = 0; i < 500 && frames == 0 && !threadFailed; ++i) orvo_screencapture_run_main_queue(10);
    const bool untouched = !threadFailed;
    threadToFail = 0;
    end();
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    CHECK(sigismember(&blocked, SIGTERM) == 0);
    live();
    if (untouched && failures == 0) _exit(kUntouched);
}

// Without GLib there is no main queue; nothing hangs, and the host can find out why no callback comes.
void missingGlib(int) {
    glibIsMissing = true;
    start();
    OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    orvo_screencapture_get_statistics(&figures);
    CHECK(strcmp(figures.lastErrorReason, "GLib cannot be loaded: no callbacks can be delivered") == 0);
    for (int i = 0; i < 5; ++i) orvo_screencapture_run_main_queue(10);
    CHECK(frames == 0);
    end();
}

// What a child does, and that it ends well; a signal ends it when it hangs.
template <typename Life>
void inAChild(Life life) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        life();
        _exit(failures ? EXIT_FAILURE : EXIT_SUCCESS);
    }
    int status = -1;
    CHECK(waitpid(child, &status, 0) == child && status == 0);
}

// The child's exports answer nothing; it may exit, and run another program. The parent goes on.
void forkedChild(int) {
    start();
    for (int round = 0; round < 12; ++round) {
        CHECK(framesCome());
        inAChild([&] {
            CHECK(firstScreen() == 0);
            CHECK(!orvo_screencapture_is_capturing());
            CHECK(orvo_screencapture_run_main_queue(-1) == 0);
            orvo_screencapture_set_log_level(4, "/dev/null");
            start();
            end();
            if (failures) return;
            if (round % 2) execl("/bin/true", "true", nullptr);
            exit(EXIT_SUCCESS);
        });
    }
    CHECK(framesCome());
    end();
}

// A host that becomes a daemon before it calls anything keeps the library.
void daemonised(int) {
    inAChild(live);
}

std::string gFolder;  // for files

// A copy works beside the library, though its symbols have the same names, and goes on when it is closed.
void twoCopies(int) {
#define OTHER(name) reinterpret_cast<decltype(&(name))>(dlsym(other, #name))
    static std::atomic<int> others{0};
    const auto othersCome = [] {
        const int before = others;
        for (int i = 0; i < 500 && others < before + 2; ++i) orvo_screencapture_run_main_queue(10);
        return others >= before + 2;
    };
    Dl_info library{};
    dladdr(reinterpret_cast<void*>(&orvo_screencapture_init), &library);
    const std::string copy = gFolder + "/libOther.so";
    std::ofstream(copy, std::ios::binary) << std::ifstream(library.dli_fname, std::ios::binary).rdbuf();
    void* const other = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    start();
    CHECK(!OTHER(orvo_screencapture_is_capturing)());
    CHECK(framesCome());  // connected: how xcb reads the server's password is not safe for two at once
    OTHER(orvo_screencapture_init)();
    OTHER(orvo_screencapture_reg_captured_frame_available_notify)([](auto...) { ++others; }, nullptr);
    OTHER(orvo_screencapture_set_target_screen)(firstScreen());
    OTHER(orvo_screencapture_start_capture)();
    dlclose(other);
    CHECK(framesCome() && othersCome());
    end();
    CHECK(!orvo_screencapture_is_capturing() && othersCome());
    OTHER(orvo_screencapture_uninit)();
}

// exit() while frames come: in main, in a callback on the main queue, in one on the capture queue; and a host whose
// own last words are calls.
void exits(int number) {
    if (number == 3) atexit(end);
    exitsInCallback = number == 1 || number == 2;
    start(number == 2);
    for (int i = 0; i < 500 && frames < 2; ++i) orvo_screencapture_run_main_queue(10);
    exit(frames < 2 || exitsInCallback);
}

bool fileHas(const std::string& path, const char* text) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {}).find(text) != std::string::npos;
}

// Whatever is logged before a normal exit is in the file. Lines for the developer's console are in the log at debug
// level (number 1), on standard error where the environment asks for it (2), and otherwise nowhere.
void logsAndExits(int number) {
    const std::string file = gFolder + "/orvoscreencaplog1.txt", output = gFolder + "/output",
                      errors = gFolder + "/errors";
    inAChild([&] {
        CHECK(freopen(output.c_str(), "w", stdout) && freopen(errors.c_str(), "w", stderr));
        if (number == 2) setenv("ORVO_CONSOLE", "1", 1);
        const char* const ends[] = {"", "/", "\\"};  // a folder may be given either way
        orvo_screencapture_set_log_level(number == 1 ? 4 : 3, (gFolder + ends[number]).c_str());
        orvo_screencapture_init();
        int count = 0;
        orvo_windowthumbnail_find_windows(&count);
        for (int i = 0; i < 300; ++i) orvo_screencapture_is_capturing();
        exit(EXIT_SUCCESS);
    });
    std::ifstream in(file);
    CHECK(std::count(std::istreambuf_iterator<char>(in), {}, '\n') >= 900);
    CHECK(fileHas(output, "[***] screenID: ") == (number == 1));
    CHECK(fileHas(errors, "[***] screenID: ") == (number == 2));
}

void logLines(int count) {
    for (int i = 0; i < count; ++i) orvo_screencapture_is_capturing();
    live();  // the log thread has to run
}

// A limit on the size of files stands for a full disk; its signal would end the process on a thread that takes it.
void fullDisk(int) {
    CHECK(freopen("/dev/null", "w", stdout) != nullptr);  // where the lines go too
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 2000;
    setrlimit(RLIMIT_FSIZE, &limit);
    orvo_screencapture_set_log_level(4, gFolder.c_str());
    logLines(100);
    for (int i = 0; i < 3000; ++i) orvo_screencapture_is_capturing();  // are being written at exit
}

// A folder that may not be written, that is a file, that was removed: no files, and everything else works.
void noLogFolder(int) {
    const std::string file = gFolder + "/file";
    const std::string locked = gFolder + "/locked";
    std::ofstream{file} << "mine";
    mkdir(locked.c_str(), 0555);
    if (geteuid() == 0) CHECK(setresuid(65534, 65534, 65534) == 0);  // root may write everywhere
    for (const std::string& folder : {file, locked, locked + "/deep/er", gFolder + "/\xff", std::string(600, 'x')})
        orvo_screencapture_set_log_level(4, folder.c_str());
    logLines(20);
    CHECK(rmdir((locked + "/deep").c_str()) != 0 && errno == ENOENT);
    std::string left;
    std::ifstream{file} >> left;
    CHECK(left == "mine");
}

const struct {
    const char* name;
    void (*make)(int number);
} troubles[] = {
    {"refused_thread", refusedThread}, {"missing_glib", missingGlib}, {"forked_child", forkedChild},
    {"daemonised", daemonised},        {"two_copies", twoCopies},     {"exit", exits},
    {"logs_and_exits", logsAndExits},  {"full_disk", fullDisk},       {"no_log_folder", noLogFolder},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    alarm(30);  // ends it when it hangs
    gFolder = argv[3];
    for (const auto& each : troubles) {
        if (strcmp(each.name, argv[1]) != 0) continue;
        each.make(atoi(argv[2]));
        return failures ? EXIT_FAILURE : EXIT_SUCCESS;
    }
    return 2;
}
