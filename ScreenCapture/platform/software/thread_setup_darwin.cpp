// What a new thread asks of macOS, which has no setting for timers of plain threads.
#include <pthread.h>

#include "ScreenCapture/platform/software/thread_setup.h"

void orvo::platform::software::setUpThread(const char* name) {
    pthread_setname_np(name);
}
