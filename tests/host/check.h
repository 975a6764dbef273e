/* A check that names itself and counts; for hosts in C and in C++. */
#ifndef ORVO_TESTS_HOST_CHECK_H
#define ORVO_TESTS_HOST_CHECK_H

#include <stdio.h>

static int failures;

#define CHECK(condition)                                                            \
    do {                                                                            \
        if (!(condition)) {                                                         \
            fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #condition); \
            failures++;                                                             \
        }                                                                           \
    } while (0)

#endif
