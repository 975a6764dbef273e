// PNG pictures through libpng's simplified interface.
#include "png_files.h"

#include <dirent.h>
#include <png.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "output_stream.h"

namespace orvocap {

namespace {

// The files of a folder that are named as those of a series: the prefix, digits, .png.
std::vector<std::string> seriesIn(const std::string& folder, const std::string& prefix) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), &closedir);
    while (const dirent* entry = entries ? readdir(entries.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        constexpr std::string_view end = ".png";
        if (name.size() <= prefix.size() + end.size() || name.substr(0, prefix.size()) != prefix ||
            name.substr(name.size() - end.size()) != end)
            continue;
        const auto number = name.substr(prefix.size(), name.size() - prefix.size() - end.size());
        if (std::all_of(number.begin(), number.end(), [](unsigned char c) { return std::isdigit(c); }))
            names.emplace_back(name);
    }
    return names;
}

}  // namespace

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

PngSink::PngSink(std::string start, bool force) : start_(std::move(start)) {
    const size_t slash = start_.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : start_.substr(0, slash + 1);
    const std::string prefix = slash == std::string::npos ? start_ : start_.substr(slash + 1);
    if (slash != std::string::npos && slash > 0) makeFolder(start_.substr(0, slash));
    const auto older = seriesIn(folder, prefix);
    if (older.empty()) return;
    allowOverwritingWhat(folder + " holds " + std::to_string(older.size()) + " pictures named " + prefix + "*.png",
                         force);
    for (const auto& name : older) unlink((folder + "/" + name).c_str());
}

void PngSink::write(const Frame& frame) {
    char number[16];
    std::snprintf(number, sizeof number, "%06u.png", count_ + 1);
    opaque_ = frame;
    makeOpaque(opaque_.pixels);
    bytes_ += writePng(start_ + number, opaque_);
    ++count_;
}

std::string PngSink::summary() const {
    return std::to_string(count_) + " PNG files, " + start_ + "*.png";
}

}  // namespace orvocap
