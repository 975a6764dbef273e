// Progress on a terminal or in a pipe.
#include "progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace orvocap {

namespace {

constexpr auto redrawEvery = std::chrono::milliseconds(200);
constexpr auto printEvery = std::chrono::seconds(1);
constexpr int barCells = 16;
constexpr size_t usualWidth = 80;

// A terminal that can take a line back.
bool canRedraw(std::FILE* stream) {
    const char* terminal = std::getenv("TERM");
    return isatty(fileno(stream)) && terminal && std::string_view(terminal) != "dumb";
}

size_t widthOf(std::FILE* stream) {
    winsize size{};
    return ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

}  // namespace

std::string progressLine(double share, const std::string& text, size_t width) {
    std::string line;
    if (share >= 0) {
        const int done = static_cast<int>(std::min(share, 1.0) * barCells);
        line = "[" + std::string(static_cast<size_t>(done), '#') +
               std::string(static_cast<size_t>(barCells - done), '.') + "] ";
    }
    line += text;
    // The last column stays free: some terminals go to the next line there.
    return line.substr(0, width > 1 ? width - 1 : 0);
}

Progress::Progress(std::FILE* stream)
    : stream_(stream), terminal_(canRedraw(stream)), next_(terminal_ ? Clock::now() : Clock::now() + printEvery) {}

void Progress::update(double share, const std::string& text) {
    const auto now = Clock::now();
    if (now < next_) return;
    next_ = now + (terminal_ ? Clock::duration(redrawEvery) : Clock::duration(printEvery));
    if (terminal_)
        std::fprintf(stream_, "\r%s\033[K", progressLine(share, text, widthOf(stream_)).c_str());
    else
        std::fprintf(stream_, "%s\n", text.c_str());
    std::fflush(stream_);
    drawn_ = terminal_;
}

void Progress::finish() {
    if (drawn_) std::fprintf(stream_, "\r\033[K");
    drawn_ = false;
    std::fflush(stream_);
}

}  // namespace orvocap
