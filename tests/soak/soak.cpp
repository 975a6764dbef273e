// soak MINUTES CSV FOLDER: all features in turn, for as long as asked, on a private server, while a host's memory,
// descriptors, threads, server objects and frames are written down. Exit code 1 when something grows.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "soak/samples.h"
#include "support/x11/host_process.h"
#include "support/x11/x_windows.h"

namespace orvo::testing {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kSampleSeconds = 2;
constexpr double kWarmUp = 0.25;  // of the time; caches fill in it

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
        Sample sample = sampleOf(host_.pid(), windows_.painter().raw());
        std::istringstream state(tell("state"));
        long errors = 0, lastError = 0, running = 0, width = 0, height = 0;
        state >> sample.frames >> errors >> lastError >> running >> width >> height >> sample.longestGap >>
            sample.windowFrames;
        return sample;
    }

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
};

struct Limit {
    const char* name;
    double (*figure)(const Sample&);
    double perHour;  // that counts as noise
};

// The noise of half an hour; a leak of one object a round is a hundred times as much.
const Limit kLimits[] = {
    {"resident memory, kB", [](const Sample& s) { return static_cast<double>(s.residentKilobytes); }, 4096},
    {"proportional memory, kB", [](const Sample& s) { return static_cast<double>(s.proportionalKilobytes); }, 4096},
    {"descriptors", [](const Sample& s) { return static_cast<double>(s.files); }, 8},
    {"threads", [](const Sample& s) { return static_cast<double>(s.threads); }, 4},
    {"server objects", [](const Sample& s) { return static_cast<double>(s.serverObjects); }, 40},
    {"server connections", [](const Sample& s) { return static_cast<double>(s.serverClients); }, 4},
};

std::vector<Sample> run(Soak& soak, double seconds, std::ofstream& csv) {
    std::vector<Sample> samples;
    const auto start = Clock::now();
    const auto passed = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
    csv << "seconds,resident_kb,proportional_kb,files,threads,server_objects,server_clients,longest_gap_ms,frames\n";
    double next = 0;
    for (unsigned int round = 0; passed() < seconds; ++round) {
        soak.turn(round);
        if (passed() < next) continue;
        next = passed() + kSampleSeconds;
        Sample s = soak.sample();
        s.seconds = passed();
        csv << s.seconds << ',' << s.residentKilobytes << ',' << s.proportionalKilobytes << ',' << s.files << ','
            << s.threads << ',' << s.serverObjects << ',' << s.serverClients << ',' << s.longestGap << ',' << s.frames
            << std::endl;
        samples.push_back(s);
    }
    return samples;
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
    const double hours = (settled.back().seconds - settled.front().seconds) / 3600;
    for (const Limit& limit : kLimits) {
        const double growth = growthPerHour(settled, limit.figure);
        // Over a short time a little noise is a steep slope: what counts is at least the noise of half an hour.
        const bool grows = growth * hours > limit.perHour * std::max(hours, 0.5);
        std::printf("soak: %-24s first %9.0f  last %9.0f  slope %+9.1f an hour%s\n", limit.name,
                    limit.figure(settled.front()), limit.figure(settled.back()), growth, grows ? "  GROWS" : "");
        good = good && !grows;
    }
    std::printf("soak: frames %ld, of windows %ld\n", samples.back().frames, samples.back().windowFrames);
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
