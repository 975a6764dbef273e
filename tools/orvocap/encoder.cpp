// Searches for ffmpeg and GStreamer, starts one, and reads what it prints at its end.
#include "encoder.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "application.h"

extern char** environ;

namespace orvocap {

namespace {

// H.264 at a quality that text stays readable in; VP8 for WebM. A key frame every few seconds lets players seek.
const struct {
    const char* extension;
    const char* ffmpeg;
    const char* gstreamer;
} containers[] = {
    {".mkv", "-c:v libx264 -preset veryfast -crf 20",
     "x264enc speed-preset=veryfast pass=qual quantizer=20 key-int-max=250 ! matroskamux"},
    {".mp4", "-c:v libx264 -preset veryfast -crf 20 -movflags +faststart",
     "x264enc speed-preset=veryfast pass=qual quantizer=20 key-int-max=250 ! h264parse ! mp4mux"},
    {".webm", "-c:v libvpx -deadline realtime -cpu-used 8 -crf 10 -b:v 8M",
     "vp8enc deadline=1 cpu-used=8 cq-level=10 end-usage=cq target-bitrate=8000000 ! webmmux"},
};

bool isInstalled(const char* program, const std::string& folders) {
    std::istringstream parts(folders);
    for (std::string folder; std::getline(parts, folder, ':');) {
        if (access((folder + "/" + program).c_str(), X_OK) == 0) return true;
    }
    return false;
}

void addWords(std::vector<std::string>& command, const std::string& words) {
    std::istringstream stream(words);
    for (std::string word; stream >> word;) command.push_back(word);
}

// A name that begins with a dash or holds a colon is a file all the same.
std::string asPath(const std::string& file) {
    return file[0] == '/' ? file : "./" + file;
}

}  // namespace

std::string extensionOf(const std::string& file) {
    const size_t slash = file.rfind('/');
    const size_t dot = file.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
    std::string extension = file.substr(dot);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return extension;
}

bool isEncoded(const std::string& extension) {
    return std::any_of(std::begin(containers), std::end(containers),
                       [&](const auto& container) { return container.extension == extension; });
}

std::vector<std::string> encoderCommand(const std::string& file, const std::string& folders) {
    const std::string extension = extensionOf(file);
    for (const auto& container : containers) {
        if (container.extension != extension) continue;
        std::vector<std::string> command;
        if (isInstalled("ffmpeg", folders)) {
            addWords(command, "ffmpeg -hide_banner -loglevel error -y -f yuv4mpegpipe -i - -pix_fmt yuv420p");
            addWords(command, container.ffmpeg);
            command.push_back("file:" + file);
        } else if (isInstalled("gst-launch-1.0", folders)) {
            addWords(command, std::string("gst-launch-1.0 -q fdsrc fd=0 ! y4mdec ! ") + container.gstreamer);
            addWords(command, "! filesink");
            command.push_back("location=" + asPath(file));
        }
        return command;
    }
    return {};
}

Encoder::Encoder(std::string file) : file_(std::move(file)), messages_(std::tmpfile(), &std::fclose) {
    const char* const path = std::getenv("PATH");
    const auto command = encoderCommand(file_, path ? path : "");
    if (command.empty())
        throw Failure(exitFailure, "no video encoder for " + file_ +
                                       ": install ffmpeg, or gstreamer1.0-tools with gstreamer1.0-plugins-good, -bad "
                                       "and -ugly; a .y4m file and .png files need none");
    program_ = command.front();
    const int writable = open(file_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (writable < 0) throw std::runtime_error("cannot write " + file_ + ": " + std::strerror(errno));
    close(writable);
    std::array<int, 2> ends{};
    if (!messages_ || pipe(ends.data()) != 0) throw std::runtime_error("cannot start " + program_ + ": no more files");
    for (const int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);
    std::signal(SIGPIPE, SIG_IGN);  // a program that ends early is a failed write, not the end of this process

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&files, fileno(messages_.get()), STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    std::vector<char*> words;
    for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    const int failure = posix_spawnp(&process_, words[0], &files, &attributes, words.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    close(ends[0]);
    input_.reset(fdopen(ends[1], "wb"));
    if (failure != 0) {
        process_ = 0;
        throw std::runtime_error("cannot start " + program_ + ": " + std::strerror(failure));
    }
}

Encoder::~Encoder() {
    wait();
}

int Encoder::wait() {
    input_.reset();
    int status = 0;
    while (process_ > 0 && waitpid(process_, &status, 0) < 0 && errno == EINTR) continue;
    process_ = 0;
    return status;
}

void Encoder::finish() {
    const int status = wait();
    if (status != 0) throw std::runtime_error(program_ + " cannot write " + file_ + ": " + lastWords());
}

std::string Encoder::lastWords() const {
    std::rewind(messages_.get());
    std::string last = "it gives no reason";
    char line[512];
    while (std::fgets(line, sizeof line, messages_.get())) {
        std::string text(line);
        text.erase(text.find_last_not_of(" \r\n") + 1);
        if (!text.empty()) last = text;
    }
    return last;
}

uint64_t Encoder::bytes() const {
    struct stat status {};
    return stat(file_.c_str(), &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
}

}  // namespace orvocap
