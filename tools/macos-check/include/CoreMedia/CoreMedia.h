// Core Media, as far as the adapter uses it.
#pragma once

#include <CoreVideo/CoreVideo.h>

#pragma clang arc_cf_code_audited begin
#pragma pack(push, 4)
typedef struct {
    int64_t value;
    int32_t timescale;
    uint32_t flags;
    int64_t epoch;
} CMTime;
#pragma pack(pop)

typedef struct opaqueCMSampleBuffer* CMSampleBufferRef;

CHECK_C CMTime CMTimeMake(int64_t value, int32_t timescale);
CHECK_C CMTime CMSampleBufferGetPresentationTimeStamp(CMSampleBufferRef sample);
CHECK_C CFArrayRef CMSampleBufferGetSampleAttachmentsArray(CMSampleBufferRef sample, Boolean create);
CHECK_C CVImageBufferRef CMSampleBufferGetImageBuffer(CMSampleBufferRef sample);

#pragma clang arc_cf_code_audited end
