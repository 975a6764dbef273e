// Paints a scene until it is stopped: painter SCENE [COUNT] [--rest]. Prints its windows and stamps in a first line
// of JSON, the times of its steps in a last one. With --rest it pauses after every eighth step.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame_log.h"
#include "scenes.h"
#include "stamp.h"

namespace {

// A little slower than captures: within 1.25 seconds every distance between a step and the capture after it is seen
// once.
constexpr double kInterval = 1e6 / 29.2;

void print(const bench::SceneFacts& facts) {
    printf("{\"windows\": [");
    for (size_t i = 0; i < facts.windows.size(); ++i) printf("%s%u", i ? ", " : "", facts.windows[i]);
    printf("], \"stamps\": [");
    for (size_t i = 0; i < facts.stamps.size(); ++i)
        printf("%s[%d, %d]", i ? ", " : "", facts.stamps[i].x, facts.stamps[i].y);
    printf("]}\n");
    fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    const bool pauses = argc > 2 && strcmp(argv[argc - 1], "--rest") == 0;
    bench::Client client;
    const auto scene = argc > 1 ? bench::makeScene(client, argv[1], argc > 2 ? atoi(argv[2]) : 0) : nullptr;
    if (!scene) {
        fprintf(stderr, "usage: painter SCENE [COUNT] [--rest]\n");
        return 2;
    }
    bench::endOnSignals();
    print(scene->facts);

    std::vector<uint64_t> steps;
    steps.reserve(1 << 16);
    const uint64_t start = bench::now();
    for (int point = 1; !bench::stopping; ++point) {
        bench::sleepUntil(start + static_cast<uint64_t>(point * kInterval));
        if (bench::stopping || scene->isStill() || (pauses && point % 16 > 8)) continue;
        steps.push_back(bench::now());
        scene->step(point, steps.back());
    }
    printf("{\"steps\": [");
    for (size_t i = 0; i < steps.size(); ++i) printf("%s%llu", i ? "," : "", static_cast<unsigned long long>(steps[i]));
    printf("]}\n");
}
