// PNG pictures, as files and in memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame_sink.h"

namespace orvocap {

// Makes a folder with its parents; one that exists is fine. Throws when it cannot be made.
void makeFolder(const std::string& path);

// One picture as the bytes of a PNG file. Throws when it cannot be made.
std::vector<uint8_t> encodePng(const Frame& frame);

// Writes one picture, to standard output for "-". Throws when it cannot be written. Result: its size in bytes.
size_t writePng(const std::string& path, const Frame& frame);

}  // namespace orvocap
