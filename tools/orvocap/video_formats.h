// The formats of a recording that is one stream of bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame_sink.h"

namespace orvocap {

struct VideoFormat {
    const char* name;
    std::string (*header)(int width, int height, int framesPerSecond);  // what stands before the first picture
    void (*encode)(const Frame& frame, std::vector<uint8_t>& bytes);    // bytes: becomes one picture; used again
};

// YUV4MPEG2, which players and encoders read: a text header, then planar 4:2:0 pictures.
extern const VideoFormat y4mFormat;

// The pixels alone, without a header: 32-bit BGRA, the top row first, opaque.
extern const VideoFormat rawFormat;

}  // namespace orvocap
