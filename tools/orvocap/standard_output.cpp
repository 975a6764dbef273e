// Printing that tells when it fails.
#include "standard_output.h"

#include <fcntl.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "failure.h"

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

}  // namespace orvocap
