// orvocap bench: what capture costs on this machine, for this process and for the window server.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <nlohmann/json.hpp>
#include <thread>

#include "application.h"
#include "frame_writer.h"
#include "options.h"
#include "orvo/screencapture_additions.h"
#include "process.h"
#include "system.h"
#include "targets.h"
#include "terminal.h"

namespace orvocap {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double warmUpSeconds = 0.5;  // connections, buffers, the first whole picture
constexpr double lookSeconds = 1;      // for how much the target changes
constexpr double idleSeconds = 1;

struct BenchOptions {
    TargetOptions target;
    double seconds = 3;
    int framesPerSecond = 30;
    bool asJson = false;
};

double ownCpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Copies so many bytes again and again for a fifth of a second. Result: the best rate in bytes a second.
double copyRate(size_t bytes) {
    const std::vector<uint8_t> from(bytes, 1);
    std::vector<uint8_t> to(bytes);
    double best = 0;
    for (const auto end = Clock::now() + std::chrono::milliseconds(200); Clock::now() < end;) {
        const auto begin = Clock::now();
        std::memcpy(to.data(), from.data(), bytes);
        const volatile uint8_t seen = to[bytes / 2];  // so that the copy is made
        static_cast<void>(seen);
        const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        if (seconds > 0) best = std::max(best, static_cast<double>(bytes) / seconds);
    }
    return best;
}

struct Costs {
    int width = 0, height = 0;
    unsigned int frames = 0;
    double seconds = 0;
    unsigned int longestGap = 0;             // milliseconds
    unsigned int compared = 0, changed = 0;  // frames that were compared with the one before, and that differed
    double processPerFrame = 0;              // milliseconds of processor time
    std::optional<double> serverPerFrame;    // the same of the window server, less what it uses without a capture
    std::string whyNoServer;
    double copyPerFrame = 0;  // milliseconds

    [[nodiscard]] double rate() const { return seconds > 0 ? frames / seconds : 0; }
};

// What the frames show; filled by the library's thread, read by another.
class Meter {
  public:
    void take(const FrameView& view) {
        const std::lock_guard lock(mutex_);
        const auto now = Clock::now();
        if (costs_.frames++ > 0) {
            const auto gap = std::chrono::duration_cast<std::chrono::milliseconds>(now - last_).count();
            costs_.longestGap = std::max(costs_.longestGap, static_cast<unsigned int>(gap));
        }
        last_ = now;
        costs_.width = view.format.width;
        costs_.height = view.format.height;
        if (compares_) compare(view);
    }

    // Starts counting again. compares: whether frames are compared, which costs time itself.
    void begin(bool compares) {
        const std::lock_guard lock(mutex_);
        compares_ = compares;
        costs_.frames = costs_.longestGap = 0;
    }

    [[nodiscard]] Costs costs() const {
        const std::lock_guard lock(mutex_);
        return costs_;
    }

  private:
    void compare(const FrameView& view) {
        try {
            copyFrame(view, now_);
        } catch (const std::bad_alloc&) {
            return;  // nothing may leave a callback; the frame is not compared
        }
        if (!before_.pixels.empty()) {
            ++costs_.compared;
            costs_.changed += now_.pixels != before_.pixels;
        }
        std::swap(now_, before_);
    }

    mutable std::mutex mutex_;
    Costs costs_;
    bool compares_ = false;
    Clock::time_point last_;
    Frame now_, before_;
};

void runFor(double seconds, const Capture& capture) {
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end && !stopRequested()) {
        runMainQueue(mainQueueSlice);
        capture.check();
    }
}

// What a process uses in a second while nothing is captured.
std::optional<double> idleLoad(int pid) {
    const auto before = cpuSecondsOf(pid);
    if (before) std::this_thread::sleep_for(std::chrono::duration<double>(idleSeconds));
    const auto after = cpuSecondsOf(pid);
    if (!before || !after) return std::nullopt;
    return (*after - *before) / idleSeconds;
}

void measure(const BenchOptions& options, const Capture& capture, const ServerProcess& server,
             std::optional<double> idle, Meter& meter, Costs& costs) {
    runFor(warmUpSeconds, capture);
    meter.begin(true);
    runFor(lookSeconds, capture);
    meter.begin(false);
    const auto begin = Clock::now();
    const double own = ownCpuSeconds();
    const auto before = cpuSecondsOf(server.pid);
    runFor(options.seconds, capture);
    costs = meter.costs();
    costs.processPerFrame = ownCpuSeconds() - own;
    const auto after = cpuSecondsOf(server.pid);
    costs.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    if (costs.frames == 0) {
        const std::string hint = options.target.noFrameHint();
        throw Failure(exitFailure, "no frame came" + (hint.empty() ? "; try `orvocap doctor`" : "; " + hint));
    }
    costs.processPerFrame *= 1000.0 / costs.frames;
    if (idle && before && after)
        costs.serverPerFrame = std::max(0.0, *after - *before - *idle * costs.seconds) * 1000 / costs.frames;
    else
        costs.whyNoServer = server.whyUnknown.empty() ? "its processor time cannot be read" : server.whyUnknown;
    const size_t bytes = static_cast<size_t>(costs.width) * static_cast<size_t>(costs.height) * 4;
    costs.copyPerFrame = static_cast<double>(bytes) * 1000 / copyRate(bytes);
}

Costs bench(BenchOptions& options) {
    options.target.resolve();
    if (options.target.targets().size() > 1) throw Failure(exitUsage, "a bench is of one window; leave --extra out");
    listenForStop();
    const ServerProcess server = findServerProcess();
    const auto idle = idleLoad(server.pid);
    Meter meter;
    Costs costs;
    Capture capture(options.target.onWindowPath() ? Capture::Path::windows : Capture::Path::display,
                    [&](const FrameView& frame) { meter.take(frame); });
    options.target.choose();
    orvo_screencapture_set_fps(options.framesPerSecond);
    capture.start();
    measure(options, capture, server, idle, meter, costs);
    if (!options.target.matches(costs.width, costs.height))
        throw Failure(exitUsage, options.target.mismatch(costs.width, costs.height));
    return costs;
}

void printCosts(const Costs& costs, const BenchOptions& options) {
    std::printf("picture         %dx%d, %s: %u of %u frames that were compared differed\n", costs.width, costs.height,
                costs.changed ? "changing" : "still", costs.changed, costs.compared);
    std::printf("frames          %u in %.1f s, %.1f a second of %d asked for, longest gap %u ms\n", costs.frames,
                costs.seconds, costs.rate(), options.framesPerSecond, costs.longestGap);
    std::printf("this process    %.3f ms of processor time a frame\n", costs.processPerFrame);
    if (costs.serverPerFrame)
        std::printf("window server   %.3f ms of processor time a frame, beyond what it uses without a capture\n",
                    *costs.serverPerFrame);
    else
        std::printf("window server   not known: %s\n", costs.whyNoServer.c_str());
    std::printf("yardstick       %.3f ms for one plain copy of such a picture\n", costs.copyPerFrame);
}

void printCostsAsJson(const Costs& costs, const BenchOptions& options) {
    Json json = {{"width", costs.width},
                 {"height", costs.height},
                 {"scene", costs.changed ? "changing" : "still"},
                 {"framesCompared", costs.compared},
                 {"framesThatDiffered", costs.changed},
                 {"frames", costs.frames},
                 {"seconds", costs.seconds},
                 {"framesPerSecond", costs.rate()},
                 {"framesPerSecondAskedFor", options.framesPerSecond},
                 {"longestGapMilliseconds", costs.longestGap},
                 {"processMillisecondsPerFrame", costs.processPerFrame},
                 {"serverMillisecondsPerFrame", nullptr},
                 {"copyMillisecondsPerFrame", costs.copyPerFrame}};
    if (costs.serverPerFrame)
        json["serverMillisecondsPerFrame"] = *costs.serverPerFrame;
    else
        json["serverUnknownBecause"] = costs.whyNoServer;
    printJson(json);
}

}  // namespace

void addBenchCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("bench", "Measure what capture costs here: processor time, frames, gaps.");
    auto options = std::make_shared<BenchOptions>();
    options->target.addTo(*command, false);
    addFrameRate(*command, options->framesPerSecond);
    addSeconds(*command, options->seconds, "how long to measure; 3 by default");
    command->add_flag("--json", options->asJson, "print JSON");
    command->footer("  orvocap bench\n  orvocap bench --window firefox -t 10 --json\n");
    command->callback([options, &action] {
        action = [options] {
            const Costs costs = bench(*options);
            (options->asJson ? printCostsAsJson : printCosts)(costs, *options);
            return exitSuccess;
        };
    });
}

}  // namespace orvocap
