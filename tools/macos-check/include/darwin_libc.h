// Where macOS's C library differs from this machine's, as far as the sources for macOS use it. The check includes it in
// front of them.
#pragma once

#include <assert.h>
#include <pthread.h>

#include <orvo_check.h>

CHECK_C __attribute__((noreturn)) void __assert_rtn(const char* function, const char* file, int line, const char* text);

typedef struct check_opaque_pthread* check_pthread_t;
CHECK_C check_pthread_t check_pthread_self(void);
CHECK_C int check_pthread_setname_np(const char* name);
#define pthread_self check_pthread_self
#define pthread_setname_np check_pthread_setname_np

// The fields that are used, in the system's types.
struct statfs {
    uint32_t f_bsize;
    uint64_t f_blocks;
    uint64_t f_bavail;
};
CHECK_C int statfs(const char* path, struct statfs* information);
