// What a host sees when the server under it dies, stops answering, lacks something or changes. Hosts are processes of
// their own: what each test proves first is that they neither end nor hang.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "ScreenCapture/platform/platform.h"
#include "support/x11/host_process.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

using std::chrono::milliseconds;

constexpr long kCallLimit = 2500;  // milliseconds that one call may take, whatever the server does

bool full() {
    return std::getenv("ORVO_TEST_FULL") != nullptr;
}

// What a host answers to "lists" and "state".
struct Lists {
    int screens = -1, windows = -1, pictures = -1;
    unsigned int first = 0;
};
struct State {
    long frames = 0, errors = 0, lastError = 0, capturing = 0, width = 0, height = 0;
    std::string reason;
};

// A host on the server that DISPLAY names, initialised.
class Host : public HostProcess {
  public:
    explicit Host(bool isInitialised = true) : HostProcess(SCRIPTED_HOST) {
        if (isInitialised) ask("init");
    }

    Lists lists() {
        Lists l;
        std::istringstream(ask("lists")) >> l.screens >> l.windows >> l.pictures >> l.first;
        return l;
    }
    State state() {
        State s;
        std::istringstream answer(ask("state"));
        answer >> s.frames >> s.errors >> s.lastError >> s.capturing >> s.width >> s.height;
        std::getline(answer >> std::ws, s.reason);
        return s;
    }
    // Commands, one a line.
    void askAll(const std::string& commands) {
        std::istringstream lines(commands);
        for (std::string line; std::getline(lines, line);) EXPECT_EQ(ask(line), "done") << line;
    }
    bool framesCome(int count = 3) { return ask("frames " + std::to_string(count)) == "came"; }
};

// Something to capture, in each of the ways.
struct Scene {
    explicit Scene(const std::vector<std::string>& arguments = {}) : server("320x240x24", arguments), windows(server) {
        one = windows.make({.area = {10, 10, 120, 100}, .title = "one"});
        other = windows.make({.area = {100, 60, 120, 100}, .title = "other"});
        // A server without X-Resource knows no processes.
        for (const auto window : {one, other})
            windows.setNumber(window, "_NET_WM_PID", XCB_ATOM_CARDINAL, static_cast<uint32_t>(getpid()));
    }
    XServer server;
    Windows windows;
    xcb_window_t one = 0, other = 0;
};

struct Way {
    const char* name;
    const char* commands;    // D: the display, A and B: windows
    bool onDisplay;          // by the device path
    const char* whenDead;    // the error that tells of a dead server
    bool mayMissIt = false;  // it ends in a tick without a server: one that is there again by then is no other
};

const Way kWays[] = {
    {"display", "target display D", true, "4"},
    {"rectangle", "target rect D", true, "4"},
    {"window", "target window A", false, "3"},
    {"extra windows", "target mode 1\ntarget extra 2 A B", false, "3"},
    {"exclusion", "target exclude 1 B\ntarget display D", false, "3", true},
    {"area mode", "target window A\ntarget mode 3", false, "3"},
    {"application mode", "target window A\ntarget mode 5", false, "3"},
};

std::string commandsOf(const Way& way, unsigned int display, xcb_window_t one, xcb_window_t other) {
    std::string text = std::string(way.commands) + "\nstart";
    for (const auto& [letter, number] : {std::pair(" D", display), {" A", one}, {" B", other}})
        for (size_t at; (at = text.find(letter)) != std::string::npos;)
            text.replace(at, 2, " " + std::to_string(number));
    return text;
}

std::string commandsOf(const Way& way, Host& host, const Scene& scene) {
    return commandsOf(way, host.lists().first, scene.one, scene.other);
}

// One server and one host for each way, all capturing.
struct Captures {
    struct Capture {
        const Way& way;
        std::unique_ptr<Scene> scene;
        std::unique_ptr<Host> host;
    };
    Captures() {
        for (const Way& way : kWays) {
            SCOPED_TRACE(way.name);
            auto scene = std::make_unique<Scene>();
            auto host = std::make_unique<Host>();
            host->askAll(commandsOf(way, *host, *scene));
            EXPECT_TRUE(host->framesCome());
            all.push_back({way, std::move(scene), std::move(host)});
        }
    }
    std::vector<Capture> all;
};

TEST(Faults, AServerThatDiesUnderACaptureIsReportedAndTheNextOneCaptured) {
    Captures captures;
    for (auto& each : captures.all) each.host->order("error");
    for (auto& each : captures.all) {
        if (each.way.mayMissIt) {
            each.scene->server.kill();
            EXPECT_EQ(each.host->answer(), each.way.whenDead);
        }
        each.scene->server.restart();
    }
    for (auto& each : captures.all) {
        SCOPED_TRACE(each.way.name);
        if (!each.way.mayMissIt) {
            EXPECT_EQ(each.host->answer(), each.way.whenDead);
        }
        Windows windows(each.scene->server);
        const auto one = windows.make({.area = {10, 10, 120, 100}, .title = "one"});
        const auto other = windows.make({.area = {100, 60, 120, 100}, .title = "other"});
        const Lists lists = each.host->lists();
        EXPECT_EQ(lists.screens, 1);
        EXPECT_EQ(lists.windows, 3);
        EXPECT_EQ(lists.pictures, 3);
        each.host->askAll("stop\n" + commandsOf(each.way, lists.first, one, other));
        EXPECT_TRUE(each.host->framesCome());
        EXPECT_TRUE(each.host->finish());
    }
}

TEST(Faults, AServerThatDiesWhileTheHostAsksGivesNoPictures) {
    Scene scene;
    Host host;
    ASSERT_EQ(host.lists().windows, 3);
    scene.server.suspend();  // so that the question is under way when the server dies
    host.order("lists");
    scene.server.kill();
    EXPECT_NE(host.answer(milliseconds(kCallLimit)).find(" 0 "), std::string::npos);  // no pictures, in time
    EXPECT_EQ(host.ask("lists", milliseconds(kCallLimit)), "0 0 0 0");
    EXPECT_TRUE(host.finish());
}

std::set<std::string> exportsThatAsk() {
    std::set<std::string> names;
    std::unique_ptr<FILE, int (*)(FILE*)> list(std::fopen(EXPORTS_LIST, "r"), std::fclose);
    char line[256];
    while (list && std::fgets(line, sizeof line, list.get())) {
        std::string name(line, std::string(line).find_last_not_of('\n') + 1);
        if (name == "# log core") break;  // what follows knows no server
        if (name.rfind("linux: ", 0) == 0) name.erase(0, 7);
        if (name.rfind("_Z", 0) == 0) name = name.substr(4, std::stoul(name.substr(2)));  // an overload
        if (!name.empty() && name[0] != '#' && name.back() != ':' && name != "g_pScreenCaptureImpl") names.insert(name);
    }
    return names;
}

TEST(Faults, EveryExportReturnsWhileTheServerDoesNotAnswer) {
    Scene scene;
    std::vector<std::pair<const char*, std::unique_ptr<Host>>> hosts;
    hosts.emplace_back("never connected", std::make_unique<Host>());
    unsigned int display = 0;
    for (const Way& way : kWays) {
        auto host = std::make_unique<Host>();
        display = host->lists().first;
        host->askAll("target format 100\n" + commandsOf(way, *host, scene));
        EXPECT_TRUE(host->framesCome()) << way.name;
        hosts.emplace_back(way.name, std::move(host));
    }
    const std::string numbers = std::to_string(display) + " " + std::to_string(scene.one);
    scene.server.suspend();
    const auto stopped = std::chrono::steady_clock::now();
    for (auto& [name, host] : hosts) host->order("every " + numbers);
    for (auto& [name, host] : hosts) {
        SCOPED_TRACE(name);
        std::set<std::string> missing = exportsThatAsk();
        std::string call;
        long spent = 0;
        for (std::istringstream times(host->answer(milliseconds(20000))); times >> call >> spent;) {
            EXPECT_LE(spent, kCallLimit) << call;
            missing.erase(call);
        }
        EXPECT_TRUE(missing.empty()) << *missing.begin();
    }
    if (full()) std::this_thread::sleep_until(stopped + std::chrono::seconds(10));
    scene.server.resume();
    for (auto& [name, host] : hosts) {
        host->askAll(commandsOf(kWays[2], display, scene.one, scene.other));
        EXPECT_TRUE(host->framesCome()) << name;
        EXPECT_TRUE(host->finish()) << name;
    }
}

TEST(Faults, WindowCapturesGoOnWhenTheServerAnswersAgain) {
    Captures captures;
    for (auto& each : captures.all) each.host->order("error");
    for (auto& each : captures.all) each.scene->server.suspend();
    for (auto& each : captures.all) {
        SCOPED_TRACE(each.way.name);
        EXPECT_EQ(each.host->answer(), each.way.onDisplay ? "4" : "3");
        const State state = each.host->state();
        EXPECT_EQ(state.reason, "the X server does not answer");
        EXPECT_EQ(each.host->ask("frames 1 200"), "late");  // an old picture would look like a new one
        EXPECT_NE(each.host->ask("lists", milliseconds(kCallLimit)), "hangs");
    }
    if (full()) std::this_thread::sleep_for(std::chrono::seconds(8));
    for (auto& each : captures.all) each.scene->server.resume();
    for (auto& each : captures.all) {
        SCOPED_TRACE(each.way.name);
        each.scene->windows.sync();  // it answers
        if (each.way.onDisplay) each.host->askAll("start");
        EXPECT_TRUE(each.host->framesCome());
        // What is resized now is shown: the pictures are new ones.
        each.scene->windows.resize(each.scene->one, 64, 48);
        const bool isWindow = std::string(each.way.name) == "window";
        for (int i = 0; isWindow && i < 100 && each.host->state().width != 64; ++i) each.host->framesCome(1);
        EXPECT_EQ(each.host->state().width == 64, isWindow);
        EXPECT_TRUE(each.host->finish());
    }
}

struct Unreachable {
    const char* display;
    const char* wayland;
    const char* reason;
};

TEST(Faults, WhyNoServerIsReachedIsSaid) {
    constexpr const char* kNone = "the X server cannot be reached";
    constexpr const char* kWayland = "this is a Wayland session: only windows of X11 programs can be seen";
    const auto expect = [](Host& host, const char* target, long error, const char* reason) {
        SCOPED_TRACE(target);
        host.askAll(std::string("target ") + target + "\nstart");
        EXPECT_TRUE(comesAbout([&] { return host.state().lastError == error; }));
        EXPECT_EQ(host.state().reason, reason);
    };
    const Unreachable table[] = {{":65000", "", kNone},
                                 {"", "", kNone},
                                 {"", "wayland-1", kWayland},
                                 {":65000", "wayland-1", kNone}};  // a private server that is not there
    const auto permission = [] {
        return platform::platform().system().permission(platform::Permission::screenRecording);
    };
    for (const auto& row : table) {
        SCOPED_TRACE(std::string(row.display) + " " + row.wayland);
        setenv("DISPLAY", row.display, 1);
        setenv("WAYLAND_DISPLAY", row.wayland, 1);
        Host host;
        EXPECT_EQ(host.ask("lists"), "0 0 0 0");
        expect(host, "window 77", 3, row.reason);
        expect(host, "display 1", 4, row.reason);
        EXPECT_EQ(permission() == platform::PermissionState::denied, row.reason == kWayland);
        EXPECT_TRUE(host.finish());
    }
    // A server that can be reached answers for itself, whatever session it was started in.
    setenv("WAYLAND_DISPLAY", "wayland-1", 1);
    Scene scene;
    Host host;
    host.askAll(commandsOf(kWays[4], host, scene));
    EXPECT_TRUE(host.framesCome());
    EXPECT_TRUE(comesAbout([&] { return permission() == platform::PermissionState::granted; }));
    host.order("error");
    scene.server.kill();
    EXPECT_EQ(host.answer(), "3");
    EXPECT_EQ(host.state().reason, kNone);
    EXPECT_TRUE(host.finish());
    unsetenv("WAYLAND_DISPLAY");
}

TEST(Faults, AServerWithoutAnExtensionStillShowsItsDisplay) {
    using Extensions = std::vector<const char*>;
    const Extensions needed = {"Composite", "XFIXES", "DAMAGE"};  // for pictures of windows
    // With none of them lacking, the host is refused shared memory.
    for (const Extensions& lacking :
         {Extensions{},
          {"MIT-SHM"},
          {"Composite"},
          {"XFIXES"},
          {"RANDR"},
          {"DAMAGE"},
          {"RENDER"},
          {"SHAPE"},
          {"X-Resource"},
          {"XInputExtension"},
          {"MIT-SHM", "Composite", "RANDR", "DAMAGE", "RENDER", "SHAPE", "X-Resource", "XInputExtension"}}) {
        SCOPED_TRACE(lacking.size() == 1 ? lacking[0] : std::to_string(lacking.size()));
        const bool showsWindows =
            std::find_first_of(lacking.begin(), lacking.end(), needed.begin(), needed.end(),
                               [](auto a, auto b) { return std::string(a) == b; }) == lacking.end();
        std::vector<std::string> arguments;
        for (const char* extension : lacking) arguments.insert(arguments.end(), {"-extension", extension});
        Scene scene(arguments);
        Host host;
        if (lacking.empty()) host.ask("largest 4096");
        const Lists lists = host.lists();
        EXPECT_EQ(lists.screens, 1);
        EXPECT_EQ(lists.windows, 3);
        // Without this one an Xvfb ends when the first client leaves it, whichever that is.
        if (arguments.size() == 2 && arguments[1] == "XFIXES") continue;
        EXPECT_EQ(lists.pictures, showsWindows ? 3 : 1);
        for (const Way& way : kWays) {
            SCOPED_TRACE(way.name);
            host.askAll(commandsOf(way, lists.first, scene.one, scene.other));
            if (way.onDisplay || showsWindows) {
                EXPECT_TRUE(host.framesCome(2));
            }
            host.askAll("stop\ntarget include 1 " + std::to_string(scene.other) + "\ntarget mode 1");
        }
        EXPECT_TRUE(host.finish());
    }
}

TEST(Faults, AManagerMayDieAndBeReplaced) {
    Scene scene;
    Host host;
    host.askAll(commandsOf(kWays[2], host, scene));
    ASSERT_TRUE(host.framesCome());
    for (int round = 0; round < 2; ++round) {
        // What a dead manager wrote stays; the next one writes it anew.
        scene.windows.setNumber(scene.one, "WM_STATE", scene.windows.atom("WM_STATE"), 0);
        const int manager = scene.server.start({"openbox"});
        ASSERT_TRUE(scene.windows.awaitMapped(scene.one));
        EXPECT_TRUE(host.framesCome());
        EXPECT_EQ(host.lists().windows, 3);
        scene.server.end(manager);
        EXPECT_TRUE(host.framesCome());
        EXPECT_EQ(host.lists().windows, 3);
    }
    EXPECT_EQ(host.state().errors, 0);
    EXPECT_TRUE(host.finish());
}

TEST(Faults, DisplaysComeChangeAndGo) {
    Scene scene;
    Host host;
    ASSERT_EQ(host.lists().screens, 1);
    const auto plug = [&](const char* area) {
        EXPECT_EQ(scene.server.run({"xrandr", "--setmonitor", "second", area, "none"}), 0);
    };
    plug("160/10x240/10+160+0");
    EXPECT_EQ(host.lists().screens, 2);
    const unsigned int second = scene.windows.atom("second");  // displays are numbered by their names
    host.askAll("target display " + std::to_string(second) + "\nstart");
    EXPECT_TRUE(host.framesCome());
    EXPECT_EQ(host.state().width, 160);
    EXPECT_EQ(host.state().errors, 0);
    for (const char* area : {"96/10x240/10+160+0", ""}) {
        host.order("error");
        EXPECT_EQ(scene.server.run({"xrandr", "--delmonitor", "second"}), 0);
        EXPECT_EQ(host.answer(), "4");
        EXPECT_EQ(host.lists().screens, 1);
        if (!*area) break;
        plug(area);
        host.askAll("start");
        EXPECT_TRUE(host.framesCome());
        EXPECT_EQ(host.state().width, 96);
    }
    host.askAll(commandsOf(kWays[0], host, scene));
    EXPECT_TRUE(host.framesCome());
    EXPECT_EQ(host.state().width, 320);
    EXPECT_TRUE(host.finish());
}

TEST(Faults, AHostWithoutDescriptorsGoesOnOnceItHasSome) {
#ifdef ORVO_SANITIZED
    GTEST_SKIP() << "sanitizers need descriptors of their own";
#endif
    for (const std::string when : {"never", "init", "capture"}) {
        SCOPED_TRACE(when);
        Scene scene;
        Host host(when != "never");
        // The main queue has begun: nothing can help a host that uses up its descriptors in just the moment of that.
        EXPECT_EQ(host.ask("frames 1 200"), "late");
        const std::string capture = commandsOf(kWays[2], 0, scene.one, scene.other);
        const unsigned int display = when == "capture" ? host.lists().first : 0;
        if (when == "capture") {
            host.askAll(commandsOf(kWays[0], display, scene.one, scene.other));
            EXPECT_TRUE(host.framesCome());
        }
        host.askAll("files 0\ninit");
        const std::string numbers = std::to_string(display) + " " + std::to_string(scene.one);
        EXPECT_NE(host.ask("every " + numbers).find("orvo_"), std::string::npos);
        host.askAll(capture + "\nfiles 1\nstop\ninit");
        EXPECT_EQ(host.ask("lists").substr(0, 5), "1 3 3");
        host.askAll(capture);
        EXPECT_TRUE(host.framesCome());
        EXPECT_TRUE(host.finish());
    }
}

}  // namespace
}  // namespace orvo::testing
