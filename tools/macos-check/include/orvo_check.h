// What the declarations of the type check share. All of them are our own words for public facts about the system's
// interfaces, and hold exactly what the adapter uses.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
#define CHECK_C extern "C"
#else
#define CHECK_C extern
#endif

#define API_AVAILABLE(...) CHECK_AVAILABLE(__VA_ARGS__)
#define CHECK_AVAILABLE(platform) __attribute__((availability(CHECK_##platform)))
#define CHECK_macos(version) macos, introduced = version
#define CHECK_SINCE(version) __attribute__((availability(macos, introduced = version)))
#define CHECK_DEPRECATED(since, deprecation) \
    __attribute__((availability(macos, introduced = since, deprecated = deprecation)))
#define CHECK_OBSOLETE(since, deprecation, end) \
    __attribute__((availability(macos, introduced = since, deprecated = deprecation, obsoleted = end)))
// The reference that a function answers, or hands out through the argument, is the caller's.
#define CHECK_RETURNS_RETAINED __attribute__((cf_returns_retained))
