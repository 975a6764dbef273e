// Image I/O, as far as the adapter uses it.
#pragma once

#include <CoreGraphics/CoreGraphics.h>

#pragma clang arc_cf_code_audited begin

typedef struct CGImageSource* CGImageSourceRef;

CHECK_C CGImageSourceRef CGImageSourceCreateWithData(CFDataRef data, CFDictionaryRef options);
CHECK_C CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, size_t index, CFDictionaryRef options);

#pragma clang arc_cf_code_audited end
