// orvocap log: reads the files, or follows them as a running log turns from one to the next; plain or as JSON.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "application.h"
#include "log.h"
#include "process.h"
#include "terminal.h"

namespace orvocap {

namespace {

constexpr size_t minFields = 5;  // a line may have a second time after the first

// Takes the fields from the front of the line.
std::vector<std::string> takeFields(std::string_view& line) {
    std::vector<std::string> fields;
    for (size_t end; !line.empty() && line[0] == '[' && (end = line.find(']')) != std::string_view::npos;) {
        fields.emplace_back(line.substr(1, end - 1));
        line.remove_prefix(end + 1);
    }
    return fields;
}

std::string lineJson(const std::string& line) {
    std::string_view rest = line;
    const auto fields = takeFields(rest);
    if (fields.size() < minFields || rest.substr(0, 2) != ": ") return jsonLine({{"text", line}});
    const size_t last = fields.size() - 1;
    std::string level = fields[last - 2];
    level.erase(level.find_last_not_of(' ') + 1);
    return jsonLine({{"time", fields[0]},
                     {"level", level},
                     {"thread", fields[last - 1]},
                     {"source", fields[last]},
                     {"text", rest.substr(2)}});
}

}  // namespace

std::string logJson(const std::string& plain) {
    std::istringstream lines(plain);
    std::string json;
    for (std::string line; std::getline(lines, line);) json += lineJson(line);
    return json;
}

namespace {

constexpr auto kPause = std::chrono::milliseconds(200);
constexpr size_t kChunk = 64 * 1024;

// One file, or standard input, read as far as it goes and then further.
class Source {
  public:
    Source(std::string name, const LogLines::Output& output) : name_(std::move(name)), lines_(output) {}
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    ~Source() { close(); }

    // Prints what there is to read. Result: false, with the reason printed once, when it cannot be read.
    bool drain() {
        if (descriptor_ < 0 && !open()) return false;
        char chunk[kChunk];
        while (!stopRequested()) {
            const ssize_t count = read(descriptor_, chunk, sizeof(chunk));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return complain(std::strerror(errno));
            if (count == 0) return true;
            offset_ += count;
            lines_.feed(chunk, static_cast<size_t>(count));
        }
        return true;
    }

    // The file ends here.
    void finish() { lines_.finish(); }

    // Lets go of a file that was replaced by another one or cut; the next drain begins with the new one.
    void notice_replacement() {
        struct stat opened {
        }, named{};
        if (descriptor_ <= STDIN_FILENO || fstat(descriptor_, &opened) != 0) return;
        const bool gone = stat(name_.c_str(), &named) != 0;
        if (!gone && named.st_dev == opened.st_dev && named.st_ino == opened.st_ino && named.st_size >= offset_) return;
        drain();
        finish();
        close();
    }

  private:
    bool open() {
        // A named pipe without a writer would keep its reader waiting before it could be refused.
        descriptor_ = name_ == "-" ? STDIN_FILENO : ::open(name_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (descriptor_ < 0) return complain(std::strerror(errno));
        if (const char* reason = whyEndless()) return complain(reason);
        if (descriptor_ != STDIN_FILENO) fcntl(descriptor_, F_SETFL, 0);
        offset_ = 0;
        complained_ = false;
        return true;
    }

    void close() {
        if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
        descriptor_ = -1;
    }

    // A log is a file, or comes through a pipe that a shell has made: those end. Result: null then.
    [[nodiscard]] const char* whyEndless() const {
        struct stat opened {
        }, named{}, null{};
        if (fstat(descriptor_, &opened) != 0) return std::strerror(errno);
        const bool isNull = stat("/dev/null", &null) == 0 && opened.st_rdev == null.st_rdev;
        if (S_ISBLK(opened.st_mode) || (S_ISCHR(opened.st_mode) && !isNull)) return "it is a device, not a log file";
        const bool isNamedPipe = lstat(name_.c_str(), &named) == 0 && S_ISFIFO(named.st_mode);
        return name_ != "-" && isNamedPipe ? "it is a named pipe, not a log file" : nullptr;
    }

    bool complain(const char* reason) {
        if (!complained_) std::fprintf(stderr, "orvocap: cannot read %s: %s\n", name_.c_str(), reason);
        complained_ = true;
        close();
        return false;
    }

    const std::string name_;
    LogLines lines_;
    int descriptor_ = -1;
    off_t offset_ = 0;
    bool complained_ = false;
};

void followSources(const std::vector<std::unique_ptr<Source>>& sources) {
    while (!stopRequested()) {
        for (const auto& source : sources) source->notice_replacement();
        for (const auto& source : sources) source->drain();
        flushOutput();
        std::this_thread::sleep_for(kPause);
    }
}

// Prints the files one after the other; "-" and an empty list stand for standard input. With `follow` it goes on to
// print what is added to them, until the user stops it.
// Result: exitFailure when one of the files could not be read; the others are printed all the same.
ExitCode printLogs(const std::vector<std::string>& files, bool follow, bool asJson) {
    const auto output = [asJson](const std::string& plain) { print(asJson ? logJson(plain) : plain); };
    std::vector<std::unique_ptr<Source>> sources;
    for (const auto& file : files) sources.push_back(std::make_unique<Source>(file, output));
    if (sources.empty() && isatty(STDIN_FILENO)) throw Failure(exitUsage, "no log to print: name its files");
    if (sources.empty()) sources.push_back(std::make_unique<Source>("-", output));
    bool good = true;
    for (const auto& source : sources) {
        good = source->drain() && good;
        if (!follow) source->finish();
        flushOutput();
    }
    const bool only_input = std::all_of(files.begin(), files.end(), [](const auto& file) { return file == "-"; });
    if (!follow) return good ? exitSuccess : exitFailure;
    // Standard input ends with its writer; a file never does.
    if (!only_input) followSources(sources);
    for (const auto& source : sources) source->finish();
    flushOutput();
    return exitSuccess;
}

}  // namespace

void addLogCommand(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("log", "Print the library's scrambled log files as plain text.");
    auto files = std::make_shared<std::vector<std::string>>();
    auto follow = std::make_shared<bool>(false);
    command->add_option("FILE", *files, "log files; - or none for standard input, when that is a pipe or a file");
    command->add_flag("-f,--follow", *follow, "go on with what is added; give all three files to follow a running log");
    auto asJson = std::make_shared<bool>(false);
    command->add_flag("--json", *asJson, "print a JSON object a line");
    command->footer("  orvocap log host.log\n  orvocap log --follow a.log b.log c.log\n");
    command->callback([=, &action] {
        action = [=] {
            if (*follow) listenForStop();
            return printLogs(*files, *follow, *asJson);
        };
    });
}

}  // namespace orvocap
