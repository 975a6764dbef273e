// PNG files through libpng's simplified interface.
#include "png_sink.h"

#include <png.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace orvocap {

namespace {

void makeFolder(const std::string& path) {
    // Each prefix that ends before a slash, then the whole path.
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        if (mkdir(part.c_str(), 0777) != 0 && errno != EEXIST) {
            throw std::runtime_error("cannot make the folder " + part + ": " + std::strerror(errno));
        }
        if (end == std::string::npos) return;
    }
}

}  // namespace

void writePng(const std::string& path, const Frame& frame) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(frame.width);
    image.height = static_cast<png_uint_32>(frame.height);
    image.format = PNG_FORMAT_BGRA;
    image.flags = PNG_IMAGE_FLAG_FAST;
    errno = 0;
    if (!png_image_write_to_file(&image, path.c_str(), 0, frame.pixels.data(),
                                 static_cast<png_int_32>(frame.bytesPerRow()), nullptr)) {
        throw std::runtime_error("cannot write " + path + ": " + (errno ? std::strerror(errno) : image.message));
    }
}

PngSink::PngSink(std::string folder) : folder_(std::move(folder)) {
    makeFolder(folder_);
}

void PngSink::write(const Frame& frame) {
    char name[32];
    std::snprintf(name, sizeof name, "/frame-%06u.png", count_ + 1);
    writePng(folder_ + name, frame);
    ++count_;
}

std::string PngSink::summary() const {
    return std::to_string(count_) + " PNG files in " + folder_;
}

}  // namespace orvocap
