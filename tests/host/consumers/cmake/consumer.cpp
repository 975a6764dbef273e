// Uses the C interface, the base runtime and the log of the installed package, and prints the library's version.
#include <orvo/screencapture_additions.h>

#include <cstdio>
#include <cstring>

#include "ScreenCapture/log/sym_encrypt.h"

int main() {
    char line[] = "a line\n";
    ORVO::ScreenCapture::sym_encrypt(line);
    if (std::strcmp(line, "a line\n") == 0) return 1;
    ORVO::ScreenCapture::sym_encrypt(line);
    if (std::strcmp(line, "a line\n") != 0) return 1;

    std::printf("version %s\n", orvo_screencapture_version());
    return 0;
}
