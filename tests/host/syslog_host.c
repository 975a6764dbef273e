/*
 * A host that logs with the C library's syslog while the library exports one of its own: each call reaches its own.
 * usage: syslog_host linked|opened|preloaded LIBRARY
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include "check.h"

typedef void (*own_syslog)(int level, const char* module, int line, const char* format, ...);
typedef void (*text_hook)(int level, const char* module, int line, const char* text, int prefix_length);

static char hooked[1024];

static void on_line(int level, const char* module, int line, const char* text, int prefix_length) {
    (void)level, (void)module, (void)line;
    snprintf(hooked, sizeof hooked, "%s", text + prefix_length);
}

/* What the C library's syslog writes to standard error for this host. */
static void call_the_c_librarys(char* written, size_t size) {
    int ends[2];
    if (pipe(ends) != 0) abort();
    const int saved = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    openlog("syslog_host", LOG_PERROR, LOG_USER);
    syslog(LOG_DEBUG, "number %d from the host", 41);
    closelog();
    dup2(saved, STDERR_FILENO);
    close(saved);
    close(ends[1]);
    const ssize_t got = read(ends[0], written, size - 1);
    written[got > 0 ? got : 0] = '\0';
    close(ends[0]);
}

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const int opened = strcmp(argv[1], "opened") == 0;
    /* Linked or preloaded, it is here already. */
    void* library = dlopen(argv[2], RTLD_NOW | RTLD_GLOBAL | (opened ? 0 : RTLD_NOLOAD));
    if (!library) {
        fprintf(stderr, "%s\n", dlerror());
        return EXIT_FAILURE;
    }
    int (*install_hook)(text_hook) = NULL;
    own_syslog own = NULL;
    *(void**)&install_hook = dlsym(library, "syslog_hook");
    *(void**)&own = dlsym(library, "syslog");
    CHECK(install_hook != NULL && own != NULL);
    if (failures) return EXIT_FAILURE;
    CHECK((void*)own != (void*)&syslog);
    CHECK(install_hook(on_line) == 0);

    char written[1024];
    call_the_c_librarys(written, sizeof written);
    CHECK(strstr(written, "number 41 from the host") != NULL);
    CHECK(hooked[0] == '\0');

    own(0, "host", 1, "number %d from the library", 42);
    CHECK(strstr(hooked, "number 42 from the library") != NULL);
    return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}
