// Every target and setting in turn while windows and monitors come and go: nothing that the process holds, or the
// server for it, grows. ./dev soak has it go on for minutes and keeps the figures.
#include <gtest/gtest.h>
#include <unistd.h>
#include <xcb/res.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "ScreenCapture/platform/linux/main_queue.h"
#include "ScreenCapture/platform/platform.h"
#include "orvo/screencapture_additions.h"
#include "support/temporary_folder.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

using Clock = std::chrono::steady_clock;

// Sanitizers keep what was freed for a while.
#ifdef ORVO_SANITIZED
constexpr double kMemory = 0;
#else
constexpr double kMemory = 2048;
#endif

// What is written down, and how much of it may come in the last third of the time over what there was in the second:
// caches fill in the first; a leak of one object a round is a hundred times as much. Without a number it may grow.
const struct {
    const char* name;
    double growth = 0;
} kColumns[] = {{"seconds"},    {"resident_kb", kMemory}, {"proportional_kb", kMemory}, {"files", 4},
                {"threads", 2}, {"server_objects", 20},   {"server_clients", 2},        {"longest_gap_ms"},
                {"frames"},     {"window_frames"}};
using Sample = std::vector<double>;  // by column

// The number behind a word such as "Pss:" in a file of such lines.
double numberBehind(const std::string& path, const std::string& word) {
    std::ifstream file(path);
    for (std::string found; file >> found;)
        if (double number = 0; found == word && file >> number) return number;
    return 0;
}

double entriesOf(const std::string& folder) {
    return static_cast<double>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

// The connections of this process to the server, and what the server keeps for them: pixmaps, pictures, regions.
std::pair<double, double> heldByServer(xcb_connection_t* x) {
    const auto owned = [](auto* reply) {
        return std::unique_ptr<std::remove_pointer_t<decltype(reply)>, decltype(&std::free)>(reply, &std::free);
    };
    std::pair<double, double> held{0, 0};
    const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto clients = owned(xcb_res_query_client_ids_reply(x, xcb_res_query_client_ids(x, 1, &all), nullptr));
    if (!clients) return held;
    for (auto i = xcb_res_query_client_ids_ids_iterator(clients.get()); i.rem; xcb_res_client_id_value_next(&i)) {
        if (xcb_res_client_id_value_value_length(i.data) == 0 ||
            *xcb_res_client_id_value_value(i.data) != static_cast<uint32_t>(getpid()))
            continue;
        ++held.first;
        const auto client = xcb_res_query_client_resources(x, i.data->spec.client);
        const auto objects = owned(xcb_res_query_client_resources_reply(x, client, nullptr));
        const xcb_res_type_t* types = objects ? xcb_res_query_client_resources_types(objects.get()) : nullptr;
        for (int type = 0; types && type < xcb_res_query_client_resources_types_length(objects.get()); ++type)
            held.second += types[type].count;
    }
    return held;
}

// A restless desktop and a host that shows all of it. isPatient: at the pace of frames.
class Soak {
  public:
    explicit Soak(bool isPatient) : stepMilliseconds_(isPatient ? 33 : 4) {
        server_.start({"openbox"});
        if (!windows_.awaitManager()) throw std::runtime_error("openbox did not start");
        steady_ = windows_.make({.area = {40, 40, 480, 360}, .title = "steady"});
        log();
        init();
    }
    ~Soak() { orvo_screencapture_uninit(); }

    void turn(unsigned int round) {
        uint32_t victim = windows_.make({.area = {300, 200, 300, 200}, .title = "victim"});
        // Every other time a display and a rectangle as such: what composes pictures chooses the path of windows.
        const bool isPlain = round % 8 < 2;
        if (isPlain) orvo_screencapture_stop_capture();
        const uint32_t display = platform::platform().displays().mainDisplay();
        if (round % 4 == 0) orvo_screencapture_set_target_screen(display);
        if (round % 4 == 1) orvo_screencapture_set_target_rect(display, 8, 8, 100, 80);
        if (round % 4 > 1) orvo_screencapture_set_target_window(round % 4 == 2 ? steady_ : victim);
        if (!isPlain) {
            orvo_screencapture_set_excluded_windows(&victim, 1, true);
            orvo_screencapture_set_extra_target_windows(&victim, 1, true);
            orvo_screencapture_set_target_window_mode(static_cast<int>(round % 3 * 2 + 1));
        }
        orvo_screencapture_set_resolution(round % 5 == 0 ? 200 : 0, 120);
        orvo_screencapture_set_cursor_visible(round % 2);
        orvo_screencapture_start_capture();
        stir(victim, round);
        orvo_screencapture_set_excluded_windows(&victim, 1, false);
        list();
        if (round % 2 == 0) windows_.iconify(victim);
        stir(victim, round + 1);
        windows_.destroy(victim);
        orvo_screencapture_set_extra_target_windows(&victim, 1, false);
        if (round % 8 == 3) replug(round);
        if (round % 3 == 0) orvo_screencapture_stop_capture();
        if (round % 16 == 5) orvo_screencapture_uninit(), init();
        if (round % 16 == 9) log();
    }

    Sample sample() {
        const auto [clients, objects] = heldByServer(windows_.raw());
        OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
        orvo_screencapture_get_statistics(&figures);
        return {seconds(),
                numberBehind("/proc/self/smaps_rollup", "Rss:"),
                numberBehind("/proc/self/smaps_rollup", "Pss:"),
                entriesOf("/proc/self/fd"),
                entriesOf("/proc/self/task"),
                objects,
                clients,
                static_cast<double>(figures.longestGapMilliseconds),
                static_cast<double>(frames_),
                static_cast<double>(windowFrames_)};
    }
    double seconds() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }

  private:
    void log() { orvo_screencapture_set_log_level(4, folder_.path().c_str()); }
    void init() {
        orvo_screencapture_init();
        orvo_screencapture_set_fps(30);
        orvo_screencapture_reg_captured_frame_available_notify([](auto...) { ++frames_; }, nullptr);
        orvo_screencapture_reg_mutiple_captured_frame_available_notify([](auto...) { ++windowFrames_; }, nullptr);
        orvo_windowthumbnail_reg_window_status_change_notify(
            [](int, OrvoThumbnailWindowInfo* info, void*) { orvo_windowthumbnail_free_windows(info, 1); }, nullptr);
    }
    static void list() {
        int count = 0;
        auto* const windows = orvo_windowthumbnail_find_windows(&count);
        orvo_windowthumbnail_free_windows(windows, count);
    }
    void stir(xcb_window_t window, unsigned int round) {
        for (int step = 0; step < 12; ++step) {
            windows_.move(window, 50 + (static_cast<int>(round) * 13 + step * 20) % 600, 100);
            windows_.resize(window, 200 + step * 5, 180);
            windows_.paintPattern(steady_, 480, 360);
            windows_.warpPointer(100 + step * 10, 120);
            platform::linux::runMainQueue(stepMilliseconds_);
        }
    }
    void replug(unsigned int round) {
        const std::string wish = round % 16 == 3 ? "640/100x720/100+640+0" : "320/100x720/100+960+0";
        server_.run({"xrandr", "--setmonitor", "second", wish, "none"});
        list();
        server_.run({"xrandr", "--delmonitor", "second"});
    }

    static inline std::atomic<int> frames_{0}, windowFrames_{0};
    const int stepMilliseconds_;
    const TemporaryFolder folder_;
    XServer server_{"1280x720x24"};
    Windows windows_{server_};
    xcb_window_t steady_ = 0;
    const Clock::time_point begin_ = Clock::now();
};

TEST(Soak, NothingGrows) {
    const char* const minutes = std::getenv("ORVO_TEST_SOAK_MINUTES");
    const char* const csv = std::getenv("ORVO_TEST_SOAK_CSV");
    std::ofstream file(csv ? csv : "/dev/null");
    for (const auto& column : kColumns) file << column.name << (&column == std::end(kColumns) - 1 ? '\n' : ',');
    Soak soak(minutes);
    std::vector<Sample> samples;
    for (unsigned int round = 0; minutes ? soak.seconds() < 60 * std::atof(minutes) : round < 18; ++round) {
        soak.turn(round);
        samples.push_back(soak.sample());
        for (const double& figure : samples.back()) file << figure << (&figure == &samples.back().back() ? '\n' : ',');
        file << std::flush;
    }
    ASSERT_GT(samples.size(), 9U) << "too short to judge";
    const size_t third = samples.size() / 3;
    for (size_t i = 1; i < std::size(kColumns); ++i) {
        double before = 0, after = 0;
        for (size_t k = third; k < 2 * third; ++k) before += samples[k][i], after += samples[k + third][i];
        const double growth = (after - before) / static_cast<double>(third);
        const double most = kColumns[i].growth * (minutes || i > 2 ? 1 : 3);  // few samples are less even
        std::fprintf(stderr, "soak: %-16s first %9.0f  last %9.0f  grown by %+9.1f\n", kColumns[i].name,
                     samples[third][i], samples.back()[i], growth);
        EXPECT_TRUE(most == 0 || growth <= most) << kColumns[i].name << " grows";
    }
    for (const size_t frames : {8, 9}) EXPECT_GT(samples.back()[frames], samples[third][frames]);
}

}  // namespace
}  // namespace orvo::testing
