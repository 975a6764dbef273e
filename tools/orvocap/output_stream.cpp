// Data into a file or a pipe; the end of a pipe's reader is not a failure.
#include "output_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

namespace orvocap {

OutputStream::OutputStream(const std::string& path) : name_(path) {
    if (path == "-") {
        name_ = "standard output";
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

void OutputStream::fail() {
    if (errno != EPIPE) throw std::runtime_error("cannot write " + name_ + ": " + std::strerror(errno));
    closed_ = true;
}

void OutputStream::put(const void* data, size_t size) {
    if (closed_) return;
    if (std::fwrite(data, 1, size, file_.get()) != size) return fail();
    bytes_ += size;
}

void OutputStream::finish() {
    if (std::fclose(file_.release()) != 0 && !closed_) fail();
}

void writeFile(const std::string& path, const void* data, size_t size) {
    OutputStream stream(path);
    try {
        stream.put(data, size);
        stream.finish();
    } catch (const std::exception&) {
        struct stat status {};
        if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) unlink(path.c_str());
        throw;
    }
}

}  // namespace orvocap
