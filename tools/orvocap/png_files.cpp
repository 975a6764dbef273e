// PNG pictures through libpng's simplified interface.
#include "png_files.h"

#include <png.h>
#include <sys/stat.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "output_stream.h"

namespace orvocap {

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

std::vector<uint8_t> encodePng(const Frame& frame) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(frame.width);
    image.height = static_cast<png_uint_32>(frame.height);
    image.format = PNG_FORMAT_BGRA;
    image.flags = PNG_IMAGE_FLAG_FAST;
    const auto rowBytes = static_cast<png_int_32>(frame.bytesPerRow());
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<uint8_t> bytes(size);
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, frame.pixels.data(), rowBytes, nullptr)) {
        throw std::runtime_error(std::string("cannot encode a picture: ") + image.message);
    }
    bytes.resize(size);
    return bytes;
}

// Not by libpng, which removes what it cannot write, a device included.
size_t writePng(const std::string& path, const Frame& frame) {
    const auto bytes = encodePng(frame);
    writeFile(path, bytes.data(), bytes.size());
    return bytes.size();
}

PngSink::PngSink(std::string folder) : folder_(std::move(folder)) {
    makeFolder(folder_);
}

void PngSink::write(const Frame& frame) {
    char name[32];
    std::snprintf(name, sizeof name, "/frame-%06u.png", count_ + 1);
    opaque_ = frame;
    makeOpaque(opaque_.pixels);
    bytes_ += writePng(folder_ + name, opaque_);
    ++count_;
}

std::string PngSink::summary() const {
    return std::to_string(count_) + " PNG files in " + folder_;
}

}  // namespace orvocap
