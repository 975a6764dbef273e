// The functions of libyuv that the product uses, in plain code, for systems that have no such library: the same names
// and arguments. Pixels are within a step of libyuv's. Names of formats are its own: ARGB is B, G, R, A in memory, RAW
// is R, G, B. Strides in bytes; sizes in pixels, above 0. All of them from any thread; those with a result answer 0.
#pragma once

#include <cstdint>

namespace libyuv {

enum FilterMode { kFilterBox = 3 };

// Smaller: each pixel is the mean of what it covers. Larger: the nearest one.
int ARGBScale(const uint8_t* source, int sourceStride, int sourceWidth, int sourceHeight, uint8_t* target,
              int targetStride, int width, int height, FilterMode filter);
// Between two rows: weight 0 is the first one, 256 would be the second.
int ARGBInterpolate(const uint8_t* first, int firstStride, const uint8_t* second, int secondStride, uint8_t* target,
                    int targetStride, int width, int height, int weight);
int ARGBCopy(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height);
void CopyPlane(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height);
int ARGBToRAW(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride, int width, int height);
// BT.601 in the limited range; chroma is the mean of two by two pixels, fewer at odd edges.
int ARGBToI420(const uint8_t* source, int sourceStride, uint8_t* y, int yStride, uint8_t* u, int uStride, uint8_t* v,
               int vStride, int width, int height);

}  // namespace libyuv
