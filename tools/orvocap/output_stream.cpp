// Data into a file, a pipe or an encoder; the end of a pipe's reader is not a failure.
#include "output_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include "application.h"

namespace orvocap {

namespace {

bool isFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

OutputStream::OutputStream(const std::string& path) : name_(path), path_(path) {
    if (path == "-") {
        name_ = "standard output";
        path_.clear();
        if (isatty(STDOUT_FILENO))
            throw std::runtime_error("standard output is a terminal; pipe it into a program, or give a file");
        if ((fcntl(STDOUT_FILENO, F_GETFL) & O_ACCMODE) == O_RDONLY)
            throw std::runtime_error("standard output is closed");
        std::signal(SIGPIPE, SIG_IGN);  // a reader that ends early is a failed write, not the end of this process
        file_.reset(fdopen(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0), "wb"));
    } else {
        file_.reset(std::fopen(path.c_str(), "wb"));
    }
    if (!file_) fail();
}

OutputStream::OutputStream(std::unique_ptr<Encoder> encoder)
    : name_(encoder->file()), path_(encoder->file()), encoder_(std::move(encoder)) {}

void OutputStream::fail() {
    if (encoder_) {
        encoder_->finish();
        throw std::runtime_error("the encoder has ended before " + name_ + " was complete");
    }
    if (errno != EPIPE) throw std::runtime_error("cannot write " + name_ + ": " + std::strerror(errno));
    closed_ = true;
}

void OutputStream::put(const void* data, size_t size) {
    if (closed_) return;
    std::FILE* const file = encoder_ ? encoder_->input() : file_.get();
    if (!file || std::fwrite(data, 1, size, file) != size) return fail();
    bytes_ += size;
}

void OutputStream::finish() {
    if (encoder_) return encoder_->finish();
    if (std::fclose(file_.release()) != 0 && !closed_) fail();
}

void OutputStream::discard() {
    encoder_.reset();
    file_.reset();
    if (isFile(path_)) unlink(path_.c_str());
}

void writeFile(const std::string& path, const void* data, size_t size) {
    OutputStream stream(path);
    try {
        stream.put(data, size);
        stream.finish();
    } catch (const std::exception&) {
        stream.discard();
        throw;
    }
}

std::string defaultName(const std::string& kind, const std::string& extension) {
    const std::time_t now = std::time(nullptr);
    char date[32];
    std::strftime(date, sizeof date, "-%Y-%m-%d-%H%M%S", std::localtime(&now));
    return kind + date + extension;
}

void allowOverwriting(const std::string& path, bool force) {
    if (path != "-" && isFile(path)) allowOverwritingWhat(path + " exists", force);
}

void allowOverwritingWhat(const std::string& whatIsThere, bool force) {
    if (force) return;
    if (!isatty(STDIN_FILENO) || !isatty(STDERR_FILENO))
        throw Failure(exitFailure, whatIsThere + "; --force writes over it");
    std::fprintf(stderr, "orvocap: %s. Write over it? [y/N] ", whatIsThere.c_str());
    const int answer = std::getchar();
    for (int rest = answer; rest != '\n' && rest != EOF;) rest = std::getchar();
    if (answer != 'y' && answer != 'Y') throw Failure(exitFailure, "nothing was written");
}

}  // namespace orvocap
