// The three log files.
#include "ScreenCapture/log/orvo_log_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "ScreenCapture/log/sym_encrypt.h"

namespace ORVO::ScreenCapture {

namespace {

constexpr char kHeader[] = "*** SDK Version: " ORVO_VERSION_TEXT "\n";
constexpr char kOpenError[] = "*** open log file error:";
constexpr unsigned int kLinesToFlush = 4;

// For appending, as with the mode "ab+", but for the owner alone and never through a symbolic link, to a device or to a
// pipe that would hold us up.
FILE* open_for_appending(const char* path) {
    int descriptor = ::open(path, O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (descriptor < 0) return nullptr;
    struct stat status {};
    bool regular = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    FILE* file = regular ? fdopen(descriptor, "ab+") : nullptr;
    if (!file) ::close(descriptor);
    return file;
}

uint64_t size_of(const char* path) {
    struct stat status {};
    return lstat(path, &status) == 0 && S_ISREG(status.st_mode) ? static_cast<uint64_t>(status.st_size) : 0;
}

}  // namespace

void LogFiles::init(const std::string (&paths)[3], uint64_t max_size) {
    for (int i = 0; i < 3; ++i) {
        strncpy(strLogPath_[i], paths[i].c_str(), kPathSize - 1);
    }
    if (g_fd_) fflush(g_fd_);  // it may be the first file: what is still in memory counts too
    currentFileSize_ = size_of(strLogPath_[0]);
    maxFileSize_ = max_size;
    currentLogIndex_ = 0;
}

void LogFiles::open() {
    // A file that somebody has deleted, with its folder perhaps, keeps nothing: it counts as closed.
    if (is_deleted()) close();
    if (!g_fd_) g_fd_ = open_for_appending(strLogPath_[0]);
}

void LogFiles::close() {
    if (!g_fd_) return;
    fclose(g_fd_);
    g_fd_ = nullptr;
    torn_ = false;
}

bool LogFiles::is_deleted() const {
    struct stat status {};
    return g_fd_ && fstat(fileno(g_fd_), &status) == 0 && status.st_nlink == 0;
}

void LogFiles::write(std::string_view line, bool flush_each) {
    if (!g_fd_) return;
    currentFileSize_ += line.length() + 1;
    // Intended: the line that causes the rotation goes into the new file without being counted there.
    if (currentFileSize_ > maxFileSize_) rotate();
    if (!g_fd_) return;
    put(line);
    put("\n");
    if (!flush_each && log_counter_++ % kLinesToFlush != 0) return;
    flush();
}

void LogFiles::flush() {
    if (fflush(g_fd_) != 0) torn_ = true;
}

// Intended: the file that follows is deleted, and neither its header nor the line that caused this is counted.
void LogFiles::rotate() {
    close();
    const char* path = next_path();
    if (path) unlink(path);
    currentFileSize_ = 0;
    if (path) g_fd_ = open_for_appending(path);
    if (g_fd_) return put_header();
    g_fd_ = open_for_appending(strLogPath_[0]);
    if (!g_fd_) return;
    put_scrambled(std::string(kOpenError) + (path ? path : "") + "\n");
}

const char* LogFiles::next_path() {
    if (currentLogIndex_ < 0 || currentLogIndex_ > 2) return nullptr;
    currentLogIndex_ = (currentLogIndex_ + 1) % 3;
    return strLogPath_[currentLogIndex_];
}

void LogFiles::reset() {
    currentFileSize_ = 0;
    currentLogIndex_ = 0;
    close();
    for (const char* path : strLogPath_) unlink(path);
    g_fd_ = open_for_appending(strLogPath_[0]);
    if (g_fd_) put_header();
}

void LogFiles::put_header() {
    put_scrambled(kHeader);
}

void LogFiles::put_scrambled(std::string text) {
    sym_encrypt(text.data());
    put(text);
    flush();
}

// After a failure (a full disk) the file may end in the middle of a line; the next line begins a new one.
void LogFiles::put(std::string_view text) {
    if (torn_) {
        clearerr(g_fd_);
        torn_ = putc('\n', g_fd_) == EOF;
    }
    if (text.length() != fwrite(text.data(), 1, text.length(), g_fd_)) torn_ = true;
}

}  // namespace ORVO::ScreenCapture
