// The exported lists: displays and windows for a picker.
#include "ScreenCapture/api/facade_call.h"

using orvo::api::ask;
using orvo::api::tell;
using Facade = OrvoScreenCaptureImpl;

OrvoScreenCaptureScreenItem* orvo_screencapture_enum_screen_list(unsigned int* count) {
    EXPORT_LOG("SC", "%s", __func__);
    unsigned int found = 0;
    auto* list =
        ask<OrvoScreenCaptureScreenItem*>(nullptr, [&](Facade& facade) { return facade.EnumScreenList(found); });
    if (count && list) *count = found;
    return list;
}

void orvo_screencapture_free_screen_list(OrvoScreenCaptureScreenItem* list) {
    EXPORT_LOG("SC", "%s", __func__);
    tell([=](Facade& facade) { facade.FreeScreenList(list); });
}
