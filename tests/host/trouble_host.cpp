// A host that gets into trouble, or makes it, and has to end by itself. usage: trouble_host LIBRARY TROUBLE NUMBER
// FOLDER
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

// One loaded library.
class Library {
  public:
    explicit Library(const std::string& path) : handle(dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL)) {
        if (handle) return;
        fprintf(stderr, "%s\n", dlerror());
        _exit(EXIT_FAILURE);
    }
    template <typename Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(handle, name));
    }
#define CALL(name) find<decltype(name)>(#name)

    // Captures the first display; as a window target its frames come on the capture queue.
    void start(bool onQueue = false) {
        CALL(orvo_screencapture_init)();
        const auto counts = [](const char*, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long,
                               unsigned int, void* user) {
            auto& self = *static_cast<Library*>(user);
            ++self.frames;
            if (self.during) self.during();
        };
        CALL(orvo_screencapture_reg_captured_frame_available_notify)(counts, this);
        const auto set =
            onQueue ? CALL(orvo_screencapture_set_target_window) : CALL(orvo_screencapture_set_target_screen);
        set(firstScreen());
        CALL(orvo_screencapture_start_capture)();
    }
    unsigned int firstScreen() const {
        unsigned int count = 0;
        auto* const list = CALL(orvo_screencapture_enum_screen_list)(&count);
        const unsigned int first = count ? list[0].screenID : 0;
        CALL(orvo_screencapture_free_screen_list)(list);
        return first;
    }
    void run() const {
        CALL(orvo_screencapture_run_main_queue)(10);
    }
    bool framesCome() const {
        const int before = frames;
        for (int i = 0; i < 500 && frames < before + 2; ++i) run();
        return frames >= before + 2;
    }
    void end() const {
        CALL(orvo_screencapture_stop_capture)();
        CALL(orvo_screencapture_uninit)();
    }

    void* const handle;
    std::atomic<int> frames{0};
    void (*during)() = nullptr;  // called in the frame callback
};

// Starts, gets frames, and ends.
void live(Library& library) {
    library.start();
    CHECK(library.framesCome());
    library.end();
}

// A capture whose n-th thread, from 0, is refused does without, and the next one works.
void refusedThread(Library& library, int number) {
    threadToFail = number + 1;
    library.start();
    for (int i = 0; i < 500 && library.frames == 0 && !threadFailed; ++i) library.run();
    const bool untouched = !threadFailed;
    threadToFail = 0;
    library.end();
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    CHECK(sigismember(&blocked, SIGTERM) == 0);
    live(library);
    if (untouched && failures == 0) _exit(kUntouched);
}

// Without GLib there is no main queue; nothing hangs, and the host can find out why no callback comes.
void missingGlib(Library& library, int) {
    glibIsMissing = true;
    library.start();
    OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    library.find<decltype(orvo_screencapture_get_statistics)>("orvo_screencapture_get_statistics")(&figures);
    CHECK(strcmp(figures.lastErrorReason, "GLib cannot be loaded: no callbacks can be delivered") == 0);
    for (int i = 0; i < 5; ++i) library.run();
    CHECK(library.frames == 0);
    library.end();
}

// What a child does, and that it ends well; a signal ends it when it hangs.
template <typename Life>
void inAChild(Life live) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        live();
        _exit(failures ? EXIT_FAILURE : EXIT_SUCCESS);
    }
    int status = -1;
    CHECK(waitpid(child, &status, 0) == child && status == 0);
}

// The child's exports answer nothing; it may exit, and run another program. The parent goes on.
void forkedChild(Library& library, int) {
    library.start();
    for (int round = 0; round < 12; ++round) {
        CHECK(library.framesCome());
        inAChild([&] {
            CHECK(library.firstScreen() == 0);
            CHECK(!library.CALL(orvo_screencapture_is_capturing)());
            CHECK(library.CALL(orvo_screencapture_run_main_queue)(-1) == 0);
            library.CALL(orvo_screencapture_set_log_level)(4, "/dev/null");
            library.start();
            library.end();
            if (failures) return;
            if (round % 2) execl("/bin/true", "true", nullptr);
            exit(EXIT_SUCCESS);
        });
    }
    CHECK(library.framesCome());
    library.end();
}

// A host that becomes a daemon before it calls anything keeps the library.
void daemonised(Library& library, int) {
    inAChild([&] { live(library); });
}

std::string gFolder;   // for files
std::string gLibrary;  // path

// Two copies work side by side, though their symbols have the same names.
void twoCopies(Library& library, int) {
    const std::string copy = gFolder + "/libOther.so";
    std::ofstream(copy, std::ios::binary) << std::ifstream(gLibrary, std::ios::binary).rdbuf();
    Library other(copy);
    CHECK(other.handle != library.handle);
    CHECK(*library.find<void*>("g_pScreenCaptureImpl") != *other.find<void*>("g_pScreenCaptureImpl"));
    library.start();
    CHECK(!other.CALL(orvo_screencapture_is_capturing)());
    CHECK(library.framesCome());  // connected: how xcb reads the server's password is not safe for two at once
    other.start();
    CHECK(library.framesCome() && other.framesCome());
    library.end();
    CHECK(other.framesCome() && !library.CALL(orvo_screencapture_is_capturing)());
    other.end();
}

// The library stays mapped: closed while idle or in the middle of a capture it goes on.
void closed(Library& library, int) {
    dlclose(library.handle);
    library.start();
    dlclose(library.handle);
    CHECK(library.framesCome());
    CHECK(dlopen(gLibrary.c_str(), RTLD_NOW | RTLD_NOLOAD) != nullptr);
    library.end();
}

// exit() while frames come: in main, in a callback on the main queue, in one on the capture queue; and a host whose
// own last words are calls.
void exits(Library& library, int number) {
    static Library* last = nullptr;
    last = &library;
    if (number == 3) atexit([] { last->end(); });
    if (number == 1 || number == 2) library.during = [] { exit(EXIT_SUCCESS); };
    library.start(number == 2);
    for (int i = 0; i < 500 && library.frames < 2; ++i) library.run();
    exit(library.frames < 2 || number == 1 || number == 2);
}

bool fileHas(const std::string& path, const char* text) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {}).find(text) != std::string::npos;
}

// Whatever is logged before a normal exit is in the file. Lines for the developer's console are in the log at debug
// level (number 1), on standard error where the environment asks for it (2), and otherwise nowhere.
void logsAndExits(Library& library, int number) {
    const std::string file = gFolder + "/orvoscreencaplog1.txt", output = gFolder + "/output",
                      errors = gFolder + "/errors";
    inAChild([&] {
        CHECK(freopen(output.c_str(), "w", stdout) && freopen(errors.c_str(), "w", stderr));
        if (number == 2) setenv("ORVO_CONSOLE", "1", 1);
        const char* const ends[] = {"", "/", "\\"};  // a folder may be given either way
        library.CALL(orvo_screencapture_set_log_level)(number == 1 ? 4 : 3, (gFolder + ends[number]).c_str());
        library.CALL(orvo_screencapture_init)();
        int count = 0;
        library.CALL(orvo_windowthumbnail_find_windows)(&count);
        for (int i = 0; i < 300; ++i) library.CALL(orvo_screencapture_is_capturing)();
        exit(EXIT_SUCCESS);
    });
    std::ifstream in(file);
    CHECK(std::count(std::istreambuf_iterator<char>(in), {}, '\n') >= 900);
    CHECK(fileHas(output, "[***] screenID: ") == (number == 1));
    CHECK(fileHas(errors, "[***] screenID: ") == (number == 2));
}

void logLines(Library& library, int count) {
    for (int i = 0; i < count; ++i) library.CALL(orvo_screencapture_is_capturing)();
    live(library);  // the log thread has to run
}

// A limit on the size of files stands for a full disk; its signal would end the process on a thread that takes it.
void fullDisk(Library& library, int) {
    CHECK(freopen("/dev/null", "w", stdout) != nullptr);  // where the lines go too
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 2000;
    setrlimit(RLIMIT_FSIZE, &limit);
    library.CALL(orvo_screencapture_set_log_level)(4, gFolder.c_str());
    logLines(library, 100);
    for (int i = 0; i < 3000; ++i) library.CALL(orvo_screencapture_is_capturing)();  // are being written at exit
}

// A folder that may not be written, that is a file, that was removed: no files, and everything else works.
void noLogFolder(Library& library, int) {
    const std::string file = gFolder + "/file";
    const std::string locked = gFolder + "/locked";
    std::ofstream{file} << "mine";
    mkdir(locked.c_str(), 0555);
    if (geteuid() == 0) CHECK(setresuid(65534, 65534, 65534) == 0);  // root may write everywhere
    for (const std::string& folder : {file, locked, locked + "/deep/er", gFolder + "/\xff", std::string(600, 'x')})
        library.CALL(orvo_screencapture_set_log_level)(4, folder.c_str());
    logLines(library, 20);
    CHECK(rmdir((locked + "/deep").c_str()) != 0 && errno == ENOENT);
    std::string left;
    std::ifstream{file} >> left;
    CHECK(left == "mine");
}

const struct {
    const char* name;
    void (*make)(Library& library, int number);
} troubles[] = {
    {"refused_thread", refusedThread},
    {"missing_glib", missingGlib},
    {"forked_child", forkedChild},
    {"daemonised", daemonised},
    {"two_copies", twoCopies},
    {"closed", closed},
    {"exit", exits},
    {"logs_and_exits", logsAndExits},
    {"full_disk", fullDisk},
    {"no_log_folder", noLogFolder},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    alarm(30);  // ends it when it hangs
    gLibrary = argv[1];
    gFolder = argv[4];
    Library& library = *new Library(gLibrary);  // for callbacks and last words of any time
    for (const auto& each : troubles) {
        if (strcmp(each.name, argv[2]) != 0) continue;
        each.make(library, atoi(argv[3]));
        return failures ? EXIT_FAILURE : EXIT_SUCCESS;
    }
    return 2;
}
