// What a new thread asks of Linux.
#include <pthread.h>
#include <sys/prctl.h>

#include "ScreenCapture/platform/software/thread_setup.h"

void orvo::platform::software::setUpThread(const char* name) {
    pthread_setname_np(pthread_self(), name);
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);  // grid points are met to the microsecond, not to the usual 50
}
