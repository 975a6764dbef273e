/* Opens a library and prints how long it took in microseconds: load_time LIBRARY. */
#include <dlfcn.h>
#include <stdio.h>
#include <time.h>

static double microseconds(void) {
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return (double)time.tv_sec * 1e6 + (double)time.tv_nsec / 1e3;
}

int main(int argc, char** argv) {
    double start = microseconds();
    void* library = argc == 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
    double end = microseconds();
    if (!library) {
        fprintf(stderr, "load_time: %s\n", argc == 2 ? dlerror() : "no library named");
        return 1;
    }
    printf("%.1f\n", end - start);
    return 0;
}
