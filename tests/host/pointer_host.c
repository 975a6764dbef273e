/* The exported pointer is one variable, whichever way a host is compiled: what the host reads is what the exports test.
 */
#include <stdlib.h>

#include "check.h"
#include "orvo/screencapture_additions.h"

extern void* g_pScreenCaptureImpl;

int main(void) {
    OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    CHECK(!orvo_screencapture_get_statistics(&figures));
    orvo_screencapture_init();
    CHECK(orvo_screencapture_get_statistics(&figures));
    CHECK(g_pScreenCaptureImpl != NULL);
    g_pScreenCaptureImpl = NULL;
    CHECK(!orvo_screencapture_get_statistics(&figures));
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
