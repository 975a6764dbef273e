/* The exported global is one variable, whichever way a host is compiled: what the host reads is what the exports test.
 * A copy of the library that is opened beside it has a facade of its own. */
#include <dlfcn.h>
#include <stdlib.h>

#include "check.h"
#include "orvo/screencapture_additions.h"

extern void* g_pScreenCaptureImpl;

int main(int argc, char** argv) {
    OrvoScreenCaptureStatistics figures;
    void* const facade = g_pScreenCaptureImpl;
    CHECK(facade != NULL);
    void* const copy = argc > 1 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    void (*init_copy)(void) = NULL;
    if (copy) *(void**)&init_copy = dlsym(copy, "orvo_screencapture_init");
    CHECK(init_copy != NULL);
    if (init_copy) init_copy();
    CHECK(!orvo_screencapture_get_statistics(&figures));
    orvo_screencapture_init();
    CHECK(orvo_screencapture_get_statistics(&figures));
    void* const seen = g_pScreenCaptureImpl;
    g_pScreenCaptureImpl = NULL;
    CHECK(!orvo_screencapture_get_statistics(&figures));
    g_pScreenCaptureImpl = seen;
    CHECK(orvo_screencapture_get_statistics(&figures));
    orvo_screencapture_uninit();
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
