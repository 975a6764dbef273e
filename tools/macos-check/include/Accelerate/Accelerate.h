// vImage, as far as the adapter uses it.
#pragma once

#include <orvo_check.h>

typedef unsigned long vImagePixelCount;
typedef ssize_t vImage_Error;
typedef uint32_t vImage_Flags;
typedef struct {
    void* data;
    vImagePixelCount height;
    vImagePixelCount width;
    size_t rowBytes;
} vImage_Buffer;

enum : vImage_Flags { kvImageNoFlags = 0 };
enum : vImage_Error { kvImageNoError = 0 };

CHECK_C vImage_Error vImageScale_ARGB8888(const vImage_Buffer* source, const vImage_Buffer* target, void* temporary,
                                          vImage_Flags flags);
CHECK_C vImage_Error vImageConvert_BGRA8888toRGB888(const vImage_Buffer* source, const vImage_Buffer* target,
                                                    vImage_Flags flags);
