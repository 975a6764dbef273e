// Progress on a terminal or in a pipe.
#include "progress.h"

#include <unistd.h>

namespace orvocap {

namespace {

constexpr auto redrawEvery = std::chrono::milliseconds(200);
constexpr auto printEvery = std::chrono::seconds(1);

}  // namespace

Progress::Progress(std::FILE* stream)
    : stream_(stream), terminal_(isatty(fileno(stream)) != 0), next_(Clock::now() + printEvery) {}

void Progress::update(const std::string& text) {
    const auto now = Clock::now();
    if (now < next_) return;
    next_ = now + (terminal_ ? Clock::duration(redrawEvery) : Clock::duration(printEvery));
    std::fprintf(stream_, terminal_ ? "\r%s\033[K" : "%s\n", text.c_str());
    std::fflush(stream_);
}

void Progress::finish(const std::string& text) {
    std::fprintf(stream_, terminal_ ? "\r%s\033[K\n" : "%s\n", text.c_str());
    std::fflush(stream_);
}

}  // namespace orvocap
