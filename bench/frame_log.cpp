// What every capturing program does beside capturing: reads the stamps of its frames, and prints all of it at the end.
#include "frame_log.h"

#include <signal.h>
#include <time.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "stamp.h"

namespace bench {

std::atomic<bool> stopping = false;

void endOnSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopping = true; };
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

FrameLog::FrameLog(int& argc, char** argv) : entries_(1 << 15) {
    endOnSignals();
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--stamp") == 0 && i + 3 < argc && places_.size() < 2) {
            places_.push_back({atoi(argv[i + 1]), atoi(argv[i + 2]), atoi(argv[i + 3])});
            i += 3;
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    for (Entry& entry : entries_) entry = {};  // every page is there before the first frame
}

void FrameLog::frame(const uint8_t* pixels, size_t bytesPerRow, int width, int height) {
    if (used_ == entries_.size()) return;
    Entry& entry = entries_[used_];
    entry.called = now();
    width_ = width;
    height_ = height;
    for (size_t i = 0; pixels && i < places_.size(); ++i) {
        const Place& place = places_[i];
        if (place.x + place.block * kBlocks <= width && place.y + place.block <= height)
            entry.stamps[i] = readStamp(pixels, bytesPerRow, place.x, place.y, place.block);
    }
    for (int i = 0; i < 3; ++i) {
        if (counters[i]) entry.counts[i] = counters[i]->load(std::memory_order_relaxed);
    }
    ++used_;
}

void FrameLog::print(int descriptor, const char* more) const {
    FILE* out = fdopen(descriptor, "w");
    if (!out) exit(1);
    fprintf(out, R"({"width": %d, "height": %d, %s%s"frames": [)", width_, height_, more, *more ? ", " : "");
    for (size_t i = 0; i < used_; ++i) {
        const Entry& e = entries_[i];
        fprintf(out, "%s[%llu,%llu,%llu,%llu,%llu,%llu]", i ? "," : "", static_cast<unsigned long long>(e.called),
                static_cast<unsigned long long>(e.stamps[0]), static_cast<unsigned long long>(e.stamps[1]),
                static_cast<unsigned long long>(e.counts[0]), static_cast<unsigned long long>(e.counts[1]),
                static_cast<unsigned long long>(e.counts[2]));
    }
    fputs("]}\n", out);
    fclose(out);
}

void sleepUntil(uint64_t time) {
    const timespec until = {static_cast<time_t>(time / 1'000'000), static_cast<long>(time % 1'000'000 * 1000)};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

void sleepToTheEnd() {
    while (!stopping) sleepUntil(UINT64_MAX / 2);
}

Grid::Grid(double framesPerSecond) : interval_(1e6 / framesPerSecond), start_(now()) {}

bool Grid::next(uint64_t& lateMicroseconds) {
    const auto passed = static_cast<double>(now() - start_);
    index_ = static_cast<uint64_t>(std::floor(passed / interval_)) + 1;
    const uint64_t point = start_ + static_cast<uint64_t>(static_cast<double>(index_) * interval_);
    while (!stopping && now() < point) sleepUntil(point);
    lateMicroseconds = now() - point;
    return !stopping;
}

}  // namespace bench
