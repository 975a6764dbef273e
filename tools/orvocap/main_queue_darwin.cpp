// The main queue on macOS: the main thread's run loop serves it.
#include <CoreFoundation/CoreFoundation.h>

#include "main_queue.h"

void orvocap::runMainQueue(int milliseconds) {
    CFRunLoopRunInMode(kCFRunLoopDefaultMode, milliseconds / 1000.0, false);
}
