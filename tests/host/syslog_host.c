/*
 * A host that logs with the C library's syslog while the library exports one of its own: each call reaches its own. The
 * test reads what both say.
 * usage: syslog_host linked|opened|preloaded LIBRARY
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

typedef void (*own_syslog)(int level, const char* module, int line, const char* format, ...);
typedef void (*text_hook)(int level, const char* module, int line, const char* text, int prefix_length);

static void on_line(int level, const char* module, int line, const char* text, int prefix_length) {
    (void)level, (void)module, (void)line;
    fprintf(stderr, "hooked: %s\n", text + prefix_length);
}

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const int opened = strcmp(argv[1], "opened") == 0;
    /* Linked or preloaded, it is here already. */
    void* library = dlopen(argv[2], RTLD_NOW | RTLD_GLOBAL | (opened ? 0 : RTLD_NOLOAD));
    int (*install_hook)(text_hook) = NULL;
    own_syslog own = NULL;
    if (library) *(void**)&install_hook = dlsym(library, "syslog_hook");
    if (library) *(void**)&own = dlsym(library, "syslog");
    if (!install_hook || !own || install_hook(on_line) != 0) return EXIT_FAILURE;
    openlog("syslog_host", LOG_PERROR, LOG_USER);
    syslog(LOG_DEBUG, "number %d from the host", 41);
    own(0, "host", 1, "number %d from the library", 42);
    return EXIT_SUCCESS;
}
