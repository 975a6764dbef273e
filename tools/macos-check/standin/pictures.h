// The objects behind the references of Core Graphics, Core Video and Core Media.
#pragma once

#include <CoreVideo/CoreVideo.h>

#include "tools/macos-check/standin/values.h"

@interface StandInProvider : NSObject {
  @public
    NSData* data;
}
@end
@interface StandInSpace : NSObject
@end
@interface StandInImage : NSObject {
  @public
    size_t width, height, row;
    size_t offset;  // of its pixels in what the provider hands out
    CGBitmapInfo info;
    StandInSpace* space;
    StandInProvider* provider;
}
@property(readonly) const uint8_t* pixels;
@end
@interface StandInContext : NSObject {
  @public
    size_t width, height, row;
    CGBitmapInfo info;
    std::vector<uint8_t> bytes;
}
@end
@interface StandInBuffer : NSObject {
  @public
    size_t width, height, row;
    void* base;
    std::vector<uint8_t> own;  // of a buffer that the system made
    CVPixelBufferReleaseBytesCallback release;
    void* context;
    int locks;
}
@end
@interface StandInSample : NSObject {
  @public
    StandInBuffer* buffer;
    int64_t time;  // milliseconds
    int status;    // SCFrameStatus
    NSArray* attachments;
}
@end

StandInBuffer* makeBuffer(size_t width, size_t height, uint8_t value);
