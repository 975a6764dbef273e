/* The exported pointer is one variable, whichever way a host is compiled: what the host reads is what the exports test.
 * A copy of the library that is opened beside it has a facade of its own. */
#include <dlfcn.h>
#include <stdlib.h>

#include "check.h"
#include "orvo/screencapture_additions.h"

extern void* g_pScreenCaptureImpl;

int main(int argc, char** argv) {
    OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    void* const copy = dlopen(argv[argc - 1], RTLD_NOW | RTLD_LOCAL);
    void (*init_copy)(void) = NULL;
    *(void**)&init_copy = dlsym(copy, "orvo_screencapture_init");
    init_copy();
    CHECK(!orvo_screencapture_get_statistics(&figures));
    orvo_screencapture_init();
    CHECK(orvo_screencapture_get_statistics(&figures));
    CHECK(g_pScreenCaptureImpl != NULL);
    g_pScreenCaptureImpl = NULL;
    CHECK(!orvo_screencapture_get_statistics(&figures));
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
