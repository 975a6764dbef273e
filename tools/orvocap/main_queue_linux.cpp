// The main queue on Linux: the library runs GLib's default main context for us.
#include "main_queue.h"

#include "orvo/screencapture_linux.h"

void orvocap::runMainQueue(int milliseconds) {
    orvo_screencapture_run_main_queue(milliseconds);
}
