// Printing that reports when it fails; progress on a terminal or in a pipe.
#include "terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string_view>

#include "application.h"

namespace orvocap {

namespace {

std::string textOf(const Json& json, int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

[[noreturn]] void fail() {
    const std::string reason = errno ? std::string(": ") + std::strerror(errno) : "";
    throw Failure(exitFailure, "cannot write to standard output" + reason);
}

}  // namespace

std::string printable(std::string text) {
    for (char& c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x20 || code == 0x7F) c = '?';
    }
    return text;
}

std::string jsonLine(const Json& json) {
    return textOf(json, -1);
}

void printJson(const Json& json, std::FILE* stream) {
    std::fputs(textOf(json, 2).c_str(), stream);
}

void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) fail();
}

void flushOutput() {
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) fail();
}

void keepStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) != -1) continue;
        // The lowest free number is this one.
        open("/dev/null", descriptor == STDERR_FILENO ? O_WRONLY : O_RDONLY);
    }
}

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

std::string clockText(double seconds) {
    const auto whole = static_cast<long>(std::max(0.0, seconds));
    char text[32];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

Progress::Progress(std::FILE* stream, Level level)
    : stream_(stream),
      level_(level),
      terminal_(canRedraw(stream)),
      next_(terminal_ ? Clock::now() : Clock::now() + printEvery) {}

void Progress::update(double share, const std::string& text) {
    if (level_ == Level::quiet || (!terminal_ && level_ != Level::verbose)) return;
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

void Progress::note(const std::string& text) {
    if (level_ == Level::quiet) return;
    finish();
    std::fprintf(stream_, "%s\n", text.c_str());
    std::fflush(stream_);
}

void Progress::finish() {
    if (drawn_) std::fprintf(stream_, "\r\033[K");
    drawn_ = false;
    std::fflush(stream_);
}

}  // namespace orvocap
