/* Uses the installed package from plain C: counts the screens, and prints the library's version. */
#include <orvo/screencapture_additions.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    unsigned int screens = 0;
    orvo_screencapture_init();
    orvo_screencapture_free_screen_list(orvo_screencapture_enum_screen_list(&screens));
    orvo_screencapture_uninit();
    printf("version %s\n", orvo_screencapture_version());
    return screens == 1 && strcmp(orvo_screencapture_version(), ORVO_SCREENCAPTURE_VERSION) == 0 ? 0 : 1;
}
