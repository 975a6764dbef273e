// The three log files.
#include "ScreenCapture/log/orvo_log_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "ScreenCapture/log/sym_encrypt.h"

namespace ORVO::ScreenCapture {

namespace {

constexpr char kHeader[] = "*** SDK Version: " ORVO_VERSION_TEXT;
constexpr char kOpenError[] = "*** open log file error:";
constexpr unsigned int kLinesToFlush = 4;

// For appending, as with the mode "ab+", but for the owner alone and never through a symbolic link, to a device or to a
// pipe that would hold us up. Result: a descriptor; -1 with errno.
int open_for_appending(const char* path) {
    if (std::strlen(path) > LogFiles::kMaxPath) {
        errno = ENAMETOOLONG;
        return -1;
    }
    const int file = ::open(path, O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    struct stat status {};
    if (file < 0 || (fstat(file, &status) == 0 && S_ISREG(status.st_mode))) return file;
    ::close(file);
    errno = EINVAL;
    return -1;
}

uint64_t size_of(const char* path) {
    struct stat status {};
    return lstat(path, &status) == 0 && S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0;
}

}  // namespace

std::optional<size_t> LogFiles::choose(const Paths& paths, uint64_t limit) {
    for (const bool all_are_full : {false, true}) {
        for (size_t i = 0; i < paths.size(); ++i) {
            const int file = open_for_appending(paths[i].c_str());
            if (file < 0) continue;
            ::close(file);
            if (all_are_full || size_of(paths[i].c_str()) < limit) return i;
        }
        for (const std::string& path : paths) {
            if (!all_are_full && size_of(path.c_str()) >= limit) unlink(path.c_str());
        }
    }
    return std::nullopt;
}

void LogFiles::init(Paths paths, uint64_t max_size) {
    paths_ = std::move(paths);
    flush();  // the open file may be the first one: what is still in memory counts too
    currentFileSize_ = size_of(paths_[0].c_str());
    maxFileSize_ = max_size;
    currentLogIndex_ = 0;
}

void LogFiles::open() {
    if (is_open_at(paths_[0].c_str())) return;
    close();
    open_file(paths_[0].c_str());
}

bool LogFiles::is_open_at(const char* path) const {
    struct stat ours {
    }, there{};
    return fstat(file_, &ours) == 0 && lstat(path, &there) == 0 && ours.st_dev == there.st_dev &&
           ours.st_ino == there.st_ino;
}

// With none open before. A file may end in the middle of a line: a process that had no time to finish it, a full disk.
bool LogFiles::open_file(const char* path) {
    file_ = open_for_appending(path);
    if (file_ < 0) return false;
    last_written_ = '\n';
    const off_t end = lseek(file_, 0, SEEK_END);
    if (end > 0 && pread(file_, &last_written_, 1, end - 1) != 1) last_written_ = '\n';
    return true;
}

void LogFiles::close() {
    if (file_ < 0) return;
    flush();
    ::close(file_);
    file_ = -1;
}

void LogFiles::write(std::string_view line, bool flush_each) {
    if (file_ < 0) return;
    currentFileSize_ += line.length() + 1;
    // Intended: the line that causes the rotation goes into the new file without being counted there.
    if (currentFileSize_ > maxFileSize_) rotate();
    if (file_ < 0) return;
    put_line(line);
    if (flush_each || log_counter_++ % kLinesToFlush == 0) flush();
}

// What cannot be written is lost and does not count, so that a full disk does not make the files turn.
void LogFiles::flush() {
    size_t written = 0;
    while (written < buffered_) {
        const ssize_t part = ::write(file_, buffer_ + written, buffered_ - written);
        if (part < 0 && errno == EINTR) continue;
        if (part <= 0) break;
        written += static_cast<size_t>(part);
    }
    if (written > 0) last_written_ = buffer_[written - 1];
    currentFileSize_ -= std::min<uint64_t>(currentFileSize_, buffered_ - written);
    buffered_ = 0;
}

// Intended: the file that follows is deleted, and neither its header nor the line that caused this is counted.
void LogFiles::rotate() {
    close();
    const char* path = next_path();
    if (path) unlink(path);
    currentFileSize_ = 0;
    if (path && open_file(path)) return put_scrambled(kHeader);
    if (open_file(paths_[0].c_str())) put_scrambled(std::string(kOpenError) + (path ? path : ""));
}

const char* LogFiles::next_path() {
    if (currentLogIndex_ < 0 || currentLogIndex_ > 2) return nullptr;
    currentLogIndex_ = (currentLogIndex_ + 1) % 3;
    return paths_[static_cast<size_t>(currentLogIndex_)].c_str();
}

void LogFiles::reset() {
    currentFileSize_ = 0;
    currentLogIndex_ = 0;
    close();
    for (const std::string& path : paths_) unlink(path.c_str());
    if (open_file(paths_[0].c_str())) put_scrambled(kHeader);
}

void LogFiles::put_scrambled(std::string text) {
    sym_encrypt(text.data());
    put_line(text);
    flush();
}

// A line begins after a line feed, which counts when it has to be added.
void LogFiles::put_line(std::string_view line) {
    const auto put = [this](std::string_view text) {
        while (!text.empty()) {
            if (buffered_ == sizeof(buffer_)) flush();
            const size_t part = text.copy(buffer_ + buffered_, sizeof(buffer_) - buffered_);
            buffered_ += part;
            text.remove_prefix(part);
        }
    };
    if (buffered_ + line.length() + 2 > sizeof(buffer_)) flush();
    if ((buffered_ > 0 ? buffer_[buffered_ - 1] : last_written_) != '\n') {
        ++currentFileSize_;
        put("\n");
    }
    put(line);
    put("\n");
}

}  // namespace ORVO::ScreenCapture
