// A folder of PNG files.
#include "png_sink.h"

#include <cstdio>
#include <utility>

#include "png_file.h"

namespace orvocap {

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
