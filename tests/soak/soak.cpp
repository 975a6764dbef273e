// soak MINUTES CSV FOLDER: all features in turn, for as long as asked, on a private server, while a host's memory,
// descriptors, threads, server objects and frames are written down. Exit code 1 when something grows.
#include <xcb/res.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

#include "support/x11/host_process.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kSampleSeconds = 2;
constexpr double kWarmUp = 0.25;  // of the time; caches fill in it

// What is written down, and how much growth in an hour counts as noise: that of half an hour; a leak of one object a
// round is a hundred times as much. Without a number it may grow.
const struct {
    const char* name;
    double perHour = 0;
} kColumns[] = {{"seconds"},    {"resident_kb", 4096},  {"proportional_kb", 4096}, {"files", 8},
                {"threads", 4}, {"server_objects", 40}, {"server_clients", 4},     {"longest_gap_ms"},
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

// The connections of a process to the server, and what the server keeps for them: pixmaps, pictures, regions.
std::pair<double, double> heldByServer(xcb_connection_t* x, int pid) {
    const auto owned = [](auto* reply) {
        return std::unique_ptr<std::remove_pointer_t<decltype(reply)>, decltype(&std::free)>(reply, &std::free);
    };
    std::pair<double, double> held{0, 0};
    const xcb_res_client_id_spec_t all{0, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto clients = owned(xcb_res_query_client_ids_reply(x, xcb_res_query_client_ids(x, 1, &all), nullptr));
    if (!clients) return held;
    for (auto i = xcb_res_query_client_ids_ids_iterator(clients.get()); i.rem; xcb_res_client_id_value_next(&i)) {
        if (xcb_res_client_id_value_value_length(i.data) == 0 ||
            *xcb_res_client_id_value_value(i.data) != static_cast<uint32_t>(pid))
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

// One restless desktop and one host that shows all of it.
class Soak {
  public:
    explicit Soak(const std::string& logFolder)
        : server_("1280x720x24"), windows_(server_), host_(TOLD_HOST), logFolder_(logFolder) {
        server_.start({"openbox"});
        if (!windows_.awaitManager()) throw std::runtime_error("openbox did not start");
        steady_ = windows_.make({.area = {40, 40, 480, 360}, .title = "steady", .className = "Steady"});
        tell("log " + logFolder_);
        tell("init");
        tell("target fps 30");
        std::istringstream found(tell("lists"));
        int screens = 0, count = 0, pictures = 0;
        found >> screens >> count >> pictures >> display_;
    }

    void turn(unsigned int round) {
        const auto victim = windows_.make({.area = {300, 200, 300, 200}, .title = "victim", .className = "Victim"});
        const std::string one = std::to_string(steady_);
        const std::string other = std::to_string(victim);
        const std::string kinds[] = {"display " + display_, "rect " + display_, "window " + one, "window " + other};
        // Every other time a display and a rectangle as such: what composes pictures chooses the path of windows.
        const bool isPlain = round % 8 < 2;
        if (isPlain) tell("stop");
        tell("target " + kinds[round % 4]);
        if (!isPlain) {
            tell("target exclude 1 " + other);
            tell("target extra 1 " + other);
            tell("target mode " + std::to_string(round % 3 == 0 ? 1 : round % 3 == 1 ? 3 : 5));
        }
        tell(round % 5 == 0 ? "target size 200 120" : "target size 0 0");
        tell("target cursor " + std::to_string(round % 2));
        tell("start");
        move(victim, round);
        tell("target include 1 " + other);
        tell("lists");
        if (round % 2 == 0) windows_.iconify(victim);
        move(victim, round + 1);
        windows_.painter().destroy(victim);
        tell("target drop 1 " + other);
        if (round % 8 == 3) replug(round);
        if (round % 3 == 0) tell("stop");
        if (round % 16 == 5) tell("uninit"), tell("init"), tell("target fps 30");
        if (round % 16 == 9) tell("log " + logFolder_);
    }

    Sample sample() {
        const std::string folder = "/proc/" + std::to_string(host_.pid());
        const auto [clients, objects] = heldByServer(windows_.painter().raw(), host_.pid());
        std::istringstream state(tell("state"));
        double frames = 0, errors = 0, lastError = 0, running = 0, width = 0, height = 0, gap = 0, windowFrames = 0;
        state >> frames >> errors >> lastError >> running >> width >> height >> gap >> windowFrames;
        return {seconds(),
                numberBehind(folder + "/smaps_rollup", "Rss:"),
                numberBehind(folder + "/smaps_rollup", "Pss:"),
                entriesOf(folder + "/fd"),
                entriesOf(folder + "/task"),
                objects,
                clients,
                gap,
                frames,
                windowFrames};
    }

    double seconds() const { return std::chrono::duration<double>(Clock::now() - begin_).count(); }
    bool finish() {
        tell("uninit");
        return host_.finish();
    }

  private:
    std::string tell(const std::string& command) {
        std::string answer = host_.tell(command);
        if (answer == "hangs" || answer.rfind("ended", 0) == 0)
            throw std::runtime_error("the host " + answer + " at " + command);
        return answer;
    }

    void move(xcb_window_t window, unsigned int round) {
        for (unsigned int step = 0; step < 12; ++step) {
            windows_.painter().move(window, static_cast<int>(50 + (round * 13 + step * 20) % 600), 100);
            windows_.resize(window, static_cast<int>(200 + step * 5), 180);
            windows_.paintPattern(steady_, 480, 360);
            windows_.painter().warpPointer(static_cast<int>(100 + step * 10), 120);
            std::this_thread::sleep_for(std::chrono::milliseconds(33));
        }
    }

    void replug(unsigned int round) {
        const std::string wish = round % 16 == 3 ? "640/100x720/100+640+0" : "320/100x720/100+960+0";
        server_.run({"xrandr", "--setmonitor", "second", wish, "none"});
        tell("lists");
        server_.run({"xrandr", "--delmonitor", "second"});
    }

    XServer server_;
    Windows windows_;
    HostProcess host_;
    std::string logFolder_;
    std::string display_;
    xcb_window_t steady_ = 0;
    const Clock::time_point begin_ = Clock::now();
};

std::vector<Sample> run(Soak& soak, double seconds, std::ofstream& csv) {
    for (const auto& column : kColumns) csv << (&column == kColumns ? "" : ",") << column.name;
    std::vector<Sample> samples;
    double next = 0;
    for (unsigned int round = 0; soak.seconds() < seconds; ++round) {
        soak.turn(round);
        if (soak.seconds() < next) continue;
        const Sample sample = soak.sample();
        next = sample[0] + kSampleSeconds;
        for (const double& figure : sample) csv << (&figure == sample.data() ? '\n' : ',') << figure;
        csv << std::flush;
        samples.push_back(sample);
    }
    return samples;
}

// How much a figure grows in an hour, by the straight line that fits the samples best.
double growthPerHour(const std::vector<Sample>& samples, size_t column) {
    double n = 0, sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    for (const Sample& sample : samples) {
        const double x = sample[0] / 3600, y = sample[column];
        n += 1, sumX += x, sumY += y, sumXX += x * x, sumXY += x * y;
    }
    const double spread = n * sumXX - sumX * sumX;
    return spread > 0 ? (n * sumXY - sumX * sumY) / spread : 0;
}

// Prints what each figure did after the warm-up; true when nothing grows beyond its limit.
bool judge(const std::vector<Sample>& samples) {
    const auto warm = static_cast<ptrdiff_t>(kWarmUp * static_cast<double>(samples.size()));
    const std::vector<Sample> settled(samples.begin() + warm, samples.end());
    if (settled.size() < 10) {
        std::printf("soak: too short to judge\n");
        return false;
    }
    bool good = true;
    const double hours = (settled.back()[0] - settled.front()[0]) / 3600;
    for (size_t i = 1; i < std::size(kColumns); ++i) {
        const double growth = growthPerHour(settled, i), perHour = kColumns[i].perHour;
        // Over a short time a little noise is a steep slope: what counts is at least the noise of half an hour.
        const bool grows = perHour > 0 && growth * hours > perHour * std::max(hours, 0.5);
        std::printf("soak: %-16s first %9.0f  last %9.0f  slope %+9.1f an hour%s\n", kColumns[i].name,
                    settled.front()[i], settled.back()[i], growth, grows ? "  GROWS" : "");
        good = good && !grows;
    }
    return good;
}

}  // namespace
}  // namespace orvo::testing

int main(int count, char** words) {
    using namespace orvo::testing;
    if (count != 4) {
        std::fprintf(stderr, "usage: soak MINUTES CSV LOGFOLDER\n");
        return 2;
    }
    try {
        std::ofstream csv(words[2]);
        Soak soak(words[3]);
        const bool good = judge(run(soak, std::atof(words[1]) * 60, csv));
        const bool ended = soak.finish();
        std::printf("soak: the host %s\n", ended ? "ended cleanly" : "did NOT end cleanly");
        return good && ended ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 1;
    }
}
